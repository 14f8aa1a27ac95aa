#include "OrvCall.h"

#include "OrvClient.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkRequest>

namespace {

constexpr int kMostRedirects = 5;
constexpr int kMostPollFailures = 5;
constexpr int kLongestPollPause = 1000;
constexpr int kLongestJobWait = 20; // seconds
constexpr qint64 kStreamBuffer = 1024 * 1024;
constexpr qint64 kLargestErrorBody = 64 * 1024;
constexpr qint64 kLargestBodyReserve = 16 * 1024 * 1024;

bool isSuccess(int httpStatus)
{
    return httpStatus >= 200 && httpStatus < 300;
}

} // namespace

OrvCall::OrvCall(OrvClient *client, const OrvOperation &operation, qint64 id, const OrvRequest &request,
                 const RequestSignature &signature, const QByteArray &agent)
    : QObject(client)
    , m_client(client)
    , m_operation(operation)
    , m_id(id)
    , m_request(request)
    , m_signature(signature)
    , m_agent(agent)
    , m_method(operation.method)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &OrvCall::timedOut);
    QMetaObject::invokeMethod(this, "begin", Qt::QueuedConnection);
}

OrvCall::~OrvCall()
{
    leaveLane();
    dropReply();
}

void OrvCall::begin()
{
    m_lanes = HttpLanes::ofThisThread();
    if (!m_lanes) {
        finish(OrvClient::ShutDown);
        return;
    }
    connect(m_lanes, &HttpLanes::shuttingDown, this, [this] { finish(OrvClient::ShutDown); });
    if (m_request.failed)
        finish(m_request.failed);
    else if (!orvIsHttp(m_request.url))
        finish(OrvClient::BadAddress);
    else
        enterLane(m_operation.lane);
}

void OrvCall::enterLane(HttpLanes::Lane lane)
{
    m_lane = lane;
    m_laneOrigin = orvOrigin(m_request.url);
    m_lanes->enter(m_lane, m_laneOrigin, this);
}

void OrvCall::leaveLane()
{
    if (m_lanes && !m_laneOrigin.isEmpty())
        m_lanes->leave(m_lane, m_laneOrigin, this);
    m_laneOrigin.clear();
}

void OrvCall::dropReply()
{
    m_timer.stop();
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    m_reply->deleteLater(); // not at once: this may run inside one of its signals; a running request ends with it
    m_reply.clear();
}

void OrvCall::startTimer(int milliseconds)
{
    m_timer.start(milliseconds);
}

void OrvCall::timedOut()
{
    // The timer also paces the polls of a job; then there is no reply to wait for.
    if (!m_reply && m_polling)
        enterLane(HttpLanes::Waiting);
    else if (m_polling)
        retryPoll(OrvClient::TimedOut);
    else
        finish(OrvClient::TimedOut);
}

void OrvCall::start()
{
    if (m_lanes && !m_done)
        connectFirst();
}

// The network manager has no time limit for connecting alone. A "preconnect" request ends as soon as a connection
// (with TLS, where asked for) stands, at once when an idle one is there, and the real request then uses it.
void OrvCall::connectFirst()
{
    QUrl url;
    url.setScheme(QLatin1String("preconnect-") + m_request.url.scheme());
    url.setHost(m_request.url.host());
    url.setPort(m_request.url.port(m_request.url.scheme() == QLatin1String("https") ? 443 : 80));
    m_phase = Connecting;
    m_reply = m_lanes->manager(m_lane)->get(QNetworkRequest(url));
    connect(m_reply, &QNetworkReply::finished, this, &OrvCall::connected);
    startTimer(m_lanes->limits().connectTime);
}

void OrvCall::connected()
{
    // An idle connection that the service closed in this very moment says nothing about a new one.
    const auto error = m_reply->error();
    const bool ok = error == QNetworkReply::NoError || error == QNetworkReply::RemoteHostClosedError;
    dropReply();
    if (ok)
        ask();
    else if (m_polling)
        retryPoll(OrvClient::ConnectFailed);
    else
        finish(OrvClient::ConnectFailed);
}

