#pragma once

#include <QByteArray>
#include <QObject>
#include <QSize>
#include <QString>
#include <QStringList>

#include <memory>

class OrvClientPrivate;

/// Client of the remote drive service. Every operation returns a request id at once and later, from the event loop,
/// emits exactly one answer signal (id, status code, body), whatever happens to the network. Ids are unique in the
/// process. Copies share the copied configuration and nothing else; a destroyed client answers no more.
///
/// Status codes: 200 success (202 for copy), 201 session expired or account restricted, 203 nothing there (listing,
/// home path), another HTTP status as it came, and below zero the errors of OrvClient::LocalError.
/// Lives on the thread that made it, which needs an event loop.
class OrvClient : public QObject
{
    Q_OBJECT

public:
    /// Codes of answers that never came from the service.
    enum LocalError
    {
        BadAddress = -1,     ///< the service address is not an http or https address
        ConnectFailed = -2,  ///< refused, unknown host, or a failed TLS check
        TimedOut = -3,       ///< no connection within 10 s, or no data for 30 s
        BrokenReply = -4,    ///< the reply ended early or is not HTTP
        OversizedReply = -5, ///< the body is over 256 MiB
        LocalFile = -6,      ///< a file that the answer goes to cannot be written
        ShutDown = -7        ///< the client is going away
    };

    OrvClient(const QString &version, const QString &url, const QString &user, const QString &accessId,
              const QString &accessToken);
    OrvClient(const OrvClient &other);
    OrvClient &operator=(const OrvClient &other);
    ~OrvClient() override;

    void setUrl(const QString &url);
    void setUser(const QString &user);
    void setAccess(const QString &accessId, const QString &accessToken);

    // Session and account
    qint64 auth(QString user, QString token);
    qint64 login(const QString &loginName, const QString &password);
    qint64 getUserInfo(const QString &user);
    qint64 getIcon(const QString &address);
    qint64 getUserStorage(const QString &user);
    qint64 getUserPath(const QString &user, const QString &subCenterAddress, const QString &homePath);
    qint64 listSubCenter(const QString &address);
    qint64 getTranserLimit();
    qint64 getAD(const QString &language);

    // Files; paths are absolute paths of the drive
    qint64 getFileInfo(const QString &path);
    qint64 getThumbnail(const QString &path, const QSize &size);
    /// @param mode 1 names only, 2 full records
    qint64 listFile(const QString &path, int mode);
    qint64 mkdir(const QString &path);
    qint64 removeFile(const QStringList &paths);
    qint64 removeFolder(const QStringList &paths);
    qint64 move(const QStringList &sources, const QString &destFolder);
    qint64 copy(const QStringList &sources, const QString &destFolder);
    qint64 renameFile(const QString &source, const QString &dest);
    qint64 renameFolder(const QString &source, const QString &dest);
    /// @param archive path of the new archive without its ".zip"
    qint64 compress(const QStringList &sources, const QString &archive);
    qint64 decompress(const QString &archive, const QString &destFolder);
    qint64 searchFile(const QString &keyword, const QString &folder);
    /// Streams the file to @p localPath through a temporary file beside it; the answer's body is empty.
    qint64 getPreviewFile(const QString &path, const QString &localPath);

    // Shares
    qint64 publicShare(const QString &path, const QString &permission);
    qint64 privateShare(const QString &path, const QString &permission, const QString &password);
    qint64 friendShare(const QString &path, const QStringList &users);
    qint64 modifyPassword(const QString &shareId, const QString &password);
    qint64 modifyUsers(const QString &shareId, const QStringList &users);
    qint64 deleteShare(const QStringList &shareIds);
    qint64 ignoreShare(const QString &owner, const QString &shareId);
    /// @param limit most users to answer
    qint64 searchUsers(const QString &text, int limit);
    qint64 listMyShare();
    qint64 listShareToMe();
    qint64 shareToMeSaveAs(const QString &owner, const QString &shareId, const QString &path, const QString &dest);
    qint64 shareToMeListFile(const QString &owner, const QString &shareId, const QString &path);
    qint64 shareToMeFileRealPath(const QString &shareId, const QString &path);
    qint64 shareToMeDownload(const QString &owner, const QString &shareId, const QString &path,
                             const QString &localPath);
    qint64 reportShare(const QString &owner, const QString &shareId, const QString &reason, const QStringList &pictures,
                       const QString &text);

signals:
    void authFinished(qint64 id, int code, QByteArray body);
    void loginFinished(qint64 id, int code, QByteArray body);
    void getUserInfoFinished(qint64 id, int code, QByteArray body);
    void getIconFinished(qint64 id, int code, QByteArray body);
    void getUserStorageFinished(qint64 id, int code, QByteArray body);
    void getUserPathFinished(qint64 id, int code, QByteArray body);
    void listSubCenterFinished(qint64 id, int code, QByteArray body);
    void getTransferLimitFinished(qint64 id, int code, QByteArray body);
    void getADFinished(qint64 id, int code, QByteArray body);

    void getFileInfoFinished(qint64 id, int code, QByteArray body);
    void getThumbnailFinished(qint64 id, int code, QByteArray body);
    void listFileFinished(qint64 id, int code, QByteArray body);
    void mkdirFinished(qint64 id, int code, QByteArray body);
    void removeFileFinished(qint64 id, int code, QByteArray body);
    void removeFolderFinished(qint64 id, int code, QByteArray body);
    void moveFinished(qint64 id, int code, QByteArray body);
    void copyFinished(qint64 id, int code, QByteArray body);
    void renameFileFinished(qint64 id, int code, QByteArray body);
    void renameFolderFinished(qint64 id, int code, QByteArray body);
    void compressFinished(qint64 id, int code, QByteArray body);
    void decompressFinished(qint64 id, int code, QByteArray body);
    void searchFileFinished(qint64 id, int code, QByteArray body);
    void getPreviewFileFinished(qint64 id, int code, QByteArray body);

    void publicShareFinished(qint64 id, int code, QByteArray body);
    void privateShareFinished(qint64 id, int code, QByteArray body);
    void friendShareFinished(qint64 id, int code, QByteArray body);
    void modifyPasswordFinished(qint64 id, int code, QByteArray body);
    void modifyUsersFinished(qint64 id, int code, QByteArray body);
    void deleteShareFinished(qint64 id, int code, QByteArray body);
    void ignoreShareFinished(qint64 id, int code, QByteArray body);
    void searchUsersFinished(qint64 id, int code, QByteArray body);
    void listMyShareFinished(qint64 id, int code, QByteArray body);
    void listShareToMeFinished(qint64 id, int code, QByteArray body);
    void shareToMeSaveAsFinished(qint64 id, int code, QByteArray body);
    void shareToMeListFileFinished(qint64 id, int code, QByteArray body);
    void shareToMeFileRealPathFinished(qint64 id, int code, QByteArray body);
    void shareDownloadFinished(qint64 id, int code, QByteArray body);
    void reportShareFinished(qint64 id, int code, QByteArray body);

private:
    std::unique_ptr<OrvClientPrivate> d;
};
