#include "UpdateService.h"

#include "UpdateDownload.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrlQuery>
#include <QVersionNumber>

#ifndef ARKVALE_UPDATE_KEY
#define ARKVALE_UPDATE_KEY "" // a build without a key trusts no update
#endif

namespace {

constexpr int kTimeLimit = 15 * 1000;
constexpr qint64 kLargestAnswer = 64 * 1024;
constexpr char kSeenFile[] = "/newest.json";

/// A program in a system folder came through a package manager, which alone may replace it.
UpdateService::Mode modeOfThisInstallation()
{
#ifdef Q_OS_WIN
    return UpdateService::Mode::Bring;
#else
    for (const char *root : {"/usr/", "/bin/", "/opt/", "/nix/", "/snap/", "/app/"}) {
        if (QCoreApplication::applicationDirPath().append(QLatin1Char('/')).startsWith(QLatin1String(root)))
            return UpdateService::Mode::Tell;
    }
    return UpdateService::Mode::Bring;
#endif
}

} // namespace

UpdateService::UpdateService(const QString &url, const QString &version, const QString &language, QObject *parent)
    : QObject(parent)
    , m_url(url)
    , m_version(version)
    , m_language(language)
    , m_key(QByteArray::fromBase64(ARKVALE_UPDATE_KEY))
    , m_folder(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
               QStringLiteral("/ArkvaleTolma/update"))
    , m_mode(modeOfThisInstallation())
    , m_manager(new QNetworkAccessManager(this))
{
}

UpdateService::~UpdateService()
{
    if (m_reply)
        m_reply->disconnect(this);
}

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
            this, [this] { finish(Failed); }, Qt::QueuedConnection);
        return;
    }
    QUrlQuery query(url);
    const auto add = [&query](const char *name, const QString &value) {
        query.addQueryItem(QLatin1String(name), QString::fromLatin1(QUrl::toPercentEncoding(value)));
    };
    add("version", m_version);
    add("lang", m_language);
    add("platform", UpdateManifest::thisPlatform());
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
    connect(m_reply, &QNetworkReply::finished, this, &UpdateService::answered);
}

void UpdateService::answered()
{
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    Result result = Failed;
    if (m_reply->error() == QNetworkReply::NoError && m_reply->bytesAvailable() <= kLargestAnswer)
        result = status == 204 ? UpToDate : judge(m_reply->readAll());
    m_reply->deleteLater();
    m_reply.clear();
    if (result == NewerAvailable && m_mode == Mode::Bring)
        bring();
    else
        finish(result);
}

UpdateService::Result UpdateService::judge(const QByteArray &answer)
{
    UpdateManifest manifest;
    const auto verdict = UpdateManifest::parse(answer, m_key, m_reply->url(), &manifest);
    if (verdict != UpdateManifest::Verdict::Good)
        return verdict == UpdateManifest::Verdict::Untrusted ? Rejected : Failed;
    // Whoever replays what the maker once signed would keep users on a version with known faults.
    if (manifest.issued < newestSeen())
        return Rejected;
    bool ok = false;
    const int order = compareVersions(manifest.version, m_version, &ok);
    if (!ok)
        return Failed;
    remember(manifest.issued);
    if (manifest.sha256 != m_manifest.sha256)
        m_ready = false;
    m_manifest = manifest;
    return order > 0 ? NewerAvailable : UpToDate;
}

qint64 UpdateService::newestSeen() const
{
    QFile file(m_folder + QLatin1String(kSeenFile));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return qint64(
        QJsonDocument::fromJson(file.read(kLargestAnswer)).object().value(QLatin1String("issued")).toDouble());
}

void UpdateService::remember(qint64 issued) const
{
    QSaveFile file(m_folder + QLatin1String(kSeenFile));
    // Not being able to remember is no reason to withhold an update.
    if (QDir().mkpath(m_folder) && file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(QJsonObject{{QStringLiteral("issued"), double(issued)}}).toJson());
        file.commit();
    }
}

void UpdateService::bring()
{
    if (m_ready) {
        finish(NewerAvailable);
        return;
    }
    m_download = std::make_unique<UpdateDownload>(m_manager, m_manifest, m_folder);
    connect(m_download.get(), &UpdateDownload::progress, this, &UpdateService::UpdateProgress);
    connect(
        m_download.get(), &UpdateDownload::finished, this,
        [this](int outcome) {
            const Result results[] = {NewerAvailable, Failed, Rejected, NoSpace};
            m_ready = outcome == UpdateDownload::Ready;
            finish(results[outcome]);
        },
        Qt::QueuedConnection);
    if (!m_pauses.isEmpty())
        m_download->setPauses(m_pauses);
    m_download->start();
}

// Once this is the newest version, no package of an earlier one is of use.
void UpdateService::removeLeftovers() const
{
    QDir folder(m_folder);
    for (const QString &name : folder.entryList({QStringLiteral("*")}, QDir::Files)) {
        if (QLatin1Char('/') + name != QLatin1String(kSeenFile))
            folder.remove(name);
    }
}

void UpdateService::finish(Result result)
{
    m_asking = false;
    if (result == UpToDate)
        removeLeftovers();
    emit UpdateFinished(result);
}

void UpdateService::InstallOnExit()
{
    if (m_ready)
        m_installation = {m_download->file(), m_manifest.size, m_manifest.sha256};
}

bool UpdateService::startInstaller(const Installation &installation)
{
    const std::atomic<bool> never{false};
    if (!UpdateDownload::hasDigest(installation.file, installation.size, installation.sha256, never))
        return false;
    QFile::setPermissions(installation.file, QFile::ReadOwner | QFile::ExeOwner);
    return QProcess::startDetached(installation.file, {});
}
