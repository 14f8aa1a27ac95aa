#include "FileItemReader.h"

#include "JsonScanner.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace {

/// Texts that many entries share are kept once.
class SharedTexts
{
public:
    QString of(const JsonScanner::Piece &quoted)
    {
        if (quoted == m_lastRaw)
            return m_last;
        auto found = m_texts.constFind(quoted.bytes());
        if (found == m_texts.constEnd()) {
            if (m_texts.size() == Most)
                m_texts.clear();
            found = m_texts.insert(quoted.bytes(), JsonScanner::decoded(quoted));
        }
        m_lastRaw = quoted;
        m_last = *found;
        return m_last;
    }

private:
    static constexpr int Most = 512;
    QHash<QByteArray, QString> m_texts; ///< the keys refer to the text that is read
    JsonScanner::Piece m_lastRaw;
    QString m_last;
};

FileItem readItem(JsonScanner &json, FileItemReader::TimeRule rule, SharedTexts &shared)
{
    FileItem item;
    bool hasTime = false;
    bool isFolder = false; // as the items of shares say it
    quint64 plainTime = 0, modifiedTime = 0;
    JsonScanner::Piece key;
    while (json.nextKey(&key)) {
        if (key.is("name"))
            item.name = json.string();
        else if (key.is("path"))
            item.path = json.string();
        else if (key.is("type"))
            item.type = json.int32();
        else if (key.is("isDir"))
            isFolder = json.int32() != 0;
        else if (key.is("size"))
            item.size = json.unsigned64();
        else if (key.is("icon"))
            item.icon = shared.of(json.raw());
        else if (key.is("contentType"))
            item.contentType = shared.of(json.raw());
        else if (key.is("modifiedTime"))
            modifiedTime = json.unsigned64();
        else if (key.is("datetime")) {
            hasTime = true;
            plainTime = json.unsigned64();
        } else
            json.skip();
    }
    if (isFolder)
        item.type = FileItem::Folder;
    if (hasTime)
        item.datetime = rule == FileItemReader::PlainTime ? plainTime : modifiedTime;
    return item;
}

/// Calls @p read in each object of the array "items". False when the body is no JSON object.
template <typename Restart, typename Read>
bool forEachItem(const QByteArray &body, const Restart &restart, const Read &read)
{
    JsonScanner json(body);
    if (!json.enterObject())
        return false;
    JsonScanner::Piece key;
    while (json.nextKey(&key)) {
        const bool isItems = key.is("items");
        if (isItems)
            restart(); // of a key given twice the last counts
        if (!isItems || !json.enterArray()) {
            json.skip();
            continue;
        }
        while (json.nextElement()) {
            if (json.enterObject())
                read(json);
            else
                json.skip();
        }
    }
    return !json.failed() && json.atEnd();
}

} // namespace

FileItem FileItemReader::item(const QByteArray &body, TimeRule rule)
{
    JsonScanner json(body);
    SharedTexts shared;
    if (!json.enterObject())
        return {};
    const FileItem item = readItem(json, rule, shared);
    return json.failed() || !json.atEnd() ? FileItem() : item;
}

FileItem FileItemReader::item(const QJsonObject &object, TimeRule rule)
{
    return item(QJsonDocument(object).toJson(QJsonDocument::Compact), rule);
}

QList<FileItem> FileItemReader::items(const QByteArray &body, TimeRule rule, const QString &source)
{
    QList<FileItem> result;
    SharedTexts shared;
    const bool ok = forEachItem(
        body, [&] { result.clear(); },
        [&](JsonScanner &json) {
            result.append(readItem(json, rule, shared));
            result.last().source = source;
        });
    return ok ? result : QList<FileItem>();
}

QStringList FileItemReader::names(const QByteArray &body)
{
    QStringList result;
    const bool ok = forEachItem(
        body, [&] { result.clear(); },
        [&](JsonScanner &json) {
            QString name;
            JsonScanner::Piece key;
            while (json.nextKey(&key)) {
                if (key.is("name"))
                    name = json.string();
                else
                    json.skip();
            }
            result.append(name);
        });
    return ok ? result : QStringList();
}
