#include "BrowserServer.h"

#include "BridgeRequest.h"
#include "GlobalConfig.h"
#include "LoopbackListener.h"

#include <QDebug>
#include <QTcpSocket>
#include <QWebSocket>
#include <QWebSocketServer>

namespace {

constexpr int kLogLevel = 600;
constexpr int kMostClients = 64;
constexpr int kMostSockets = 2 * kMostClients; // those included that have not said what they are yet
constexpr int kHandshakeTime = 5000;           // ms
constexpr quint64 kMostMessageBytes = 1024 * 1024;
constexpr qint64 kReadBuffer = 1024 * 1024 + 64 * 1024; // a whole message must fit
constexpr qint64 kMostUnread = 256 * 1024;              // bytes of answers that a peer may leave lying
// Within a second: of one connection, and of all.
constexpr int kMostMessages = 100;
constexpr qint64 kMostBytes = 2 * 1024 * 1024;
constexpr int kMostCommonMessages = 500;
constexpr qint64 kMostCommonBytes = 8 * 1024 * 1024;
constexpr int kMostLogins = 4; // of one connection that wait for the service
const wchar_t *const kSource = L"Code\\BrowserServer";

const QLatin1String kSwitchingUsers("{\"action\":\"login\", \"ver\": \"1.0.0\", \"wait\": 2,  \"status\" : 200 }");
const QLatin1String kReadyAnswer("{\"action\":\"login\", \"ver\": \"1.0.0\", \"wait\": 0,  \"status\" : %1 }");
const QLatin1String kWaitAnswer("{\"action\":\"login\", \"ver\": \"1.0.0\", \"wait\": 1,  \"status\" : %1 }");
const QLatin1String kNowReady("{\"action\":\"SendOK\", \"status\" : 200}");

} // namespace

BrowserServer::BrowserServer(quint16 port, const OrvClient &client, QObject *parent)
    : QObject(parent)
    , m_client(client)
    , m_common(kMostCommonMessages, kMostCommonBytes)
    , m_port(port)
    , m_config(GlobalConfig::instance())
{
    qRegisterMetaType<QList<FileItem>>("QList<FileItem>");
    connect(&m_client, SIGNAL(authFinished(qint64, int, QByteArray)), this,
            SLOT(onAuthFinished(qint64, int, QByteArray)));
}

BrowserServer::~BrowserServer()
{
    if (m_running)
        Stop();
    // What remains are pages that have not taken note of the close yet; they must not report to a bridge that is gone.
    const QList<QWebSocket *> open = findChildren<QWebSocket *>();
    for (QWebSocket *client : open)
        client->disconnect(this);
}

quint16 BrowserServer::port() const
{
    return m_running ? m_listener->serverPort() : 0;
}

void BrowserServer::writeLog(const QString &message, int line)
{
    emit sigWriteLog(m_loggerId, kLogLevel, message, kSource, line);
}

void BrowserServer::Start()
{
    if (m_running) {
        qDebug() << "Failed to"
                 << "BrowserServer::Start"
                 << "it's already running...";
        return;
    }
    if (!m_server) {
        m_server = new QWebSocketServer(QStringLiteral("ZPT Browser Server"), QWebSocketServer::NonSecureMode, this);
        m_server->setMaxPendingConnections(kMostClients);
        m_server->setHandshakeTimeout(kHandshakeTime);
        m_listener = new LoopbackListener(kMostSockets, this);
        connect(m_listener, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = m_listener->nextPendingConnection())
                m_server->handleConnection(socket);
        });
        connect(m_server, SIGNAL(newConnection()), this, SLOT(onNewConnection()));
        connect(m_server, SIGNAL(closed()), this, SLOT(onServerClosed()));
        connect(m_server, SIGNAL(sslErrors(QList<QSslError>)), this, SLOT(onSslErrors(QList<QSslError>)));
    }
    if (!m_listener->start(m_port)) {
        qDebug() << "ZPT Browser Server Error to listen on port" << m_port << m_listener->errorString();
        return;
    }
    m_running = true;
    qDebug() << "ZPT Browser Server listening on port" << port();
    writeLog(QStringLiteral("ZPT Browser Server listening on port %1").arg(port()), __LINE__);
}

