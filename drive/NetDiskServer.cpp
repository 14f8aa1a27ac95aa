#include "NetDiskServer.h"

#include "FileItemReader.h"
#include "GlobalConfig.h"
#include "OrderedWork.h"

#include <QClipboard>
#include <QDateTime>
#include <QEventLoop>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>

#include <utility>

namespace {

constexpr int StorageInterval = 3600000; // ms
/// Bodies up to this length are read where they arrive: about 200 entries, far below a millisecond.
constexpr int ReadInline = 48 * 1024;

enum Code
{
    Success = 200,
    Expired = 201,
    CopyAccepted = 202,
    NothingThere = 203
};

QByteArray requestText(const QJsonValue &src, const QString &dest)
{
    const QJsonObject request{{QStringLiteral("src"), src}, {QStringLiteral("dest"), dest}};
    return QJsonDocument(request).toJson(QJsonDocument::Compact);
}

QStringList sourcesOf(const QJsonObject &request)
{
    QStringList result;
    const QJsonArray sources = request.value(QLatin1String("src")).toArray();
    for (const QJsonValue &path : sources)
        result.append(path.toString());
    return result;
}

QString destOf(const QJsonObject &request)
{
    return request.value(QLatin1String("dest")).toString();
}

qint64 bytesOf(const QJsonObject &object, const char *name)
{
    const QJsonValue value = object.value(QLatin1String(name));
    if (value.isString())
        return value.toString().toLongLong();
    const double number = value.toDouble();
    if (number >= 9.2e18)
        return std::numeric_limits<qint64>::max();
    return number <= -9.2e18 ? std::numeric_limits<qint64>::min() : value.toVariant().toLongLong();
}

} // namespace

/// One folder-name lookup and the loop that its caller waits in. Held by both, so that either may go first.
struct NetDiskServer::Lookup
{
    QEventLoop loop;
    QStringList names;
    bool ok = false;
    bool ended = false;

    void end()
    {
        ended = true;
        loop.quit();
    }
};

NetDiskServer::NetDiskServer(const QString &url, QObject *parent)
    : QObject(parent)
    , m_client(GlobalConfig::instance()->client())
    , m_work(new OrderedWork(this))
{
    qRegisterMetaType<FileItem>("FileItem");
    qRegisterMetaType<QList<FileItem>>("QList<FileItem>");
    m_client.setUrl(url);
    connectClient();
    connect(this, &NetDiskServer::handlerCompressFinished, this, &NetDiskServer::refresh);
    connect(this, &NetDiskServer::handlerDecompressFinished, this, &NetDiskServer::refresh);
    connect(&m_storageTimer, &QTimer::timeout, this, &NetDiskServer::getStorage);
    getStorage();
}

NetDiskServer::~NetDiskServer()
{
    for (const std::shared_ptr<Lookup> &lookup : qAsConst(m_lookups))
        lookup->end();
}

void NetDiskServer::connectClient()
{
    const auto to = [this](void (OrvClient::*answer)(qint64, int, QByteArray),
                           void (NetDiskServer::*handler)(qint64, int, QByteArray)) {
        connect(&m_client, answer, this, handler, Qt::QueuedConnection);
    };
    to(&OrvClient::listFileFinished, &NetDiskServer::handlerGetFloderName);
    to(&OrvClient::listFileFinished, &NetDiskServer::handlerListFolders);
    to(&OrvClient::getIconFinished, &NetDiskServer::handlerGetIcon);
    to(&OrvClient::listFileFinished, &NetDiskServer::handlerIntoFloder);
    to(&OrvClient::searchFileFinished, &NetDiskServer::handlerSearchFile);
    to(&OrvClient::getUserStorageFinished, &NetDiskServer::handlerGetStorage);
    to(&OrvClient::mkdirFinished, &NetDiskServer::handlerNewFloder);
    to(&OrvClient::removeFileFinished, &NetDiskServer::handlerRemoveFile);
    to(&OrvClient::removeFolderFinished, &NetDiskServer::handlerRemoveFolder);
    to(&OrvClient::moveFinished, &NetDiskServer::handlerMove);
    to(&OrvClient::copyFinished, &NetDiskServer::handlerCopy);
    to(&OrvClient::renameFileFinished, &NetDiskServer::handlerRename);
    to(&OrvClient::renameFolderFinished, &NetDiskServer::handlerRename);
    to(&OrvClient::compressFinished, &NetDiskServer::handlerCompress);
    to(&OrvClient::decompressFinished, &NetDiskServer::handlerDecompress);
}

