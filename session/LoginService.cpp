#include "LoginService.h"

#include "GlobalConfig.h"

#include "OrvClient.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

namespace {

constexpr int kCheckAgainMs = 10000;
constexpr int kSuccess = 200;
constexpr int kRestricted = 201;
constexpr int kNoHome = 203;
constexpr int kMostJson = 1024 * 1024;
constexpr int kMostIcon = 8 * 1024 * 1024;

const QLatin1String kNotFound("NotFound");

/// Answers to checks of sub-centers, of all services and passes together.
int s_answered = 0;

/// False when the body is no JSON object; one far larger than any honest answer is not even looked at.
bool readObject(const QByteArray &body, QJsonObject *out)
{
    if (body.size() > kMostJson)
        return false;
    const QJsonDocument document = QJsonDocument::fromJson(body);
    *out = document.object();
    return document.isObject();
}

void readText(const QJsonObject &object, const char *key, QString *field)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isString())
        *field = value.toString();
}

/// A whole number that may come as a text, as the service writes it, or as a number.
int numberOf(const QJsonValue &value)
{
    return value.isString() ? value.toString().toInt(nullptr, 10) : value.toInt(0);
}

/// Bytes, exact beyond what a double holds; negative and absurd counts are 0.
qint64 bytesOf(const QJsonValue &value)
{
    const double number = value.toDouble(0);
    return number > 0 && number < 9.2e18 ? value.toVariant().toLongLong() : 0;
}

Violation violationFrom(const QJsonObject &object)
{
    Violation out;
    readText(object, "reason", &out.reason);
    out.effectTime = QDateTime::fromString(object.value(QLatin1String("effectTime")).toString(),
                                           QStringLiteral("yyyy-MM-ddThh:mm:ss.zzzZ"));
    out.duration = numberOf(object.value(QLatin1String("duration")));
    return out;
}

} // namespace

LoginService::LoginService(QObject *parent)
    : QObject(parent)
    , m_config(GlobalConfig::instance())
    , m_timer(new QTimer(this))
{
    m_timer->setInterval(kCheckAgainMs);
    rebuildClient();
    connect(m_timer, SIGNAL(timeout()), this, SIGNAL(sigCheckSubCenterAgain()));
    connect(this, SIGNAL(handlerLoginFinished()), this, SLOT(getCurrentUserInfo()), Qt::QueuedConnection);
    connect(this, SIGNAL(handlerRequestFailured(int)), m_config, SLOT(handlerRequstFailured(int)),
            Qt::QueuedConnection);
    connect(this, SIGNAL(handlerGetCurrentUserInfoFinished()), this, SLOT(checkSubCenter()), Qt::QueuedConnection);
    connect(this, SIGNAL(sigCheckSubCenterAgain()), this, SLOT(checkSubCenter()), Qt::QueuedConnection);
    connect(this, SIGNAL(handlerGetCurrentUserInfoFinished()), this, SLOT(getCurrentUserIcon()), Qt::QueuedConnection);
    connect(m_config, SIGNAL(handlerListSubCenterFinished()), this, SLOT(subCentersListed()), Qt::QueuedConnection);
}

LoginService::~LoginService() = default;

void LoginService::rebuildClient()
{
    m_client = std::make_unique<OrvClient>(m_config->client());
    connect(m_client.get(), SIGNAL(loginFinished(qint64, int, QByteArray)), this,
            SLOT(handlerLogin(qint64, int, QByteArray)), Qt::QueuedConnection);
    connect(m_client.get(), SIGNAL(getUserInfoFinished(qint64, int, QByteArray)), this,
            SLOT(handlerGetCurrentUserInfo(qint64, int, QByteArray)), Qt::QueuedConnection);
    connect(m_client.get(), SIGNAL(getIconFinished(qint64, int, QByteArray)), this,
            SLOT(handlerGetCurrentUserIcon(qint64, int, QByteArray)), Qt::QueuedConnection);
}

void LoginService::changeState(int state)
{
    m_config->setState(state);
    emit loginStatusChanged();
}

void LoginService::login(QString loginName, QString password)
{
    m_pending << m_client->login(loginName, password);
    changeState(GlobalConfig::LoggingIn);
}

void LoginService::handlerLogin(qint64 id, int code, QByteArray body)
{
    if (m_pending.removeOne(id) && takeLogin(code, body))
        m_byPassword = true;
}

void LoginService::handlerAuth(qint64 id, int code, QByteArray body)
{
    Q_UNUSED(id)
    if (takeLogin(code, body))
        m_byPassword = false;
}

bool LoginService::takeLogin(int code, const QByteArray &body)
{
    if (code == kRestricted) {
        m_config->setViolation(Violation());
        changeState(GlobalConfig::Frozen);
        return false;
    }
    if (code != kSuccess) {
        changeState(GlobalConfig::LoggedOut);
        return false;
    }
    QJsonObject answer;
    readObject(body, &answer);
    if (answer.contains(QLatin1String("violation"))) {
        m_config->setViolation(violationFrom(answer.value(QLatin1String("violation")).toObject()));
        changeState(GlobalConfig::Frozen);
        return false;
    }
    m_profileKnown = false;
    UserInfo user = m_config->currentUser();
    readText(answer, "username", &user.username);
    readText(answer, "access_id", &user.accessId);
    readText(answer, "access_token", &user.accessToken);
    readText(answer, "asperauser", &user.asperaUser);
    if (answer.contains(QLatin1String("authentication")))
        user.authentication = answer.value(QLatin1String("authentication")).toBool(false);
    const QJsonValue password = answer.value(QLatin1String("asperapasswd"));
    if (password.isString())
        user.asperaPassword = QString::fromUtf8(QByteArray::fromBase64(password.toString().toLatin1()));
    if (answer.contains(QLatin1String("asperatcpport")))
        user.asperaTcpPort = numberOf(answer.value(QLatin1String("asperatcpport")));

    m_client->setUser(user.username);
    m_client->setAccess(user.accessId, user.accessToken);
    m_config->setClient(*m_client);
    m_config->setCurrentUser(user);
    emit handlerLoginFinished();
    return true;
}