void OrvCall::ask()
{
    m_phase = Asking;
    m_body.clear();
    m_inflater.reset();
    QNetworkRequest request(m_request.url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setRawHeader("User-Agent", m_agent);
    const bool toFile = m_operation.has(OrvOperation::ToFile) && !m_polling;
    // Naming the encodings keeps the network manager from unpacking by itself, which it does without a limit.
    request.setRawHeader("Accept-Encoding", toFile ? "identity" : "gzip, deflate");

    const bool post = m_method == "POST";
    const QByteArray body = post ? m_request.body : QByteArray();
    if (post)
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    m_signed = m_request.sign && m_signature.canSign();
    if (m_signed) {
        const QByteArray target =
            m_request.url.toEncoded(QUrl::RemoveScheme | QUrl::RemoveAuthority | QUrl::RemoveFragment);
        const int mark = target.indexOf('?');
        const QByteArray path = mark < 0 ? target : target.left(mark);
        const QByteArray query = mark < 0 ? QByteArray() : target.mid(mark + 1);
        const auto headers =
            m_signature.headers(m_method, path, query, body, m_lanes->clockOffset(orvOrigin(m_request.url)));
        for (const auto &header : headers)
            request.setRawHeader(header.first, header.second);
    }

    QNetworkAccessManager *manager = m_lanes->manager(m_lane);
    m_reply = post ? manager->post(request, body) : manager->get(request);
    if (toFile)
        m_reply->setReadBufferSize(kStreamBuffer);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &OrvCall::headersArrived);
    connect(m_reply, &QNetworkReply::readyRead, this, &OrvCall::dataArrived);
    connect(m_reply, &QNetworkReply::finished, this, &OrvCall::dataFinished);
    connect(m_reply, &QNetworkReply::uploadProgress, this, [this] { startTimer(m_lanes->limits().idleTime); });
    startTimer(m_lanes->limits().idleTime);
}

void OrvCall::headersArrived()
{
    startTimer(m_lanes->limits().idleTime);
    const int status = replyStatus();
    const QByteArray encoding = m_reply->rawHeader("Content-Encoding").trimmed().toLower();
    const qint64 length = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
    const bool toFile = m_operation.has(OrvOperation::ToFile) && isSuccess(status);
    const bool plain = encoding.isEmpty() || encoding == "identity";
    const bool packed = BodyInflater::knows(encoding) && !toFile;
    // Without its length nothing would tell a whole file from a torn one.
    if ((toFile && !m_reply->hasRawHeader("Content-Length")) || (!plain && !packed))
        finish(OrvClient::BrokenReply);
    else if (length > m_lanes->limits().bodySize && !(toFile && m_operation.has(OrvOperation::NoSizeLimit)))
        finish(OrvClient::OversizedReply);
    else if (plain)
        m_body.reserve(int(qMin(length, kLargestBodyReserve))); // a promise may be a lie, so only this much at once
    else
        m_inflater = std::make_unique<BodyInflater>();
}

