#include "DataBaseManager.h"
#include "DialogAnswers.h"
#include "GlobalConfig.h"
#include "LoginUI.h"
#include "SessionFake.h"
#include "TestSupport.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QToolButton>

class TestLoginUi : public StrictTest
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl &url) { m_opened << url; }

private slots:
    void initTestCase()
    {
        m_fake = std::make_unique<SessionFake>();
        QDesktopServices::setUrlHandler("http", this, "openUrl");
        QDesktopServices::setUrlHandler("file", this, "openUrl");
    }

    void init()
    {
        beginStrict();
        m_answers = std::make_unique<DialogAnswers>();
        m_config = m_fake->beginCycle();
        forgetUsers();
        m_opened.clear();
        makeDialog();
    }

    void cleanup()
    {
        m_dialog.reset();
        m_answers.reset();
        endStrict();
    }

    void frame()
    {
        m_dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_dialog.get()));
        QCOMPARE(password()->echoMode(), QLineEdit::Password);
        // All of it fits, and everything that can be reached by keyboard has a name to read out.
        for (QWidget *widget : m_dialog->findChildren<QWidget *>()) {
            if (widget->isVisible() && widget->window() == m_dialog.get())
                QVERIFY2(m_dialog->rect().contains(QRect(widget->mapTo(m_dialog.get(), QPoint()), widget->size())),
                         qPrintable(widget->objectName()));
        }
        for (QToolButton *tool : m_dialog->findChildren<QToolButton *>(QRegularExpression("close|minimise")))
            QVERIFY(!tool->accessibleName().isEmpty());
    }

    void emptyInput()
    {
        const QList<QPair<QString, QString>> inputs{{"", ""}, {"", "x"}, {"x", ""}};
        for (const auto &input : inputs) {
            type(input.first, input.second);
            button()->click();
            QCOMPARE(m_answers->shown().last().title, QStringLiteral("Tip"));
            QCOMPARE(m_answers->shown().last().text, QStringLiteral("Please enter your username and password!"));
        }
        QCOMPARE(m_answers->shown().size(), 3);
        QCOMPARE(m_config->state(), int(GlobalConfig::NotLoggedIn));
        QCOMPARE(m_fake->asked("auth/login"), 0);
    }

    void enterLogsIn()
    {
        m_dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_dialog.get()));
        type("demo", "secret");
        QSignalSpy accepted(m_dialog.get(), SIGNAL(accepted()));
        QTest::keyClick(user()->lineEdit(), Qt::Key_Return);
        QCOMPARE(m_config->state(), int(GlobalConfig::LoggingIn));
        QVERIFY(!button()->isEnabled());
        QCOMPARE(button()->text(), QStringLiteral("Logging in"));
        QTest::keyClick(password(), Qt::Key_Return);
        QTRY_COMPARE(accepted.count(), 1);
        QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
        QCOMPARE(m_fake->asked("auth/login"), 1);
        QVERIFY(m_answers->shown().isEmpty());
    }

    void failedLogin_data()
    {
        QTest::addColumn<QByteArray>("refused");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        QTest::newRow("login") << QByteArray("auth/login") << "Tip"
                               << "Login failed.";
        QTest::newRow("profile") << QByteArray("users/demo") << "Request Error"
                                 << "Failed to get user info.";
    }

    void failedLogin()
    {
        QFETCH(QByteArray, refused);
        m_dialog->show();
        m_fake->answer(refused, SessionFake::json("{}", 500));
        type("demo", "secret");
        button()->click();
        QTRY_COMPARE(m_answers->shown().size(), 1);
        QTEST(m_answers->shown().first().title, "title");
        QTEST(m_answers->shown().first().text, "text");
        QTRY_VERIFY(button()->isEnabled());
        QCOMPARE(button()->text(), QStringLiteral("Login"));
        QVERIFY(m_dialog->isVisible());
        QVERIFY(!m_config->userDatabaseExists("demo"));
        m_fake->forgetAnswers();
        logIn();
    }

    void frozenAccount_data()
    {
        QTest::addColumn<HttpFake::Answer>("answer");
        QTest::addColumn<QString>("text");
        const QString begin =
            "Dear users! You are irregularities in the use of NRX Cloud Driver, your account has been ";
        const QString link =
            "<a href='http://pages.example/agree?a=%27b%27&amp;c=%3Cd%3E'>NRX Cloud Driver User Agreement"
            "</a>.";
        QTest::newRow("for a day") << SessionFake::json(SessionFake::violation("2020-01-01T00:00:00.000Z", "86400"))
                                   << begin + "frozen to 2020-01-02 00:00! Please read the " + link;
        QTest::newRow("for good") << SessionFake::json(SessionFake::violation("2020-01-01T00:00:00.000Z", "-1"))
                                  << begin + "permanently frozen! Please read the " + link;
        QTest::newRow("no details") << SessionFake::json("{\"error\":\"restricted\"}", 403)
                                    << begin + "frozen to further notice! Please read the " + link;
    }

    void frozenAccount()
    {
        QFETCH(HttpFake::Answer, answer);
        QFETCH(QString, text);
        m_fake->answer("auth/login", answer);
        type("demo", "secret");
        button()->click();
        QTRY_COMPARE(m_answers->shown().size(), 1);
        QCOMPARE(m_answers->shown().first().className, QStringLiteral("MsgBox"));
        QCOMPARE(m_answers->shown().first().text, text);
        QTRY_VERIFY(button()->isEnabled());
    }

    void serviceThatHangs()
    {
        m_fake->answer("auth/login", HttpFake::silence());
        for (QTimer *timer : m_dialog->findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly))
            timer->setInterval(50);
        type("demo", "secret");
        button()->click();
        QVERIFY(!button()->isEnabled());
        QTRY_VERIFY(button()->isEnabled());
        QCOMPARE(button()->text(), QStringLiteral("Login"));
        QVERIFY(!hint().isEmpty());
    }

    void boxesGoTogether()
    {
        autoBox()->setChecked(true);
        QVERIFY(rememberBox()->isChecked());
        rememberBox()->setChecked(false);
        QVERIFY(!autoBox()->isChecked());
        rememberBox()->setChecked(true);
        QVERIFY(!autoBox()->isChecked());
    }

    void remembered_data()
    {
        QTest::addColumn<bool>("save");
        QTest::addColumn<bool>("automatic");
        QTest::newRow("nothing") << false << false;
        QTest::newRow("password") << true << false;
        QTest::newRow("automatic") << true << true;
    }

    void remembered()
    {
        QFETCH(bool, save);
        QFETCH(bool, automatic);
        // Something else was remembered before.
        remember("demo", !save, "old", !automatic);
        type("demo", "secret");
        rememberBox()->setChecked(save);
        autoBox()->setChecked(automatic);
        logIn();
        QCOMPARE(stored("demo", "SavePassword"), QString(save ? "true" : "false"));
        QCOMPARE(stored("demo", "AutoLogin"), QString(automatic ? "true" : "false"));
        QCOMPARE(stored("demo", "Password"), QString(save ? "secret" : ""));
        QCOMPARE(m_config->knownUserNames().first(), QStringLiteral("demo"));

        makeDialog();
        m_dialog->setUsers(m_config->knownUserNames());
        QCOMPARE(user()->currentText(), QStringLiteral("demo"));
        QCOMPARE(rememberBox()->isChecked(), save);
        QCOMPARE(autoBox()->isChecked(), automatic);
        QCOMPARE(password()->text(), QString(save ? "secret" : ""));
    }

    void typedUser()
    {
        remember("ann", true, "ann's", true);
        m_dialog->setUsers({"ann"});
        QCOMPARE(password()->text(), QStringLiteral("ann's"));
        user()->setEditText("anna");
        QVERIFY(password()->text().isEmpty() && !rememberBox()->isChecked() && !autoBox()->isChecked());
        QVERIFY(!m_config->userDatabaseExists("anna"));
        user()->setEditText("ann");
        QCOMPARE(password()->text(), QStringLiteral("ann's"));
        QVERIFY(rememberBox()->isChecked() && autoBox()->isChecked());
        // A database alone makes no known user, nor does a name that leads elsewhere.
        m_config->userDatabase("bob");
        for (const char *name : {"bob", "", "../ann", "ann/"}) {
            user()->setEditText(name);
            QVERIFY2(password()->text().isEmpty() && !rememberBox()->isChecked(), name);
        }
    }

    void severalKnownUsers()
    {
        remember("ann", true, "a", false);
        remember("bob", false, "b", false);
        m_dialog->setUsers(m_config->knownUserNames());
        QCOMPARE(user()->count(), 2);
        QCOMPARE(user()->currentText(), QStringLiteral("bob"));
        QCOMPARE(password()->text(), QString());
        user()->setCurrentIndex(1);
        QCOMPARE(password()->text(), QStringLiteral("a"));
        m_dialog->show();
        m_dialog->setUsers({});
        QVERIFY(user()->currentText().isEmpty() && password()->text().isEmpty());
    }

    void noDatabase()
    {
        // Without the template no database can be made for a new user, and a login without settings is none.
        const QString file = m_fake->configFolder() + "/ArkvaleTolma";
        QVERIFY(QFile::rename(file, file + ".away"));
        QSignalSpy accepted(m_dialog.get(), SIGNAL(accepted()));
        type("demo", "secret");
        button()->click();
        QTRY_COMPARE(m_answers->shown().size(), 1);
        QCOMPARE(m_answers->shown().first().text, QStringLiteral("Login failed."));
        QCOMPARE(m_config->state(), int(GlobalConfig::LoggedOut));
        QTRY_VERIFY(button()->isEnabled());
        QCOMPARE(accepted.count(), 0);
        QVERIFY(QFile::rename(file + ".away", file));
    }

    void commandLineUser()
    {
        remember("demo", true, "stored", true);
        m_dialog->setUsers({"demo"}, "secret");
        QCOMPARE(password()->text(), QStringLiteral("secret"));
        QVERIFY(autoBox()->isChecked() && !rememberBox()->isChecked());
        QSignalSpy accepted(m_dialog.get(), SIGNAL(accepted()));
        m_dialog->show();
        QTRY_COMPARE(accepted.count(), 1);
        QCOMPARE(stored("demo", "Password"), QString());
        QCOMPARE(stored("demo", "AutoLogin"), QStringLiteral("false"));

        makeDialog();
        m_dialog->setUsers({"demo"}, "");
        QVERIFY(!autoBox()->isChecked() && password()->text().isEmpty());
    }

    void autoLogin_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<bool>("ticked");
        QTest::addColumn<int>("logins");
        QTest::newRow("first start") << 0 << true << 1;
        QTest::newRow("not ticked") << 0 << false << 0;
        QTest::newRow("after a logout") << 1 << true << 0;
    }

    void autoLogin()
    {
        QFETCH(int, state);
        QFETCH(bool, ticked);
        QFETCH(int, logins);
        remember("demo", true, "secret", ticked);
        m_config->setState(state);
        m_dialog->setUsers({"demo"});
        QSignalSpy accepted(m_dialog.get(), SIGNAL(accepted()));
        QSignalSpy asked(m_dialog.get(), SIGNAL(sigAutoLogin()));
        // Where no login is to come, closing is queued behind the click that must not come either.
        if (logins == 0)
            QTimer::singleShot(0, m_dialog.get(), [this] { m_dialog->reject(); });
        QCOMPARE(m_dialog->exec(), int(logins ? QDialog::Accepted : QDialog::Rejected));
        QCOMPARE(asked.count(), logins);
        QCOMPARE(accepted.count(), logins);
        QCOMPARE(m_fake->asked("auth/login"), logins);
    }

    void loginOfAnotherUser()
    {
        // Ann's password stands in the dialog when a web page logs demo in.
        remember("ann", true, "ann's", false);
        m_dialog->setUsers({"ann"});
        m_dialog->show();
        QCOMPARE(password()->text(), QStringLiteral("ann's"));
        QSignalSpy accepted(m_dialog.get(), SIGNAL(accepted()));
        m_dialog->loginService()->handlerAuth(5, 200, SessionFake::loginAnswer());
        QTRY_COMPARE(accepted.count(), 1);
        QCOMPARE(stored("demo", "Password"), QString());
        QCOMPARE(stored("ann", "Password"), QStringLiteral("ann's"));
        QCOMPARE(m_config->knownUserNames(), (QStringList{"demo", "ann"}));
    }

    void closing()
    {
        for (const bool byKey : {false, true}) {
            makeDialog();
            m_dialog->show();
            QVERIFY(QTest::qWaitForWindowExposed(m_dialog.get()));
            QSignalSpy rejected(m_dialog.get(), SIGNAL(rejected()));
            if (byKey)
                QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
            else
                child<QToolButton>("close")->click();
            QCOMPARE(rejected.count(), 1);
            QCOMPARE(m_dialog->result(), int(QDialog::Rejected));
        }
    }

    void pages()
    {
        child<QPushButton>("forgotPassword")->click();
        QCOMPARE(m_opened, QList<QUrl>{QUrl("http://pages.example/reset")});
        QVERIFY(hint().isEmpty());
        // The settings name a program for this one.
        child<QPushButton>("register")->click();
        QCOMPARE(m_opened.size(), 1);
        QVERIFY(!hint().isEmpty());
        m_dialog->UpdateFinished(0);
        m_dialog->UpdateFinished(2);
        QVERIFY(!hint().contains("version"));
        m_dialog->UpdateFinished(1);
        QVERIFY(hint().contains("version"));
    }

    void capsLock()
    {
        const auto typed = [&](const char *text, Qt::KeyboardModifiers modifiers) {
            QKeyEvent event(QEvent::KeyPress, Qt::Key_A, modifiers, QString::fromUtf8(text));
            QCoreApplication::sendEvent(password(), &event);
            return !hint().isEmpty();
        };
        QVERIFY(!typed("a", Qt::NoModifier));
        QVERIFY(typed("A", Qt::NoModifier));
        QVERIFY(typed("1", Qt::NoModifier)); // tells nothing new
        QVERIFY(!typed("A", Qt::ShiftModifier));
        QVERIFY(typed("a", Qt::ShiftModifier));
        QVERIFY(!typed("a", Qt::NoModifier));
        QVERIFY(!typed("用", Qt::NoModifier));
    }

