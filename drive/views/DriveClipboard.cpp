#include "DriveClipboard.h"

#include <QDataStream>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QUrl>

namespace {

const char ModelFormat[] = "application/x-qabstractitemmodeldatalist";

/// As a reader of 32-bit integers sees the number; what does not fit reads as 0.
quint64 readSize(const QJsonValue &value)
{
    const int size = value.toInt();
    return size > 0 ? quint64(size) : 0;
}

} // namespace

QString DriveClipboard::format()
{
    return QStringLiteral("ArkvaleTolma");
}

QByteArray DriveClipboard::toJson() const
{
    QJsonArray array;
    for (const FileItem &item : items) {
        array.append(QJsonObject{{QStringLiteral("name"), item.name},
                                 {QStringLiteral("type"), item.type},
                                 {QStringLiteral("size"), double(item.size)},
                                 {QStringLiteral("icon"), item.icon},
                                 {QStringLiteral("date"), double(item.datetime)},
                                 {QStringLiteral("detail"), item.extra},
                                 {QStringLiteral("path"), item.path},
                                 {QStringLiteral("contentType"), item.contentType}});
    }
    const QJsonObject object{
        {QStringLiteral("type"), type}, {QStringLiteral("items"), array}, {QStringLiteral("subCenterId"), subCenterId}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

DriveClipboard DriveClipboard::fromJson(const QByteArray &json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    DriveClipboard record;
    record.type = object.value(QLatin1String("type")).toString();
    record.subCenterId = object.value(QLatin1String("subCenterId")).toString();
    const QJsonArray array = object.value(QLatin1String("items")).toArray();
    for (const QJsonValue &value : array) {
        const QJsonObject entry = value.toObject();
        FileItem item;
        item.name = entry.value(QLatin1String("name")).toString();
        item.type = entry.value(QLatin1String("type")).toInt();
        item.size = readSize(entry.value(QLatin1String("size")));
        item.icon = entry.value(QLatin1String("icon")).toString();
        if (entry.contains(QLatin1String("date")))
            item.datetime = quint64(qBound(0.0, entry.value(QLatin1String("datetime")).toDouble(), 9.0e15));
        item.extra = entry.value(QLatin1String("detail")).toString();
        item.path = entry.value(QLatin1String("path")).toString();
        item.contentType = entry.value(QLatin1String("contentType")).toString();
        if (!item.path.isEmpty())
            record.items.append(item);
    }
    return record;
}

DriveClipboard DriveClipboard::fromMime(const QMimeData *mime)
{
    if (const auto *own = qobject_cast<const DriveMimeData *>(mime))
        return own->record();
    return mime && mime->hasFormat(format()) ? fromJson(mime->data(format())) : DriveClipboard();
}

QStringList DriveClipboard::localFiles(const QMimeData *mime)
{
    QStringList files;
    const QList<QUrl> urls = mime->urls();
    for (const QUrl &url : urls) {
        if (url.isLocalFile())
            files.append(url.toLocalFile());
    }
    return files;
}

QStringList DriveClipboard::paths() const
{
    QStringList result;
    result.reserve(items.size());
    for (const FileItem &item : items)
        result.append(item.path);
    return result;
}

DriveMimeData::DriveMimeData(DriveClipboard record)
    : m_record(std::move(record))
{
}

QStringList DriveMimeData::formats() const
{
    return {DriveClipboard::format(), QLatin1String(ModelFormat)};
}

bool DriveMimeData::hasFormat(const QString &mimeType) const
{
    return formats().contains(mimeType);
}

QVariant DriveMimeData::retrieveData(const QString &mimeType, QVariant::Type type) const
{
    Q_UNUSED(type)
    if (mimeType == DriveClipboard::format())
        return m_record.toJson();
    if (mimeType != QLatin1String(ModelFormat))
        return {};
    QByteArray encoded;
    QDataStream stream(&encoded, QIODevice::WriteOnly);
    int row = 0;
    for (const FileItem &item : m_record.items)
        stream << row++ << 0 << QMap<int, QVariant>{{Qt::DisplayRole, item.name}};
    return encoded;
}
