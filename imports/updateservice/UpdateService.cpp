#include "UpdateService.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>
#include <QUrlQuery>
#include <QVersionNumber>

namespace {

constexpr int kTimeLimit = 15 * 1000;
constexpr qint64 kLargestAnswer = 64 * 1024;

} // namespace

UpdateService::UpdateService(const QString &url, const QString &version, const QString &language, QObject *parent)
    : QObject(parent)
    , m_url(url)
    , m_version(version)
    , m_language(language)
    , m_manager(new QNetworkAccessManager(this))
{
}

UpdateService::~UpdateService() = default;

int UpdateService::compareVersions(const QString &left, const QString &right, bool *ok)
{
    const QVersionNumber a = QVersionNumber::fromString(left.trimmed()).normalized();
    const QVersionNumber b = QVersionNumber::fromString(right.trimmed()).normalized();
    const auto isVersion = [](const QString &text) { return !QVersionNumber::fromString(text.trimmed()).isNull(); };
    if (ok)
        *ok = isVersion(left) && isVersion(right);
    return QVersionNumber::compare(a, b);
}

void UpdateService::Update()
{
    if (m_asking)
        return;
    m_asking = true;
    QUrl url(m_url);
    const bool http = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !http || url.host().isEmpty()) {
        QMetaObject::invokeMethod(
            this, [this] { answer(); }, Qt::QueuedConnection);
        return;
    }
    QUrlQuery query(url);
    query.addQueryItem(QStringLiteral("version"), QString::fromLatin1(QUrl::toPercentEncoding(m_version)));
    query.addQueryItem(QStringLiteral("lang"), QString::fromLatin1(QUrl::toPercentEncoding(m_language)));
    url.setQuery(query);
    QNetworkRequest request(url);
    request.setTransferTimeout(kTimeLimit);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setRawHeader("Accept-Encoding", "identity");
    m_reply = m_manager->get(request);
    connect(m_reply, &QNetworkReply::downloadProgress, this, [this](qint64 received) {
        if (received > kLargestAnswer)
            m_reply->abort();
    });
    connect(m_reply, &QNetworkReply::finished, this, &UpdateService::answer);
}

void UpdateService::answer()
{
    int result = Failed;
    if (m_reply) {
        if (m_reply->error() == QNetworkReply::NoError && m_reply->bytesAvailable() <= kLargestAnswer) {
            const QJsonObject object = QJsonDocument::fromJson(m_reply->readAll()).object();
            const QString latest = object.value(QLatin1String("version")).toString();
            bool ok = false;
            const int order = compareVersions(latest, m_version, &ok);
            if (ok) {
                m_latest = latest;
                result = order > 0 ? NewerAvailable : UpToDate;
            }
        }
        m_reply->deleteLater();
        m_reply = nullptr;
    }
    m_asking = false;
    emit UpdateFinished(result);
}
