#include "RawHttp.h"

#include <QElapsedTimer>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int patience = 15000;

} // namespace

RawConnection::RawConnection(std::uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(m_fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        ::close(m_fd);
        m_fd = -1;
    }
}

RawConnection::~RawConnection()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

bool RawConnection::send(const QByteArray &bytes)
{
    int sent = 0;
    while (isOpen() && sent < bytes.size()) {
        pollfd wait = {m_fd, POLLOUT, 0};
        if (::poll(&wait, 1, patience) <= 0)
            return false;
        const ssize_t count = ::send(m_fd, bytes.constData() + sent, static_cast<std::size_t>(bytes.size() - sent),
                                     MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count <= 0)
            return false;
        sent += static_cast<int>(count);
    }
    return isOpen();
}

bool RawConnection::fill(int milliseconds)
{
    pollfd wait = {m_fd, POLLIN, 0};
    if (!isOpen() || ::poll(&wait, 1, milliseconds) <= 0)
        return false;
    char buffer[65536];
    const ssize_t count = ::recv(m_fd, buffer, sizeof buffer, 0);
    if (count <= 0)
        return false;
    m_received.append(buffer, static_cast<int>(count));
    return true;
}

RawAnswer RawConnection::answer(bool head)
{
    RawAnswer answer;
    int end = -1;
    while (true) {
        while ((end = m_received.indexOf("\r\n\r\n")) < 0) {
            if (!fill(patience))
                return answer;
        }
        if (!m_received.startsWith("HTTP/1.1 100"))
            break;
        m_received.remove(0, end + 4);
    }
    const QList<QByteArray> lines = m_received.left(end).split('\n');
    m_received.remove(0, end + 4);
    answer.status = lines.first().split(' ').value(1).toInt();
    for (int i = 1; i < lines.size(); ++i) {
        const int colon = lines[i].indexOf(':');
        answer.headers[lines[i].left(colon).toLower()] = lines[i].mid(colon + 1).trimmed();
    }
    const int length = head ? 0 : answer.headers.value("content-length").toInt();
    while (m_received.size() < length && fill(patience)) {
    }
    answer.body = m_received.left(length);
    answer.whole = answer.body.size() == length;
    m_received.remove(0, length);
    return answer;
}

bool RawConnection::closedWithin(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (isOpen() && timer.elapsed() < milliseconds) {
        pollfd wait = {m_fd, POLLIN, 0};
        if (::poll(&wait, 1, static_cast<int>(milliseconds - timer.elapsed())) <= 0)
            return false;
        char byte;
        const ssize_t count = ::recv(m_fd, &byte, 1, 0);
        if (count <= 0)
            return true;
    }
    return !isOpen();
}

QByteArray httpRequest(const QByteArray &method, const QByteArray &target, const QByteArray &body,
                       const QByteArray &headers)
{
    QByteArray text = method + ' ' + target + " HTTP/1.1\r\nHost: localhost\r\n" + headers;
    if (!body.isEmpty() || method == "POST")
        text += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    return text + "\r\n" + body;
}

RawAnswer ask(std::uint16_t port, const QByteArray &request)
{
    RawConnection connection(port);
    connection.send(request);
    return connection.answer(request.startsWith("HEAD "));
}
