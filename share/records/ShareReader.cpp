#include "ShareReader.h"

#include "JsonScanner.h"

#include <limits>

namespace {

constexpr quint64 kLatest = 253402300800000; // the end of the year 9999, in milliseconds since the epoch

/// Walks over the members of an object; @p read takes the value of its key, or says that it has not.
template <typename Read>
void forEachMember(JsonScanner &json, const Read &read)
{
    JsonScanner::Piece key;
    while (json.nextKey(&key)) {
        if (!read(key))
            json.skip();
    }
}

/// Calls @p read in each object of the array of that name. False when the body is no JSON object.
template <typename Restart, typename Read>
bool forEachElement(const QByteArray &body, const char *name, const Restart &restart, const Read &read)
{
    JsonScanner json(body);
    if (!json.enterObject())
        return false;
    forEachMember(json, [&](const JsonScanner::Piece &key) {
        if (!key.is(name, int(qstrlen(name))))
            return false;
        restart(); // of a key given twice the last counts
        if (!json.enterArray())
            return false;
        while (json.nextElement()) {
            if (json.enterObject())
                read(json);
            else
                json.skip();
        }
        return true;
    });
    return !json.failed() && json.atEnd();
}

/// Where a text belongs.
struct Text
{
    const char *key;
    QString *value;
};

/// Reads the texts of an object. False when the body is no JSON object.
bool readTexts(const QByteArray &body, std::initializer_list<Text> texts)
{
    JsonScanner json(body);
    if (!json.enterObject())
        return false;
    forEachMember(json, [&](const JsonScanner::Piece &key) {
        for (const Text &text : texts) {
            if (!key.is(text.key, int(qstrlen(text.key))))
                continue;
            *text.value = json.string();
            return true;
        }
        return false;
    });
    return !json.failed() && json.atEnd();
}

/// A flag, as a truth value or as a number.
bool flag(JsonScanner &json)
{
    const JsonScanner::Piece value = json.raw();
    return value.is("true") || value.bytes().toInt() != 0;
}

QStringList textsOf(JsonScanner &json)
{
    QStringList texts;
    if (!json.enterArray()) {
        json.skip();
        return texts;
    }
    while (json.nextElement()) {
        const JsonScanner::Piece value = json.raw();
        if (value.size > 0 && value.begin[0] == '"')
            texts << JsonScanner::decoded(value);
    }
    return texts;
}

ShareRecord recordOf(JsonScanner &json)
{
    ShareRecord record;
    const Text texts[] = {{"shareId", &record.shareId},
                          {"owner", &record.owner},
                          {"name", &record.name},
                          {"path", &record.path},
                          {"contentType", &record.contentType},
                          {"icon", &record.icon},
                          {"link", &record.link},
                          {"password", &record.password},
                          {"permission", &record.permission},
                          {"subCenterId", &record.subCenterId}};
    forEachMember(json, [&](const JsonScanner::Piece &key) {
        for (const Text &text : texts) {
            if (key.is(text.key, int(qstrlen(text.key)))) {
                *text.value = json.string();
                return true;
            }
        }
        if (key.is("shareType")) {
            record.shareType = json.int32();
        } else if (key.is("isDir")) {
            record.isDir = int(flag(json));
        } else if (key.is("shareTime")) {
            const quint64 time = json.unsigned64();
            record.shareTime = time > 0 && time < kLatest ? QDateTime::fromMSecsSinceEpoch(qint64(time)) : QDateTime();
        } else if (key.is("size")) {
            const quint64 size = json.unsigned64();
            record.size = size <= quint64(std::numeric_limits<qint64>::max()) ? size : 0;
        } else if (key.is("shareTo")) {
            record.shareTo = textsOf(json);
        } else if (key.is("authentification")) {
            record.authentification = flag(json);
        } else {
            return false;
        }
        return true;
    });
    return record;
}

} // namespace

QList<ShareRecord> ShareReader::records(const QByteArray &body)
{
    QList<ShareRecord> records;
    const bool ok = forEachElement(
        body, "share", [&] { records.clear(); }, [&](JsonScanner &json) { records << recordOf(json); });
    return ok ? records : QList<ShareRecord>();
}

QList<UserInfo> ShareReader::users(const QByteArray &body)
{
    QList<UserInfo> users;
    const bool ok = forEachElement(
        body, "users", [&] { users.clear(); },
        [&](JsonScanner &json) {
            UserInfo user;
            forEachMember(json, [&](const JsonScanner::Piece &key) {
                QString *text = key.is("username")   ? &user.username
                                : key.is("nickname") ? &user.nickname
                                : key.is("icon")     ? &user.icon
                                                     : nullptr;
                if (text)
                    *text = json.string();
                return text != nullptr;
            });
            if (!user.username.isEmpty())
                users << user;
        });
    return ok ? users : QList<UserInfo>();
}

void ShareReader::readMade(const QByteArray &body, ShareRecord *record)
{
    ShareRecord read = *record;
    if (readTexts(body, {{"shareId", &read.shareId}, {"link", &read.link}}))
        *record = read;
}

void ShareReader::readProfile(const QByteArray &body, UserInfo *user)
{
    UserInfo read = *user;
    if (readTexts(body, {{"username", &read.username},
                         {"nickname", &read.nickname},
                         {"mobile", &read.mobile},
                         {"email", &read.email},
                         {"icon", &read.icon}}))
        *user = read;
}

void ShareReader::readPlace(const QByteArray &body, QString *userPath, QString *filePath)
{
    QString user, file;
    if (readTexts(body, {{"userPath", &user}, {"filePath", &file}})) {
        *userPath = user;
        *filePath = file;
    }
}