void NetDiskServer::read(const QByteArray &body, const Reader &reader)
{
    m_work->runIf(body.size() > ReadInline, reader);
}

void NetDiskServer::tellItems(qint64 id, const std::function<void()> &tell)
{
    m_answerIsCurrent = id == m_lastLocationId;
    const QPointer<NetDiskServer> self(this);
    tell();
    if (self)
        m_answerIsCurrent = true;
}

void NetDiskServer::tellChange(bool good, Operation operation, const QStringList &paths, int code,
                               const std::function<void()> &tell)
{
    m_work->post([this, good, operation, paths, code, tell] {
        const QPointer<NetDiskServer> self(this);
        if (!good)
            emit operationFailed(operation, paths, code);
        if (self)
            tell();
    });
}

void NetDiskServer::loginExpired()
{
    m_work->post([this] { emit sigLogout(tr("Login expired.")); });
}

void NetDiskServer::accessDenied()
{
    m_work->post([this] { emit sigLogout(tr("Access Denied!")); });
}

// Folder names

QStringList NetDiskServer::getFloderName(const QString &path, bool *ok)
{
    const auto lookup = std::make_shared<Lookup>();
    m_lookups.insert(m_client.listFile(path, 1), lookup);
    if (!lookup->ended)
        lookup->loop.exec();
    // From here on this object may be gone.
    if (ok)
        *ok = lookup->ok;
    return lookup->names;
}

void NetDiskServer::handlerGetFloderName(qint64 id, int code, QByteArray body)
{
    const std::shared_ptr<Lookup> lookup = m_lookups.value(id);
    if (!lookup)
        return;
    // The lookup stays in the table until it is told, so that the destructor can end it in between.
    read(body, [this, id, code, body, lookup]() -> std::function<void()> {
        const QStringList names = code == Success ? FileItemReader::names(body) : QStringList();
        return [this, id, code, names, lookup] {
            if (m_lookups.remove(id) == 0)
                return;
            lookup->names = names;
            lookup->ok = code == Success;
            lookup->end();
            if (code == Expired)
                emit sigLogout(tr("Login expired."));
            else
                emit handlerGetFloderNameFinshed();
        };
    });
}

void NetDiskServer::listFolders(const QString &path)
{
    m_folderLists.insert(m_client.listFile(path, 1), path);
}

void NetDiskServer::handlerListFolders(qint64 id, int code, QByteArray body)
{
    if (!m_folderLists.contains(id))
        return;
    const QString path = m_folderLists.take(id);
    if (code == Expired)
        return loginExpired();
    read(body, [this, path, code, body]() -> std::function<void()> {
        QStringList names;
        const QList<FileItem> items =
            code == Success ? FileItemReader::items(body, FileItemReader::ListingTime) : QList<FileItem>();
        for (const FileItem &item : items) {
            if (item.isFolder())
                names.append(item.name);
        }
        return [this, path, names] { emit foldersListed(path, names); };
    });
}

// Locations

void NetDiskServer::intoFolder(const QString &path)
{
    m_history.intoFolder(path);
    requestLocation();
    emit NavgationChanged();
}

void NetDiskServer::searchFile(const QString &keyword)
{
    m_history.searchFile(keyword, tr("Search Result"));
    requestLocation();
    emit NavgationChanged();
}

void NetDiskServer::forward()
{
    if (!m_history.forward())
        return;
    requestLocation();
    emit NavgationChanged();
}

void NetDiskServer::backward()
{
    if (!m_history.backward())
        return;
    requestLocation();
    emit NavgationChanged();
}

void NetDiskServer::back()
{
    m_history.back();
    emit NavgationChanged();
}

void NetDiskServer::navigation()
{
    requestLocation();
}

void NetDiskServer::refresh()
{
    m_history.refresh();
    requestLocation();
    QGuiApplication::clipboard()->clear();
}

void NetDiskServer::requestLocation()
{
    const NavigationEntry &place = m_history.current();
    if (place.kind == QLatin1String("IntoFolder")) {
        m_lastLocationId = m_client.listFile(place.path, 2);
        m_listings.append(m_lastLocationId);
    } else if (place.kind == QLatin1String("SearchFile")) {
        m_lastLocationId = m_client.searchFile(place.keyword, place.path);
        m_searches.append(m_lastLocationId);
    } else {
        return;
    }
    emit locationAsked();
}

