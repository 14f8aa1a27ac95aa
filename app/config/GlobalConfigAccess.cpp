#include "GlobalConfig.h"

#include "GlobalConfigData.h"

#include <QMutexLocker>

// Accessors that copy one member in or out.

QString GlobalConfig::auth() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.auth;
}

QString GlobalConfig::listSubCenterUrl() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.listSubCenter;
}

QString GlobalConfig::updateUrl() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.updateUrl;
}

QString GlobalConfig::version() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.version;
}

QString GlobalConfig::sid() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.sid;
}

QString GlobalConfig::platform() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.platform;
}

QString GlobalConfig::userType() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.userType;
}

bool GlobalConfig::shareDisabled() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.disableShare;
}

bool GlobalConfig::startWssWhenOpen() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.startWssWhenOpen;
}

quint16 GlobalConfig::wssPort() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.wssPort;
}

int GlobalConfig::previewFileMaxSize() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.previewFileMaxSize;
}

ZpdtSettings GlobalConfig::zpdt() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.zpdt;
}

void GlobalConfig::setZpdt(const ZpdtSettings &settings)
{
    QMutexLocker lock(&m_mutex);
    m_data->settings.zpdt = settings;
}

SettingsPageOptions GlobalConfig::settingsPage() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.settingsPage;
}

QList<KnownUser> GlobalConfig::knownUsers() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->knownUsers;
}

QString GlobalConfig::defaultSubCenterId() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->userSettings.defaultSubCenterId;
}

QString GlobalConfig::currentSubCenterId() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->currentSubCenterId;
}

int GlobalConfig::state() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->state;
}

UserInfo GlobalConfig::currentUser() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->currentUser;
}

QMap<QString, UserInfo> GlobalConfig::users() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->users;
}

Violation GlobalConfig::violation() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->violation;
}

OrvClient GlobalConfig::client() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->client;
}

CommandLineRequest GlobalConfig::request() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->request;
}

QString GlobalConfig::requestedSubCenterId() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->requestedSubCenterId;
}

QList<SubCenter> GlobalConfig::subCenters() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->subCenters;
}

QList<Advertisement> GlobalConfig::advertisements() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->advertisements;
}

TransferLimit GlobalConfig::transferLimit() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->transferLimit;
}

void GlobalConfig::setDefaultSubCenterId(const QString &id)
{
    QMutexLocker lock(&m_mutex);
    m_data->userSettings.defaultSubCenterId = id;
}

void GlobalConfig::setCurrentSubCenterId(const QString &id)
{
    QMutexLocker lock(&m_mutex);
    m_data->currentSubCenterId = id;
}

void GlobalConfig::setState(int state)
{
    QMutexLocker lock(&m_mutex);
    m_data->state = state;
}

void GlobalConfig::setViolation(const Violation &violation)
{
    QMutexLocker lock(&m_mutex);
    m_data->violation = violation;
}

void GlobalConfig::setClient(const OrvClient &client)
{
    QMutexLocker lock(&m_mutex);
    m_data->client = client;
}

void GlobalConfig::setRequest(const CommandLineRequest &request)
{
    QMutexLocker lock(&m_mutex);
    m_data->request = request;
}

void GlobalConfig::setRequestedSubCenterId(const QString &id)
{
    QMutexLocker lock(&m_mutex);
    m_data->requestedSubCenterId = id;
}

void GlobalConfig::setSubCenters(const QList<SubCenter> &centers)
{
    QMutexLocker lock(&m_mutex);
    m_data->subCenters = centers;
}
