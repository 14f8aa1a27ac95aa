#include "GlobalConfig.h"

#include "GlobalConfigData.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QLocale>
#include <QMutexLocker>
#include <QTranslator>

static GlobalConfig *s_instance = nullptr;

static const char kEnglish[] = "en_us";

GlobalConfig *GlobalConfig::instance()
{
    if (!s_instance) {
        s_instance = new GlobalConfig;
        // It owns translators and a network client, which must go while the application object is there.
        qAddPostRoutine([] {
            delete s_instance;
            s_instance = nullptr;
        });
    }
    return s_instance;
}

GlobalConfig::GlobalConfig()
    : m_data(std::make_unique<Data>())
{
    loadTranslators();
    connect(&m_data->requester, SIGNAL(listSubCenterFinished(qint64, int, QByteArray)), this,
            SLOT(handlerListSubCenter(qint64, int, QByteArray)));
    connect(&m_data->requester, SIGNAL(getADFinished(qint64, int, QByteArray)), this,
            SLOT(handlerGetAD(qint64, int, QByteArray)));
    connect(&m_data->requester, SIGNAL(getTransferLimitFinished(qint64, int, QByteArray)), this,
            SLOT(handlerGetTransferLimit(qint64, int, QByteArray)));
    // Queued: the slot opens a dialog, whose event loop must not run inside an answer's slot.
    connect(this, SIGNAL(handlerRequestFailured(int)), this, SLOT(handlerRequstFailured(int)), Qt::QueuedConnection);
}

GlobalConfig::~GlobalConfig() = default;

void GlobalConfig::Data::forgetHomes()
{
    for (SubCenter &center : subCenters) {
        center.path.clear();
        center.used = 0;
        center.quota = 0;
        center.requestId = 0;
    }
}

QList<QPair<QString, QString>> GlobalConfig::languages() const
{
    return {{QLatin1String(kEnglish), QStringLiteral("English")},
            {QStringLiteral("zh_cn"), QStringLiteral("简体中文")},
            {QStringLiteral("zh_tw"), QStringLiteral("繁體中文")}};
}

void GlobalConfig::loadTranslators()
{
    const QFileInfoList files = QDir(m_data->locations.languageFolder()).entryInfoList(QDir::Files | QDir::NoSymLinks);
    for (const QFileInfo &file : files) {
        const QString name = file.fileName().toLower();
        for (const auto &language : languages()) {
            if (!name.contains(language.first))
                continue;
            auto *translator = new QTranslator(this);
            if (translator->load(file.absoluteFilePath()))
                m_data->translators[language.first] << translator;
            else
                delete translator;
            break;
        }
    }
    // The toolkit's own texts, such as the buttons of its dialogs. They go first: of two translators the one that was
    // installed later is asked first. They do not make a language of their own.
    const QString folder = QLibraryInfo::location(QLibraryInfo::TranslationsPath);
    for (auto it = m_data->translators.begin(); it != m_data->translators.end(); ++it) {
        auto *toolkit = new QTranslator(this);
        if (toolkit->load(QStringLiteral("qtbase_") + QLocale(it.key()).name(), folder))
            it.value().prepend(toolkit);
        else
            delete toolkit;
    }
}

void GlobalConfig::reload()
{
    {
        QMutexLocker lock(&m_mutex);
        Data &data = *m_data;
        // Nothing of the user before stays: not the access pair, not the avatar, not what the service told that user.
        data.currentUser = UserInfo();
        data.users.clear();
        data.userKey.clear();
        data.userSettings = UserSettings();
        data.currentSubCenterId.clear();
        data.advertisements.clear();
        data.transferLimit = TransferLimit();
        data.violation = Violation();
        data.forgetHomes();
        if (data.settings.read(data.locations.settingsFile()) && !data.translators.contains(data.settings.language))
            data.settings.language.clear();
        data.knownUsers = KnownUsers::read(data.locations.knownUsersFile(), data.knownUserLimit);
        data.client = OrvClient(data.settings.version, data.settings.auth, QString(), QString(), QString());
    }
    // An answer still on its way may come from another service.
    m_data->pendingSubCenters.clear();
    m_data->pendingOthers.clear();
    requestSubCenters();
}

bool GlobalConfig::save()
{
    QMutexLocker lock(&m_mutex);
    const InstallSettings settings = m_data->settings;
    const QString file = m_data->locations.settingsFile();
    lock.unlock();
    return settings.write(file);
}

QString GlobalConfig::language() const
{
    QMutexLocker lock(&m_mutex);
    return m_data->settings.language.isEmpty() ? QString::fromLatin1(kEnglish) : m_data->settings.language;
}

void GlobalConfig::setLanguage(const QString &code)
{
    QMutexLocker lock(&m_mutex);
    m_data->settings.language = m_data->translators.contains(code) ? code : QString();
}

QList<QTranslator *> GlobalConfig::translators() const
{
    const QString code = language();
    QMutexLocker lock(&m_mutex);
    return m_data->translators.value(code);
}

QStringList GlobalConfig::encodings() const
{
    return {QStringLiteral("GB18030"), QStringLiteral("UTF-8")};
}