void NetDiskServer::handlerIntoFloder(qint64 id, int code, QByteArray body)
{
    if (m_listings.removeAll(id) == 0)
        return;
    if (code == Expired)
        return loginExpired();
    if (code != Success) {
        const int error = code == NothingThere ? 2 : 3;
        m_work->post([this, id, error] { tellItems(id, [this, error] { emit handlerIntoFloderFailured(error); }); });
        return;
    }
    read(body, [this, id, body]() -> std::function<void()> {
        const auto items = std::make_shared<QList<FileItem>>(FileItemReader::items(body, FileItemReader::ListingTime));
        return [this, id, items] {
            tellItems(id, [this, items] { emit handlerIntoFloderFinished(*items); });
            OrderedWork::discard(std::move(*items));
        };
    });
}

void NetDiskServer::handlerSearchFile(qint64 id, int code, QByteArray body)
{
    if (m_searches.removeAll(id) == 0)
        return;
    if (code == Expired)
        return loginExpired();
    read(body, [this, id, code, body]() -> std::function<void()> {
        const auto items = std::make_shared<QList<FileItem>>();
        if (code == Success)
            *items = FileItemReader::items(body, FileItemReader::PlainTime, QStringLiteral("SearchFile"));
        return [this, id, code, items] {
            const QPointer<NetDiskServer> self(this);
            if (code != Success && id == m_lastLocationId)
                emit operationFailed(Search, {current().keyword}, code);
            if (!self)
                return;
            tellItems(id, [this, items] { emit handlerSearchFileFinished(*items); });
            OrderedWork::discard(std::move(*items));
        };
    });
}

// Icons and storage

void NetDiskServer::getIcon(qint64 &id, const QString &path)
{
    const QByteArray known = m_icons.value(id);
    if (!known.isEmpty()) {
        emit handlerGetIconFinished(id, known);
        return;
    }
    id = m_client.getIcon(path);
    m_icons.insert(id, {});
}

void NetDiskServer::handlerGetIcon(qint64 id, int code, QByteArray body)
{
    const auto entry = m_icons.find(id);
    if (entry == m_icons.end() || !entry->isEmpty())
        return;
    if (code == Success) {
        *entry = body;
        m_work->post([this, id, body] { emit handlerGetIconFinished(id, body); });
        return;
    }
    m_icons.erase(entry);
    if (code == Expired)
        loginExpired();
}

void NetDiskServer::getStorage()
{
    m_storageTimer.start(StorageInterval);
    m_storages.append(m_client.getUserStorage(GlobalConfig::instance()->currentUser().username));
}

void NetDiskServer::handlerGetStorage(qint64 id, int code, QByteArray body)
{
    if (m_storages.removeAll(id) == 0)
        return;
    if (code == Expired)
        return loginExpired();
    const QJsonValue storage = QJsonDocument::fromJson(body).object().value(QLatin1String("storage"));
    if (code == Success && storage.isObject()) {
        GlobalConfig *config = GlobalConfig::instance();
        UserInfo user = config->currentUser();
        user.storageUsed = bytesOf(storage.toObject(), "used");
        user.storageQuota = bytesOf(storage.toObject(), "quota");
        config->setCurrentUser(user);
    }
    m_work->post([this] { emit handlerGetStorageFinished(); });
}

// Changes

void NetDiskServer::newFloder(const QString &name)
{
    FileItem item;
    item.name = name;
    item.path = current().path + name;
    item.type = FileItem::Folder;
    m_newFolders.insert(m_client.mkdir(item.path), item);
}

void NetDiskServer::handlerNewFloder(qint64 id, int code, QByteArray body)
{
    Q_UNUSED(body)
    if (!m_newFolders.contains(id))
        return;
    FileItem item = m_newFolders.take(id);
    item.datetime = quint64(QDateTime::currentMSecsSinceEpoch());
    if (code == Expired)
        return loginExpired();
    const QList<FileItem> items = code == Success ? QList<FileItem>{item} : QList<FileItem>();
    tellChange(code == Success, MakeFolder, {item.path}, code, [this, items] { emit handlerNewFolderFinished(items); });
}

void NetDiskServer::removeFile(const QStringList &paths)
{
    m_fileRemovals.insert(m_client.removeFile(paths), paths);
}

void NetDiskServer::removeFolder(const QStringList &paths)
{
    m_folderRemovals.insert(m_client.removeFolder(paths), paths);
}

