#include "OrvClient.h"

#include "OrvCall.h"
#include "OrvOperation.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <atomic>

namespace {

using Op = OrvOperation;
constexpr auto kStreaming = HttpLanes::Streaming;

// The table of operations. Rows that are asked in the same way differ in nothing but path and answer.
constexpr Op kAuth{"POST", "auth/token", &OrvClient::authFinished, Op::Unsigned | Op::Login};
constexpr Op kLogin{"POST", "auth/login", &OrvClient::loginFinished, Op::Unsigned | Op::Login};
constexpr Op kGetUserInfo{"GET", "users/%1", &OrvClient::getUserInfoFinished};
constexpr Op kGetIcon{"GET", "", &OrvClient::getIconFinished};
constexpr Op kGetUserStorage{"GET", "users/%1/storage", &OrvClient::getUserStorageFinished};
constexpr Op kGetUserPath{"GET", "users/%1/path", &OrvClient::getUserPathFinished, Op::MissingIs203};
constexpr Op kListSubCenter{"GET", "subcenters", &OrvClient::listSubCenterFinished, Op::Unsigned};
constexpr Op kGetTransferLimit{"GET", "limits", &OrvClient::getTransferLimitFinished};
constexpr Op kGetAD{"GET", "ads", &OrvClient::getADFinished};

constexpr Op kGetFileInfo{"GET", "files/info", &OrvClient::getFileInfoFinished};
constexpr Op kGetThumbnail{"GET", "files/thumbnail", &OrvClient::getThumbnailFinished, Op::NoFlags, kStreaming};
constexpr Op kListFile{"GET", "files/list", &OrvClient::listFileFinished, Op::MissingIs203};
constexpr Op kMkdir{"POST", "files/mkdir", &OrvClient::mkdirFinished};
constexpr Op kRemoveFile{"POST", "files/remove-files", &OrvClient::removeFileFinished};
constexpr Op kRemoveFolder{"POST", "files/remove-folders", &OrvClient::removeFolderFinished};
constexpr Op kMove{"POST", "files/move", &OrvClient::moveFinished};
constexpr Op kCopy{"POST", "files/copy", &OrvClient::copyFinished, Op::JobIs202};
constexpr Op kRenameFile{"POST", "files/rename-file", &OrvClient::renameFileFinished};
constexpr Op kRenameFolder{"POST", "files/rename-folder", &OrvClient::renameFolderFinished};
constexpr Op kCompress{"POST", "files/compress", &OrvClient::compressFinished};
constexpr Op kDecompress{"POST", "files/decompress", &OrvClient::decompressFinished};
constexpr Op kSearchFile{"GET", "files/search", &OrvClient::searchFileFinished};
constexpr Op kGetPreviewFile{"GET", "files/preview", &OrvClient::getPreviewFileFinished, Op::ToFile, kStreaming};

constexpr Op kPublicShare{"POST", "shares/public", &OrvClient::publicShareFinished};
constexpr Op kPrivateShare{"POST", "shares/private", &OrvClient::privateShareFinished};
constexpr Op kFriendShare{"POST", "shares/friends", &OrvClient::friendShareFinished};
constexpr Op kModifyPassword{"POST", "shares/password", &OrvClient::modifyPasswordFinished};
constexpr Op kModifyUsers{"POST", "shares/users", &OrvClient::modifyUsersFinished};
constexpr Op kDeleteShare{"POST", "shares/remove", &OrvClient::deleteShareFinished};
constexpr Op kIgnoreShare{"POST", "shares/ignore", &OrvClient::ignoreShareFinished};
constexpr Op kSearchUsers{"GET", "shares/find-users", &OrvClient::searchUsersFinished};
constexpr Op kListMyShare{"GET", "shares/mine", &OrvClient::listMyShareFinished};
constexpr Op kListShareToMe{"GET", "shares/to-me", &OrvClient::listShareToMeFinished};
constexpr Op kShareToMeSaveAs{"POST", "shares/save", &OrvClient::shareToMeSaveAsFinished};
constexpr Op kShareToMeListFile{"GET", "shares/list", &OrvClient::shareToMeListFileFinished};
constexpr Op kShareToMeFileRealPath{"GET", "shares/real-path", &OrvClient::shareToMeFileRealPathFinished};
constexpr Op kShareToMeDownload{"GET", "shares/file", &OrvClient::shareDownloadFinished, Op::ToFile | Op::NoSizeLimit,
                                kStreaming};
constexpr Op kReportShare{"POST", "shares/report", &OrvClient::reportShareFinished};

constexpr qint64 kMostPictureBytes = 7 * 512 * 1024; // of one report, together; the service takes 5 MiB of Base64

std::atomic<qint64> s_lastId{0};

// Header text: what a settings file holds must not end the header early.
QByteArray headerText(const QString &text)
{
    QByteArray out;
    for (const QChar c : text) {
        if (c.unicode() > 0x20 && c.unicode() < 0x7f)
            out += char(c.unicode());
    }
    return out.left(64);
}

using Pairs = std::initializer_list<QPair<const char *, QJsonValue>>;

QJsonObject object(Pairs pairs)
{
    QJsonObject out;
    for (const auto &pair : pairs)
        out.insert(QLatin1String(pair.first), pair.second);
    return out;
}

QJsonArray array(const QStringList &texts)
{
    return QJsonArray::fromStringList(texts);
}

QUrl httpUrl(const QString &address)
{
    QUrl url(address.trimmed());
    url.setUserInfo(QString());
    url.setFragment(QString());
    return url;
}

} // namespace