void BrowserServer::Stop()
{
    if (!m_running) {
        qDebug() << "Failed to"
                 << "BrowserServer::Stop"
                 << ", it's not running...";
        return;
    }
    m_running = false;
    m_listener->close();
    m_server->close();
    writeLog(QStringLiteral("ZPT Browser Server stopped"), __LINE__);
}

void BrowserServer::setReady(bool ready)
{
    m_ready = ready;
    if (!ready)
        return;
    const QList<QWebSocket *> clients = m_clients;
    for (QWebSocket *client : clients) {
        writeLog(QStringLiteral("Notify to prepared client[%1]: %2 ").arg(client->origin(), kNowReady), __LINE__);
        answer(client, kNowReady);
    }
}

void BrowserServer::onNewConnection()
{
    while (QWebSocket *client = m_server->nextPendingConnection()) {
        // Accepted connections have no owner; those still open at the end go with the bridge.
        client->setParent(this);
        if (m_clients.size() >= kMostClients) {
            connect(client, &QWebSocket::disconnected, client, &QObject::deleteLater);
            client->close(QWebSocketProtocol::CloseCodePolicyViolated, QStringLiteral("too many connections"));
            continue;
        }
        qDebug() << "Client connected:" << client->peerName() << client->origin();
        writeLog(QStringLiteral("Client connected %1 %2").arg(client->peerName(), client->origin()), __LINE__);
        client->setMaxAllowedIncomingMessageSize(kMostMessageBytes);
        client->setMaxAllowedIncomingFrameSize(kMostMessageBytes);
        client->setReadBufferSize(kReadBuffer);
        m_budgets.insert(client, MessageBudget(kMostMessages, kMostBytes));
        connect(client, SIGNAL(textMessageReceived(QString)), this, SLOT(receivedTextMessage(QString)));
        connect(client, SIGNAL(binaryMessageReceived(QByteArray)), this, SLOT(receivedBinaryMessage(QByteArray)));
        connect(client, SIGNAL(disconnected()), this, SLOT(socketDisconnected()));
        m_clients << client;
    }
}

bool BrowserServer::isWelcome(QWebSocket *client, qint64 bytes)
{
    const auto budget = m_budgets.find(client);
    if (budget == m_budgets.end())
        return false; // what was still in the buffer of a connection that was cut off
    if (!budget->spend(bytes)) {
        writeLog(QStringLiteral("Client[%1] sends too much and is cut off").arg(client->origin()), __LINE__);
        client->abort();
        return false;
    }
    // When many together are too much, those go on that ask for little.
    const bool room = m_common.spend(bytes);
    return room || budget->isModest();
}

bool BrowserServer::mayAnswer(QWebSocket *client)
{
    if (client->bytesToWrite() <= kMostUnread)
        return true;
    writeLog(QStringLiteral("Client[%1] reads nothing and is cut off").arg(client->origin()), __LINE__);
    client->abort();
    return false;
}

void BrowserServer::answer(QWebSocket *client, const QString &text)
{
    if (mayAnswer(client))
        client->sendTextMessage(text);
}

void BrowserServer::receivedTextMessage(QString message)
{
    auto *client = qobject_cast<QWebSocket *>(sender());
    if (!client) {
        qDebug() << "Don't know where send the message";
        return;
    }
    if (!isWelcome(client, message.size()))
        return;
    writeLog(QStringLiteral("Received message from client[%1]: %2 ").arg(client->origin(), message), __LINE__);
    try {
        processTextMessage(client, message);
    } catch (...) {
        writeLog(QStringLiteral("catched ! Received message from client[%1]: %2 ").arg(client->origin(), message),
                 __LINE__);
    }
}

