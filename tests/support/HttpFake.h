#pragma once

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QSslConfiguration>
#include <QTcpServer>

#include <functional>

/// A scripted HTTP service on a free loopback port. Every request is recorded and answered by the script, with bytes
/// that need not be HTTP at all. Keeps connections open unless the answer says otherwise.
class HttpFake : public QTcpServer
{
    Q_OBJECT

public:
    struct Request
    {
        QByteArray method;
        QByteArray target;
        QHash<QByteArray, QByteArray> headers; ///< names in lower case
        QByteArray body;
        QByteArray raw;
        QJsonObject json() const;
        QByteArray path() const { return target.left(target.indexOf('?') < 0 ? target.size() : target.indexOf('?')); }
    };

    struct Answer
    {
        QByteArray bytes;
        bool close = false; ///< after the bytes
        int delay = 0;      ///< milliseconds before the bytes
    };
    using Script = std::function<Answer(const Request &)>;

    explicit HttpFake(Script script, QObject *parent = nullptr);
    /// Serves over TLS. To be called before the first connection.
    void setTls(const QSslConfiguration &configuration);

    /// Address of the service, such as "http://127.0.0.1:4711/base".
    QString address() const;
    void setScript(Script script) { m_script = std::move(script); }
    const QList<Request> &requests() const { return m_requests; }
    int connectionCount() const { return m_connections; }
    int openConnections() const { return m_open; }
    void forget() { m_requests.clear(); }

    /// A whole reply with the right length.
    static Answer reply(int status, const QByteArray &body, const QByteArray &headers = QByteArray());
    static Answer silence() { return {}; }

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void serve(class QTcpSocket *socket, QByteArray *buffer);

    Script m_script;
    QSslConfiguration m_tls;
    bool m_useTls = false;
    QList<Request> m_requests;
    int m_connections = 0;
    int m_open = 0;
};
