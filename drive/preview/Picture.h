#pragma once

#include <QByteArray>
#include <QImage>
#include <QMetaType>
#include <QSize>
#include <QVector>

#include <memory>

/// Linear light of an image with a high dynamic range. Immutable once made, so it may be shared between threads.
class LightPixels
{
public:
    /// @param halves four half floats a pixel, kept alive by @p owner
    LightPixels(const QSize &size, const quint16 *halves, std::shared_ptr<const void> owner);

    QSize size() const { return m_size; }
    /// The picture as a screen shows it, @p stops brighter than it is stored. Bright parts are held back softly instead
    /// of being cut. Takes long for a large image.
    QImage toned(double stops) const;
    /// Stops that bring the middle brightness to a middle grey; 0 where that is nearly so already.
    double goodStops() const;

private:
    QSize m_size;
    const quint16 *m_halves;
    std::shared_ptr<const void> m_owner;
};

/// A decoded image in several sizes, each half the one before, so that any scale is drawn from one that is close to it.
/// A plain value; copies share the pixels.
struct Picture
{
    QVector<QImage> levels; ///< the largest first; 32-bit premultiplied
    QSize stored;           ///< pixels of the image in the file
    std::shared_ptr<const LightPixels> light;
    double stops = 0;      ///< at which `light` was toned
    bool isBright = false; ///< the file has a high dynamic range, also where `light` is not at hand

    bool isComplete = false; ///< nothing more can be had from the file
    bool isStandIn = false;  ///< the service's small picture of a file that is too large to be fetched

    bool isNull() const { return levels.isEmpty(); }
    QSize size() const { return isNull() ? QSize() : levels.first().size(); }
    /// Of the pixels.
    qint64 bytes() const;

    static Picture of(const QImage &image, const QSize &stored);
    static Picture of(std::shared_ptr<const LightPixels> light, const QSize &stored, double stops);
    /// The smallest level that is at least @p scale times the stored size.
    const QImage &levelFor(double scale) const;

    /// Without the levels that @p box has no room for.
    Picture reduced(const QSize &box) const;

    /// The picture made to fit into @p box, as bytes for the cache, with what is to be known of the file.
    QByteArray toCache(const QSize &box) const;
    /// Null for bytes that toCache() did not make.
    static Picture fromCache(const QByteArray &bytes);
};

Q_DECLARE_METATYPE(Picture)
