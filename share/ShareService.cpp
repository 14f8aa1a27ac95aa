#include "ShareService.h"

#include "CacheFolders.h"
#include "FileIconAssistant.h"
#include "FileItemReader.h"
#include "GlobalConfig.h"
#include "OrderedWork.h"
#include "ShareReader.h"

namespace {

/// Bodies up to this length are read where they arrive.
constexpr int kReadInline = 48 * 1024;

enum Code
{
    Success = 200,
    Expired = 201,
    Accepted = 202
};

} // namespace

ShareService::ShareService(const QString &url, QObject *parent)
    : QObject(parent)
    , config(GlobalConfig::instance())
    , client(config->client())
    , m_icons(new FileIconAssistant(url, CacheFolders::ofCurrentUser(QStringLiteral("share")), this))
    , m_work(new OrderedWork(this))
{
    qRegisterMetaType<ShareRecord>("ShareRecord");
    qRegisterMetaType<QList<ShareRecord>>("QList<ShareRecord>");
    qRegisterMetaType<QList<UserInfo>>("QList<UserInfo>");
    client.setUrl(url);
    connectClient();
    connect(m_icons, &FileIconAssistant::handlerGetUserIconFinished, this, &ShareService::handlerGetUserIconFinished);
    connect(m_icons, &FileIconAssistant::handlerGetFileIconFinished, this, &ShareService::sigGetFileIconFinished);
}

ShareService::~ShareService() = default;

void ShareService::connectClient()
{
    const auto to = [this](void (OrvClient::*answer)(qint64, int, QByteArray),
                           void (ShareService::*handler)(qint64, int, QByteArray)) {
        connect(&client, answer, this, handler, Qt::QueuedConnection);
    };
    to(&OrvClient::searchUsersFinished, &ShareService::handlerSearchUser);
    to(&OrvClient::publicShareFinished, &ShareService::handlerPublicShare);
    to(&OrvClient::privateShareFinished, &ShareService::handlerPrivateShare);
    to(&OrvClient::friendShareFinished, &ShareService::handlerFriendShare);
    to(&OrvClient::modifyPasswordFinished, &ShareService::handlerModifyPassword);
    to(&OrvClient::modifyUsersFinished, &ShareService::handlerModifyUsers);
    to(&OrvClient::deleteShareFinished, &ShareService::handlerDeleteShare);
    to(&OrvClient::ignoreShareFinished, &ShareService::handlerIgnoreShare);
    to(&OrvClient::getUserInfoFinished, &ShareService::handlerGetUserInfo);
    to(&OrvClient::listMyShareFinished, &ShareService::handlerListMyShare);
    to(&OrvClient::listShareToMeFinished, &ShareService::handlerListShareToMe);
    to(&OrvClient::shareDownloadFinished, &ShareService::handlerShareToMeDownload);
    to(&OrvClient::shareToMeSaveAsFinished, &ShareService::handlerShareToMeSaveAs);
    to(&OrvClient::shareToMeListFileFinished, &ShareService::handlerShareToMeListFile);
    to(&OrvClient::shareToMeFileRealPathFinished, &ShareService::handlerShareToMeFileRealPath);
    to(&OrvClient::reportShareFinished, &ShareService::handlerReportShare);
}

QList<ShareRecord> ShareService::readShareRecord(const QByteArray &body)
{
    return ShareReader::records(body);
}

QString ShareService::reasonOf(int code)
{
    switch (code) {
    case 403:
        return tr("This is not allowed.");
    case 203:
    case 404:
        return tr("The share, the item or the user is not there any more.");
    case 409:
        return tr("Something of that name is there already.");
    case 413:
        return tr("That is too large.");
    case 429:
        return tr("Too many requests. Please try again later.");
    case 507:
        return tr("There is not enough space.");
    case OrvClient::LocalFile:
        return tr("The file cannot be written.");
    default:
        return code > 0 && code < 500 ? tr("The request was refused.") : tr("The service cannot be reached now.");
    }
}

bool ShareService::succeeded(const char *operation, int code)
{
    if (code == Success || code == Accepted)
        return true;
    if (code == Expired)
        emit sigLogout(tr("Access Denied!"));
    else
        emit handlerRequestFailed(QLatin1String(operation), code);
    return false;
}

