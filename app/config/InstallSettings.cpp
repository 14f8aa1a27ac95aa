#include "InstallSettings.h"

#include "ConfigFile.h"

#include <limits>

using ConfigFile::Json;

namespace {

constexpr int kMostInt = std::numeric_limits<int>::max();
constexpr int kLeastInt = std::numeric_limits<int>::min();

QMap<QString, QString> texts(const Json &object, const char *key)
{
    QMap<QString, QString> out;
    const auto found = object.find(key);
    if (found == object.end() || !found->is_object())
        return out;
    for (const auto &entry : found->items()) {
        if (entry.value().is_string())
            out.insert(QString::fromStdString(entry.key()),
                       QString::fromStdString(entry.value().get_ref<const std::string &>()));
    }
    return out;
}

Json fromTexts(const QMap<QString, QString> &texts)
{
    Json out = Json::object();
    for (auto it = texts.begin(); it != texts.end(); ++it)
        out[it.key().toStdString()] = it.value().toStdString();
    return out;
}

/// The member when it is absent, 0 when it is there but no whole number.
int member(const Json &object, const char *key, int absent)
{
    return object.contains(key) ? ConfigFile::integer(object, key, 0, kLeastInt, kMostInt) : absent;
}

ZpdtSettings zpdtFrom(const Json &object)
{
    ZpdtSettings out;
    const auto found = object.find("ZPDT");
    if (found == object.end() || !found->is_object())
        return out;
    out.mss = member(*found, "MSS", out.mss);
    out.downloadLimitCount = member(*found, "DownloadLimitCount", out.downloadLimitCount);
    out.uploadLimitCount = member(*found, "UploadLimitCount", out.uploadLimitCount);
    out.beVerify = member(*found, "BeVerify", out.beVerify);
    return out;
}

SettingsPageOptions pageFrom(const Json &object)
{
    SettingsPageOptions out;
    const auto found = object.find("Settings");
    if (found == object.end() || !found->is_object())
        return out;
    out.show = member(*found, "Show", out.show);
    const auto pages = found->find("SubPage");
    if (pages != found->end() && pages->is_object()) {
        for (const auto &page : pages->items())
            out.subPage.insert(QString::fromStdString(page.key()), member(*pages, page.key().c_str(), 0));
    }
    return out;
}

} // namespace

bool InstallSettings::read(const QString &path)
{
    const std::optional<Json> file = ConfigFile::read(path);
    if (!file)
        return false;
    const Json &json = *file;
    InstallSettings out;
    out.language = ConfigFile::text(json, "Language");
    out.auth = ConfigFile::text(json, "Auth");
    out.listSubCenter = ConfigFile::text(json, "ListSubCenter");
    out.resetPassword = texts(json, "ResetPassword");
    out.registerPage = texts(json, "Register");
    out.userProtocol = texts(json, "UserProtocol");
    out.helpUrl = texts(json, "HelpUrl");
    out.updateUrl = ConfigFile::text(json, "UpdateUrl");
    out.version = ConfigFile::text(json, "Version");
    out.sid = ConfigFile::text(json, "SID");
    out.platform = ConfigFile::text(json, "Platform");
    out.userType = ConfigFile::text(json, "UserType");
    out.disableShare = ConfigFile::boolean(json, "DisableShare", out.disableShare);
    out.startWssWhenOpen = ConfigFile::boolean(json, "StartWssWhenOpen", out.startWssWhenOpen);
    out.wssPort = static_cast<quint16>(ConfigFile::integer(json, "WSSProt", out.wssPort, 0, 65535));
    out.zpdt = zpdtFrom(json);
    out.settingsPage = pageFrom(json);
    out.previewFileMaxSize = ConfigFile::integer(json, "PreviewFileMaxSize", out.previewFileMaxSize, 0, kMostInt);
    *this = out;
    return true;
}

bool InstallSettings::write(const QString &path) const
{
    Json json = Json::object();
    json["Language"] = ConfigFile::fromText(language);
    json["Auth"] = ConfigFile::fromText(auth);
    json["ListSubCenter"] = ConfigFile::fromText(listSubCenter);
    json["ResetPassword"] = fromTexts(resetPassword);
    json["Register"] = fromTexts(registerPage);
    json["UserProtocol"] = fromTexts(userProtocol);
    json["HelpUrl"] = fromTexts(helpUrl);
    json["UpdateUrl"] = ConfigFile::fromText(updateUrl);
    json["Version"] = ConfigFile::fromText(version);
    json["SID"] = ConfigFile::fromText(sid);
    json["Platform"] = ConfigFile::fromText(platform);
    json["UserType"] = ConfigFile::fromText(userType);
    json["DisableShare"] = disableShare;
    json["StartWssWhenOpen"] = startWssWhenOpen;
    json["WSSProt"] = static_cast<int>(wssPort);
    Json engine = Json::object();
    engine["MSS"] = zpdt.mss;
    engine["BeVerify"] = zpdt.beVerify;
    engine["DownloadLimitCount"] = zpdt.downloadLimitCount;
    engine["UploadLimitCount"] = zpdt.uploadLimitCount;
    json["ZPDT"] = engine;
    Json page = Json::object();
    page["Show"] = settingsPage.show;
    page["SubPage"] = Json::object();
    for (auto it = settingsPage.subPage.begin(); it != settingsPage.subPage.end(); ++it)
        page["SubPage"][it.key().toStdString()] = it.value();
    json["Settings"] = page;
    json["PreviewFileMaxSize"] = previewFileMaxSize;
    if (const std::optional<Json> old = ConfigFile::read(path)) {
        for (const auto &entry : old->items()) {
            if (!json.contains(entry.key()))
                json[entry.key()] = entry.value();
        }
    }
    return ConfigFile::write(path, json, false);
}

QList<KnownUser> KnownUsers::read(const QString &path, int limit)
{
    QList<KnownUser> out;
    const std::optional<Json> file = ConfigFile::read(path);
    if (!file)
        return out;
    const auto users = file->find("Users");
    if (users == file->end() || !users->is_array())
        return out;
    for (const Json &entry : *users) {
        if (out.size() >= limit)
            break;
        if (!entry.is_object())
            continue;
        KnownUser user;
        user.id = ConfigFile::text(entry, "ID");
        user.mobile = ConfigFile::text(entry, "Mobile");
        user.email = ConfigFile::text(entry, "Email");
        user.loginType = ConfigFile::text(entry, "LoginType");
        if (!user.id.isEmpty())
            out << user;
    }
    return out;
}

bool KnownUsers::write(const QString &path, const QList<KnownUser> &users)
{
    Json list = Json::array();
    for (const KnownUser &user : users) {
        Json entry = Json::object();
        entry["ID"] = ConfigFile::fromText(user.id);
        entry["Mobile"] = ConfigFile::fromText(user.mobile);
        entry["Email"] = ConfigFile::fromText(user.email);
        entry["LoginType"] = ConfigFile::fromText(user.loginType);
        list.push_back(entry);
    }
    Json json = Json::object();
    json["Users"] = list;
    return ConfigFile::write(path, json, true);
}

QList<KnownUser> KnownUsers::withFirst(const QList<KnownUser> &users, const KnownUser &user, int limit)
{
    QList<KnownUser> out{user};
    for (const KnownUser &other : users) {
        if (out.size() < limit && other.id != user.id)
            out << other;
    }
    return out;
}