private:
    void makeDialog() { m_dialog = std::make_unique<LoginUI>(); }
    template <class Widget>
    Widget *child(const char *name) const
    {
        return m_dialog->findChild<Widget *>(QString::fromLatin1(name));
    }
    QComboBox *user() const { return child<QComboBox>("userName"); }
    QLineEdit *password() const { return child<QLineEdit>("password"); }
    QCheckBox *rememberBox() const { return child<QCheckBox>("rememberMe"); }
    QCheckBox *autoBox() const { return child<QCheckBox>("autoLogin"); }
    QPushButton *button() const { return child<QPushButton>("login"); }
    QString hint() const { return child<QLabel>("hint")->text(); }
    void type(const QString &name, const QString &word)
    {
        user()->setEditText(name);
        password()->setText(word);
    }
    /// Logs in the way a person does, to the end.
    void logIn()
    {
        QSignalSpy accepted(m_dialog.get(), SIGNAL(accepted()));
        button()->click();
        QTRY_COMPARE(accepted.count(), 1);
    }
    /// Leaves @p name behind as a user who logged in here before.
    void remember(const QString &name, bool save, const QString &word, bool autoLogin)
    {
        UserInfo info;
        info.username = name;
        m_config->rememberUser(info);
        DataBaseManager database(m_config->userDatabase(name), "QSQLITE");
        QVERIFY(database.setValue("SavePassword", save ? "true" : "false"));
        QVERIFY(database.setValue("Password", word));
        QVERIFY(database.setValue("AutoLogin", autoLogin ? "true" : "false"));
    }
    QString stored(const QString &name, const QString &key) const
    {
        return DataBaseManager(m_config->userDatabase(name), "QSQLITE").value(key);
    }
    void forgetUsers()
    {
        QDir(QDir::cleanPath(m_config->userFolder("x") + "../..")).removeRecursively();
        m_config->reload();
    }

    std::unique_ptr<SessionFake> m_fake;
    std::unique_ptr<LoginUI> m_dialog;
    std::unique_ptr<DialogAnswers> m_answers;
    GlobalConfig *m_config = nullptr;
    QList<QUrl> m_opened;
};

ARKVALE_WIDGET_TEST(TestLoginUi)
#include "test_login_ui.moc"