void NetDiskServer::handlerRemoveFile(qint64 id, int code, QByteArray body)
{
    Q_UNUSED(body)
    tellRemoved(m_fileRemovals, id, code);
}

void NetDiskServer::handlerRemoveFolder(qint64 id, int code, QByteArray body)
{
    Q_UNUSED(body)
    tellRemoved(m_folderRemovals, id, code);
}

void NetDiskServer::tellRemoved(QHash<qint64, QStringList> &pending, qint64 id, int code)
{
    if (!pending.contains(id))
        return;
    const QStringList asked = pending.take(id);
    if (code == Expired)
        return loginExpired();
    const QStringList gone = code == Success ? asked : QStringList();
    tellChange(code == Success, Delete, asked, code, [this, gone] { emit handlerRemoveFinished(gone); });
}

void NetDiskServer::move(const QStringList &src, const QString &dest)
{
    m_moves.insert(m_client.move(src, dest), requestText(QJsonArray::fromStringList(src), dest));
}

void NetDiskServer::copy(const QStringList &src, const QString &dest)
{
    m_copies.insert(m_client.copy(src, dest), requestText(QJsonArray::fromStringList(src), dest));
}

void NetDiskServer::handlerMove(qint64 id, int code, QByteArray body)
{
    Q_UNUSED(body)
    if (!m_moves.contains(id))
        return;
    const QByteArray text = m_moves.take(id);
    if (code == Expired)
        return loginExpired();
    tellPlaced(Move, code, code == Success, text, &NetDiskServer::handlerMoveFinished);
}

void NetDiskServer::handlerCopy(qint64 id, int code, QByteArray body)
{
    Q_UNUSED(body)
    if (!m_copies.contains(id))
        return;
    const QByteArray text = m_copies.take(id);
    if (code == Expired)
        return loginExpired();
    tellPlaced(Copy, code, code == CopyAccepted, text, &NetDiskServer::handlerCopyFinished);
}

void NetDiskServer::tellPlaced(Operation operation, int code, bool good, const QByteArray &text,
                               void (NetDiskServer::*finished)(QStringList, QString))
{
    const QJsonObject request = QJsonDocument::fromJson(text).object();
    const QStringList paths = sourcesOf(request);
    const QString dest = good ? destOf(request) : QString();
    tellChange(good, operation, paths, code,
               [this, good, paths, dest, finished] { emit(this->*finished)(good ? paths : QStringList(), dest); });
}

void NetDiskServer::renameFile(const QString &src, const QString &dest)
{
    m_renames.insert(m_client.renameFile(src, dest), requestText(src, dest));
}

void NetDiskServer::renameFolder(const QString &src, const QString &dest)
{
    m_renames.insert(m_client.renameFolder(src, dest), requestText(src, dest));
}

void NetDiskServer::handlerRename(qint64 id, int code, QByteArray body)
{
    Q_UNUSED(body)
    if (!m_renames.contains(id))
        return;
    const QByteArray text = m_renames.take(id);
    if (code == Expired)
        return loginExpired();
    const bool good = code == Success;
    const QJsonObject request = QJsonDocument::fromJson(text).object();
    const QString src = request.value(QLatin1String("src")).toString(), dest = destOf(request);
    tellChange(good, Rename, {src}, code, [this, good, src, dest] {
        emit handlerRenameFinished(good ? src : QString(), good ? dest : QString());
    });
}

void NetDiskServer::compress(const QStringList &src, const QString &dest)
{
    m_compressions.insert(m_client.compress(src, dest), dest + QLatin1String(".zip"));
}

void NetDiskServer::handlerCompress(qint64 id, int code, QByteArray body)
{
    Q_UNUSED(body)
    if (!m_compressions.contains(id))
        return;
    const QString archive = m_compressions.take(id);
    if (code == Expired)
        return accessDenied();
    tellChange(code == Success, Compress, {archive}, code, [this, archive] { emit handlerCompressFinished(archive); });
}

void NetDiskServer::decompress(const QString &src, const QString &dest)
{
    m_decompressions.insert(m_client.decompress(src, dest), src);
}

void NetDiskServer::handlerDecompress(qint64 id, int code, QByteArray body)
{
    Q_UNUSED(body)
    if (!m_decompressions.contains(id))
        return;
    const QString archive = m_decompressions.take(id);
    if (code == Expired)
        return accessDenied();
    tellChange(code == Success, Decompress, {archive}, code, [this] { emit handlerDecompressFinished(); });
}
