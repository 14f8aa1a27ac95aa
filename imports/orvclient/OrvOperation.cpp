#include "OrvOperation.h"

#include "OrvClient.h"

#include <QJsonDocument>
#include <QJsonObject>

int orvStatus(const OrvOperation &operation, int httpStatus, const QString &word, bool wasSigned)
{
    switch (httpStatus) {
    case 200:
    case 201:
    case 204:
        return 200;
    case 401:
        // A repeated nonce tells of a request that the network delivered twice, not of the session.
        if (wasSigned && word == QLatin1String("repeated"))
            return OrvClient::BrokenReply;
        return wasSigned && !operation.has(OrvOperation::Login) ? 201 : 401;
    case 403:
        return word == QLatin1String("restricted") ? 201 : 403;
    case 404:
        return operation.has(OrvOperation::MissingIs203) ? 203 : 404;
    // The codes below have a meaning of their own towards the caller and do not occur on this wire.
    case 202:
    case 203:
        return OrvClient::BrokenReply;
    default:
        return httpStatus;
    }
}

QString orvErrorWord(const QByteArray &body)
{
    constexpr int kLargestErrorBody = 64 * 1024;
    if (body.isEmpty() || body.size() > kLargestErrorBody)
        return {};
    return QJsonDocument::fromJson(body).object().value(QLatin1String("error")).toString();
}

QByteArray orvOrigin(const QUrl &url)
{
    const bool tls = url.scheme() == QLatin1String("https");
    return (tls ? QByteArrayLiteral("https://") : QByteArrayLiteral("http://")) +
           url.host(QUrl::FullyEncoded).toLatin1().toLower() + ':' + QByteArray::number(url.port(tls ? 443 : 80));
}

bool orvIsHttp(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}
