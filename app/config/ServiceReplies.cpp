#include "ServiceReplies.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

namespace {

constexpr int kMostBytes = 4 * 1024 * 1024;
constexpr int kMostEntries = 256;

std::optional<QJsonObject> object(const QByteArray &body)
{
    if (body.size() > kMostBytes)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isObject())
        return std::nullopt;
    return document.object();
}

/// A port may come as a number as well as a text.
QString textOrNumber(const QJsonValue &value)
{
    return value.isDouble() ? QString::number(value.toInt()) : value.toString();
}

QList<ServerAddress> servers(const QJsonValue &value)
{
    QList<ServerAddress> out;
    const QJsonArray list = value.toArray();
    for (const QJsonValue &entry : list) {
        const QJsonObject server = entry.toObject();
        const QString host = server.value(QLatin1String("ip")).toString();
        if (!host.isEmpty() && out.size() < kMostEntries)
            out << ServerAddress(host, textOrNumber(server.value(QLatin1String("port"))));
    }
    return out;
}

qint64 speed(const QJsonValue &value)
{
    const double number = value.toDouble(0);
    return number > 0 && number < 1e15 ? static_cast<qint64>(number) : 0;
}

} // namespace

std::optional<QList<SubCenter>> ServiceReplies::subCenters(const QByteArray &body)
{
    const std::optional<QJsonObject> root = object(body);
    if (!root)
        return std::nullopt;
    QList<SubCenter> out;
    QSet<QString> seen;
    const QJsonArray list = root->value(QLatin1String("subCenters")).toArray();
    for (const QJsonValue &entry : list) {
        const QJsonObject record = entry.toObject();
        SubCenter center;
        center.id = textOrNumber(record.value(QLatin1String("id")));
        center.name = record.value(QLatin1String("name")).toString();
        center.address = record.value(QLatin1String("orv")).toString();
        center.icon = record.value(QLatin1String("icon")).toString();
        center.udtServers = servers(record.value(QLatin1String("udtServer")));
        center.asperaServers = servers(record.value(QLatin1String("asperaServer")));
        if (center.id.isEmpty() || seen.contains(center.id) || out.size() >= kMostEntries)
            continue;
        seen.insert(center.id);
        out << center;
    }
    return out;
}

std::optional<QList<Advertisement>> ServiceReplies::advertisements(const QByteArray &body)
{
    const std::optional<QJsonObject> root = object(body);
    if (!root)
        return std::nullopt;
    QList<Advertisement> out;
    const QJsonArray list = root->value(QLatin1String("ads")).toArray();
    for (const QJsonValue &entry : list) {
        if (!entry.isObject() || out.size() >= kMostEntries)
            continue;
        const QJsonObject record = entry.toObject();
        out << Advertisement{
            record.value(QLatin1String("postTime")).toString(), record.value(QLatin1String("title")).toString(),
            record.value(QLatin1String("jumpLink")).toString(), record.value(QLatin1String("content")).toString()};
    }
    return out;
}

std::optional<TransferLimit> ServiceReplies::transferLimit(const QByteArray &body)
{
    const std::optional<QJsonObject> root = object(body);
    if (!root)
        return std::nullopt;
    TransferLimit out;
    const QJsonObject types = root->value(QLatin1String("transferTypes")).toObject();
    out.defaultType = types.value(QLatin1String("default")).toString();
    out.zpdtType = types.value(QLatin1String("ZPDT")).toString();
    out.available = root->value(QLatin1String("available")).toBool();
    const QJsonObject rates = root->value(QLatin1String("transferRateLimit")).toObject();
    out.upload = speed(rates.value(QLatin1String("upload")));
    out.download = speed(rates.value(QLatin1String("download")));
    return out;
}