QString GlobalConfig::pageAddress(const QMap<QString, QString> &pages) const
{
    const QString own = pages.value(language());
    return own.isEmpty() ? pages.value(QStringLiteral("default")) : own;
}

QString GlobalConfig::resetPasswordUrl() const
{
    QMutexLocker lock(&m_mutex);
    const QMap<QString, QString> pages = m_data->settings.resetPassword;
    lock.unlock();
    return pageAddress(pages);
}

QString GlobalConfig::registerUrl() const
{
    QMutexLocker lock(&m_mutex);
    const QMap<QString, QString> pages = m_data->settings.registerPage;
    lock.unlock();
    return pageAddress(pages);
}

QString GlobalConfig::userProtocolUrl() const
{
    QMutexLocker lock(&m_mutex);
    const QMap<QString, QString> pages = m_data->settings.userProtocol;
    lock.unlock();
    return pageAddress(pages);
}

QString GlobalConfig::helpUrl() const
{
    QMutexLocker lock(&m_mutex);
    const QMap<QString, QString> pages = m_data->settings.helpUrl;
    lock.unlock();
    return pageAddress(pages);
}
QStringList GlobalConfig::knownUserNames() const
{
    QStringList names;
    for (const KnownUser &user : knownUsers())
        names << user.id;
    return names;
}

bool GlobalConfig::rememberUser(const UserInfo &user)
{
    if (user.username.isEmpty())
        return false;
    QMutexLocker lock(&m_mutex);
    Data &data = *m_data;
    data.knownUsers = KnownUsers::withFirst(
        data.knownUsers, KnownUser{user.username, user.mobile, user.email, user.loginType}, data.knownUserLimit);
    const QList<KnownUser> users = data.knownUsers;
    const QString file = data.locations.knownUsersFile();
    lock.unlock();
    return KnownUsers::write(file, users);
}

QString GlobalConfig::configFolder() const
{
    return m_data->locations.configFolder();
}

QString GlobalConfig::userFolder(const QString &userKey) const
{
    return m_data->locations.userFolder(userKey);
}

QString GlobalConfig::userDatabase(const QString &userKey) const
{
    return m_data->locations.userDatabase(userKey);
}

bool GlobalConfig::userDatabaseExists(const QString &userKey) const
{
    return m_data->locations.userDatabaseExists(userKey);
}

void GlobalConfig::loadUserSettings(const QString &userKey, const QString &subCenterId)
{
    const UserSettings loaded = UserSettings::load(userDatabase(userKey));
    QMutexLocker lock(&m_mutex);
    m_data->userKey = userKey;
    m_data->userSettings = loaded;
    m_data->currentSubCenterId = subCenterId.isEmpty() ? loaded.defaultSubCenterId : subCenterId;
}

bool GlobalConfig::saveUserSettings()
{
    QMutexLocker lock(&m_mutex);
    const QString userKey = m_data->userKey;
    const UserSettings settings = m_data->userSettings;
    lock.unlock();
    return !userKey.isEmpty() && settings.save(userDatabase(userKey));
}

bool GlobalConfig::targetSpeed(const QString &subCenterId, TargetSpeed *out) const
{
    QMutexLocker lock(&m_mutex);
    const auto found = m_data->userSettings.targetSpeeds.constFind(subCenterId);
    if (found == m_data->userSettings.targetSpeeds.constEnd())
        return false;
    *out = *found;
    return true;
}

void GlobalConfig::setTargetSpeed(const QString &subCenterId, const TargetSpeed &speed)
{
    QMutexLocker lock(&m_mutex);
    m_data->userSettings.targetSpeeds.insert(subCenterId, speed);
}

DownloadPathSetting GlobalConfig::downloadPath(const QString &subCenterId) const
{
    QMutexLocker lock(&m_mutex);
    return m_data->userSettings.downloadPaths.value(subCenterId);
}

void GlobalConfig::setDownloadPath(const QString &subCenterId, const DownloadPathSetting &setting)
{
    QMutexLocker lock(&m_mutex);
    m_data->userSettings.downloadPaths.insert(subCenterId, setting);
}

void GlobalConfig::setCurrentUser(const UserInfo &user)
{
    QMutexLocker lock(&m_mutex);
    if (m_data->currentUser.username != user.username)
        m_data->forgetHomes();
    m_data->currentUser = user;
}

void GlobalConfig::storeUser(const UserInfo &user)
{
    setCurrentUser(user);
    QMutexLocker lock(&m_mutex);
    m_data->users.insert(user.username, user);
}

SubCenter GlobalConfig::subCenter(const QString &id) const
{
    QMutexLocker lock(&m_mutex);
    for (const SubCenter &center : qAsConst(m_data->subCenters)) {
        if (center.id == id)
            return center;
    }
    return SubCenter();
}

void GlobalConfig::updateSubCenter(const SubCenter &center)
{
    QMutexLocker lock(&m_mutex);
    for (SubCenter &known : m_data->subCenters) {
        if (known.id == center.id)
            known = center;
    }
}