void LoginService::getCurrentUserInfo()
{
    m_pending << m_client->getUserInfo(m_config->currentUser().username);
}

void LoginService::handlerGetCurrentUserInfo(qint64 id, int code, QByteArray body)
{
    if (!m_pending.removeOne(id))
        return;
    if (code != kSuccess) {
        changeState(GlobalConfig::ProfileFailed);
        emit handlerRequestFailured(1);
        return;
    }
    QJsonObject answer;
    if (!readObject(body, &answer))
        return;
    UserInfo user = m_config->currentUser();
    readText(answer, "username", &user.username);
    readText(answer, "nickname", &user.nickname);
    readText(answer, "mobile", &user.mobile);
    readText(answer, "email", &user.email);
    readText(answer, "icon", &user.icon);
    readText(answer, "path", &user.path);
    m_config->storeUser(user);
    m_profileKnown = true;
    emit handlerGetCurrentUserInfoFinished();
    changeState(GlobalConfig::LoggedIn);
}

void LoginService::getCurrentUserIcon()
{
    m_pending << m_client->getIcon(m_config->currentUser().icon);
}

void LoginService::handlerGetCurrentUserIcon(qint64 id, int code, QByteArray body)
{
    if (!m_pending.removeOne(id))
        return;
    m_config->noteAnswer(code);
    if (code != kSuccess || body.size() > kMostIcon)
        return;
    UserInfo user = m_config->currentUser();
    user.iconData = body;
    m_config->storeUser(user);
    emit handlerGetCurrentUserIconFinished();
}

OrvClient *LoginService::clientFor(const QString &address, const char *signal, const char *slot)
{
    auto *client = new OrvClient(m_config->client());
    client->setParent(this);
    client->setUrl(address);
    connect(client, signal, this, slot, Qt::QueuedConnection);
    return client;
}

void LoginService::destroySender()
{
    auto *client = qobject_cast<OrvClient *>(sender());
    if (client && client->parent() == this)
        client->deleteLater();
}

void LoginService::subCentersListed()
{
    if (m_profileKnown)
        checkSubCenter();
}

void LoginService::checkSubCenter()
{
    const QList<SubCenter> centers = m_config->subCenters();
    const UserInfo user = m_config->currentUser();
    // Without the list there is nothing to check; the person has been told of the failure already.
    if (centers.isEmpty())
        m_config->requestSubCenters(true);
    bool unresolved = centers.isEmpty();
    for (SubCenter center : centers) {
        if (!center.path.isEmpty())
            continue;
        unresolved = true;
        // A sub-center that hangs is not asked a second time while the first request is on its way.
        if (m_pending.contains(center.requestId))
            continue;
        OrvClient *client = clientFor(center.address, SIGNAL(getUserPathFinished(qint64, int, QByteArray)),
                                      SLOT(handlerCheckSubCenter(qint64, int, QByteArray)));
        center.requestId = client->getUserPath(user.username, center.address, user.path);
        m_config->updateSubCenter(center);
        m_pending << center.requestId;
    }
    if (!unresolved)
        m_timer->stop();
    else if (!m_timer->isActive())
        m_timer->start();
}

void LoginService::handlerCheckSubCenter(qint64 id, int code, QByteArray body)
{
    destroySender();
    const QList<SubCenter> centers = m_config->subCenters();
    if (m_pending.removeOne(id)) {
        m_config->noteAnswer(code);
        QString path;
        if (code == kNoHome) {
            path = kNotFound;
        } else if (code == kSuccess) {
            QJsonObject answer;
            if (readObject(body, &answer))
                readText(answer, "path", &path);
        }
        for (SubCenter center : centers) {
            if (center.requestId != id || path.isEmpty())
                continue;
            center.requestId = 0;
            center.path = path;
            m_config->updateSubCenter(center);
            emit handlerCheckSubCenterFinished();
        }
        ++s_answered;
    }
    if (s_answered == centers.size()) {
        s_answered = 0;
        emit handlerCheckSubCenterFinished();
    }
}

void LoginService::checkStorage()
{
    const QString user = m_config->currentUser().username;
    const QList<SubCenter> centers = m_config->subCenters();
    for (SubCenter center : centers) {
        if (!center.hasHome() || m_pending.contains(center.requestId))
            continue;
        OrvClient *client = clientFor(center.address, SIGNAL(getUserStorageFinished(qint64, int, QByteArray)),
                                      SLOT(handlerCheckStorage(qint64, int, QByteArray)));
        center.requestId = client->getUserStorage(user);
        m_config->updateSubCenter(center);
        m_pending << center.requestId;
    }
}

void LoginService::handlerCheckStorage(qint64 id, int code, QByteArray body)
{
    destroySender();
    if (!m_pending.removeOne(id))
        return;
    m_config->noteAnswer(code);
    if (code != kSuccess)
        return;
    QJsonObject answer;
    readObject(body, &answer);
    const QJsonValue storage = answer.value(QLatin1String("storage"));
    if (storage.isObject()) {
        const QList<SubCenter> centers = m_config->subCenters();
        for (SubCenter center : centers) {
            if (center.requestId != id)
                continue;
            center.requestId = 0;
            center.used = bytesOf(storage.toObject().value(QLatin1String("used")));
            center.quota = bytesOf(storage.toObject().value(QLatin1String("quota")));
            m_config->updateSubCenter(center);
        }
    }
    emit handlerGetStorageFinished();
}
