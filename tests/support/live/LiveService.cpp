#include "LiveService.h"

#include "GlobalConfig.h"
#include "LoginService.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

LiveService::LiveService()
{
    qputenv("ARKVALE_CONFIG_DIR", QFile::encodeName(m_folder.filePath(QStringLiteral("Config"))));
}

LiveService::~LiveService()
{
    m_process.terminate();
    if (!m_process.waitForFinished(20000))
        m_process.kill();
    m_process.waitForFinished();
}

bool LiveService::wait(const std::function<bool()> &holds, int milliseconds)
{
    QDeadlineTimer end(milliseconds);
    while (!holds()) {
        if (end.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 20);
    }
    return true;
}

bool LiveService::start()
{
    const QString ready = m_folder.filePath(QStringLiteral("ready"));
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.start(QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("arkvale-service")),
                    {QStringLiteral("--demo"), m_folder.filePath(QStringLiteral("data")), QStringLiteral("--port"),
                     QStringLiteral("0"), QStringLiteral("--ready-file"), ready});
    QFile file(ready);
    if (!m_process.waitForStarted() ||
        !wait([&] { return QFile(ready).size() > 0 || m_process.state() == QProcess::NotRunning; }, 60000) ||
        !file.open(QIODevice::ReadOnly))
        return false;
    m_http = QJsonDocument::fromJson(file.readAll()).object().value(QLatin1String("http")).toString();
    return !m_http.isEmpty() && writeSettings();
}

bool LiveService::writeSettings() const
{
    const QString folder = m_folder.filePath(QStringLiteral("Config"));
    const QDir shipped(QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("Config")));
    QDir().mkpath(folder);
    for (const QString &name : shipped.entryList(QDir::Files))
        QFile::copy(shipped.filePath(name), folder + QLatin1Char('/') + name);
    QFile file(folder + QStringLiteral("/arkvale.ini"));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QJsonObject settings = QJsonDocument::fromJson(file.readAll()).object();
    file.close();
    settings.insert(QStringLiteral("Auth"), m_http);
    settings.insert(QStringLiteral("ListSubCenter"), QString(m_http + QStringLiteral("/subcenters")));
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(QJsonDocument(settings).toJson()) > 0;
}

bool LiveService::logIn(const QString &user, const QString &password)
{
    GlobalConfig *config = GlobalConfig::instance();
    config->setState(GlobalConfig::NotLoggedIn);
    config->reload();
    if (!wait([config] { return !config->subCenters().isEmpty(); }, 20000))
        return false;
    LoginService login;
    login.login(user, password);
    return wait([config] { return config->subCenter(QStringLiteral("1")).hasHome(); }, 20000);
}

QString LiveService::home(const QString &subCenterId, const QString &user) const
{
    return m_folder.filePath(QStringLiteral("data/centers/%1/%2").arg(subCenterId, user));
}
