#include "DialogAnswers.h"
#include "GlobalConfig.h"
#include "LoginService.h"
#include "SessionFake.h"
#include "TestSupport.h"

#include "OrvClient.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTimer>

Q_DECLARE_METATYPE(Violation)

class TestLoginService : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase() { m_fake = std::make_unique<SessionFake>(); }

    void init()
    {
        beginStrict();
        m_config = m_fake->beginCycle();
        QCOMPARE(m_config->subCenters().size(), 3);
        m_service = std::make_unique<LoginService>();
    }

    void cleanup()
    {
        m_service.reset();
        endStrict();
    }

    void oneLoginRunsByItself()
    {
        QStringList order;
        const auto note = [&](const char *what) { return [&order, what] { order << what; }; };
        connect(m_service.get(), &LoginService::loginStatusChanged, this,
                [&] { order << QString("state %1").arg(m_config->state()); });
        connect(m_service.get(), &LoginService::handlerLoginFinished, this, note("login"));
        connect(m_service.get(), &LoginService::handlerGetCurrentUserInfoFinished, this, note("info"));
        QSignalSpy icon(m_service.get(), SIGNAL(handlerGetCurrentUserIconFinished()));
        QSignalSpy checked(m_service.get(), SIGNAL(handlerCheckSubCenterFinished()));
        login();
        QTRY_COMPARE(icon.count(), 1);
        // One for each of the three, and one for all of them.
        QTRY_COMPARE(checked.count(), 4);
        QCOMPARE(order, (QStringList{"state 2", "login", "info", "state 3"}));

        const UserInfo user = m_config->currentUser();
        QCOMPARE(user.username, QStringLiteral("demo"));
        QCOMPARE(user.nickname, QStringLiteral("Demo"));
        QCOMPARE(user.path, QStringLiteral("/home/demo"));
        QCOMPARE(user.iconData, QByteArray("PNG bytes"));
        QCOMPARE(user.asperaPassword, QString::fromUtf8("päss"));
        QCOMPARE(user.asperaTcpPort, 33001);
        QVERIFY(user.authentication);
        QCOMPARE(m_config->users().value("demo").email, QStringLiteral("d@x"));
        disconnect(m_service.get(), nullptr, this, nullptr);
    }

    void refusedLogins_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("state");
        QTest::addColumn<Violation>("violation");
        const auto row = [](const char *name, int status, const QByteArray &body, int state,
                            const Violation &violation) {
            QTest::newRow(name) << status << body << state << violation;
        };
        const Violation old{"old", QDateTime(), -1};
        row("wrong password", 401, "{}", 1, old);
        row("broken service", 500, "<html>", 1, old);
        row("restricted", 403, "{\"error\":\"restricted\"}", 5, {});
        row("for a day", 200, SessionFake::violation("2020-01-01T00:00:00.000Z", "86400"), 5,
            {"spam", QDateTime(QDate(2020, 1, 1), QTime(0, 0)), 86400});
        row("no numbers", 200, SessionFake::violation("yesterday", "long"), 5, {"spam", QDateTime(), 0});
        row("empty", 200, "{\"violation\": {}}", 5, {});
        row("no object", 200, "{\"violation\": 5, \"access_id\": \"x\"}", 5, {});
    }

    void refusedLogins()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(int, state);
        QFETCH(Violation, violation);
        m_fake->answer("auth/login", SessionFake::json(body, status));
        m_config->setViolation({"old", QDateTime(), -1});
        QSignalSpy finished(m_service.get(), SIGNAL(handlerLoginFinished()));
        login();
        QTRY_COMPARE(m_config->state(), state);
        QCOMPARE(finished.count(), 0);
        QVERIFY(m_config->currentUser().username.isEmpty() && m_config->currentUser().accessId.isEmpty());
        QCOMPARE(m_config->violation().reason, violation.reason);
        QCOMPARE(m_config->violation().effectTime, violation.effectTime);
        QCOMPARE(m_config->violation().duration, violation.duration);
    }

    void loginByAnotherClient()
    {
        QSignalSpy checked(m_service.get(), SIGNAL(handlerCheckSubCenterFinished()));
        m_service->handlerAuth(-5, 200, SessionFake::loginAnswer());
        QTRY_COMPARE(m_config->state(), int(GlobalConfig::LoggedIn));
        QTRY_COMPARE(checked.count(), 4);
        m_service->handlerAuth(-6, 401, "{}");
        QCOMPARE(m_config->state(), int(GlobalConfig::LoggedOut));
        m_service->handlerAuth(-7, 201, "{}");
        QCOMPARE(m_config->state(), int(GlobalConfig::Frozen));
    }

    void othersAnswersAreIgnored()
    {
        QSignalSpy status(m_service.get(), SIGNAL(loginStatusChanged()));
        m_service->handlerLogin(-1, 200, SessionFake::loginAnswer());
        m_service->handlerGetCurrentUserInfo(-1, 500, "{}");
        m_service->handlerGetCurrentUserIcon(-1, 200, "x");
        m_service->handlerCheckStorage(-1, 200, "{}");
        QCOMPARE(status.count(), 0);
        QVERIFY(m_config->currentUser().username.isEmpty() && m_config->currentUser().iconData.isEmpty());
    }

    void oddLoginAnswers()
    {
        DialogAnswers answers;
        UserInfo before;
        before.username = "before";
        before.authentication = true;
        before.asperaTcpPort = 5;
        m_config->setCurrentUser(before);
        m_service->handlerAuth(0, 200, "[no object");
        QCOMPARE(m_config->currentUser().username, QStringLiteral("before"));
        m_service->handlerAuth(
            0, 200,
            "{\"username\": {}, \"access_id\": 5, \"authentication\": \"yes\", \"asperatcpport\": \"x\", "
            "\"asperapasswd\": \"%%%\"}");
        const UserInfo user = m_config->currentUser();
        QCOMPARE(user.username, QStringLiteral("before"));
        QVERIFY(!user.authentication && user.accessId.isEmpty());
        QCOMPARE(user.asperaTcpPort, 0);
        m_service->handlerAuth(0, 200, QByteArray(3000, '[') + QByteArray(3000, ']'));
        m_service->handlerAuth(0, 200, QByteArray(2 * 1024 * 1024, 'x'));
        QCOMPARE(m_config->currentUser().username, QStringLiteral("before"));
        QTRY_VERIFY(!answers.shown().isEmpty()); // there is no user "before"
    }

    void profileFailures_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("state");
        QTest::newRow("refused") << 500 << QByteArray("{}") << 4;
        QTest::newRow("no object") << 200 << QByteArray("[]") << 2;
        QTest::newRow("empty object") << 200 << QByteArray("{}") << 3;
        QTest::newRow("wrong types") << 200 << QByteArray("{\"username\": 1, \"path\": [], \"icon\": {}}") << 3;
    }

    void profileFailures()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(int, state);
        m_fake->answer("users/demo", SessionFake::json(body, status));
        DialogAnswers answers;
        QSignalSpy failed(m_service.get(), SIGNAL(handlerRequestFailured(int)));
        login();
        QTRY_COMPARE(m_fake->asked("users/demo"), 1);
        QTRY_COMPARE(m_config->state(), state);
        QCOMPARE(m_config->currentUser().username, QStringLiteral("demo"));
        if (state == GlobalConfig::ProfileFailed) {
            QTRY_COMPARE(answers.shown().size(), 1);
            QCOMPARE(answers.shown().first().text, QStringLiteral("Failed to get user info."));
        }
        QCOMPARE(failed.count(), state == GlobalConfig::ProfileFailed ? 1 : 0);
    }

    void homes()
    {
        loginWhole();
        QCOMPARE(m_config->subCenter("1").path, QStringLiteral("/home/demo"));
        QCOMPARE(m_config->subCenter("3").path, QStringLiteral("NotFound"));
        QVERIFY(m_config->subCenter("1").hasHome() && !m_config->subCenter("3").hasHome());
        // The pass after the last answer finds nothing open and stops the timer; a "NotFound" is never asked again.
        QVERIFY(timer()->isActive());
        QCOMPARE(timer()->interval(), 10000);
        timeout();
        QTRY_VERIFY(!timer()->isActive());
        QCOMPARE(m_fake->asked("sc/3/users/demo/path"), 1);
        for (const HttpFake::Request &request : m_fake->http().requests()) {
            if (request.path().endsWith("/path"))
                QVERIFY(request.target.contains("home=%2Fhome%2Fdemo") || request.target.contains("home=/home/demo"));
        }
    }

    void centerWithoutAnAnswerIsAskedAgain_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("refused") << 500 << QByteArray("{}");
        for (const char *body : {"", "[]", "{\"path\": 5}", "{\"path\": \"\"}", "{\"path\": \"/x\""})
            QTest::newRow(body) << 200 << QByteArray(body);
    }

    void centerWithoutAnAnswerIsAskedAgain()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        m_fake->answer("sc/2/users/demo/path", SessionFake::json(body, status));
        QSignalSpy checked(m_service.get(), SIGNAL(handlerCheckSubCenterFinished()));
        login();
        // Two known answers, and the count of three.
        QTRY_COMPARE(checked.count(), 3);
        QVERIFY(m_config->subCenter("2").path.isEmpty());
        m_fake->answer("sc/2/users/demo/path", SessionFake::json("{\"path\": \"/late\"}"));
        timeout();
        QTRY_COMPARE(m_config->subCenter("2").path, QStringLiteral("/late"));
        QCOMPARE(m_fake->asked("sc/1/users/demo/path"), 1);
        QCOMPARE(m_fake->asked("sc/2/users/demo/path"), 2);
        QVERIFY(timer()->isActive());
    }

    void noCenterIsAskedTwiceAtOnce()
    {
        HttpFake::Answer slow = SessionFake::json("{\"path\": \"/slow\"}");
        slow.delay = 300;
        m_fake->answer("sc/2/users/demo/path", slow);
        QSignalSpy checked(m_service.get(), SIGNAL(handlerCheckSubCenterFinished()));
        login();
        QTRY_COMPARE(m_fake->asked("sc/2/users/demo/path"), 1);
        for (int i = 0; i < 3; ++i) {
            timeout();
            QCoreApplication::processEvents();
        }
        QTRY_COMPARE(checked.count(), 4);
        QCOMPARE(m_fake->asked("sc/2/users/demo/path"), 1);
        QCOMPARE(m_config->subCenter("2").path, QStringLiteral("/slow"));

        HttpFake::Answer figures = SessionFake::json("{\"storage\": {\"used\": 1}}");
        figures.delay = 200;
        m_fake->answer("sc/1/users/demo/storage", figures);
        QSignalSpy stored(m_service.get(), SIGNAL(handlerGetStorageFinished()));
        m_service->checkStorage();
        m_service->checkStorage();
        QTRY_COMPARE(stored.count(), 2);
        QCOMPARE(m_fake->asked("sc/1/users/demo/storage"), 1);
        QCOMPARE(m_fake->asked("sc/2/users/demo/storage"), 1);
        // No client of a single request outlives its answer.
        QTRY_VERIFY(m_service->findChildren<OrvClient *>().isEmpty());
    }

    void sharedCounter()
    {
        for (const char *id : {"1", "2"})
            m_fake->answer(QByteArray("sc/") + id + "/users/demo/path", HttpFake::silence());
        QSignalSpy first(m_service.get(), SIGNAL(handlerCheckSubCenterFinished()));
        login();
        QTRY_VERIFY(!m_config->subCenter("3").path.isEmpty());
        const int told = first.count();
        m_service = std::make_unique<LoginService>();
        m_fake->answer("sc/1/users/demo/path", SessionFake::json("{\"path\": \"/a\"}"));
        m_fake->answer("sc/2/users/demo/path", SessionFake::json("{}", 500));
        QSignalSpy second(m_service.get(), SIGNAL(handlerCheckSubCenterFinished()));
        m_service->checkSubCenter();
        // One answer to the one service and two to the other are three together: two homes known, and the count once.
        QTRY_COMPARE(told + second.count(), 3);
        QVERIFY(m_config->subCenter("2").path.isEmpty());
    }

    void storage()
    {
        loginWhole();
        m_fake->answer("sc/2/users/demo/storage", SessionFake::json("{\"storage\": []}"));
        QSignalSpy stored(m_service.get(), SIGNAL(handlerGetStorageFinished()));
        m_service->checkStorage();
        QTRY_COMPARE(stored.count(), 2);
        QCOMPARE(m_config->subCenter("1").used, qint64(5));
        QCOMPARE(m_config->subCenter("1").quota, Q_INT64_C(9007199254740993));
        QCOMPARE(m_config->subCenter("2").quota, qint64(0));
        QCOMPARE(m_fake->asked("sc/3/users/demo/storage"), 0);

        m_fake->answer("sc/1/users/demo/storage", SessionFake::json("{\"storage\": {\"used\": -5, \"quota\": 1e300}}"));
        m_fake->answer("sc/2/users/demo/storage", SessionFake::json("{}", 500));
        m_service->checkStorage();
        QTRY_COMPARE(stored.count(), 3);
        QCOMPARE(m_config->subCenter("1").used + m_config->subCenter("1").quota, qint64(0));
    }

    void listThatComesLate()
    {
        m_config->setSubCenters({});
        m_fake->answer("subcenters", SessionFake::json("{}", 500));
        m_fake->http().forget();
        DialogAnswers answers;
        login();
        QTRY_COMPARE(m_fake->asked("subcenters"), 1);
        QVERIFY(timer()->isActive());
        m_fake->answer("subcenters", HttpFake::reply(200, "{\"subCenters\": [{\"id\": \"1\", \"orv\": \"" +
                                                              m_fake->http().address().toUtf8() + "/sc/1\"}]}"));
        QSignalSpy listed(m_config, SIGNAL(handlerListSubCenterFinished()));
        QTRY_VERIFY((timeout(), listed.count() == 1));
        QTRY_COMPARE(m_config->subCenter("1").path, QStringLiteral("/home/demo"));
        // The person was told when the list was asked for first, not at each further try.
        QCOMPARE(answers.shown().size(), 0);
    }

    void goesAwayInMidRequest()
    {
        HttpFake::Answer slow = SessionFake::json("{\"path\": \"/slow\"}");
        slow.delay = 100;
        m_fake->answer("sc/2/users/demo/path", slow);
        login();
        QTRY_COMPARE(m_fake->asked("sc/2/users/demo/path"), 1);
        m_service.reset();
        m_service = std::make_unique<LoginService>();
        m_service->checkSubCenter();
        QTRY_VERIFY(m_config->subCenter("2").hasHome());
    }

private:
    void login(const QString &password = QStringLiteral("secret"))
    {
        m_service->login("demo", password);
        QCOMPARE(m_config->state(), int(GlobalConfig::LoggingIn));
    }
    void loginWhole()
    {
        QSignalSpy checked(m_service.get(), SIGNAL(handlerCheckSubCenterFinished()));
        login();
        QTRY_COMPARE(m_config->state(), int(GlobalConfig::LoggedIn));
        QTRY_COMPARE(checked.count(), 4);
    }
    QTimer *timer() const { return m_service->findChild<QTimer *>(); }
    /// What the 10 s timer does.
    void timeout() { emit m_service->sigCheckSubCenterAgain(); }

    std::unique_ptr<SessionFake> m_fake;
    std::unique_ptr<LoginService> m_service;
    GlobalConfig *m_config = nullptr;
    DialogAnswers m_anyDialog; ///< rejects what a request that outlives its test has to tell
};

ARKVALE_WIDGET_TEST(TestLoginService)
#include "test_login_service.moc"
