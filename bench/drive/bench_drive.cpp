// Prints what a folder of very many entries costs in the drive's views, beside plain Qt doing the same in the same run.

#include "FileItemModel.h"
#include "FileItemReader.h"
#include "FileWidget.h"
#include "OrderedWork.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringListModel>
#include <QTimer>
#include <QTreeWidget>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>

namespace {

constexpr int Rounds = 5;

/// A reply as the service gives it: image sequences, some folders, times and sizes in no order.
QByteArray listingOf(int count)
{
    QByteArray body = "{\"items\":[";
    quint32 random = 7;
    for (int i = 0; i < count; ++i) {
        random = random * 1664525 + 1013904223;
        const bool folder = random % 50 == 0;
        const QByteArray number = QByteArray::number(i), value = QByteArray::number(random);
        const QByteArray name =
            folder ? "shot_" + number : "beauty_" + QByteArray::number(random % 1000) + "." + number + ".exr";
        body += QByteArray(i > 0 ? "," : "") + R"({"name":")" + name + R"(","type":)" + (folder ? "1" : "0") +
                R"(,"size":)" + value + R"(,"icon":"icons/file/image.png","datetime":178)" + value +
                R"(,"modifiedTime":178)" + value + R"(,"path":"/film/)" + name + R"(","contentType":")" +
                (folder ? "" : "image/x-exr") + R"("})";
    }
    return body + "]}";
}

double middle(QVector<double> times)
{
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 2);
}

double timed(const std::function<void()> &work)
{
    QVector<double> times;
    for (int i = 0; i < Rounds; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        times << double(timer.nsecsElapsed()) / 1e6;
    }
    return middle(times);
}

double megabytesHeld()
{
    return double(mallinfo2().uordblks + mallinfo2().hblkhd) / 1e6;
}

/// The longest time for which nothing else got its turn.
class Gaps : public QObject
{
public:
    Gaps()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            m_longest = qMax(m_longest, double(m_clock.nsecsElapsed()) / 1e6);
            m_clock.start();
        });
        m_timer.start(1);
        m_clock.start();
    }
    double longest() const { return qMax(m_longest, double(m_clock.nsecsElapsed()) / 1e6); }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    double m_longest = 0;
};

/// Says when a widget has been painted.
class Painted : public QObject
{
public:
    explicit Painted(QWidget *widget)
    {
        widget->installEventFilter(this);
        m_beat.start(2); // so that waiting for events ends
    }
    bool eventFilter(QObject *, QEvent *event) override
    {
        m_done = m_done || event->type() == QEvent::Paint;
        return false;
    }
    void await(const std::function<bool()> &before = {})
    {
        QElapsedTimer patience;
        patience.start();
        while (before && !before() && patience.elapsed() < 10000)
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        m_done = false;
        while (!m_done && patience.elapsed() < 10000)
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (!m_done)
            std::printf("nothing was painted\n");
    }

private:
    QTimer m_beat;
    bool m_done = false;
};

struct Outcome
{
    double time, gap;
};

/// Medians of the time until @p work is done and of the longest stretch in it that blocked the window.
Outcome watched(const std::function<void()> &work, const std::function<void()> &prepare = {})
{
    QVector<double> times, gaps;
    for (int i = 0; i < Rounds; ++i) {
        if (prepare)
            prepare();
        Gaps gap;
        QElapsedTimer timer;
        timer.start();
        work();
        times << double(timer.nsecsElapsed()) / 1e6;
        QApplication::processEvents();
        gaps << gap.longest();
    }
    return {middle(times), middle(gaps)};
}

void print(const char *what, const Outcome &outcome)
{
    std::printf("%-42s %7.1f ms, blocked for at most %5.1f ms\n", what, outcome.time, outcome.gap);
}

template <typename View>
double plainView(QAbstractItemModel *model)
{
    return timed([model] {
        View view;
        view.setUniformRowHeights(true);
        view.resize(1000, 700);
        Painted painted(view.viewport());
        view.setModel(model);
        view.show();
        painted.await();
    });
}

void plainQt(const QList<FileItem> &items)
{
    QStringList names;
    for (const FileItem &item : items)
        names << item.name;
    QStringListModel model(names);
    std::printf("plain Qt: tree view over a list of names to first paint %6.1f ms\n", plainView<QTreeView>(&model));
    const double before = megabytesHeld();
    QElapsedTimer timer;
    timer.start();
    QTreeWidget widget;
    widget.setColumnCount(3);
    widget.resize(1000, 700);
    QList<QTreeWidgetItem *> rows;
    for (const FileItem &item : items)
        rows << new QTreeWidgetItem({item.name, QString::number(item.datetime), QString::number(item.size)});
    widget.addTopLevelItems(rows);
    Painted painted(widget.viewport());
    widget.show();
    painted.await();
    std::printf("plain Qt: tree of item objects to first paint %6.1f ms, %.1f MB\n", double(timer.nsecsElapsed()) / 1e6,
                megabytesHeld() - before);
}

