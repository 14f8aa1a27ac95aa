#pragma once

#include <QSize>
#include <QVector>
#include <qfloat16.h>

class QIODevice;
class QString;

/// Pixels in linear light, which may be brighter than a screen's white.
struct BrightImage
{
    QSize size;               ///< of what is held
    QSize stored;             ///< of the file's image
    QVector<qfloat16> pixels; ///< red, green, blue, alpha; line by line
};

/// Readers of the two formats with a high dynamic range. An image of more than @p mostPixels is made smaller by a whole
/// factor while it is read. False for what cannot be read; may throw std::exception for a broken file.
bool readExr(const QString &file, qint64 mostPixels, BrightImage *image);
bool readRadiance(QIODevice *device, qint64 mostPixels, BrightImage *image);
