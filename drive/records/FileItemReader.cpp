#include "FileItemReader.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <QVariant>

namespace {

/// A number or the decimal text of one. A double outside the range must not reach the integer conversion.
quint64 unsignedOf(const QJsonValue &value)
{
    if (value.isString())
        return value.toString().toULongLong();
    const double number = value.toDouble();
    if (!(number > 0.0))
        return 0;
    if (number >= 9.2e18)
        return number >= 1.8446744073709551e19 ? ~quint64(0) : quint64(number);
    return value.toVariant().toULongLong();
}

QJsonArray itemsOf(const QByteArray &body)
{
    return QJsonDocument::fromJson(body).object().value(QLatin1String("items")).toArray();
}

} // namespace

FileItem FileItemReader::item(const QJsonObject &object, TimeRule rule)
{
    FileItem item;
    item.name = object.value(QLatin1String("name")).toString();
    item.type = object.value(QLatin1String("type")).toInt();
    item.size = unsignedOf(object.value(QLatin1String("size")));
    item.icon = object.value(QLatin1String("icon")).toString();
    const auto time = object.constFind(QLatin1String("datetime"));
    if (time != object.constEnd())
        item.datetime = unsignedOf(rule == PlainTime ? *time : object.value(QLatin1String("modifiedTime")));
    item.path = object.value(QLatin1String("path")).toString();
    item.contentType = object.value(QLatin1String("contentType")).toString();
    return item;
}

QList<FileItem> FileItemReader::items(const QByteArray &body, TimeRule rule, const QString &source)
{
    QList<FileItem> result;
    const QJsonArray array = itemsOf(body);
    result.reserve(array.size());
    for (const QJsonValue &value : array) {
        if (!value.isObject())
            continue;
        result.append(item(value.toObject(), rule));
        result.last().source = source;
    }
    return result;
}

QStringList FileItemReader::names(const QByteArray &body)
{
    QStringList result;
    const QJsonArray items = itemsOf(body);
    for (const QJsonValue &value : items) {
        if (value.isObject())
            result.append(value.toObject().value(QLatin1String("name")).toString());
    }
    return result;
}
