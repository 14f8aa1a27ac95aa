#pragma once

#include <QByteArray>
#include <QMap>

#include <cstdint>

/// One answer as it came over the wire.
struct RawAnswer
{
    int status = 0;                       ///< 0: none came
    QMap<QByteArray, QByteArray> headers; ///< names in lower case
    QByteArray body;
    bool whole = false; ///< the body is as long as it was said to be
};

/// A plain TCP connection to a server of this machine, for requests that no HTTP client would send. Every wait ends
/// after a few seconds.
class RawConnection
{
public:
    explicit RawConnection(std::uint16_t port);
    ~RawConnection();
    RawConnection(const RawConnection &) = delete;
    RawConnection &operator=(const RawConnection &) = delete;

    bool isOpen() const { return m_fd >= 0; }
    /// False once the other side does not take any more.
    bool send(const QByteArray &bytes);
    /// @param head the request was HEAD: no body follows
    RawAnswer answer(bool head = false);
    /// True when the other side closes, without another answer, within @p milliseconds.
    bool closedWithin(int milliseconds);

private:
    bool fill(int milliseconds);

    int m_fd = -1;
    QByteArray m_received;
};

/// The text of a request with a Content-Length where there is a body. @p headers are whole lines.
QByteArray httpRequest(const QByteArray &method, const QByteArray &target, const QByteArray &body = {},
                       const QByteArray &headers = {});

/// One request on a connection of its own.
RawAnswer ask(std::uint16_t port, const QByteArray &request);