bool ShareService::take(QMap<qint64, ShareRecord> &pending, qint64 id, const char *operation, int code,
                        const QByteArray &body, ShareRecord *record)
{
    if (!pending.contains(id))
        return false;
    *record = pending.take(id);
    if (!succeeded(operation, code))
        return false;
    ShareReader::readMade(body, record);
    return true;
}

bool ShareService::take(QMap<qint64, Visit> &pending, qint64 id, const char *operation, int code)
{
    if (!pending.contains(id))
        return false;
    m_answered = pending.take(id);
    return succeeded(operation, code);
}

// Requests

void ShareService::searchUser(const QString &text, int limit)
{
    m_lastSearch = client.searchUsers(text, limit);
    m_searches << m_lastSearch;
}

void ShareService::publicShare(const ShareRecord &record)
{
    m_publicShares.insert(client.publicShare(record.path, record.permission), record);
}

void ShareService::privateShare(const ShareRecord &record)
{
    m_privateShares.insert(client.privateShare(record.path, record.permission, record.password), record);
}

void ShareService::friendShare(const ShareRecord &record)
{
    m_friendShares.insert(client.friendShare(record.path, record.shareTo), record);
}

void ShareService::modifyPassword(const ShareRecord &record)
{
    m_passwords.insert(client.modifyPassword(record.shareId, record.password), record);
}

void ShareService::modifyUsers(const ShareRecord &record)
{
    m_users.insert(client.modifyUsers(record.shareId, record.shareTo), record);
}

void ShareService::deleteShare(const QStringList &shareIds)
{
    m_deletions.insert(client.deleteShare(shareIds), shareIds);
}

void ShareService::ignoreShare(const ShareRecord &record)
{
    m_ignored.insert(client.ignoreShare(record.owner, record.shareId), record);
}

void ShareService::listMyShare()
{
    m_ownLists << client.listMyShare();
}

void ShareService::listShareToMe()
{
    m_foreignLists << client.listShareToMe();
}

void ShareService::shareToMeListFile(const ShareRecord &record, const QString &path)
{
    m_lastListing = client.shareToMeListFile(record.owner, record.shareId, path);
    m_listings.insert(m_lastListing, {record, path, QString()});
}

void ShareService::shareToMeSaveAs(const ShareRecord &record, const QString &path, const QString &dest)
{
    m_saves.insert(client.shareToMeSaveAs(record.owner, record.shareId, path, dest), {record, path, dest});
}

void ShareService::shareToMeFileRealPath(const ShareRecord &record, const QString &path)
{
    m_realPaths.insert(client.shareToMeFileRealPath(record.shareId, path), {record, path, QString()});
}

void ShareService::shareToMeDownload(const ShareRecord &record, const QString &path, const QString &localFile)
{
    m_downloads.insert(client.shareToMeDownload(record.owner, record.shareId, path, localFile),
                       {record, path, localFile});
}

void ShareService::reportShare(const ShareRecord &record, const QString &reason, const QStringList &pictures,
                               const QString &text)
{
    m_reports.insert(client.reportShare(record.owner, record.shareId, reason, pictures, text), record);
}

void ShareService::getUserInfo(QList<UserInfo> &users)
{
    for (const UserInfo &user : users)
        m_profiles.insert(client.getUserInfo(user.username), user);
}

void ShareService::getUserIcon(UserInfo &user)
{
    m_icons->getUserIcon({user});
}

void ShareService::getFileIcon(const QList<FileItem> &items)
{
    m_icons->getIcon(items);
}

// Answers

void ShareService::readList(const QByteArray &body, void (ShareService::*tell)(QList<ShareRecord>))
{
    m_work->runIf(body.size() > kReadInline, [this, body, tell]() -> OrderedWork::Deliver {
        const QList<ShareRecord> records = readShareRecord(body);
        return [this, records, tell] { emit(this->*tell)(records); };
    });
}

void ShareService::handlerSearchUser(qint64 id, int code, QByteArray body)
{
    if (!m_searches.removeOne(id) || !succeeded("searchUser", code))
        return;
    if (id != m_lastSearch)
        return; // the person has typed on
    emit handlerSearchUserFinished(ShareReader::users(body));
}

