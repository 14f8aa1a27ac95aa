#pragma once

#include "FileItem.h"
#include "MessageBudget.h"
#include "OrvClient.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSslError>

#include <functional>

class GlobalConfig;
class LoopbackListener;
class QWebSocket;
class QWebSocketServer;
struct BridgeRequest;

/// WebSocket server on the loopback address through which a page of the service, open in a browser on this machine,
/// logs the client in and asks it for transfers. Turns messages into signals and answers the page; transfers nothing
/// itself. Every program on the machine can connect, so: a message over 1 MiB, a hundred messages or 2 MiB within a
/// second, or answers that are not read end a connection, and a 65th one is turned away. GUI thread only.
class BrowserServer : public QObject
{
    Q_OBJECT

public:
    BrowserServer(quint16 port, const OrvClient &client, QObject *parent = nullptr);
    ~BrowserServer() override;

    /// Listens on the port. A port that is in use leaves the bridge stopped; only the debug log tells.
    void Start();
    void Stop();
    bool isRunning() const { return m_running; }
    /// The port listened on, 0 while stopped; the one of the constructor unless that was 0.
    quint16 port() const;
    void setLoggerId(int id) { m_loggerId = id; }
    /// True tells every open page that requests are taken now.
    void setReady(bool ready);
    /// A page asked to log in as another user than the one logged in.
    bool switchRequested() const { return m_switchRequested; }
    /// The client whose authFinished answers the logins of pages.
    OrvClient *client() { return &m_client; }

signals:
    void downloadRequest(QString center, QList<FileItem> items);
    void uploadRequest(QString center, QString dest);
    void authRequest();
    void sigWriteLog(int loggerId, int logLevel, QString message, const wchar_t *fileName, int lineNum);
    void sigSwitchUser(QString user);

private slots:
    void onNewConnection();
    void onServerClosed();
    void receivedTextMessage(QString message);
    void receivedBinaryMessage(QByteArray message);
    void socketDisconnected();
    void onSslErrors(QList<QSslError> errors);
    void onAuthFinished(qint64 id, int code, QByteArray body);

private:
    void processTextMessage(QWebSocket *client, const QString &message);
    void processLogin(QWebSocket *client, const BridgeRequest &request);
    void later(const std::function<void()> &emitRequest);
    void writeLog(const QString &message, int line);
    /// False when the message is one too many; its connection is then gone, or the message is to be passed over.
    bool isWelcome(QWebSocket *client, qint64 bytes);
    /// False when the peer leaves so much unread that it was cut off.
    bool mayAnswer(QWebSocket *client);
    void answer(QWebSocket *client, const QString &text);

    OrvClient m_client;
    QList<QWebSocket *> m_clients;
    QHash<QWebSocket *, MessageBudget> m_budgets;
    MessageBudget m_common;
    QHash<qint64, QWebSocket *> m_pendingAuth;
    QWebSocketServer *m_server = nullptr;
    LoopbackListener *m_listener = nullptr;
    quint16 m_port;
    bool m_running = false;
    int m_loggerId = 0;
    bool m_ready = false;
    GlobalConfig *m_config;
    bool m_switchRequested = false;
};
