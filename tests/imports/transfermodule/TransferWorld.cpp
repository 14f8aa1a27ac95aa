#include "TransferWorld.h"

#include "RequestSignature.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTcpSocket>

using namespace arkvale::service;

namespace {

const QString kUser = QStringLiteral("李 demo");
const QString kAccess = QStringLiteral("transfer-access");
const QString kToken = QStringLiteral("transfer secret");

QByteArray headerOf(const QByteArray &head, const QByteArray &name)
{
    for (const QByteArray &line : head.split('\n')) {
        const int colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed().toLower() == name.toLower())
            return line.mid(colon + 1).trimmed();
    }
    return {};
}

} // namespace

TransferWorld::TransferWorld()
    : m_runtime(makeTransferRuntime())
{
    connect(this, &QTcpServer::newConnection, this, &TransferWorld::onConnection);
}

TransferWorld::~TransferWorld()
{
    stopTickets();
    stopServer();
}

bool TransferWorld::startServer()
{
    TransferServerOptions options;
    options.port = m_serverPort;
    options.subCenterId = "2";
    options.certificateFile = m_keys.filePath(QStringLiteral("server.pem")).toStdString();
    m_server = std::make_unique<TransferServer>(m_runtime, options,
                                                [this](const std::string &ticket) { return redeem(ticket); });
    std::string error;
    const bool up = m_server->start(error);
    if (!up)
        qWarning("transfer server: %s", error.c_str());
    m_serverPort = m_server->port();
    return up;
}

void TransferWorld::stopServer()
{
    m_server.reset();
}

bool TransferWorld::startTickets()
{
    const bool up = listen(QHostAddress::LocalHost, m_ticketPort);
    m_ticketPort = serverPort();
    return up;
}

void TransferWorld::stopTickets()
{
    close();
    const auto sockets = m_input.keys();
    m_input.clear();
    for (QTcpSocket *socket : sockets) {
        socket->disconnect(this);
        socket->abort();
        socket->deleteLater();
    }
}

ZpdtTransConfig TransferWorld::config() const
{
    ZpdtTransConfig config;
    config.clientTag = QStringLiteral("http://127.0.0.1:%1/api/v1/").arg(m_ticketPort);
    config.userId = kUser;
    config.asperaUser = kAccess;
    config.asperaPassword = kToken;
    config.subCenterId = QStringLiteral("2");
    config.clientVersion = QStringLiteral("1.0");
    config.uploadTargetSpeed = 1000000;
    config.downloadTargetSpeed = 1000000;
    return config;
}

void TransferWorld::onConnection()
{
    while (QTcpSocket *socket = nextPendingConnection()) {
        m_input.insert(socket, {});
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { onData(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_input.remove(socket);
            socket->deleteLater();
        });
    }
}

void TransferWorld::onData(QTcpSocket *socket)
{
    QByteArray &input = m_input[socket];
    input += socket->readAll();
    const int end = input.indexOf("\r\n\r\n");
    if (end < 0)
        return;
    const QByteArray head = input.left(end);
    const int length = headerOf(head, "Content-Length").toInt();
    if (input.size() < end + 4 + length)
        return;
    const QByteArray body = input.mid(end + 4, length);
    input.remove(0, end + 4 + length);
    mostAtOnce = std::max(mostAtOnce, ++m_atOnce);
    // Answered a moment later, so that requests can be seen side by side.
    QMetaObject::invokeMethod(
        this,
        [this, socket, head, body] {
            --m_atOnce;
            if (m_input.contains(socket))
                answer(socket, head, body);
        },
        Qt::QueuedConnection);
}

bool TransferWorld::signedRight(const QByteArray &head, const QByteArray &body) const
{
    const qint64 time = headerOf(head, "Arkvale-Time").toLongLong();
    const QByteArray nonce = headerOf(head, "Arkvale-Nonce");
    const RequestSignature signature(kUser, kAccess, kToken);
    if (!head.startsWith("POST /api/v1/sc/2/transfer-tickets HTTP/1.1"))
        return false;
    for (const auto &header : signature.headersAt(time, nonce, "POST", "/api/v1/sc/2/transfer-tickets", {}, body)) {
        if (headerOf(head, header.first) != header.second)
            return false;
    }
    return true;
}

void TransferWorld::answer(QTcpSocket *socket, const QByteArray &head, const QByteArray &body)
{
    ++requests;
    const bool right = signedRight(head, body);
    badRequests += !right;
    Answer reply;
    const qint64 now = QDateTime::currentMSecsSinceEpoch() + clockAhead;
    if (!answers.isEmpty()) {
        reply = answers.takeFirst();
    } else if (!right) {
        reply.status = 401;
    } else if (qAbs(headerOf(head, "Arkvale-Time").toLongLong() - now) > 300000) {
        reply = {401, R"({"error":"time","message":"wrong clock"})",
                 "Arkvale-Time: " + QByteArray::number(now) + "\r\n"};
    } else {
        reply.body = issue(body);
    }
    if (reply.status == 0) {
        socket->abort();
        return;
    }
    socket->write("HTTP/1.1 " + QByteArray::number(reply.status) + " X\r\nContent-Length: " +
                  QByteArray::number(reply.body.size()) + "\r\n" + reply.header + "\r\n" + reply.body);
}