void BrowserServer::processTextMessage(QWebSocket *client, const QString &message)
{
    const BridgeRequest request = BridgeRequest::parse(message);
    if (request.refused > 0)
        writeLog(
            QStringLiteral("Refused %1 names of client[%2]").arg(QString::number(request.refused), client->origin()),
            __LINE__);
    switch (request.action) {
    case BridgeRequest::Login:
        processLogin(client, request);
        break;
    case BridgeRequest::Upload:
        writeLog(QStringLiteral("Process upload message client[%1]: %2:%3 ")
                     .arg(client->origin(), request.center, request.dest),
                 __LINE__);
        later([this, request] { emit uploadRequest(request.center, request.dest); });
        break;
    case BridgeRequest::Download:
        later([this, request] { emit downloadRequest(request.center, request.items); });
        qDebug() << "void BrowserServer::processTextMessage(QString message) return";
        break;
    case BridgeRequest::Logout:
        later([this] { emit sigSwitchUser(QString()); });
        break;
    case BridgeRequest::Ignored:
        break;
    }
}

void BrowserServer::later(const std::function<void()> &emitRequest)
{
    // A request opens dialogs, in whose event loop the page may leave. The connection's own code, which would still be
    // on the stack, must not be called from below them.
    QMetaObject::invokeMethod(this, emitRequest, Qt::QueuedConnection);
}

void BrowserServer::processLogin(QWebSocket *client, const BridgeRequest &request)
{
    const QString current = m_config->currentUser().username;
    if (!current.isEmpty() && request.username != current) {
        writeLog(QStringLiteral("[%1]Login request %2 not match logined user %3, logout ")
                     .arg(client->origin(), request.username, current),
                 __LINE__);
        m_switchRequested = true;
        answer(client, kSwitchingUsers);
        return;
    }
    if (m_pendingAuth.keys(client).size() >= kMostLogins)
        return;
    const qint64 id = m_client.auth(request.username, request.token);
    writeLog(QStringLiteral("Process login message client[%1]: %2:%3,%4 ")
                 .arg(client->origin(), request.username, request.token, request.center),
             __LINE__);
    m_config->setRequestedSubCenterId(request.center);
    m_pendingAuth.insert(id, client);
}

void BrowserServer::receivedBinaryMessage(QByteArray message)
{
    auto *client = qobject_cast<QWebSocket *>(sender());
    if (client && isWelcome(client, message.size()) && mayAnswer(client))
        client->sendBinaryMessage(message);
}

void BrowserServer::socketDisconnected()
{
    qDebug() << "Client disconnected";
    auto *client = qobject_cast<QWebSocket *>(sender());
    if (!client)
        return;
    m_clients.removeAll(client);
    m_budgets.remove(client);
    // Its login may still be under way; nobody is left to be told.
    for (auto it = m_pendingAuth.begin(); it != m_pendingAuth.end();) {
        if (it.value() == client)
            it = m_pendingAuth.erase(it);
        else
            ++it;
    }
    client->deleteLater();
}

void BrowserServer::onServerClosed()
{
    // Closing may answer at once and change the list.
    const QList<QWebSocket *> clients = m_clients;
    m_clients.clear();
    for (QWebSocket *client : clients)
        client->close(QWebSocketProtocol::CloseCodeNormal, QString());
}

void BrowserServer::onSslErrors(QList<QSslError>)
{
    qDebug() << "Ssl errors occurred";
}

void BrowserServer::onAuthFinished(qint64 id, int code, QByteArray body)
{
    // The body holds the access pair of the session and goes to no log.
    qDebug() << "onAuthFinished" << body.size();
    QWebSocket *client = m_pendingAuth.take(id);
    if (!client)
        return;
    const QString text = QString(m_ready ? kReadyAnswer : kWaitAnswer).arg(code);
    writeLog(QStringLiteral("Auth finished responsed client[%1]: %2 ").arg(client->origin(), text), __LINE__);
    answer(client, text);
}