class OrvClientPrivate
{
public:
    using Query = QList<QPair<QByteArray, QString>>;

    QString version;
    QString url;
    QString user;
    QString accessId;
    QString accessToken;

    /// Address below the base; every name is encoded, so that none can add a path step or a query item.
    static QUrl address(const QString &base, const char *path, const QString &name, const Query &query)
    {
        QUrl url = httpUrl(base);
        url.setQuery(QString());
        if (!orvIsHttp(url))
            return {};
        QByteArray text = url.toEncoded();
        if (!text.endsWith('/'))
            text += '/';
        text += QByteArray(path).replace("%1", QUrl::toPercentEncoding(name));
        char mark = '?';
        for (const auto &item : query) {
            text += mark + item.first + '=' + QUrl::toPercentEncoding(item.second);
            mark = '&';
        }
        return QUrl::fromEncoded(text, QUrl::StrictMode);
    }

    qint64 call(OrvClient *client, const Op &operation, OrvRequest request) const
    {
        const qint64 id = ++s_lastId;
        request.sign = request.sign && !operation.has(Op::Unsigned);
        new OrvCall(client, operation, id, request, RequestSignature(user, accessId, accessToken),
                    "ArkvaleTolma/" + headerText(version));
        return id;
    }

    qint64 get(OrvClient *client, const Op &operation, const Query &query = {}, const QString &name = {},
               const QString &localFile = {}) const
    {
        OrvRequest request;
        request.url = address(url, operation.path, name, query);
        request.localFile = localFile;
        return call(client, operation, request);
    }

    qint64 post(OrvClient *client, const Op &operation, Pairs body) const
    {
        OrvRequest request;
        request.url = address(url, operation.path, {}, {});
        request.body = QJsonDocument(object(body)).toJson(QJsonDocument::Compact);
        return call(client, operation, request);
    }
};

OrvClient::OrvClient(const QString &version, const QString &url, const QString &user, const QString &accessId,
                     const QString &accessToken)
    : d(std::make_unique<OrvClientPrivate>())
{
    *d = {version, url, user, accessId, accessToken};
}

OrvClient::OrvClient(const OrvClient &other)
    : QObject(nullptr)
    , d(std::make_unique<OrvClientPrivate>(*other.d))
{
}

OrvClient &OrvClient::operator=(const OrvClient &other)
{
    *d = *other.d;
    return *this;
}

OrvClient::~OrvClient() = default;

void OrvClient::setUrl(const QString &url)
{
    d->url = url;
}

void OrvClient::setUser(const QString &user)
{
    d->user = user;
}

void OrvClient::setAccess(const QString &accessId, const QString &accessToken)
{
    d->accessId = accessId;
    d->accessToken = accessToken;
}

