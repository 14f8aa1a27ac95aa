#include "ServicePicture.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int kLargestBytes = 4 * 1024 * 1024;
constexpr int kLargestSide = 4096; // pixels

} // namespace

QImage ServicePicture::decode(const QByteArray &data)
{
    if (data.isEmpty() || data.size() > kLargestBytes)
        return QImage();
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (!size.isValid() || size.width() > kLargestSide || size.height() > kLargestSide)
        return QImage();
    return reader.read();
}

QPixmap ServicePicture::round(const QImage &image, int side, qreal ratio)
{
    const int pixels = qRound(side * ratio);
    const QImage scaled = image.scaled(pixels, pixels, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    QPixmap result(pixels, pixels);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath circle;
    circle.addEllipse(0, 0, pixels, pixels);
    painter.setClipPath(circle);
    painter.drawImage((pixels - scaled.width()) / 2, (pixels - scaled.height()) / 2, scaled);
    painter.end();
    result.setDevicePixelRatio(ratio);
    return result;
}
