#include "TransferWorld.h"

#include "RequestSignature.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <QTimer>

using namespace arkvale::service;

namespace {

const QString kUser = QStringLiteral("李 demo");
const QString kAccess = QStringLiteral("transfer-access");
const QString kToken = QStringLiteral("transfer secret");

} // namespace

TransferWorld::TransferWorld()
    : m_runtime(makeTransferRuntime())
    , m_http([this](const HttpFake::Request &request) { return answer(request); })
    , m_ticketPort(m_http.serverPort())
{
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
    return m_http.isListening() || m_http.listen(QHostAddress::LocalHost, m_ticketPort);
}

void TransferWorld::stopTickets()
{
    m_http.close();
    for (QTcpSocket *socket : m_http.findChildren<QTcpSocket *>())
        socket->abort();
}

ZpdtTransConfig TransferWorld::config() const
{
    ZpdtTransConfig config;
    config.clientTag = QStringLiteral("http://127.0.0.1:%1/base/").arg(m_ticketPort);
    config.userId = kUser;
    config.asperaUser = kAccess;
    config.asperaPassword = kToken;
    config.subCenterId = QStringLiteral("2");
    config.clientVersion = QStringLiteral("1.0");
    config.uploadTargetSpeed = 1000000;
    config.downloadTargetSpeed = 1000000;
    return config;
}

bool TransferWorld::signedRight(const HttpFake::Request &request)
{
    if (request.method + request.target != "POST/base/sc/2/transfer-tickets")
        return false;
    const RequestSignature signature(kUser, kAccess, kToken);
    for (const auto &header :
         signature.headersAt(request.headers.value("arkvale-time").toLongLong(), request.headers.value("arkvale-nonce"),
                             "POST", request.target, {}, request.body)) {
        if (request.headers.value(header.first.toLower()) != header.second)
            return false;
    }
    return true;
}

HttpFake::Answer TransferWorld::answer(const HttpFake::Request &request)
{
    ++requests;
    // The answer leaves a moment later, so that requests can be seen side by side.
    mostAtOnce = std::max(mostAtOnce, ++m_atOnce);
    QTimer::singleShot(0, &m_http, [this] { --m_atOnce; });
    const bool right = signedRight(request);
    badRequests += !right;
    if (!answers.isEmpty())
        return answers.takeFirst();
    if (!right)
        return HttpFake::reply(401, {});
    const qint64 now = QDateTime::currentMSecsSinceEpoch() + clockAhead;
    if (qAbs(request.headers.value("arkvale-time").toLongLong() - now) > 300000) {
        return HttpFake::reply(401, R"({"error":"time","message":"wrong clock"})",
                               "Arkvale-Time: " + QByteArray::number(now) + "\r\n");
    }
    return HttpFake::reply(200, issue(request.body));
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
    longest = qMax(longest, tasks.size());
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
