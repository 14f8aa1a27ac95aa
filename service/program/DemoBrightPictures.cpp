#include "DemoBrightPictures.h"

#include <QByteArray>
#include <QFile>
#include <QImage>
#include <QtEndian>
#include <qfloat16.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace arkvale::service {

namespace {

using Light = std::array<float, 3>; // red, green, blue

Light lightOf(QRgb color)
{
    const auto linear = [](int value) {
        const float v = float(value) / 255;
        return v <= 0.04045f ? v / 12.92f : std::pow((v + 0.055f) / 1.055f, 2.4f);
    };
    Light light = {linear(qRed(color)), linear(qGreen(color)), linear(qBlue(color))};
    // The sun and its like: what the picture could only draw as nearly white.
    const float over = std::max(0.0f, (light[0] - 0.85f) / 0.15f);
    for (float &part : light)
        part *= 1 + 23 * over * over;
    return light;
}

template <typename Number>
void append(QByteArray &bytes, Number value)
{
    value = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char *>(&value), sizeof(value));
}

void attribute(QByteArray &bytes, const char *name, const char *type, const QByteArray &value)
{
    bytes.append(name).append('\0').append(type).append('\0');
    append(bytes, qint32(value.size()));
    bytes.append(value);
}

QByteArray exr(const QImage &picture)
{
    const int width = picture.width(), height = picture.height();
    QByteArray box, channels, one;
    for (qint32 corner : {0, 0, width - 1, height - 1})
        append(box, corner);
    for (char name : {'B', 'G', 'R'}) {
        channels.append(name).append('\0');
        for (qint32 value : {1 /* half */, 0 /* not perceptual */, 1, 1 /* every pixel */})
            append(channels, value);
    }
    channels.append('\0');
    append(one, quint32(0x3f800000)); // 1.0

    QByteArray bytes("v/1\x01\x02\0\0\0", 8);
    attribute(bytes, "channels", "chlist", channels);
    attribute(bytes, "compression", "compression", QByteArray(1, 0));
    attribute(bytes, "dataWindow", "box2i", box);
    attribute(bytes, "displayWindow", "box2i", box);
    attribute(bytes, "lineOrder", "lineOrder", QByteArray(1, 0));
    attribute(bytes, "pixelAspectRatio", "float", one);
    attribute(bytes, "screenWindowCenter", "v2f", QByteArray(8, 0));
    attribute(bytes, "screenWindowWidth", "float", one);
    bytes.append('\0');

    const int lineBytes = width * 3 * 2;
    const qint64 lines = bytes.size() + height * qint64(8);
    for (int y = 0; y < height; ++y)
        append(bytes, quint64(lines + y * qint64(8 + lineBytes)));
    for (int y = 0; y < height; ++y) {
        append(bytes, qint32(y));
        append(bytes, qint32(lineBytes));
        // A line holds one channel after the other, in the order of their names.
        for (std::size_t channel : {2u, 1u, 0u}) {
            for (int x = 0; x < width; ++x) {
                const qfloat16 half(lightOf(picture.pixel(x, y))[channel]);
                bytes.append(reinterpret_cast<const char *>(&half), sizeof(half));
            }
        }
    }
    return bytes;
}

QByteArray radiance(const QImage &picture)
{
    QByteArray bytes = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + QByteArray::number(picture.height()) + " +X " +
                       QByteArray::number(picture.width()) + "\n";
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const Light light = lightOf(picture.pixel(x, y));
            int exponent = 0;
            const float most = std::max({light[0], light[1], light[2]});
            const float scale = most < 1e-32f ? 0 : std::frexp(most, &exponent) * 256 / most;
            for (float part : light)
                bytes.append(char(std::min(255, int(part * scale))));
            bytes.append(most < 1e-32f ? '\0' : char(exponent + 128));
        }
    }
    return bytes;
}

} // namespace

bool saveBrightPicture(const QImage &picture, const std::string &file)
{
    const QString name = QString::fromStdString(file);
    const bool isExr = name.endsWith(QLatin1String(".exr"));
    if (!isExr && !name.endsWith(QLatin1String(".hdr")))
        return false;
    const QByteArray bytes = isExr ? exr(picture) : radiance(picture);
    QFile out(name);
    return out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size() && out.flush();
}

} // namespace arkvale::service
