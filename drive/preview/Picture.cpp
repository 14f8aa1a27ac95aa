#include "Picture.h"

#include <QBuffer>
#include <QDataStream>
#include <QImageReader>
#include <QImageWriter>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr quint32 CacheMark = 0x41565031;
constexpr int SmallestLevel = 256; // pixels of the longer side
constexpr float White = 0.8f;      // brighter light is held back

/// By the definition of the format: a sign, five bits of exponent, ten of the value.
float valueOf(quint16 half)
{
    const int exponent = half >> 10 & 0x1f, digits = half & 0x3ff;
    float value = std::ldexp(float(digits | (exponent ? 0x400 : 0)), qMax(1, exponent) - 25);
    if (exponent == 0x1f)
        value = digits ? 0 : 65504; // no number is dark, an endless one as bright as can be
    return half & 0x8000 ? -value : value;
}

/// What a screen shows of an amount of light.
uchar shown(float light)
{
    if (!(light > 0))
        return 0;
    if (light > White)
        light = 1 - (1 - White) * std::exp(-(light - White) / (1 - White));
    const float v = light <= 0.0031308f ? light * 12.92f : 1.055f * std::pow(light, 1 / 2.4f) - 0.055f;
    return uchar(std::lround(qBound(0.0f, v, 1.0f) * 255));
}

/// Half as wide and high. The scaler of the toolkit would do, but takes several times as long.
QImage halved(const QImage &image)
{
    const int width = qMax(1, image.width() / 2), height = qMax(1, image.height() / 2);
    QImage half(width, height, QImage::Format_ARGB32_Premultiplied);
    if (half.isNull())
        return half;
    const int right = image.width() > 1 ? 1 : 0, below = image.height() > 1 ? 1 : 0;
    for (int y = 0; y < height; ++y) {
        const auto *one = reinterpret_cast<const quint32 *>(image.constScanLine(2 * y));
        const auto *two = reinterpret_cast<const quint32 *>(image.constScanLine(2 * y + below));
        auto *out = reinterpret_cast<quint32 *>(half.scanLine(y));
        for (int x = 0; x < width; ++x) {
            quint32 even = 0x00020002, odd = 0x00020002; // for rounding
            for (quint32 pixel : {one[2 * x], one[2 * x + right], two[2 * x], two[2 * x + right]}) {
                even += pixel & 0x00ff00ff;
                odd += pixel >> 8 & 0x00ff00ff;
            }
            out[x] = (even >> 2 & 0x00ff00ff) | (odd >> 2 & 0x00ff00ff) << 8;
        }
    }
    return half;
}

} // namespace

LightPixels::LightPixels(const QSize &size, const quint16 *halves, std::shared_ptr<const void> owner)
    : m_size(size)
    , m_halves(halves)
    , m_owner(std::move(owner))
{
}

QImage LightPixels::toned(double stops) const
{
    // A half float has few enough values to work all of them out.
    std::vector<uchar> table(65536);
    const float factor = float(std::exp2(stops));
    for (quint32 half = 0; half < 65536; ++half)
        table[half] = shown(valueOf(quint16(half)) * factor);
    QImage image(m_size, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    for (int y = 0; y < m_size.height(); ++y) {
        const quint16 *from = m_halves + qsizetype(y) * m_size.width() * 4;
        auto *to = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < m_size.width(); ++x, from += 4)
            to[x] = qRgb(table[from[0]], table[from[1]], table[from[2]]);
    }
    return image;
}

double LightPixels::goodStops() const
{
    const qint64 pixels = qint64(m_size.width()) * m_size.height();
    const qint64 step = qMax<qint64>(1, pixels / 100000);
    double sum = 0;
    qint64 count = 0;
    for (qint64 i = 0; i < pixels; i += step) {
        const quint16 *at = m_halves + i * 4;
        const float light = 0.2126f * valueOf(at[0]) + 0.7152f * valueOf(at[1]) + 0.0722f * valueOf(at[2]);
        if (!std::isfinite(light) || light <= 1e-4f)
            continue; // the empty ground of a render says nothing
        sum += std::log2(light);
        ++count;
    }
    if (count == 0)
        return 0;
    const double stops = std::round((std::log2(0.18) - sum / double(count)) * 2) / 2;
    // What was made for a screen is shown as it was made.
    return std::abs(stops) <= 3 ? 0 : qBound(-10.0, stops, 10.0);
}

