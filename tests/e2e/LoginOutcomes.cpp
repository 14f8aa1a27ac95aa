#include "DialogAnswers.h"
#include "GlobalConfig.h"
#include "LiveService.h"
#include "LoginUI.h"
#include "TestSupport.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>

#include <functional>

/// The login dialog against the real service: what each kind of account ends in, and a service that goes away.
class LoginOutcomes : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void outcome_data();
    void outcome();
    void serviceGoesAway();

private:
    /// Types name and password into a new dialog and logs in; runs until the login has an outcome and, with the dialog
    /// still there, until @p afterwards holds.
    void logIn(const QString &user, const QString &password, DialogAnswers *answers, int *result,
               const std::function<bool()> &afterwards = {});

    LiveService m_service;
};

void LoginOutcomes::initTestCase()
{
    QVERIFY(m_service.start());
}

void LoginOutcomes::logIn(const QString &user, const QString &password, DialogAnswers *answers, int *result,
                          const std::function<bool()> &afterwards)
{
    GlobalConfig *config = GlobalConfig::instance();
    config->reload();
    config->setState(GlobalConfig::NotLoggedIn);
    LoginUI dialog;
    QSignalSpy accepted(&dialog, SIGNAL(accepted()));
    dialog.show();
    dialog.findChild<QComboBox *>()->setEditText(user);
    for (QLineEdit *field : dialog.findChildren<QLineEdit *>()) {
        if (field->echoMode() == QLineEdit::Password)
            field->setText(password);
    }
    dialog.login();
    QTRY_VERIFY_WITH_TIMEOUT(!accepted.isEmpty() || !answers->shown().isEmpty(), 20000);
    *result = dialog.result();
    if (afterwards)
        QTRY_VERIFY(afterwards());
}

void LoginOutcomes::outcome_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("password");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("notice");

    QTest::newRow("ok") << "demo"
                        << "demo" << true << 3 << "";
    QTest::newRow("not verified") << "guest"
                                  << "guest" << true << 3 << "";
    QTest::newRow("wrong password") << "demo"
                                    << "wrong" << false << 1 << "Login failed.";
    QTest::newRow("unknown user") << "nobody"
                                  << "demo" << false << 1 << "Login failed.";
    QTest::newRow("frozen for a time") << "late"
                                       << "late" << false << 5 << "has been frozen to 20";
    QTest::newRow("frozen for good") << "banned"
                                     << "banned" << false << 5 << "has been permanently frozen!";
    QTest::newRow("restricted") << "limited"
                                << "limited" << false << 5 << "your account has been";
}

void LoginOutcomes::outcome()
{
    QFETCH(QString, user);
    QFETCH(QString, password);
    QFETCH(bool, accepted);
    QFETCH(int, state);
    QFETCH(QString, notice);

    DialogAnswers answers;
    int result = -1;
    logIn(user, password, &answers, &result);
    QCOMPARE(result == QDialog::Accepted, accepted);
    GlobalConfig *config = GlobalConfig::instance();
    QCOMPARE(config->state(), state);
    if (accepted) {
        QVERIFY(answers.shown().isEmpty());
        QCOMPARE(config->currentUser().username, user);
        QCOMPARE(config->currentUser().authentication, user == QLatin1String("demo"));
        QVERIFY(config->userDatabaseExists(user));
        QCOMPARE(config->knownUserNames().value(0), user);
    } else {
        QCOMPARE(answers.shown().size(), 1);
        QVERIFY2(answers.shown().first().text.contains(notice), qPrintable(answers.shown().first().text));
        QVERIFY(config->currentUser().username.isEmpty());
    }
}

void LoginOutcomes::serviceGoesAway()
{
    QVERIFY(m_service.stop());
    DialogAnswers answers;
    int result = -1;
    logIn(QStringLiteral("demo"), QStringLiteral("demo"), &answers, &result);
    QVERIFY(result != QDialog::Accepted);
    QCOMPARE(GlobalConfig::instance()->state(), int(GlobalConfig::LoggedOut));

    QVERIFY(m_service.start());
    DialogAnswers more;
    logIn(QStringLiteral("demo"), QStringLiteral("demo"), &more, &result, [] {
        GlobalConfig *config = GlobalConfig::instance();
        return config->subCenter(QStringLiteral("1")).hasHome() &&
               config->subCenter(QStringLiteral("3")).path == QLatin1String("NotFound");
    });
    QCOMPARE(result, int(QDialog::Accepted));
}

ARKVALE_WIDGET_TEST(LoginOutcomes)
#include "LoginOutcomes.moc"
