#pragma once

#include "DialogFrame.h"
#include "LoginService.h"

#include <QDialog>
#include <QString>
#include <QStringList>

class GlobalConfig;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTimer;

/// The login dialog: user name, password, what to remember; it owns the login service and says why a login failed.
/// accepted() fires once the profile is there and the user's settings are written, rejected() when it is closed; both
/// also when a web page logged the user in and the dialog was never shown. Shown for the first time with "Auto Login"
/// ticked while the session state is 0, it logs in by itself. One dialog serves one login; GUI thread only.
class LoginUI : public QDialog
{
    Q_OBJECT

public:
    explicit LoginUI(QWidget *parent = nullptr);
    ~LoginUI() override;

    /// For a user named on the command line; a password that is not empty ticks "Auto Login". Neither is remembered
    /// unless the person ticks "Remember Me".
    void setUsers(const QStringList &users, const QString &password);
    /// For the users known on this machine, most recent first; what is remembered of the first is filled in.
    void setUsers(const QStringList &users);
    LoginService *loginService() { return &m_service; }
    /// Until it is shown, a refused login opens no dialog: it is a web page's, which gets the answer too and tells.
    void setQuiet() { m_quiet = true; }

    int exec() override;

signals:
    void sigAutoLogin();

public slots:
    void login();
    void ResetPassWord();
    void Register();
    void SwitchRemeberPwd();
    void SwitchAutoLogin();
    void UpdateUserCfg();
    void RefreshUserList();
    void RefreshUserCfg();
    /// Shows what became of the login, from the store's session state.
    void Result();
    void LoadUserCfg();
    void SaveUserCfg();
    /// The updater's answer: with 1 a newer version is there, which the hint line tells; else there is nothing to tell.
    void UpdateFinished(int retcode);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void buildWidgets();
    QWidget *buildFields();
    void wire();
    void startAutoLogin();
    void acceptLogin();
    void setLoggingIn(bool loggingIn);
    void openPage(const QString &address);
    void tell(const QString &text);
    QString frozenNotice() const;

    GlobalConfig *m_config;
    LoginService m_service;
    DialogFrame m_frame;

    QStringList m_users;
    QString m_password;
    bool m_rememberPassword = false;
    bool m_autoLogin = false;
    bool m_autoLoginTried = false;
    bool m_quiet = false;

    QComboBox *m_user;
    QLineEdit *m_passwordField;
    QCheckBox *m_remember;
    QCheckBox *m_auto;
    QPushButton *m_login;
    QPushButton *m_forgot;
    QPushButton *m_register;
    QLabel *m_hint;
    QTimer *m_patience;
};