qint64 Picture::bytes() const
{
    qint64 sum = light ? qint64(light->size().width()) * light->size().height() * 8 : 0;
    for (const QImage &level : levels)
        sum += level.sizeInBytes();
    return sum;
}

Picture Picture::of(const QImage &image, const QSize &stored)
{
    Picture picture;
    picture.stored = stored;
    picture.isComplete = true;
    QImage level = image.format() == QImage::Format_ARGB32_Premultiplied
                       ? image
                       : image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    while (!level.isNull()) {
        picture.levels.append(level);
        if (qMax(level.width(), level.height()) <= SmallestLevel)
            break;
        level = halved(level);
    }
    return picture;
}

Picture Picture::of(std::shared_ptr<const LightPixels> light, const QSize &stored, double stops)
{
    Picture picture = of(light->toned(stops), stored);
    picture.light = std::move(light);
    picture.stops = stops;
    picture.isBright = true;
    return picture;
}

const QImage &Picture::levelFor(double scale) const
{
    const double needed = scale * stored.width();
    int level = 0;
    while (level + 1 < levels.size() && levels.at(level + 1).width() >= needed)
        ++level;
    return levels.at(level);
}

Picture Picture::reduced(const QSize &box) const
{
    Picture picture = *this;
    const QSize fitted = stored.scaled(box, Qt::KeepAspectRatio);
    while (picture.levels.size() > 1 && picture.levels.at(1).width() >= fitted.width()) {
        picture.levels.removeFirst();
        picture.isComplete = false;
    }
    if (picture.light)
        picture.isComplete = false;
    picture.light.reset();
    return picture;
}

QByteArray Picture::toCache(const QSize &box) const
{
    if (isNull() || box.isEmpty())
        return {};
    QImage image = levels.first();
    const bool whole = image.width() <= box.width() && image.height() <= box.height();
    if (!whole) {
        const QSize fitted = image.size().scaled(box, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
        image = levelFor(double(fitted.width()) / stored.width())
                    .scaled(fitted, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    bool opaque = true;
    for (int y = 0; opaque && y < image.height(); ++y) {
        const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        opaque = std::all_of(line, line + image.width(), [](QRgb pixel) { return qAlpha(pixel) == 255; });
    }
    // A picture that is not reduced stays exact.
    const bool png = whole || !opaque;
    QByteArray encoded;
    QBuffer buffer(&encoded);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, png ? "png" : "jpg");
    writer.setQuality(png ? 90 : 92); // for the first that is little packing, quickly done
    if (!writer.write(opaque ? image.convertToFormat(QImage::Format_RGB32) : image))
        return {};
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << CacheMark << stored << isBright << (whole && !isBright && isComplete) << png << encoded;
    return bytes;
}

Picture Picture::fromCache(const QByteArray &bytes)
{
    QDataStream in(bytes);
    quint32 mark = 0;
    QSize stored;
    bool bright = false, complete = false, png = false;
    in >> mark;
    if (mark != CacheMark)
        return {};
    QByteArray encoded;
    in >> stored >> bright >> complete >> png >> encoded;
    if (in.status() != QDataStream::Ok || stored.isEmpty())
        return {};
    QBuffer buffer(&encoded);
    QImageReader reader(&buffer, png ? "png" : "jpg");
    reader.setAutoDetectImageFormat(false);
    const QImage image = reader.read();
    Picture picture;
    if (image.isNull())
        return picture;
    picture = of(image, stored);
    picture.isBright = bright;
    picture.isComplete = complete;
    return picture;
}
