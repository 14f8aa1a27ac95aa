#include "TransferLoop.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

using namespace arkvale::service;

TransferLoop::TransferLoop()
    : m_runtime(makeTransferRuntime(3))
{
    QDir().mkpath(local());
    QDir().mkpath(home());
}

TransferLoop::~TransferLoop()
{
    m_connection.reset();
    m_context.stop();
    m_server.reset();
}

void TransferLoop::startServer(quint16 port)
{
    TransferServerOptions options;
    options.subCenterId = "2";
    options.port = port;
    options.certificateFile = (m_folder.path() + "/transfer.pem").toStdString();
    m_server = std::make_unique<TransferServer>(m_runtime, options, [this](const std::string &name) {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::optional<TransferGrant> grant;
        const auto found = m_tickets.find(name);
        if (found != m_tickets.end()) {
            grant = found->second;
            m_tickets.erase(found);
        }
        return grant;
    });
    std::string error;
    if (!m_server->start(error))
        qFatal("%s", error.c_str());
}

void TransferLoop::stopServer()
{
    m_server.reset();
}

void TransferLoop::connect(quint16 viaPort, const QString &fingerprint, bool udp)
{
    m_connection.reset();
    zpdt::Endpoint endpoint;
    endpoint.host = "127.0.0.1";
    endpoint.port = viaPort ? viaPort : m_server->port();
    endpoint.fingerprint = fingerprint.isEmpty() ? m_server->fingerprint() : fingerprint.toStdString();
    endpoint.clientVersion = "test";
    if (udp) {
        endpoint.carrier = zpdt::CarrierKind::Udp;
        endpoint.port = m_server->udpPort();
        endpoint.udpKey = m_server->issueUdpKey();
    }
    m_connection = std::make_unique<zpdt::Connection>(
        m_context, endpoint, [this](zpdt::ConnectionState now, zpdt::Error error, const std::string &text) {
            std::lock_guard<std::mutex> lock(m_mutex);
            state = now;
            stateError = error;
            stateText = QString::fromStdString(text);
            m_changed.notify_all();
        });
}

std::string TransferLoop::ticket(zpdt::Direction direction, const QString &folder)
{
    TransferGrant grant;
    grant.user = "ada";
    grant.subCenterId = "2";
    grant.homeRoot = home().toStdString();
    grant.folder = folder.toStdString();
    grant.direction =
        direction == zpdt::Direction::Upload ? TransferGrant::Direction::Upload : TransferGrant::Direction::Download;
    grant.quotaFree = quotaFree;
    grant.allowed = allowed;
    grant.addUsed = [this](std::int64_t bytes) { used += bytes; };
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::string name = "ticket-" + std::to_string(++m_lastTicket);
    m_tickets[name] = grant;
    return name;
}

zpdt::UploadRequest TransferLoop::uploadRequest(const QStringList &names, const QString &remote)
{
    zpdt::UploadRequest request;
    request.ticket = ticket(zpdt::Direction::Upload, remote);
    request.localFolder = local().toStdString();
    for (const QString &name : names)
        request.names.push_back(name.toStdString());
    return request;
}

zpdt::DownloadRequest TransferLoop::downloadRequest(const QStringList &names, const QString &remote)
{
    zpdt::DownloadRequest request;
    request.ticket = ticket(zpdt::Direction::Download, remote);
    request.localFolder = (local() + "/out").toStdString();
    for (const QString &name : names)
        request.names.push_back(name.toStdString());
    return request;
}

zpdt::StreamCallbacks TransferLoop::callbacks(StreamLog &log)
{
    zpdt::StreamCallbacks callbacks;
    const auto locked = [this](auto change) {
        std::lock_guard<std::mutex> lock(m_mutex);
        change();
        if (onStep)
            onStep();
        m_changed.notify_all();
    };
    callbacks.onOpened = [locked, &log] { locked([&] { log.opened = true; }); };
    callbacks.onTotals = [locked, &log](const zpdt::Totals &totals) { locked([&] { log.totals = totals; }); };
    callbacks.onProgress = [locked, &log](const zpdt::StreamProgress &progress) {
        locked([&] { log.lastProgress = progress; });
    };
    callbacks.onItemDone = [locked, &log](const zpdt::ItemInfo &info, const zpdt::ItemOutcome &outcome) {
        locked([&] {
            log.done << (outcome.created ? "+" : outcome.same ? "=" : "") + QString::fromStdString(info.path);
        });
    };
    callbacks.onItemFailed = [locked, &log](const zpdt::ItemInfo &info, zpdt::Error error, const std::string &text) {
        locked([&] {
            log.failed << QString::fromStdString(info.path) + ": " + zpdt::errorName(error);
            log.texts << QString::fromStdString(text);
        });
    };
    callbacks.onEnd = [locked, &log](const zpdt::StreamResult &result) {
        locked([&] {
            log.result = result;
            log.ended = true;
            ++log.ends;
        });
    };
    return callbacks;
}

std::shared_ptr<zpdt::Stream> TransferLoop::start(zpdt::UploadRequest request, StreamLog &log)
{
    return m_connection->openUpload(std::move(request), callbacks(log));
}

std::shared_ptr<zpdt::Stream> TransferLoop::start(zpdt::DownloadRequest request, StreamLog &log)
{
    return m_connection->openDownload(std::move(request), callbacks(log));
}

bool TransferLoop::wait(const std::function<bool()> &test, int ms)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(ms), test);
}

StreamLog TransferLoop::upload(const QStringList &names, bool resumed)
{
    StreamLog log;
    zpdt::UploadRequest request = uploadRequest(names);
    request.resumed = resumed;
    const auto stream = start(std::move(request), log);
    if (!wait([&] { return log.ended; }, 60000))
        qFatal("an upload did not end");
    log.done.sort();
    log.failed.sort();
    return log;
}

StreamLog TransferLoop::download(const QStringList &names, bool resumed)
{
    StreamLog log;
    zpdt::DownloadRequest request = downloadRequest(names);
    request.resumed = resumed;
    const auto stream = start(std::move(request), log);
    if (!wait([&] { return log.ended; }, 60000))
        qFatal("a download did not end");
    log.done.sort();
    log.failed.sort();
    return log;
}

StreamLog TransferLoop::discard(const QStringList &names, const QString &remote)
{
    StreamLog log;
    zpdt::DiscardRequest request;
    request.ticket = ticket(zpdt::Direction::Upload, remote);
    for (const QString &name : names)
        request.names.push_back(name.toStdString());
    const auto stream = m_connection->openDiscard(std::move(request), callbacks(log));
    if (!wait([&] { return log.ended; }, 60000))
        qFatal("discarding did not end");
    return log;
}

QMap<QString, QString> snapshot(const QString &folder, bool withTimes)
{
    QMap<QString, QString> found;
    QDirIterator walk(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                      QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        walk.next();
        const QFileInfo info = walk.fileInfo();
        QString line = info.isDir() ? "folder" : QString::number(info.size());
        if (withTimes)
            line += ' ' + QString::number(info.lastModified().toMSecsSinceEpoch());
        if (info.isFile()) {
            QFile file(info.filePath());
            QCryptographicHash hash(QCryptographicHash::Sha1);
            if (file.open(QIODevice::ReadOnly) && hash.addData(&file))
                line += ' ' + QString::fromLatin1(hash.result().toHex());
        }
        found[QDir(folder).relativeFilePath(info.filePath())] = line;
    }
    return found;
}
