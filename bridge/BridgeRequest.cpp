#include "BridgeRequest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

/// More entries than anybody picks in a page; the list comes from outside and is held in memory.
constexpr int kMostItems = 100000;

void readDownload(const QJsonObject &object, BridgeRequest *request)
{
    const QJsonArray sources = object.value(QLatin1String("src")).toArray();
    if (sources.isEmpty())
        return;
    const QJsonObject source = sources.first().toObject();
    QString folder = source.value(QLatin1String("path")).toString();
    if (!BridgeRequest::isFolder(folder)) {
        ++request->refused;
        return;
    }
    folder.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (!folder.endsWith(QLatin1Char('/')))
        folder += QLatin1Char('/');

    const QJsonArray names = source.value(QLatin1String("names")).toArray();
    for (int i = 0; i < qMin(names.size(), kMostItems); ++i) {
        const QJsonObject entry = names.at(i).toObject();
        FileItem item;
        item.name = entry.value(QLatin1String("name")).toString();
        if (!BridgeRequest::isName(item.name)) {
            ++request->refused;
            continue;
        }
        item.type = entry.value(QLatin1String("type")).toString() == QLatin1String("folder") ? FileItem::Folder
                                                                                             : FileItem::File;
        item.path = folder + item.name;
        request->items << item;
    }
}

} // namespace

bool BridgeRequest::isName(const QString &name)
{
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String(".."))
        return false;
    return std::none_of(name.begin(), name.end(),
                        [](QChar c) { return c == QLatin1Char('/') || c == QLatin1Char('\\') || c.isNull(); });
}

bool BridgeRequest::isFolder(const QString &path)
{
    QString plain = path;
    plain.replace(QLatin1Char('\\'), QLatin1Char('/'));
    const QStringList parts = plain.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    return std::all_of(parts.begin(), parts.end(), isName);
}

BridgeRequest BridgeRequest::parse(const QString &message)
{
    BridgeRequest request;
    const QJsonObject object = QJsonDocument::fromJson(message.toUtf8()).object();
    const QString action = object.value(QLatin1String("action")).toString();
    request.center = object.value(QLatin1String("center")).toString();
    if (action == QLatin1String("login")) {
        request.action = Login;
        request.username = object.value(QLatin1String("username")).toString();
        request.token = object.value(QLatin1String("token")).toString();
    } else if (action == QLatin1String("upload")) {
        request.dest = object.value(QLatin1String("dest")).toString();
        if (isFolder(request.dest))
            request.action = Upload;
        else
            ++request.refused;
    } else if (action == QLatin1String("download")) {
        readDownload(object, &request);
        if (!request.items.isEmpty())
            request.action = Download;
    } else if (action == QLatin1String("logout")) {
        request.action = Logout;
    }
    return request;
}
