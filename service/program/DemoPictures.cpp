#include "DemoPictures.h"

#include <QImage>
#include <QImageWriter>
#include <QLinearGradient>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>
#include <cmath>

namespace arkvale::service {

namespace {

constexpr double pi = 3.14159265358979323846;

/// How bright the day is at an hour, 0 to 1.
double daylight(double hour)
{
    return std::max(0.0, std::sin((hour - 6.0) / 12.0 * pi));
}

QPolygonF hills(int width, int height, double base, double roughness, unsigned seed)
{
    QPolygonF shape;
    shape << QPointF(0, height);
    const int steps = 160;
    for (int i = 0; i <= steps; ++i) {
        const double x = static_cast<double>(i) / steps;
        double y = base;
        double amount = roughness;
        for (int octave = 1; octave <= 5; ++octave) {
            y += amount * std::sin(x * 3.1 * octave * octave + seed * 1.7 * octave);
            amount /= 2.1;
        }
        shape << QPointF(x * width, y * height);
    }
    shape << QPointF(width, height);
    return shape;
}

} // namespace

QImage demoLandscape(int width, int height, double hour, unsigned seed)
{
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double light = daylight(hour);
    const double glow = std::exp(-std::pow((hour < 12 ? hour - 6.5 : hour - 18.0) / 1.6, 2));

    QLinearGradient sky(0, 0, 0, height * 0.7);
    sky.setColorAt(0, QColor::fromRgbF(0.05 + 0.2 * light, 0.07 + 0.4 * light, 0.2 + 0.6 * light));
    sky.setColorAt(1, QColor::fromRgbF(std::min(1.0, 0.12 + 0.6 * light + 0.5 * glow), 0.12 + 0.65 * light + 0.2 * glow,
                                       0.25 + 0.6 * light * (1 - 0.4 * glow)));
    painter.fillRect(image.rect(), sky);

    const double along = (hour - 5) / 14;
    if (along > 0 && along < 1) {
        const QPointF sun(along * width, height * (0.62 - 0.5 * std::sin(along * pi)));
        painter.setBrush(QColor::fromRgbF(1, 0.75 + 0.2 * light, 0.45 + 0.4 * light));
        painter.drawEllipse(sun, height * 0.05, height * 0.05);
    }
    for (int layer = 0; layer < 4; ++layer) {
        const double depth = layer / 3.0;
        painter.setBrush(QColor::fromRgbF((0.08 + 0.3 * light) * (1 - 0.6 * depth) + 0.1 * glow,
                                          (0.1 + 0.4 * light) * (1 - 0.4 * depth),
                                          (0.16 + 0.35 * light) * (1 - 0.8 * depth)));
        painter.drawPolygon(hills(width, height, 0.5 + 0.13 * layer, 0.1 - 0.015 * layer, seed + 7u * layer));
    }
    return image;
}

QImage demoFrame(int width, int height, double position)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(QColor(38, 50, 66));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.fillRect(0, height * 5 / 6, width, height - height * 5 / 6, QColor(70, 90, 110));
    const double bounce = std::fabs(std::sin(position * 12 * pi)) * (1 - 0.6 * position);
    const double radius = height * 0.1;
    painter.setBrush(QColor(240, 150, 60));
    painter.drawEllipse(
        QPointF(radius + position * (width - 2 * radius), height * 5.0 / 6 - radius - bounce * height * 0.6), radius,
        radius);
    return image;
}

bool savePicture(const QImage &picture, const std::string &file)
{
    QImageWriter writer(QString::fromStdString(file));
    if (file.size() > 4 && file.compare(file.size() - 4, 4, ".jpg") == 0)
        writer.setQuality(88);
    return writer.write(picture);
}

bool canWritePicture(const std::string &ending)
{
    return QImageWriter::supportedImageFormats().contains(QByteArray::fromStdString(ending));
}

} // namespace arkvale::service
