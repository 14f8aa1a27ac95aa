#pragma once

#include "FileItem.h"
#include "ShareRecord.h"
#include "UserInfo.h"

#include "OrvClient.h"

#include <QMap>
#include <QObject>
#include <QStringList>

#include <functional>

class FileIconAssistant;
class GlobalConfig;
class OrderedWork;

/// Every sharing operation of the share pages. Owns a copy of the session's client. Each operation is answered by one
/// signal with the record that it concerns, brought up to date, or by handlerRequestFailed; an answer that nobody waits
/// for is dropped, and none comes after destruction. GUI thread only.
class ShareService : public QObject
{
    Q_OBJECT

public:
    /// @param url address of the sub-center in which shares are made; its shares alone are listed. The account's
    /// address lists those of all sub-centers.
    explicit ShareService(const QString &url, QObject *parent = nullptr);
    ~ShareService() override;

    /// What the answer that is being told was asked for: set while a signal of a share-to-me operation fires.
    const ShareRecord &answeredRecord() const { return m_answered.record; }
    QString answeredPath() const { return m_answered.path; }

    /// Reads the array "share" of an answer; what is no object in it is passed over. Usable from any thread.
    static QList<ShareRecord> readShareRecord(const QByteArray &body);
    /// English words for a code of handlerRequestFailed, translated.
    static QString reasonOf(int code);

public slots:
    /// @param limit the most users to be told, 1 to 50
    void searchUser(const QString &text, int limit);
    void publicShare(const ShareRecord &record);
    void privateShare(const ShareRecord &record);
    void friendShare(const ShareRecord &record);
    void modifyPassword(const ShareRecord &record);
    void modifyUsers(const ShareRecord &record);
    void deleteShare(const QStringList &shareIds);
    void ignoreShare(const ShareRecord &record);
    void listMyShare();
    void listShareToMe();
    /// @param path begins with the item's name: "/name/folder"
    void shareToMeListFile(const ShareRecord &record, const QString &path);
    /// @param dest folder of the own drive
    void shareToMeSaveAs(const ShareRecord &record, const QString &path, const QString &dest);
    void shareToMeFileRealPath(const ShareRecord &record, const QString &path);
    void shareToMeDownload(const ShareRecord &record, const QString &path, const QString &localFile);
    /// @param pictures local image files, together at most 3.5 MiB
    void reportShare(const ShareRecord &record, const QString &reason, const QStringList &pictures,
                     const QString &text);
    void getUserInfo(QList<UserInfo> &users);
    void getUserIcon(UserInfo &user);
    void getFileIcon(const QList<FileItem> &items);

signals:
    void handlerSearchUserFinished(QList<UserInfo> users);
    void handlerPublicShareFinished(ShareRecord record);
    void handlerPrivateShareFinished(ShareRecord record);
    void handlerFriendShareFinished(ShareRecord record);
    void handlerModifyPasswordFinished(ShareRecord record);
    void handlerModifyUsersFinished(ShareRecord record);
    void handlerDeleteShareFinished(QStringList shareIds);
    void handlerIgnoreShareFinished(ShareRecord record);
    void handlerGetUserInfoFinished(QList<UserInfo> users);
    void handlerGetUserIconFinished(QList<UserInfo> users);
    void handlerListMyShareFinished(QList<ShareRecord> shares);
    void handlerListShareToMeFinished(QList<ShareRecord> shares);
    void handlerShareToMeDownloadFinished(ShareRecord record, QString localFile);
    void handlerShareToMeSaveAsFinished(ShareRecord record, QString dest);
    void handlerShareToMeListFileFinished(QList<FileItem> items);
    void handlerShareToMeFileRealPathFinished(QString userPath, QString filePath);
    void handlerReportShareFinished(ShareRecord record);
    void sigGetFileIconFinished(QList<FileItem> items);
    void sigLogout(QString message);
    /// An operation that did not succeed. @p code is the service's, or one of OrvClient's own.
    void handlerRequestFailed(QString operation, int code);

private slots:
    void handlerSearchUser(qint64 id, int code, QByteArray body);
    void handlerPublicShare(qint64 id, int code, QByteArray body);
    void handlerPrivateShare(qint64 id, int code, QByteArray body);
    void handlerFriendShare(qint64 id, int code, QByteArray body);
    void handlerModifyPassword(qint64 id, int code, QByteArray body);
    void handlerModifyUsers(qint64 id, int code, QByteArray body);
    void handlerDeleteShare(qint64 id, int code, QByteArray body);
    void handlerIgnoreShare(qint64 id, int code, QByteArray body);
    void handlerGetUserInfo(qint64 id, int code, QByteArray body);
    void handlerListMyShare(qint64 id, int code, QByteArray body);
    void handlerListShareToMe(qint64 id, int code, QByteArray body);
    void handlerShareToMeDownload(qint64 id, int code, QByteArray body);
    void handlerShareToMeSaveAs(qint64 id, int code, QByteArray body);
    void handlerShareToMeListFile(qint64 id, int code, QByteArray body);
    void handlerShareToMeFileRealPath(qint64 id, int code, QByteArray body);
    void handlerReportShare(qint64 id, int code, QByteArray body);

private:
    /// An operation on an item that somebody shared.
    struct Visit
    {
        ShareRecord record;
        QString path;
        QString target; ///< where it goes: a folder of the own drive, or a local file
    };

    void connectClient();
    /// False for an answer that is no success, after telling of it.
    bool succeeded(const char *operation, int code);
    /// Takes the record out, and brings it up to date with the answer; false when it is nothing to tell.
    bool take(QMap<qint64, ShareRecord> &pending, qint64 id, const char *operation, int code, const QByteArray &body,
              ShareRecord *record);
    void readList(const QByteArray &body, void (ShareService::*tell)(QList<ShareRecord>));
    bool take(QMap<qint64, Visit> &pending, qint64 id, const char *operation, int code);

    GlobalConfig *config;
    OrvClient client;
    FileIconAssistant *m_icons;
    OrderedWork *m_work;
    Visit m_answered;
    qint64 m_lastSearch = 0;
    qint64 m_lastListing = 0;

    // Requests that wait for their answer, by request id.
    QList<qint64> m_searches;
    QMap<qint64, ShareRecord> m_publicShares;
    QMap<qint64, ShareRecord> m_privateShares;
    QMap<qint64, ShareRecord> m_friendShares;
    QMap<qint64, ShareRecord> m_passwords;
    QMap<qint64, ShareRecord> m_users;
    QMap<qint64, QStringList> m_deletions;
    QMap<qint64, ShareRecord> m_ignored;
    QMap<qint64, UserInfo> m_profiles;
    QList<qint64> m_ownLists;
    QList<qint64> m_foreignLists;
    QMap<qint64, Visit> m_downloads;
    QMap<qint64, Visit> m_saves;
    QMap<qint64, Visit> m_listings;
    QMap<qint64, Visit> m_realPaths;
    QMap<qint64, ShareRecord> m_reports;
};
