#include "SignedRequest.h"

#include "RawHttp.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QMessageAuthenticationCode>
#include <QUuid>

QByteArray SignedRequest::headers() const
{
    const int mark = target.indexOf('?');
    const QByteArray path = mark < 0 ? target : target.left(mark);
    const QByteArray query = mark < 0 ? QByteArray() : target.mid(mark + 1);
    const QByteArray when = QByteArray::number(time != 0 ? time : QDateTime::currentMSecsSinceEpoch());
    const QByteArray once = !nonce.isEmpty() ? nonce : QUuid::createUuid().toByteArray(QUuid::Id128);
    const QByteArray digest = QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex();
    const QByteArray message = method + '\n' + path + '\n' + query + '\n' + when + '\n' + once + '\n' + digest;
    const QByteArray signature = QMessageAuthenticationCode::hash(message, token, QCryptographicHash::Sha256).toHex();
    return "Arkvale-User: " + user.toPercentEncoding() + "\r\nArkvale-Access: " + accessId.toPercentEncoding() +
           "\r\nArkvale-Time: " + when + "\r\nArkvale-Nonce: " + once + "\r\nArkvale-Digest: " + digest +
           "\r\nArkvale-Signature: " + signature + "\r\n";
}

QByteArray SignedRequest::text() const
{
    return httpRequest(method, target, body, headers());
}