void ourViews(const QByteArray &body)
{
    FileWidget view;
    view.resize(1000, 700);
    view.show();
    FileItemModel *model = view.model();
    OrderedWork reader;
    bool shown = false;
    QObject::connect(model, &FileItemModel::shown, [&] { shown = true; });
    auto *viewport = view.currentWidget()->findChild<QWidget *>(QStringLiteral("qt_scrollarea_viewport"));
    Painted painted(viewport);
    const double before = megabytesHeld();
    const auto open = [&] {
        shown = false;
        reader.run([&]() -> OrderedWork::Deliver {
            const auto items =
                std::make_shared<QList<FileItem>>(FileItemReader::items(body, FileItemReader::ListingTime));
            return [&model, items] {
                model->show(*items);
                OrderedWork::discard(std::move(*items));
            };
        });
        painted.await([&] { return shown; });
    };
    print("reply's last byte to first paint", watched(open));
    QThreadPool::globalInstance()->waitForDone();
    malloc_trim(0);
    std::printf("%-42s %7.1f MB\n", "held for the entries and their view", megabytesHeld() - before);
    const auto sort = [&](FileOrder::Type order) {
        if (model->order() == order)
            return;
        bool sorted = false;
        const auto done = QObject::connect(model, &QAbstractItemModel::modelReset, [&] { sorted = true; });
        model->setOrder(order);
        painted.await([&] { return sorted; });
        QObject::disconnect(done);
    };
    print("sorted by size, painted", watched([&] { sort(FileOrder::FileSize); }, [&] { sort(FileOrder::FileName); }));
    print("sorted by time, painted", watched([&] { sort(FileOrder::Modified); }, [&] { sort(FileOrder::FileName); }));
    print("select all", watched([&] { view.selectAll(); }, [&] { view.select({model->item(0).path}); }));
    print("copy all", watched([&] { view.selectedItems(); }));
    print("filter to a tenth", watched([&] { view.setFilter(QStringLiteral("_77")); }, [&] { view.setFilter({}); }));
    print("filter away", watched([&] { view.setFilter({}); }, [&] { view.setFilter(QStringLiteral("_77")); }));
    const auto mode = [&](FileWidget::ShowMode to) {
        view.setShowMode(to);
        QApplication::processEvents();
    };
    print("to icons", watched([&] { mode(FileWidget::IconMode); }, [&] { mode(FileWidget::ListMode); }));
    print("to the list", watched([&] { mode(FileWidget::ListMode); }, [&] { mode(FileWidget::IconMode); }));
    view.selectAll();
    print("the same list anew, all selected", watched(open));
}

} // namespace

int main(int argc, char **argv)
{
    const int count = argc > 1 ? QByteArray(argv[1]).toInt() : 100000;
    const QApplication app(argc, argv);
    const QByteArray body = listingOf(count);
    std::printf("%d entries, a reply of %.1f MB; medians of %d\n", count, double(body.size()) / 1e6, Rounds);
    QList<FileItem> items;
    const double document = timed([&] { QJsonDocument::fromJson(body); });
    const double records = timed([&] { items = FileItemReader::items(body, FileItemReader::ListingTime); });
    std::printf("reading: Qt's document %.1f ms, into records %.1f ms\n", document, records);
    FileListing listing;
    const double prepare = timed([&] { listing = FileListing::prepare(items, FileOrder::FileName); });
    std::printf("made ready and sorted by name: %.1f ms\n", prepare);
    for (FileOrder::Type order : {FileOrder::FileName, FileOrder::FileSize, FileOrder::Modified}) {
        QVector<FileItem> sorted;
        const double ours = timed([&] {
            sorted = items.toVector();
            FileOrder::sort(sorted, order);
        });
        const double peer = timed([&] {
            sorted = items.toVector();
            std::stable_sort(sorted.begin(), sorted.end(),
                             [order](const FileItem &a, const FileItem &b) { return FileOrder::before(a, b, order); });
        });
        std::printf("sort by %s: %.1f ms, by the standard library with the same rule %.1f ms\n",
                    qPrintable(FileOrder::nameOf(order)), ours, peer);
    }
    plainQt(items);
    items.clear();
    listing = FileListing();
    ourViews(body);
    return 0;
}
