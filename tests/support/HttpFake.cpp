#include "HttpFake.h"

#include <QJsonDocument>
#include <QPointer>
#include <QSslSocket>
#include <QTimer>

#include <memory>

QJsonObject HttpFake::Request::json() const
{
    return QJsonDocument::fromJson(body).object();
}

HttpFake::HttpFake(Script script, QObject *parent)
    : QTcpServer(parent)
    , m_script(std::move(script))
{
    if (!listen(QHostAddress::LocalHost))
        qFatal("no free port");
}

void HttpFake::setTls(const QSslConfiguration &configuration)
{
    m_tls = configuration;
    m_useTls = true;
}

QString HttpFake::address() const
{
    return QStringLiteral("%1://127.0.0.1:%2/base")
        .arg(m_useTls ? QStringLiteral("https") : QStringLiteral("http"))
        .arg(serverPort());
}

HttpFake::Answer HttpFake::reply(int status, const QByteArray &body, const QByteArray &headers)
{
    return {"HTTP/1.1 " + QByteArray::number(status) + " Status\r\nArkvale-Protocol: 1\r\n" + headers +
            "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body};
}

void HttpFake::incomingConnection(qintptr descriptor)
{
    auto *socket = new QSslSocket(this);
    socket->setSocketDescriptor(descriptor);
    ++m_connections;
    ++m_open;
    if (m_useTls) {
        socket->setSslConfiguration(m_tls);
        socket->startServerEncryption();
    }
    auto buffer = std::make_shared<QByteArray>();
    connect(socket, &QTcpSocket::readyRead, this, [this, socket, buffer] {
        *buffer += socket->readAll();
        serve(socket, buffer.get());
    });
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
        --m_open;
        socket->deleteLater();
    });
}

void HttpFake::serve(QTcpSocket *socket, QByteArray *buffer)
{
    for (;;) {
        const int end = buffer->indexOf("\r\n\r\n");
        if (end < 0)
            return;
        Request request;
        const QList<QByteArray> lines = buffer->left(end).split('\n');
        const QList<QByteArray> first = lines.first().trimmed().split(' ');
        request.method = first.value(0);
        request.target = first.value(1);
        for (int i = 1; i < lines.size(); ++i) {
            const int colon = lines[i].indexOf(':');
            request.headers.insert(lines[i].left(colon).toLower(), lines[i].mid(colon + 1).trimmed());
        }
        const int length = request.headers.value("content-length").toInt();
        if (buffer->size() < end + 4 + length)
            return;
        request.body = buffer->mid(end + 4, length);
        request.raw = buffer->left(end + 4 + length);
        buffer->remove(0, end + 4 + length);
        m_requests << request;

        const Answer answer = m_script(request);
        const QPointer<QTcpSocket> guard(socket);
        QTimer::singleShot(answer.delay, this, [guard, answer] {
            if (!guard)
                return;
            guard->write(answer.bytes);
            if (answer.close)
                guard->disconnectFromHost();
        });
    }
}
