#include "Icons.h"

#include "AccountStore.h"

#include <QBuffer>
#include <QColor>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

namespace arkvale::service {

namespace {

constexpr int side = 96;
constexpr qint64 largestStored = 1024 * 1024;

/// The same number for the same name on every machine and in every run.
quint32 numberOf(const std::string &name)
{
    quint32 number = 2166136261u;
    for (const char c : name)
        number = (number ^ static_cast<unsigned char>(c)) * 16777619u;
    return number;
}

QColor colourOf(const std::string &name)
{
    return QColor::fromHsv(static_cast<int>(numberOf(name) % 360), 140, 200);
}

QImage canvas()
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

/// A disc with a pattern of blocks that is the same on both sides, as a face is.
QImage avatar(const std::string &name)
{
    QImage image = canvas();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath disc;
    disc.addEllipse(2, 2, side - 4, side - 4);
    painter.setClipPath(disc);
    painter.fillPath(disc, colourOf(name));
    const quint32 bits = numberOf(name + "#");
    constexpr int block = 14;
    for (int i = 0; i < 15; ++i) {
        if ((bits >> i & 1u) == 0)
            continue;
        const int row = i / 3;
        const int column = i % 3;
        const int y = 13 + row * block;
        painter.fillRect(13 + column * block, y, block, block, QColor(255, 255, 255, 190));
        painter.fillRect(13 + (4 - column) * block, y, block, block, QColor(255, 255, 255, 190));
    }
    return image;
}

/// A rack of three machines.
QImage subCenter(const std::string &id)
{
    QImage image = canvas();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colourOf("center " + id));
    painter.drawRoundedRect(QRectF(4, 4, side - 8, side - 8), 14, 14);
    for (int i = 0; i < 3; ++i) {
        painter.setBrush(Qt::white);
        painter.drawRoundedRect(QRectF(20, 20 + i * 20, 56, 15), 4, 4);
        painter.setBrush(i == 0 ? QColor(60, 190, 90) : QColor(150, 160, 170));
        painter.drawEllipse(QPointF(66, 27.5 + i * 20), 3.5, 3.5);
    }
    return image;
}

void drawFolder(QPainter &painter)
{
    painter.setBrush(QColor(222, 170, 60));
    painter.drawRoundedRect(QRectF(8, 18, 36, 24), 5, 5);
    painter.setBrush(QColor(245, 200, 95));
    painter.drawRoundedRect(QRectF(8, 28, 80, 52), 6, 6);
}

void drawSheet(QPainter &painter, const QColor &band)
{
    const QPolygonF sheet({{20, 6}, {60, 6}, {78, 24}, {78, 90}, {20, 90}});
    painter.setPen(QPen(QColor(150, 160, 170), 2));
    painter.setBrush(Qt::white);
    painter.drawPolygon(sheet);
    painter.setBrush(QColor(225, 230, 235));
    painter.drawPolygon(QPolygonF({{60, 6}, {60, 24}, {78, 24}}));
    painter.setPen(Qt::NoPen);
    painter.fillRect(QRectF(21, 76, 56, 13), band);
}

void drawLines(QPainter &painter)
{
    for (int i = 0; i < 4; ++i)
        painter.fillRect(QRectF(29, 34 + i * 10, i == 3 ? 24 : 40, 4), QColor(150, 160, 170));
}

bool drawSymbol(QPainter &painter, const std::string &kind)
{
    if (kind == "image") {
        drawSheet(painter, QColor(90, 170, 110));
        painter.setBrush(QColor(250, 200, 70));
        painter.drawEllipse(QPointF(38, 40), 6, 6);
        painter.setBrush(QColor(90, 170, 110));
        painter.drawPolygon(QPolygonF({{27, 70}, {43, 50}, {52, 60}, {61, 44}, {71, 70}}));
    } else if (kind == "video") {
        drawSheet(painter, QColor(160, 90, 190));
        painter.setBrush(QColor(160, 90, 190));
        painter.drawPolygon(QPolygonF({{39, 36}, {64, 52}, {39, 68}}));
    } else if (kind == "audio") {
        drawSheet(painter, QColor(230, 130, 60));
        painter.setBrush(QColor(230, 130, 60));
        painter.drawEllipse(QPointF(40, 65), 8, 6);
        painter.fillRect(QRectF(45, 36, 4, 29), QColor(230, 130, 60));
        painter.fillRect(QRectF(45, 36, 18, 6), QColor(230, 130, 60));
    } else if (kind == "archive") {
        drawSheet(painter, QColor(190, 150, 80));
        for (int i = 0; i < 6; ++i)
            painter.fillRect(QRectF(i % 2 == 0 ? 42 : 50, 10 + i * 8, 8, 8), QColor(190, 150, 80));
    } else if (kind == "text") {
        drawSheet(painter, QColor(100, 140, 190));
        drawLines(painter);
    } else if (kind == "document" || kind == "pdf") {
        drawSheet(painter, kind == "pdf" ? QColor(205, 70, 60) : QColor(60, 110, 200));
        drawLines(painter);
    } else if (kind == "scene") {
        drawSheet(painter, QColor(50, 160, 170));
        painter.setBrush(QColor(50, 160, 170));
        painter.drawPolygon(QPolygonF({{49, 34}, {68, 43}, {49, 52}, {30, 43}}));
        painter.setBrush(QColor(35, 120, 130));
        painter.drawPolygon(QPolygonF({{30, 45}, {48, 54}, {48, 72}, {30, 63}}));
        painter.setBrush(QColor(80, 190, 200));
        painter.drawPolygon(QPolygonF({{68, 45}, {50, 54}, {50, 72}, {68, 63}}));
    } else {
        return false;
    }
    return true;
}

QImage fileIcon(const std::string &kind)
{
    QImage image = canvas();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (kind == "folder")
        drawFolder(painter);
    else if (!drawSymbol(painter, kind))
        drawSheet(painter, QColor(150, 160, 170));
    return image;
}

std::string pngOf(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes.toStdString();
}

} // namespace

std::optional<std::string> Icons::png(const std::string &name) const
{
    const std::size_t slash = name.find('/');
    const std::string ending = ".png";
    if (slash == std::string::npos || name.size() <= slash + 1 + ending.size() ||
        name.compare(name.size() - ending.size(), ending.size(), ending) != 0)
        return std::nullopt;
    const std::string group = name.substr(0, slash);
    const std::string item = name.substr(slash + 1, name.size() - slash - 1 - ending.size());
    if ((group != "user" && group != "subcenter" && group != "file") || !isUserName(item))
        return std::nullopt;
    if (auto bytes = stored(name))
        return bytes;
    if (group == "user")
        return pngOf(avatar(item));
    if (group == "subcenter")
        return pngOf(subCenter(item));
    return pngOf(fileIcon(item));
}

std::optional<std::string> Icons::stored(const std::string &name) const
{
    QFile file(QString::fromStdString(m_folder + '/' + name));
    if (m_folder.empty() || !QFileInfo(file).isFile() || file.size() > largestStored || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.read(largestStored).toStdString();
}

} // namespace arkvale::service