qint64 OrvClient::auth(QString user, QString token)
{
    return d->post(this, kAuth, {{"username", user}, {"token", token}, {"version", d->version}});
}

qint64 OrvClient::login(const QString &loginName, const QString &password)
{
    return d->post(this, kLogin, {{"username", loginName}, {"password", password}, {"version", d->version}});
}

qint64 OrvClient::getUserInfo(const QString &user)
{
    return d->get(this, kGetUserInfo, {}, user);
}

qint64 OrvClient::getIcon(const QString &address)
{
    const QUrl base(OrvClientPrivate::address(d->url, "", {}, {}));
    OrvRequest request;
    request.url = httpUrl(address);
    if (!address.isEmpty() && request.url.isRelative())
        request.url = base.resolved(request.url);
    // An avatar may live anywhere; only the service itself gets to see who asks.
    request.sign = orvIsHttp(base) && orvIsHttp(request.url) && orvOrigin(base) == orvOrigin(request.url);
    return d->call(this, kGetIcon, request);
}

qint64 OrvClient::getUserStorage(const QString &user)
{
    return d->get(this, kGetUserStorage, {}, user);
}

qint64 OrvClient::getUserPath(const QString &user, const QString &subCenterAddress, const QString &homePath)
{
    OrvRequest request;
    request.url = OrvClientPrivate::address(subCenterAddress.isEmpty() ? d->url : subCenterAddress, kGetUserPath.path,
                                            user, {{"home", homePath}});
    return d->call(this, kGetUserPath, request);
}

qint64 OrvClient::listSubCenter(const QString &address)
{
    OrvRequest request;
    request.url = address.isEmpty() ? OrvClientPrivate::address(d->url, kListSubCenter.path, {}, {}) : httpUrl(address);
    if (request.url.isRelative())
        request.url = OrvClientPrivate::address(d->url, "", {}, {}).resolved(request.url);
    return d->call(this, kListSubCenter, request);
}

qint64 OrvClient::getTranserLimit()
{
    return d->get(this, kGetTransferLimit);
}

qint64 OrvClient::getAD(const QString &language)
{
    return d->get(this, kGetAD, {{"lang", language}});
}

qint64 OrvClient::getFileInfo(const QString &path)
{
    return d->get(this, kGetFileInfo, {{"path", path}});
}

qint64 OrvClient::getThumbnail(const QString &path, const QSize &size)
{
    return d->get(this, kGetThumbnail,
                  {{"path", path}, {"w", QString::number(size.width())}, {"h", QString::number(size.height())}});
}

qint64 OrvClient::listFile(const QString &path, int mode)
{
    return d->get(this, kListFile, {{"path", path}, {"mode", QString::number(mode)}});
}

qint64 OrvClient::mkdir(const QString &path)
{
    return d->post(this, kMkdir, {{"path", path}});
}

qint64 OrvClient::removeFile(const QStringList &paths)
{
    return d->post(this, kRemoveFile, {{"paths", array(paths)}});
}

qint64 OrvClient::removeFolder(const QStringList &paths)
{
    return d->post(this, kRemoveFolder, {{"paths", array(paths)}});
}

qint64 OrvClient::move(const QStringList &sources, const QString &destFolder)
{
    return d->post(this, kMove, {{"src", array(sources)}, {"dest", destFolder}});
}

qint64 OrvClient::copy(const QStringList &sources, const QString &destFolder)
{
    return d->post(this, kCopy, {{"src", array(sources)}, {"dest", destFolder}});
}

qint64 OrvClient::renameFile(const QString &source, const QString &dest)
{
    return d->post(this, kRenameFile, {{"src", source}, {"dest", dest}});
}

qint64 OrvClient::renameFolder(const QString &source, const QString &dest)
{
    return d->post(this, kRenameFolder, {{"src", source}, {"dest", dest}});
}

qint64 OrvClient::compress(const QStringList &sources, const QString &archive)
{
    return d->post(this, kCompress, {{"src", array(sources)}, {"dest", archive}});
}