QByteArray TransferWorld::issue(const QByteArray &body)
{
    const QJsonObject asked = QJsonDocument::fromJson(body).object();
    TransferGrant grant;
    grant.user = kUser.toStdString();
    grant.subCenterId = "2";
    grant.homeRoot = m_home.path().toStdString();
    grant.folder = asked.value(QLatin1String("path")).toString().mid(1).toStdString();
    grant.direction = asked.value(QLatin1String("direction")).toString() == QLatin1String("upload")
                          ? TransferGrant::Direction::Upload
                          : TransferGrant::Direction::Download;
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::string ticket = "ticket-" + std::to_string(++m_lastTicket);
    grant.quotaFree = [free = quota] { return free; };
    m_grants[ticket] = grant;
    const QJsonObject object{{QStringLiteral("ticket"), QString::fromStdString(ticket)},
                             {QStringLiteral("fingerprint"), m_server ? QString::fromStdString(m_server->fingerprint())
                                                                      : QString(64, QLatin1Char('0'))},
                             {QStringLiteral("host"), QStringLiteral("127.0.0.1")},
                             {QStringLiteral("port"), m_serverPort}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<TransferGrant> TransferWorld::redeem(const std::string &ticket)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_grants.find(ticket);
    if (it == m_grants.end())
        return std::nullopt;
    const TransferGrant grant = it->second;
    m_grants.erase(it);
    return grant;
}

EngineLog::EngineLog(TransferModule &engine)
{
    connect(&engine, &TransferModule::TaskCreated, this, [this](const auto &tasks) { note("created", tasks); });
    connect(&engine, &TransferModule::TaskStarted, this, [this](const auto &tasks) { note("started", tasks); });
    connect(&engine, &TransferModule::TaskRetrans, this, [this](const auto &tasks) { note("retrans", tasks); });
    connect(&engine, &TransferModule::TaskPauseEnd, this, [this](const auto &tasks) { note("paused", tasks); });
    connect(&engine, &TransferModule::TaskCancelEnd, this, [this](const auto &tasks) { note("cancelled", tasks); });
    connect(&engine, &TransferModule::TaskFinished, this, [this](const QList<TaskRecord> &tasks) {
        for (const TaskRecord &task : tasks)
            note(task.Status == ZPDT_SUCCESS ? "done" : "failed", {task});
        signalCount -= tasks.size() - 1;
    });
    connect(&engine, &TransferModule::TaskExist, this, [this](const auto &tasks) { existing += tasks; });
    connect(&engine, &TransferModule::TaskDirCreated, this, [this](const auto &list) { folders += list; });
    connect(&engine, &TransferModule::TaskCreateCount, this, [this](qint64 count) { createCount += count; });
    connect(&engine, &TransferModule::TaskCreatePausedCount, this, [this](qint64 count) { pausedCount = count; });
    connect(&engine, &TransferModule::ConnectionInfoChanged, this, [this](const auto &list) { connections = list; });
    connect(&engine, &TransferModule::TaskProgressChanged, this,
            [this](const TaskRecord &task, const ZpdtProgress &progress) {
                ++signalCount;
                m_records.insert(task.Path, task);
                m_progress.insert(task.Path, progress);
                speeds.append(progress.speed);
            });
}

void EngineLog::note(const char *event, const QList<TaskRecord> &tasks)
{
    ++signalCount;
    for (const TaskRecord &task : tasks) {
        QStringList &story = m_stories[task.Path];
        if (story.isEmpty() || story.last() != QLatin1String(event))
            story.append(QLatin1String(event));
        m_records.insert(task.Path, task);
    }
}

int EngineLog::ended(ZpdtTaskStatus status) const
{
    return static_cast<int>(std::count_if(m_records.begin(), m_records.end(),
                                          [status](const TaskRecord &task) { return task.Status == status; }));
}

bool writeFile(const QString &path, qint64 size, quint32 seed)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QRandomGenerator random(seed);
    QByteArray block(64 * 1024, 0);
    while (size > 0) {
        random.fillRange(reinterpret_cast<quint32 *>(block.data()), block.size() / 4);
        const qint64 piece = std::min<qint64>(size, block.size());
        if (file.write(block.constData(), piece) != piece)
            return false;
        size -= piece;
    }
    return true;
}

QMap<QString, QByteArray> treeOf(const QString &folder)
{
    QMap<QString, QByteArray> tree;
    const QDir base(folder);
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QByteArray what = "folder";
        if (!it.fileInfo().isDir()) {
            QFile file(path);
            QCryptographicHash digest(QCryptographicHash::Sha256);
            what = file.open(QIODevice::ReadOnly) && digest.addData(&file) ? digest.result().toHex() : "unreadable";
        }
        tree.insert(base.relativeFilePath(path), what);
    }
    return tree;
}
