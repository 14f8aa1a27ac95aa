#pragma once

#include <QByteArray>
#include <QImage>
#include <QPixmap>

/// Small pictures that the service sends: avatars and icons. Their bytes come from outside, so what is too large to be
/// one is not decoded at all.
namespace ServicePicture {

/// Null for what is no picture, or one of more than 4 MiB or 4096 pixels a side.
QImage decode(const QByteArray &data);
/// Filling a circle of @p side device-independent pixels, sharp at @p ratio.
QPixmap round(const QImage &image, int side, qreal ratio);

} // namespace ServicePicture
