#include "TicketClient.h"

#include "RequestSignature.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <algorithm>

namespace {

constexpr int kParallel = 4;
/// Short, so that a request that the line swallowed does not outlive the line's return by much.
constexpr int kTimeout = 6000;
constexpr qint64 kMaxBody = 256 * 1024;
const char kClockHeader[] = "Arkvale-Time";

} // namespace

TicketClient::TicketClient(QObject *parent)
    : QObject(parent)
{
}

quint64 TicketClient::ask(const TicketRequest &request)
{
    m_waiting.enqueue({++m_lastId, request, false});
    const quint64 id = m_lastId;
    QMetaObject::invokeMethod(this, &TicketClient::next, Qt::QueuedConnection);
    return id;
}

void TicketClient::drop(quint64 id)
{
    const auto waiting =
        std::find_if(m_waiting.begin(), m_waiting.end(), [id](const Asked &asked) { return asked.id == id; });
    if (waiting != m_waiting.end()) {
        m_waiting.erase(waiting);
        return;
    }
    if (QNetworkReply *reply = m_running.take(id)) {
        reply->disconnect(this);
        reply->deleteLater(); // ends the request; one that is about to tell of an error must not be aborted
        QMetaObject::invokeMethod(this, &TicketClient::next, Qt::QueuedConnection);
    }
}

void TicketClient::forgetConnections()
{
    if (m_network)
        m_network->clearConnectionCache();
}

void TicketClient::next()
{
    while (m_running.size() < kParallel && !m_waiting.isEmpty())
        send(m_waiting.dequeue());
}

void TicketClient::send(const Asked &asked)
{
    const TicketRequest &request = asked.request;
    QByteArray base = request.service.trimmed().toUtf8();
    while (base.endsWith('/'))
        base.chop(1);
    const QUrl url =
        QUrl::fromEncoded(base + "/sc/" + QUrl::toPercentEncoding(request.subCenterId) + "/transfer-tickets");
    if (!url.isValid() || url.host().isEmpty() || !url.scheme().startsWith(QLatin1String("http"))) {
        answerLater(asked.id, ZpdtError::Refused, QStringLiteral("the address of the service is not valid"));
        return;
    }
    const RequestSignature signature(request.user, request.accessId, request.accessToken);
    if (!signature.canSign()) {
        answerLater(asked.id, ZpdtError::Refused, QStringLiteral("not logged in for transfers"));
        return;
    }
    const QJsonObject object{{QStringLiteral("direction"),
                              request.direction == ZPDT_UPLOAD ? QStringLiteral("upload") : QStringLiteral("download")},
                             {QStringLiteral("path"), request.path}};
    const QByteArray body = QJsonDocument(object).toJson(QJsonDocument::Compact);

    QNetworkRequest http(url);
    http.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    http.setTransferTimeout(kTimeout);
    const auto headers = signature.headers("POST", url.path(QUrl::FullyEncoded).toLatin1(), QByteArray(), body,
                                           m_clockOffsets.value(request.service));
    for (const auto &header : headers)
        http.setRawHeader(header.first, header.second);
    if (!m_network)
        m_network = new QNetworkAccessManager(this);
    QNetworkReply *reply = m_network->post(http, body);
    m_running.insert(asked.id, reply);
    connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received) {
        if (received > kMaxBody)
            reply->abort();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply, asked] { onReply(reply, asked); });
}

void TicketClient::onReply(QNetworkReply *reply, Asked asked)
{
    m_running.remove(asked.id);
    reply->deleteLater();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    // One that was given up is closed.
    const QByteArray body = reply->isOpen() ? reply->read(kMaxBody) : QByteArray();
    const QJsonObject object = QJsonDocument::fromJson(body).object();

    // A clock that goes wrong says nothing of the credentials: asked once more by the clock of the service.
    if (status == 401 && object.value(QLatin1String("error")).toString() == QLatin1String("time") &&
        !asked.clockCorrected) {
        bool ok = false;
        const qint64 theirs = reply->rawHeader(kClockHeader).toLongLong(&ok);
        if (ok) {
            m_clockOffsets.insert(asked.request.service, theirs - QDateTime::currentMSecsSinceEpoch());
            asked.clockCorrected = true;
            send(asked);
            return;
        }
    }

    TicketAnswer answer;
    if (status == 200 || status == 201) {
        answer = reply->error() == QNetworkReply::NoError ? parse(body) : TicketAnswer{};
        if (reply->error() != QNetworkReply::NoError) {
            answer.error = ZpdtError::Network;
            answer.errorText = reply->errorString();
        }
    } else {
        const bool busy = status == 0 || status == 408 || status == 429 || status >= 500 || status < 400;
        answer.error = status == 404 ? ZpdtError::NotFound : busy ? ZpdtError::Network : ZpdtError::Refused;
        answer.loginOver = status == 401;
        // Nonces are random, so a repeated one was repeated by the line.
        if (status == 401 && object.value(QLatin1String("error")).toString() == QLatin1String("repeated"))
            answer.error = ZpdtError::Network;
        answer.errorText = object.value(QLatin1String("message")).toString().left(500);
        if (answer.errorText.isEmpty())
            answer.errorText = reply->errorString();
    }
    next();
    emit answered(asked.id, answer);
}

TicketAnswer TicketClient::parse(const QByteArray &body)
{
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    TicketAnswer answer;
    answer.ticket = object.value(QLatin1String("ticket")).toString();
    answer.fingerprint = object.value(QLatin1String("fingerprint")).toString().toLower();
    answer.host = object.value(QLatin1String("host")).toString();
    const auto portOf = [](const QJsonValue &port) -> quint16 {
        const int number = port.isString() ? port.toString().toInt() : port.toInt();
        return number > 0 && number < 65536 ? static_cast<quint16>(number) : 0;
    };
    answer.port = portOf(object.value(QLatin1String("port")));
    answer.udpPort = portOf(object.value(QLatin1String("udpPort")));
    answer.udpKey = object.value(QLatin1String("udpKey")).toString();
    const auto isHex = [](QChar c) {
        return (c >= QLatin1Char('0') && c <= QLatin1Char('9')) || (c >= QLatin1Char('a') && c <= QLatin1Char('f'));
    };
    if (answer.ticket.isEmpty() || answer.fingerprint.size() != 64 ||
        !std::all_of(answer.fingerprint.cbegin(), answer.fingerprint.cend(), isHex)) {
        answer = {};
        answer.error = ZpdtError::Network;
        answer.errorText = QStringLiteral("the service answered something that is no ticket");
    }
    return answer;
}

void TicketClient::answerLater(quint64 id, ZpdtError error, const QString &text)
{
    TicketAnswer answer;
    answer.error = error;
    answer.errorText = text;
    QMetaObject::invokeMethod(
        this, [this, id, answer] { emit answered(id, answer); }, Qt::QueuedConnection);
}