int OrvCall::replyStatus() const
{
    return m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

void OrvCall::dataArrived()
{
    startTimer(m_lanes->limits().idleTime);
    const int status = replyStatus();
    const QByteArray data = m_reply->readAll();
    if (m_operation.has(OrvOperation::ToFile) && isSuccess(status))
        writeFile(data);
    else
        keepBody(data, isSuccess(status) ? m_lanes->limits().bodySize : kLargestErrorBody, status);
}

void OrvCall::keepBody(const QByteArray &data, qint64 limit, int status)
{
    BodyInflater::Result result = BodyInflater::Good;
    if (m_inflater)
        result = m_inflater->unpack(data, &m_body, limit);
    else if (m_body.size() + data.size() > limit)
        result = BodyInflater::TooMuch;
    else
        m_body += data;

    if (result == BodyInflater::Broken)
        finish(OrvClient::BrokenReply);
    else if (result == BodyInflater::TooMuch) // an endless error page is still the error that it tells of
        finish(isSuccess(status) ? OrvClient::OversizedReply : orvStatus(m_operation, status, {}, m_signed));
}

void OrvCall::writeFile(const QByteArray &data)
{
    if (!m_file) {
        m_file = std::make_unique<QSaveFile>(m_request.localFile);
        if (!m_file->open(QIODevice::WriteOnly)) {
            finish(OrvClient::LocalFile);
            return;
        }
    }
    if (m_file->pos() + data.size() > m_lanes->limits().bodySize && !m_operation.has(OrvOperation::NoSizeLimit))
        finish(OrvClient::OversizedReply);
    else if (m_file->write(data) != data.size())
        finish(OrvClient::LocalFile);
}

int OrvCall::transportError() const
{
    const int error = m_reply->error();
    const bool toldByService = error >= QNetworkReply::ContentAccessDenied && error != QNetworkReply::ProtocolFailure &&
                               error != QNetworkReply::ProtocolUnknownError;
    if (error == QNetworkReply::NoError || toldByService)
        return replyStatus() ? 0 : OrvClient::BrokenReply;
    switch (error) {
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::SslHandshakeFailedError:
        return OrvClient::ConnectFailed;
    case QNetworkReply::TimeoutError:
        return OrvClient::TimedOut;
    default:
        return error > QNetworkReply::UnknownNetworkError && error <= QNetworkReply::UnknownProxyError
                   ? OrvClient::ConnectFailed
                   : OrvClient::BrokenReply;
    }
}

// The network manager, when a service closes the connection in mid-body, sometimes takes that for the end.
bool OrvCall::isTorn() const
{
    const bool toFile = m_operation.has(OrvOperation::ToFile) && isSuccess(replyStatus());
    const qint64 got = toFile ? (m_file ? m_file->pos() : 0) : m_body.size();
    if (m_reply->hasRawHeader("Content-Length"))
        return got != m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
    // Without a length the text itself has to show its end.
    const QByteArray text = m_body.trimmed();
    return isSuccess(replyStatus()) && replyStatus() != 204 && !text.endsWith('}') && !text.endsWith(']');
}

void OrvCall::dataFinished()
{
    if (m_reply->bytesAvailable() > 0)
        dataArrived();
    if (m_done)
        return;
    int error = transportError();
    if (!error && (m_inflater ? !m_inflater->complete() : isTorn()))
        error = OrvClient::BrokenReply;
    const QByteArray version = m_reply->rawHeader("Arkvale-Protocol");
    const bool foreign = !version.isEmpty() && version.split('.').first().trimmed() != "1";
    if (error || foreign) {
        if (m_polling && !foreign)
            retryPoll(error);
        else
            finish(error ? error : OrvClient::BrokenReply);
        return;
    }
    const int status = replyStatus();
    if (status >= 300 && status < 400 && follow(status))
        return;
    if (status == 401 && m_signed && adjustClock(orvErrorWord(m_body)))
        return;
    if (m_polling)
        jobAnswered(status);
    else
        answered(status);
}

// Only within the origin: a signature or a user name never travels to another host, nor out of TLS.
bool OrvCall::follow(int httpStatus)
{
    const QUrl target =
        m_request.url.resolved(QUrl::fromEncoded(m_reply->rawHeader("Location").trimmed(), QUrl::StrictMode));
    const bool repeatable = m_method == "GET" || httpStatus == 307 || httpStatus == 308;
    if (httpStatus == 304 || !repeatable || !orvIsHttp(target) || orvOrigin(target) != orvOrigin(m_request.url) ||
        ++m_redirects > kMostRedirects)
        return false;
    m_request.url = target;
    m_request.url.setUserInfo(QString());
    dropReply();
    ask();
    return true;
}

// A clock that is wrong on this machine must not look like an expired session: the refusal tells the service's time,
// and the request, which had no effect, goes out once more with it.
bool OrvCall::adjustClock(const QString &word)
{
    bool ok = false;
    const qint64 theirs = m_reply->rawHeader("Arkvale-Time").toLongLong(&ok);
    if (word != QLatin1String("time") || !ok || m_clockAdjusted)
        return false;
    m_clockAdjusted = true;
    m_lanes->setClockOffset(orvOrigin(m_request.url), theirs - QDateTime::currentMSecsSinceEpoch());
    dropReply();
    ask();
    return true;
}

void OrvCall::answered(int httpStatus)
{
    if (httpStatus == 202)
        pollJob(m_body);
    else if (m_operation.has(OrvOperation::ToFile) && isSuccess(httpStatus))
        saveFile();
    else
        finish(orvStatus(m_operation, httpStatus, orvErrorWord(m_body), m_signed), m_body);
}

void OrvCall::pollJob(const QByteArray &body)
{
    const QString job = QJsonDocument::fromJson(body).object().value(QLatin1String("job")).toVariant().toString();
    const QUrl base = m_request.url.resolved(QUrl(QStringLiteral("../jobs/")));
    if (job.isEmpty() || m_operation.has(OrvOperation::ToFile)) {
        finish(OrvClient::BrokenReply);
        return;
    }
    const int wait = qBound(1, m_lanes->limits().idleTime * 2 / 3000, kLongestJobWait);
    m_request.url = QUrl::fromEncoded(
        base.toEncoded() + QUrl::toPercentEncoding(job) + "?wait=" + QByteArray::number(wait), QUrl::StrictMode);
    m_request.body.clear();
    m_method = "GET";
    m_polling = true;
    leaveLane();
    dropReply();
    enterLane(HttpLanes::Waiting);
}

void OrvCall::jobAnswered(int httpStatus)
{
    if (httpStatus >= 500) {
        retryPoll(httpStatus);
        return;
    }
    if (httpStatus != 200) {
        finish(orvStatus(m_operation, httpStatus, orvErrorWord(m_body), m_signed), m_body);
        return;
    }
    const QJsonObject job = QJsonDocument::fromJson(m_body).object();
    const QString state = job.value(QLatin1String("state")).toString();
    const int status = job.value(QLatin1String("status")).toInt();
    if (state == QLatin1String("done")) {
        finish(m_operation.has(OrvOperation::JobIs202) ? 202 : 200, m_body);
    } else if (state == QLatin1String("failed")) {
        const bool sensible = status >= 400 && status < 600 && status != 401;
        finish(sensible ? orvStatus(m_operation, status, job.value(QLatin1String("error")).toString(), false) : 500,
               m_body);
    } else if (state == QLatin1String("running")) {
        // The service holds the answer back while the job runs; one that does not must not be asked without a pause.
        m_pollFailures = 0;
        m_pollPause = qBound(50, m_pollPause * 2, kLongestPollPause);
        leaveLane();
        dropReply();
        startTimer(m_pollPause);
    } else {
        finish(OrvClient::BrokenReply);
    }
}

void OrvCall::retryPoll(int error)
{
    if (++m_pollFailures > kMostPollFailures) {
        finish(error);
        return;
    }
    leaveLane();
    dropReply();
    startTimer(qMin(kLongestPollPause * m_pollFailures, m_lanes->limits().connectTime));
}

void OrvCall::saveFile()
{
    if (!m_file)
        writeFile(QByteArray()); // an empty file sends no data
    if (!m_done)
        finish(m_file->commit() ? 200 : OrvClient::LocalFile);
}

void OrvCall::finish(int code, const QByteArray &body)
{
    if (m_done)
        return;
    m_done = true;
    leaveLane();
    dropReply();
    m_file.reset(); // without a commit the file that was there stays as it was
    deleteLater();
    // The receiver may destroy the client, and with it this call: nothing of it is touched after the signal.
    (m_client->*m_operation.answer)(m_id, code, body);
}
