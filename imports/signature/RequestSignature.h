#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

/// Signs HTTP requests with an access pair, as docs/protocol.md describes. A plain value, usable from any thread.
/// Never prints or stores the token; it leaves this class only as the key of a digest.
class RequestSignature
{
public:
    using Headers = QList<QPair<QByteArray, QByteArray>>;

    RequestSignature() = default;
    RequestSignature(const QString &user, const QString &accessId, const QString &accessToken);

    /// False before a login: there is nothing to sign with, and headers() answers an empty list.
    bool canSign() const { return !m_accessId.isEmpty() && !m_accessToken.isEmpty(); }

    /// Headers of one request, with the present time and a fresh nonce: never use them for a second request.
    /// @param path  as it stands in the request line, percent-encoded, without the query
    /// @param query as it stands in the request line, without "?"; empty when there is none
    /// @param clockOffset milliseconds that the service's clock is ahead of this machine's
    Headers headers(const QByteArray &method, const QByteArray &path, const QByteArray &query, const QByteArray &body,
                    qint64 clockOffset = 0) const;
    /// The same with a given time (milliseconds since the epoch) and nonce (32 hexadecimal digits).
    Headers headersAt(qint64 time, const QByteArray &nonce, const QByteArray &method, const QByteArray &path,
                      const QByteArray &query, const QByteArray &body) const;

    /// 32 hexadecimal digits from the system's random source.
    static QByteArray makeNonce();

private:
    QString m_user;
    QString m_accessId;
    QString m_accessToken;
};
