#include "DialogAnswers.h"
#include "GlobalConfig.h"
#include "LoginUI.h"
#include "TestSupport.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <functional>

/// The login dialog against the real service: what each kind of account ends in, and a service that goes away.
class LoginOutcomes : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void outcome_data();
    void outcome();
    void serviceGoesAway();

private:
    void startService();
    void stopService();
    /// Types name and password into a new dialog and logs in; runs until the login has an outcome and, with the dialog
    /// still there, until @p afterwards holds.
    void logIn(const QString &user, const QString &password, DialogAnswers *answers, int *result,
               const std::function<bool()> &afterwards = {});

    QTemporaryDir m_folder;
    QProcess m_service;
    QString m_http;
};

void LoginOutcomes::startService()
{
    const QString ready = m_folder.filePath(QStringLiteral("ready"));
    QFile::remove(ready);
    const QString port = m_http.isEmpty() ? QStringLiteral("0") : QString::number(QUrl(m_http).port());
    m_service.setProcessChannelMode(QProcess::ForwardedChannels);
    m_service.setStandardOutputFile(QProcess::nullDevice());
    m_service.start(builtProgram(QStringLiteral("arkvale-service")),
                    {QStringLiteral("--demo"), m_folder.filePath(QStringLiteral("data")), QStringLiteral("--port"),
                     port, QStringLiteral("--ready-file"), ready});
    QVERIFY(m_service.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(QFile(ready).size() > 0, 60000);
    QFile file(ready);
    QVERIFY(file.open(QIODevice::ReadOnly));
    m_http = QJsonDocument::fromJson(file.readAll()).object().value(QStringLiteral("http")).toString();
    QVERIFY(!m_http.isEmpty());
}

void LoginOutcomes::stopService()
{
    m_service.terminate();
    QVERIFY(m_service.waitForFinished(20000));
    QCOMPARE(m_service.exitCode(), 0);
}

void LoginOutcomes::initTestCase()
{
    startService();
    const QString config = m_folder.filePath(QStringLiteral("Config"));
    QVERIFY(QDir().mkpath(config));
    QDir shipped(builtProgram(QStringLiteral("Config")));
    for (const QString &name : shipped.entryList(QDir::Files))
        QVERIFY(QFile::copy(shipped.filePath(name), config + QLatin1Char('/') + name));
    QFile file(config + QStringLiteral("/arkvale.ini"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QJsonObject settings = QJsonDocument::fromJson(file.readAll()).object();
    file.close();
    settings.insert(QStringLiteral("Auth"), m_http);
    settings.insert(QStringLiteral("ListSubCenter"), QString(m_http + QStringLiteral("/subcenters")));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(QJsonDocument(settings).toJson());
    file.close();
    qputenv("ARKVALE_CONFIG_DIR", config.toUtf8());
}

void LoginOutcomes::cleanupTestCase()
{
    if (m_service.state() != QProcess::NotRunning)
        stopService();
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
    stopService();
    DialogAnswers answers;
    int result = -1;
    logIn(QStringLiteral("demo"), QStringLiteral("demo"), &answers, &result);
    QVERIFY(result != QDialog::Accepted);
    QCOMPARE(GlobalConfig::instance()->state(), int(GlobalConfig::LoggedOut));

    startService();
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
