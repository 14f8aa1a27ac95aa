// Decodes images for the client, one at a time, in a process that has no other job: what a crafted image may do to a
// decoder happens here. A request is one line on standard input: most pixels, name of the remote file, file to read
// and file to write, separated by blanks, names percent-encoded. The answer is one line on standard output: "rgb" or
// "light", then width and height of what was written and of the stored image; or "failed". Written are lines of pixels
// without gaps: 32-bit premultiplied ARGB for "rgb", four half floats for "light". Ends with its input.

#include "BrightReaders.h"
#include "DecoderLimits.h"

#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QImageReader>
#include <QUrl>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <string>

namespace {

constexpr quint64 Memory = Q_UINT64_C(3) << 30;  // bytes
constexpr qint64 MostStored = 256 * 1000 * 1000; // pixels of an image that is decoded as a whole

/// By the first bytes; by the name for the formats without a mark. Formats that run programs are left out.
QByteArray formatOf(const QByteArray &head, const QString &name)
{
    const struct
    {
        int offset;
        QByteArray mark;
        const char *format;
    } marks[] = {
        {0, QByteArray("\x89PNG\r\n\x1a\n"), "png"},
        {0, QByteArray("\xff\xd8\xff"), "jpg"},
        {0, QByteArray("GIF8"), "gif"},
        {8, QByteArray("WEBP"), "webp"},
        {0, QByteArray("II*\0", 4), "tiff"},
        {0, QByteArray("MM\0*", 4), "tiff"},
        {0, QByteArray("v/1\x01"), "exr"},
        {0, QByteArray("#?RADIANCE"), "hdr"},
        {0, QByteArray("#?RGBE"), "hdr"},
        {0, QByteArray("BM"), "bmp"},
        {0, QByteArray("P5"), "pgm"},
        {0, QByteArray("P6"), "ppm"},
        {0, QByteArray("\0\0\1\0", 4), "ico"},
    };
    for (const auto &mark : marks) {
        if (head.mid(mark.offset, mark.mark.size()) == mark.mark)
            return mark.format;
    }
    for (const char *ending : {"tga", "svg"}) {
        if (name.endsWith(QLatin1Char('.') + QLatin1String(ending), Qt::CaseInsensitive))
            return ending;
    }
    return {};
}

/// What a picture without a mark of its own says of its size, before its decoder takes the memory for it.
QSize sizeOf(QImageReader &reader, const QByteArray &head, const QByteArray &format)
{
    if (format == "tga" && head.size() >= 18) {
        const auto number = [&](int at) { return uchar(head.at(at)) | uchar(head.at(at + 1)) << 8; };
        return {number(12), number(14)};
    }
    return reader.size();
}

std::string answer(const char *kind, const QSize &size, const QSize &stored)
{
    std::string text = kind;
    for (int number : {size.width(), size.height(), stored.width(), stored.height()})
        text += ' ' + std::to_string(number);
    return text;
}

std::string decodeBright(QFile &file, const QByteArray &format, qint64 mostPixels, QFile &out)
{
    BrightImage image;
    // Twice the bytes a pixel of the other kind takes.
    const bool good = format == "exr" ? readExr(file.fileName(), mostPixels / 2, &image)
                                      : readRadiance(&file, mostPixels / 2, &image);
    const qint64 bytes = qint64(image.pixels.size()) * qint64(sizeof(qfloat16));
    if (!good || out.write(reinterpret_cast<const char *>(image.pixels.constData()), bytes) != bytes || !out.flush())
        return {};
    return answer("light", image.size, image.stored);
}

std::string decodePlain(QFile &file, const QByteArray &format, const QByteArray &head, qint64 mostPixels, QFile &out)
{
    QImageReader reader(&file, format);
    // The format is settled: otherwise every decoder would have a look, the ones that run programs as well.
    reader.setAutoDetectImageFormat(false);
    reader.setDecideFormatFromContent(false);
    reader.setAutoTransform(true);
    QSize stored = sizeOf(reader, head, format);
    const qint64 pixels = qint64(stored.width()) * stored.height();
    if (stored.isEmpty() || pixels > MostStored)
        return {};
    if (format == "svg") // has no pixels of its own: many enough to zoom in
        reader.setScaledSize(stored.scaled(2048, 2048, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    else if (pixels > mostPixels)
        reader.setScaledSize(stored * std::sqrt(double(mostPixels) / double(pixels)));
    const bool turned = reader.transformation() & QImageIOHandler::TransformationRotate90;
    const QImage image = reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return {};
    for (int y = 0; y < image.height(); ++y) {
        const qint64 bytes = qint64(image.width()) * 4;
        if (out.write(reinterpret_cast<const char *>(image.constScanLine(y)), bytes) != bytes)
            return {};
    }
    if (!out.flush())
        return {};
    if (format == "svg")
        stored = image.size();
    return answer("rgb", image.size(), turned ? stored.transposed() : stored);
}

std::string decode(const QList<QByteArray> &words)
{
    if (words.size() != 4)
        return {};
    const auto named = [&](int i) { return QUrl::fromPercentEncoding(words.at(i)); };
    QFile file(named(2)), out(named(3));
    if (!file.open(QIODevice::ReadOnly) || !out.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return {};
    const qint64 mostPixels = words.at(0).toLongLong();
    const QByteArray head = file.peek(64);
    const QByteArray format = formatOf(head, named(1));
    if (format.isEmpty() || mostPixels <= 0)
        return {};
    if (format == "exr" || format == "hdr") {
        const std::string done = decodeBright(file, format, mostPixels, out);
        if (!done.empty() || format == "exr" || !file.seek(0) || !out.resize(0) || !out.seek(0))
            return done;
        // Lines in another order than usual: the plug-in knows them.
    }
    return decodePlain(file, format, head, mostPixels, out);
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen"); // no window, but the fonts of vector pictures
    QGuiApplication app(argc, argv);
    QImageReader::supportedImageFormats(); // loads the plug-ins before the bounds hold
    limitDecoder(Memory);
    std::string line;
    while (std::getline(std::cin, line)) {
        std::string done;
        try {
            done = decode(QByteArray::fromStdString(line).trimmed().split(' '));
        } catch (const std::exception &) {
            done.clear(); // a broken file, or one that wants more memory than there is
        }
        std::cout << (done.empty() ? "failed" : done) << std::endl;
    }
    return 0;
}
