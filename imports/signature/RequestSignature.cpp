#include "RequestSignature.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QMessageAuthenticationCode>
#include <QRandomGenerator>
#include <QUrl>

RequestSignature::RequestSignature(const QString &user, const QString &accessId, const QString &accessToken)
    : m_user(user)
    , m_accessId(accessId)
    , m_accessToken(accessToken)
{
}

RequestSignature::Headers RequestSignature::headers(const QByteArray &method, const QByteArray &path,
                                                    const QByteArray &query, const QByteArray &body,
                                                    qint64 clockOffset) const
{
    return headersAt(QDateTime::currentMSecsSinceEpoch() + clockOffset, makeNonce(), method, path, query, body);
}

RequestSignature::Headers RequestSignature::headersAt(qint64 time, const QByteArray &nonce, const QByteArray &method,
                                                      const QByteArray &path, const QByteArray &query,
                                                      const QByteArray &body) const
{
    if (!canSign())
        return {};
    const QByteArray timeText = QByteArray::number(time);
    const QByteArray digest = QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex();
    const QByteArray message = method + '\n' + path + '\n' + query + '\n' + timeText + '\n' + nonce + '\n' + digest;
    const QByteArray signature =
        QMessageAuthenticationCode::hash(message, m_accessToken.toUtf8(), QCryptographicHash::Sha256).toHex();
    // Both names come from the service's own answer; encoding them keeps a line break out of the header block.
    return {{"Arkvale-User", QUrl::toPercentEncoding(m_user)},
            {"Arkvale-Access", QUrl::toPercentEncoding(m_accessId)},
            {"Arkvale-Time", timeText},
            {"Arkvale-Nonce", nonce},
            {"Arkvale-Digest", digest},
            {"Arkvale-Signature", signature}};
}

QByteArray RequestSignature::makeNonce()
{
    quint32 words[4];
    QRandomGenerator::system()->fillRange(words);
    return QByteArray(reinterpret_cast<const char *>(words), sizeof words).toHex();
}
