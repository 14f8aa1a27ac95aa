// Prints what a folder of very many entries costs in the drive's views, beside plain Qt doing the same in the same run.

#include "FileItemReader.h"
#include "FileListing.h"

#include <QCollator>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>

namespace {

/// A reply as the service gives it: image sequences, some folders, times and sizes in no order.
QByteArray listingOf(int count)
{
    QByteArray body = "{\"items\":[";
    quint32 random = 7;
    for (int i = 0; i < count; ++i) {
        random = random * 1664525 + 1013904223;
        const bool folder = random % 50 == 0;
        const QByteArray name =
            folder ? "shot_" + QByteArray::number(i)
                   : "beauty_" + QByteArray::number(random % 1000) + "." + QByteArray::number(i) + ".exr";
        body += QByteArray(i ? "," : "") + "{\"name\":\"" + name + "\",\"type\":" + (folder ? "1" : "0") +
                ",\"size\":" + QByteArray::number(folder ? 0 : random) + ",\"icon\":\"icons/file/image.png\"" +
                ",\"datetime\":" + QByteArray::number(1780000000000LL + random) +
                ",\"modifiedTime\":" + QByteArray::number(1780000000000LL + random) + ",\"path\":\"/Projects/film/" +
                name + "\",\"contentType\":\"" + (folder ? "" : "image/x-exr") + "\"}";
    }
    return body + "]}";
}

double middle(QVector<double> times)
{
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 2);
}

template <typename Work>
double timed(int rounds, Work work)
{
    QVector<double> times;
    for (int i = 0; i < rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        times << double(timer.nsecsElapsed()) / 1e6;
    }
    return middle(times);
}

} // namespace

int main(int argc, char **argv)
{
    const int count = argc > 1 ? QByteArray(argv[1]).toInt() : 100000;
    QGuiApplication app(argc, argv);
    const QByteArray body = listingOf(count);
    std::printf("%d entries, a reply of %.1f MB; medians of 5\n", count, double(body.size()) / 1e6);
    QList<FileItem> items;
    std::printf("reading    Qt document %6.1f ms   ours, into records %6.1f ms\n",
                timed(5, [&] { QJsonDocument::fromJson(body); }),
                timed(5, [&] { items = FileItemReader::items(body, FileItemReader::ListingTime); }));
    FileListing listing;
    std::printf("making ready, sorted by name %6.1f ms\n",
                timed(5, [&] { listing = FileListing::prepare(items, FileOrder::FileName); }));
    QVector<FileItem> sorted;
    for (auto order : {FileOrder::FileName, FileOrder::Modified, FileOrder::FileSize})
        std::printf("sort order %d %6.1f ms, std::stable_sort %6.1f\n", order,
                    timed(5,
                          [&] {
                              sorted = listing.items;
                              FileOrder::sort(sorted, order);
                          }),
                    timed(5, [&] {
                        sorted = items.toVector();
                        std::stable_sort(sorted.begin(), sorted.end(), [&](const FileItem &a, const FileItem &b) {
                            return FileOrder::before(a, b, order);
                        });
                    }));
    return 0;
}
