#pragma once

#include "UserInfo.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>

class GlobalConfig;
class OrvClient;
class QTimer;

/// Turns a user name and password, or a login that a web page handed over, into a session: identity, profile, avatar,
/// and for each sub-center the user's home and storage figures. All of it goes into the store; the service keeps its
/// client and the ids of unanswered requests. A successful login runs by itself through profile, sub-centers and
/// avatar; sub-centers that did not answer are asked again every 10 s. GUI thread only; answers to others' ids are
/// ignored.
class LoginService : public QObject
{
    Q_OBJECT

public:
    explicit LoginService(QObject *parent = nullptr);
    ~LoginService() override;

    /// The last accepted login was made by login(), not handed over by another client.
    bool loggedInByPassword() const { return m_byPassword; }

signals:
    void loginStatusChanged();
    /// The login succeeded; user and access pair are in the store.
    void handlerLoginFinished();
    void handlerGetCurrentUserInfoFinished();
    void handlerGetCurrentUserIconFinished();
    /// Once for each sub-center that is now known to have or not to have a home, and once more when as many answers
    /// came as there are sub-centers.
    void handlerCheckSubCenterFinished();
    void handlerGetStorageFinished();
    /// 1: the profile could not be had.
    void handlerRequestFailured(int error);
    void sigCheckSubCenterAgain();

public slots:
    void login(QString loginName, QString password);
    void getCurrentUserInfo();
    void getCurrentUserIcon();
    /// Asks every sub-center whose answer is not known and that is not being asked already.
    void checkSubCenter();
    /// Asks every sub-center with a home for its storage figures, unless it is being asked something already.
    void checkStorage();
    void handlerLogin(qint64 id, int code, QByteArray body);
    void handlerGetCurrentUserInfo(qint64 id, int code, QByteArray body);
    void handlerGetCurrentUserIcon(qint64 id, int code, QByteArray body);
    void handlerCheckSubCenter(qint64 id, int code, QByteArray body);
    void handlerCheckStorage(qint64 id, int code, QByteArray body);
    /// Takes over the answer to a login that another client made; its id is not looked at.
    void handlerAuth(qint64 id, int code, QByteArray body);

private slots:
    /// A list of sub-centers that came after the profile is checked at once.
    void subCentersListed();

private:
    void rebuildClient();
    /// False when the answer is no login.
    bool takeLogin(int code, const QByteArray &body);
    void changeState(int state);
    /// A client for one request to one sub-center, destroyed by the slot that takes its answer.
    OrvClient *clientFor(const QString &address, const char *signal, const char *slot);
    void destroySender();

    GlobalConfig *m_config;
    std::unique_ptr<OrvClient> m_client;
    QTimer *m_timer;
    QList<qint64> m_pending;
    bool m_profileKnown = false;
    bool m_byPassword = false;
};