void ShareService::handlerPublicShare(qint64 id, int code, QByteArray body)
{
    ShareRecord record;
    if (take(m_publicShares, id, "publicShare", code, body, &record))
        emit handlerPublicShareFinished(record);
}

void ShareService::handlerPrivateShare(qint64 id, int code, QByteArray body)
{
    ShareRecord record;
    if (take(m_privateShares, id, "privateShare", code, body, &record))
        emit handlerPrivateShareFinished(record);
}

void ShareService::handlerFriendShare(qint64 id, int code, QByteArray body)
{
    ShareRecord record;
    if (take(m_friendShares, id, "friendShare", code, body, &record))
        emit handlerFriendShareFinished(record);
}

void ShareService::handlerModifyPassword(qint64 id, int code, QByteArray body)
{
    ShareRecord record;
    if (take(m_passwords, id, "modifyPassword", code, body, &record))
        emit handlerModifyPasswordFinished(record);
}

void ShareService::handlerModifyUsers(qint64 id, int code, QByteArray body)
{
    ShareRecord record;
    if (take(m_users, id, "modifyUsers", code, body, &record))
        emit handlerModifyUsersFinished(record);
}

void ShareService::handlerDeleteShare(qint64 id, int code, QByteArray)
{
    if (!m_deletions.contains(id))
        return;
    const QStringList ids = m_deletions.take(id);
    if (succeeded("deleteShare", code))
        emit handlerDeleteShareFinished(ids);
}

void ShareService::handlerIgnoreShare(qint64 id, int code, QByteArray body)
{
    ShareRecord record;
    if (take(m_ignored, id, "ignoreShare", code, body, &record))
        emit handlerIgnoreShareFinished(record);
}

void ShareService::handlerGetUserInfo(qint64 id, int code, QByteArray body)
{
    if (!m_profiles.contains(id))
        return;
    UserInfo user = m_profiles.take(id);
    if (!succeeded("getUserInfo", code))
        return;
    ShareReader::readProfile(body, &user);
    emit handlerGetUserInfoFinished({user});
}

void ShareService::handlerListMyShare(qint64 id, int code, QByteArray body)
{
    if (m_ownLists.removeOne(id) && succeeded("listMyShare", code))
        readList(body, &ShareService::handlerListMyShareFinished);
}

void ShareService::handlerListShareToMe(qint64 id, int code, QByteArray body)
{
    if (m_foreignLists.removeOne(id) && succeeded("listShareToMe", code))
        readList(body, &ShareService::handlerListShareToMeFinished);
}

void ShareService::handlerShareToMeDownload(qint64 id, int code, QByteArray)
{
    if (take(m_downloads, id, "shareToMeDownload", code))
        emit handlerShareToMeDownloadFinished(m_answered.record, m_answered.target);
}

void ShareService::handlerShareToMeSaveAs(qint64 id, int code, QByteArray)
{
    if (take(m_saves, id, "shareToMeSaveAs", code))
        emit handlerShareToMeSaveAsFinished(m_answered.record, m_answered.target);
}

void ShareService::handlerShareToMeListFile(qint64 id, int code, QByteArray body)
{
    if (!m_listings.contains(id) || (id != m_lastListing && code != Expired)) {
        m_listings.remove(id); // the person has gone on to another folder
        return;
    }
    const Visit visit = m_listings.value(id);
    if (!take(m_listings, id, "shareToMeListFile", code))
        return;
    m_work->runIf(body.size() > kReadInline, [this, id, body, visit]() -> OrderedWork::Deliver {
        const QList<FileItem> items = FileItemReader::items(body, FileItemReader::PlainTime);
        return [this, id, items, visit] {
            if (id != m_lastListing)
                return;
            m_answered = visit;
            emit handlerShareToMeListFileFinished(items);
        };
    });
}

void ShareService::handlerShareToMeFileRealPath(qint64 id, int code, QByteArray body)
{
    if (!take(m_realPaths, id, "shareToMeFileRealPath", code))
        return;
    QString userPath, filePath;
    ShareReader::readPlace(body, &userPath, &filePath);
    emit handlerShareToMeFileRealPathFinished(userPath, filePath);
}

void ShareService::handlerReportShare(qint64 id, int code, QByteArray body)
{
    ShareRecord record;
    if (take(m_reports, id, "reportShare", code, body, &record))
        emit handlerReportShareFinished(record);
}