qint64 OrvClient::decompress(const QString &archive, const QString &destFolder)
{
    return d->post(this, kDecompress, {{"src", archive}, {"dest", destFolder}});
}

qint64 OrvClient::searchFile(const QString &keyword, const QString &folder)
{
    return d->get(this, kSearchFile, {{"keyword", keyword}, {"path", folder}});
}

qint64 OrvClient::getPreviewFile(const QString &path, const QString &localPath)
{
    return d->get(this, kGetPreviewFile, {{"path", path}}, {}, localPath);
}

qint64 OrvClient::publicShare(const QString &path, const QString &permission)
{
    return d->post(this, kPublicShare, {{"path", path}, {"permission", permission}});
}

qint64 OrvClient::privateShare(const QString &path, const QString &permission, const QString &password)
{
    return d->post(this, kPrivateShare, {{"path", path}, {"permission", permission}, {"password", password}});
}

qint64 OrvClient::friendShare(const QString &path, const QStringList &users)
{
    return d->post(this, kFriendShare, {{"path", path}, {"shareTo", array(users)}});
}

qint64 OrvClient::modifyPassword(const QString &shareId, const QString &password)
{
    return d->post(this, kModifyPassword, {{"shareId", shareId}, {"password", password}});
}

qint64 OrvClient::modifyUsers(const QString &shareId, const QStringList &users)
{
    return d->post(this, kModifyUsers, {{"shareId", shareId}, {"shareTo", array(users)}});
}

qint64 OrvClient::deleteShare(const QStringList &shareIds)
{
    return d->post(this, kDeleteShare, {{"shareIds", array(shareIds)}});
}

qint64 OrvClient::ignoreShare(const QString &owner, const QString &shareId)
{
    return d->post(this, kIgnoreShare, {{"owner", owner}, {"shareId", shareId}});
}

qint64 OrvClient::searchUsers(const QString &text, int limit)
{
    return d->get(this, kSearchUsers, {{"text", text}, {"limit", QString::number(limit)}});
}

qint64 OrvClient::listMyShare()
{
    return d->get(this, kListMyShare);
}

qint64 OrvClient::listShareToMe()
{
    return d->get(this, kListShareToMe);
}

qint64 OrvClient::shareToMeSaveAs(const QString &owner, const QString &shareId, const QString &path,
                                  const QString &dest)
{
    return d->post(this, kShareToMeSaveAs, {{"owner", owner}, {"shareId", shareId}, {"path", path}, {"dest", dest}});
}

qint64 OrvClient::shareToMeListFile(const QString &owner, const QString &shareId, const QString &path)
{
    return d->get(this, kShareToMeListFile, {{"owner", owner}, {"shareId", shareId}, {"path", path}});
}

qint64 OrvClient::shareToMeFileRealPath(const QString &shareId, const QString &path)
{
    return d->get(this, kShareToMeFileRealPath, {{"shareId", shareId}, {"path", path}});
}

qint64 OrvClient::shareToMeDownload(const QString &owner, const QString &shareId, const QString &path,
                                    const QString &localPath)
{
    return d->get(this, kShareToMeDownload, {{"owner", owner}, {"shareId", shareId}, {"path", path}}, {}, localPath);
}

qint64 OrvClient::reportShare(const QString &owner, const QString &shareId, const QString &reason,
                              const QStringList &pictures, const QString &text)
{
    OrvRequest request;
    request.url = OrvClientPrivate::address(d->url, kReportShare.path, {}, {});
    QJsonArray images;
    qint64 room = kMostPictureBytes;
    for (const QString &picture : pictures) {
        QFile file(picture);
        const bool fits = file.open(QIODevice::ReadOnly) && file.size() <= room;
        const QByteArray data = fits ? file.read(room + 1) : QByteArray();
        room -= data.size();
        if (!fits || room < 0)
            request.failed = LocalFile;
        else
            images.append(QString::fromLatin1(data.toBase64()));
    }
    request.body =
        QJsonDocument(
            object({{"owner", owner}, {"shareId", shareId}, {"reason", reason}, {"pictures", images}, {"text", text}}))
            .toJson(QJsonDocument::Compact);
    return d->call(this, kReportShare, request);
}
