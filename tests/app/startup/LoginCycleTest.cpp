#include "LoginCycle.h"

#include "ArkvaleTolmaMain.h"
#include "DialogAnswers.h"
#include "GlobalConfig.h"
#include "LoginUI.h"
#include "NetdiskPage.h"
#include "SelectCenterDialog.h"
#include "SessionFake.h"
#include "SingleApplication.h"
#include "TestSupport.h"

#include <QAction>
#include <QClipboard>
#include <QDirIterator>
#include <QLabel>
#include <QMimeData>
#include <QPixmapCache>
#include <QPushButton>
#include <QTimer>

#include <functional>

namespace {

constexpr int kPatience = 30000; // ms, after which a test that lost its way ends

// Protected in QObject; a pointer to it is not.
struct Receivers : QObject
{
    static int of(const QObject *object, const char *signal)
    {
        int (QObject::*count)(const char *) const = &Receivers::receivers;
        return (object->*count)(signal);
    }
};

int openFiles()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot).size();
}

int threads()
{
    return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

} // namespace

/// Cycles of the real dialog, window, tray and bridge against a small service.
class LoginCycleTest : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_service = std::make_unique<SessionFake>();
        m_watch.setInterval(5);
        m_watch.start();
    }

    void init()
    {
        beginStrict();
        allowMessage(QStringLiteral("systemTrayWindowChanged")); // the platform without a screen has no tray
        disconnect(m_step);
        m_service->reset();
        setHomes({QStringLiteral("1")});
        GlobalConfig::instance()->setState(GlobalConfig::NotLoggedIn);
    }

    void cyclesLeaveNothingBehind()
    {
        constexpr int kWarm = 3; // caches of the libraries have filled
        CommandLine line = commandLine();
        line.request.filelist = QStringList{QString()};
        LoginCycle cycle(static_cast<SingleApplication *>(qApp), line);
        QTimer::singleShot(kPatience, &cycle, &LoginCycle::end);
        struct
        {
            int widgets, objects, files, threads, receivers;
        } warm = {}, now = {};
        for (int i = 1; i <= kWarm + 4; ++i) {
            const auto pageOpen = [] {
                auto *window = find<ArkvaleTolmaMain>();
                return window && window->isVisible() && !window->pages().isEmpty();
            };
            const auto leave = [i] {
                auto *window = find<ArkvaleTolmaMain>();
                QVERIFY(qApp->property("updateService").value<QObject *>());
                QCOMPARE(window->pages().first()->subCenter().id, QStringLiteral("1"));
                QVERIFY(i == 1 || GlobalConfig::instance()->request().filelist.isEmpty());
                QVERIFY(QMetaObject::invokeMethod(window, "Logout", Q_ARG(QString, QString())));
            };
            // The first login runs by itself, those after a logout do not.
            if (i == 1) {
                when(pageOpen, leave);
            } else {
                when([] { return find<LoginUI>() && find<LoginUI>()->isVisible(); },
                     [=] {
                         when(pageOpen, leave);
                         find<LoginUI>()->findChild<QPushButton *>(QStringLiteral("login"))->click();
                     });
            }
            QVERIFY2(cycle.run(), qPrintable(QString::number(i)));
            QVERIFY(!find<LoginUI>() && !find<ArkvaleTolmaMain>());
            QVERIFY(!qApp->property("updateService").value<QObject *>());
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QCoreApplication::processEvents();
            const GlobalConfig *config = GlobalConfig::instance();
            now = {QApplication::allWidgets().size(), qApp->findChildren<QObject *>().size(), openFiles(), threads(),
                   Receivers::of(config, SIGNAL(handlerListSubCenterFinished())) +
                       Receivers::of(config, SIGNAL(handlerGetADFinished())) +
                       Receivers::of(config, SIGNAL(handlerGetTransferLimitFinished()))};
            if (i == kWarm)
                warm = now;
        }
        QCOMPARE(now.widgets, warm.widgets);
        QCOMPARE(now.objects, warm.objects);
        QCOMPARE(now.receivers, warm.receivers);
#ifdef Q_OS_LINUX
        QVERIFY2(now.files <= warm.files + 2, qPrintable(QStringLiteral("%1, %2").arg(now.files).arg(warm.files)));
        QVERIFY2(now.threads <= warm.threads + 2,
                 qPrintable(QStringLiteral("%1, %2").arg(now.threads).arg(warm.threads)));
#endif
    }

    void subCenterIsChosen_data()
    {
        QTest::addColumn<QString>("asked");
        QTest::addColumn<QString>("homes");
        QTest::addColumn<int>("dialogs");
        QTest::addColumn<QString>("opened"); // empty: the dialog was cancelled
        QTest::newRow("the only home") << ""
                                       << "2" << 0 << "2";
        QTest::newRow("several homes, none wanted") << ""
                                                    << "1,3" << 1 << "";
        QTest::newRow("asked for") << "3"
                                   << "1,3" << 0 << "3";
        QTest::newRow("asked for, no home there") << "2"
                                                  << "1,3" << 2 << "3";
        QTest::newRow("asked for, not in the list") << "9"
                                                    << "1" << 1 << "1";
    }

    void subCenterIsChosen()
    {
        QFETCH(QString, asked);
        QFETCH(QString, homes);
        QFETCH(int, dialogs);
        QFETCH(QString, opened);
        QDir(qEnvironmentVariable("XDG_CONFIG_HOME")).removeRecursively(); // no default of an earlier login
        setHomes(homes.split(QLatin1Char(',')));
        DialogAnswers answers;
        if (!asked.isEmpty() && asked != opened)
            answers.accept(); // before anything is asked, it is told what is not there
        if (homes.contains(QLatin1Char(','))) {
            answers.answer([opened](QDialog *dialog) {
                if (opened.isEmpty()) {
                    QVERIFY(QMetaObject::invokeMethod(dialog, "onCancel"));
                    return;
                }
                dialog->findChild<QPushButton *>(opened)->click();
                dialog->accept();
            });
        }
        LoginCycle cycle(static_cast<SingleApplication *>(qApp), commandLine(asked));
        QTimer::singleShot(kPatience, &cycle, &LoginCycle::end);
        QString page;
        when([] { return find<ArkvaleTolmaMain>() && !find<ArkvaleTolmaMain>()->pages().isEmpty(); },
             [&] {
                 page = find<ArkvaleTolmaMain>()->pages().first()->subCenter().id;
                 cycle.end();
             });
        QCOMPARE(cycle.run(), opened.isEmpty()); // who cancels the choice gets the login dialog back
        QCOMPARE(page, opened);
        QCOMPARE(answers.shown().size(), dialogs);
        if (!asked.isEmpty() && asked != opened)
            QVERIFY2(answers.shown().first().text.contains(asked), qPrintable(answers.shown().first().text));
    }

    void aChosenLanguageStaysAndLeavesNothing()
    {
        const auto cancel = [] { return QCoreApplication::translate("MsgDlg", "Cancel"); };
        const QString chinese = QString::fromUtf8("取消");
        CommandLine line = commandLine();
        LoginCycle cycle(static_cast<SingleApplication *>(qApp), line);
        QTimer::singleShot(kPatience, &cycle, &LoginCycle::end);
        const auto changeTo = [](const char *code) {
            auto *window = find<ArkvaleTolmaMain>();
            QAction action;
            action.setData(QString::fromLatin1(code));
            connect(&action, SIGNAL(triggered()), window, SLOT(ChangeLanguage()));
            action.trigger();
        };
        const auto pageOpen = [] {
            auto *window = find<ArkvaleTolmaMain>();
            return window && window->isVisible() && !window->pages().isEmpty();
        };
        const auto logout = [] {
            QVERIFY(QMetaObject::invokeMethod(find<ArkvaleTolmaMain>(), "Logout", Q_ARG(QString, QString())));
        };
        when(pageOpen, [=] {
            changeTo("zh_cn");
            QCOMPARE(cancel(), chinese);
            logout();
        });
        QVERIFY(cycle.run());
        QCOMPARE(cancel(), QStringLiteral("Cancel"));
        when([] { return find<LoginUI>() && find<LoginUI>()->isVisible(); },
             [=] {
                 QCOMPARE(find<LoginUI>()->windowTitle(), QString::fromUtf8("登录"));
                 when(pageOpen, [=] {
                     changeTo("en_us");
                     QCOMPARE(cancel(), QStringLiteral("Cancel"));
                     logout();
                 });
                 find<LoginUI>()->findChild<QPushButton *>(QStringLiteral("login"))->click();
             });
        QVERIFY(cycle.run());
        QCOMPARE(GlobalConfig::instance()->language(), QStringLiteral("en_us"));
    }

    void anotherUserFindsNothingOfTheFirst()
    {
        QDir(qEnvironmentVariable("XDG_CONFIG_HOME")).removeRecursively();
        setHomes({QStringLiteral("1"), QStringLiteral("2")});
        m_service->answer("sc/1/files/list",
                          SessionFake::json(R"({"items": [{"name": "demo.exr", "type": 0, "path": "/demo.exr"}]})"));
        LoginCycle cycle(static_cast<SingleApplication *>(qApp), commandLine(QStringLiteral("1")));
        QTimer::singleShot(kPatience, &cycle, &LoginCycle::end);
        const auto pageOpen = [] { return find<ArkvaleTolmaMain>() && !find<ArkvaleTolmaMain>()->pages().isEmpty(); };
        const auto leave = [](const char *user) {
            QVERIFY(QMetaObject::invokeMethod(find<ArkvaleTolmaMain>(), "Logout", Q_ARG(QString, user)));
        };
        when(pageOpen, [&] {
            find<ArkvaleTolmaMain>()->addTab(QStringLiteral("2"));
            NetdiskPage *page = find<ArkvaleTolmaMain>()->pages().first();
            when([=] { return page->findChild<QLabel *>("itemCount")->text().contains(QLatin1String("1 ")); },
                 [&] {
                     QPixmapCache::insert(QStringLiteral("a picture"), QPixmap(8, 8));
                     auto *cut = new QMimeData;
                     cut->setData(QStringLiteral("ArkvaleTolma"), R"({"items": [{"path": "/demo.exr"}]})");
                     QApplication::clipboard()->setMimeData(cut);
                     leave("guest");
                 });
        });
        QVERIFY(cycle.run());

        // The second one comes through a page, whose login fills the same dialog.
        const auto forGuest = [](QByteArray text) { return text.replace("demo", "guest").replace("Demo", "Guest"); };
        m_service->answer("users/guest",
                          SessionFake::json(R"({"username": "guest", "nickname": "Guest", "icon": ""})"));
        m_service->answer("sc/1/users/guest/path", SessionFake::json(R"({"path": "/home/guest"})"));
        m_service->answer("sc/1/files/list", SessionFake::json(R"({"items": []})"));
        QStringList traces;
        const auto look = [&traces](const QString &where, const QString &text) {
            if (text.contains(QLatin1String("demo"), Qt::CaseInsensitive) || text.contains(QLatin1String("TOKEN")))
                traces << where + QStringLiteral(": ") + text;
        };
        when([] { return find<LoginUI>() != nullptr; },
             [&] {
                 when(pageOpen, [&] {
                     const GlobalConfig *config = GlobalConfig::instance();
                     const QMap<QString, UserInfo> users = config->users();
                     for (const UserInfo &user : users)
                         look(QStringLiteral("user"), user.username + user.accessToken + user.icon + user.path);
                     const QList<SubCenter> centers = config->subCenters();
                     for (const SubCenter &center : centers)
                         look(QStringLiteral("sub-center"), center.path + QString::number(center.quota));
                     for (const QWidget *widget : find<ArkvaleTolmaMain>()->findChildren<QWidget *>()) {
                         for (const char *name : {"text", "toolTip", "windowTitle"})
                             look(QLatin1String(widget->metaObject()->className()), widget->property(name).toString());
                     }
                     QCOMPARE(find<ArkvaleTolmaMain>()->pages().size(), 1);
                     const QMimeData *kept = QApplication::clipboard()->mimeData();
                     QVERIFY(!kept || !kept->hasFormat(QStringLiteral("ArkvaleTolma")));
                     QPixmap picture;
                     QVERIFY(!QPixmapCache::find(QStringLiteral("a picture"), &picture));
                     leave("");
                 });
                 QByteArray answer = forGuest(SessionFake::loginAnswer()).replace("TOKEN", "OTHER");
                 QVERIFY(QMetaObject::invokeMethod(find<LoginUI>()->loginService(), "handlerAuth", Q_ARG(qint64, 1),
                                                   Q_ARG(int, 200), Q_ARG(QByteArray, answer)));
             });
        QVERIFY(cycle.run());
        QDirIterator files(GlobalConfig::instance()->userFolder(QStringLiteral("guest")), QDir::Files | QDir::Hidden,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            QVERIFY(file.open(QIODevice::ReadOnly));
            look(file.fileName().section(QStringLiteral("/Users/"), -1), QString::fromLatin1(file.readAll()));
        }
        QVERIFY2(traces.isEmpty(), qPrintable(traces.join(QLatin1Char('\n'))));
    }

    void cancelledLoginEnds()
    {
        CommandLine line;
        LoginCycle cycle(static_cast<SingleApplication *>(qApp), line);
        QTimer::singleShot(kPatience, &cycle, &LoginCycle::end);
        when([] { return find<LoginUI>() && find<LoginUI>()->isVisible(); }, [] { find<LoginUI>()->close(); });
        QVERIFY(!cycle.run());
        QCOMPARE(m_service->asked("auth/login"), 0);
    }

    void hiddenUntilAPageLogsIn()
    {
        CommandLine line;
        line.browserLaunch = true;
        LoginCycle cycle(static_cast<SingleApplication *>(qApp), line);
        QTimer::singleShot(kPatience, &cycle, &LoginCycle::end);
        bool shown = false;
        const auto look = connect(&m_watch, &QTimer::timeout, this, [&] {
            const auto *dialog = find<LoginUI>();
            const auto *window = find<ArkvaleTolmaMain>();
            shown =
                shown || (dialog && dialog->isVisible()) || (window && window->isVisible() && !window->isMinimized());
        });
        when([] { return find<LoginUI>() != nullptr; },
             [&] {
                 when([] { return find<ArkvaleTolmaMain>() && !find<ArkvaleTolmaMain>()->pages().isEmpty(); },
                      [&] { cycle.end(); });
                 QVERIFY(QMetaObject::invokeMethod(find<LoginUI>()->loginService(), "handlerAuth", Q_ARG(qint64, 1),
                                                   Q_ARG(int, 200), Q_ARG(QByteArray, SessionFake::loginAnswer())));
             });
        QVERIFY(!cycle.run());
        disconnect(look);
        QVERIFY(!shown);
        QCOMPARE(m_service->asked("users/demo"), 1);
    }

    void endFromAnywhere_data()
    {
        QTest::addColumn<QString>("where");
        for (const char *where :
             {"before", "login", "question in the login", "choice", "window", "question in the window"})
            QTest::newRow(where) << where;
    }

    // The system asks the program to end: it does, whatever is open, without an answer to any question.
    void endFromAnywhere()
    {
        QFETCH(QString, where);
        QDir(qEnvironmentVariable("XDG_CONFIG_HOME")).removeRecursively();
        DialogAnswers answers;
        CommandLine line = commandLine(where == QLatin1String("choice") ? QStringLiteral("2") : QString());
        if (where.contains(QLatin1String("login")))
            line = CommandLine();
        if (where == QLatin1String("choice"))
            setHomes({QStringLiteral("1"), QStringLiteral("3")});
        LoginCycle cycle(static_cast<SingleApplication *>(qApp), line);
        QTimer::singleShot(kPatience, &cycle, &LoginCycle::end);
        answers.answer([&](QDialog *) { cycle.end(); });
        const auto windowReady = [] {
            return find<ArkvaleTolmaMain>() && !find<ArkvaleTolmaMain>()->pages().isEmpty();
        };
        const auto dialogReady = [] { return find<LoginUI>() && find<LoginUI>()->isVisible(); };
        if (where == QLatin1String("before"))
            cycle.end();
        else if (where == QLatin1String("login"))
            when(dialogReady, [&] { cycle.end(); });
        else if (where == QLatin1String("question in the login"))
            clickLogin(); // without a name: a question
        else if (where == QLatin1String("window"))
            when(windowReady, [&] { cycle.end(); });
        else if (where == QLatin1String("question in the window"))
            when(windowReady, [] { QVERIFY(QMetaObject::invokeMethod(find<ArkvaleTolmaMain>(), "Exit")); });
        QVERIFY(!cycle.run());
        QVERIFY(!cycle.run());
        const bool question = where.contains(QLatin1String("question")) || where == QLatin1String("choice");
        QCOMPARE(answers.unused(), question ? 0 : 1);
        QCOMPARE(GlobalConfig::instance()->state(), int(GlobalConfig::Quitting));
    }

private:
    template <typename Widget>
    static Widget *find()
    {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (auto *found = qobject_cast<Widget *>(widget))
                return found;
        }
        return nullptr;
    }
    /// Runs @p step as soon as @p condition holds, from the event loops of the cycle. At most one at a time.
    void when(const std::function<bool()> &condition, const std::function<void()> &step)
    {
        disconnect(m_step);
        m_step = connect(&m_watch, &QTimer::timeout, this, [this, condition, step] {
            if (!condition())
                return;
            disconnect(m_step);
            step();
        });
    }

    void clickLogin()
    {
        when([] { return find<LoginUI>() && find<LoginUI>()->isVisible(); },
             [] { find<LoginUI>()->findChild<QPushButton *>(QStringLiteral("login"))->click(); });
    }

    static CommandLine commandLine(const QString &subCenter = QString())
    {
        CommandLine line;
        line.user = QStringLiteral("demo");
        line.password = QStringLiteral("secret");
        line.subCenter = subCenter;
        return line;
    }

    /// The sub-centers in which the user has a home.
    void setHomes(const QStringList &ids)
    {
        for (const char *id : {"1", "2", "3"}) {
            const bool there = ids.contains(QLatin1String(id));
            m_service->answer(QByteArray("sc/") + id + "/users/demo/path",
                              SessionFake::json(there ? R"({"path": "/home/demo"})" : "{}", there ? 200 : 404));
        }
    }

    std::unique_ptr<SessionFake> m_service;
    QTimer m_watch;
    QMetaObject::Connection m_step;
};

int main(int argc, char **argv)
{
    TestHome home;
    qputenv("TMPDIR", home.path().toUtf8());
    SingleApplication application(argc, argv);
    LoginCycleTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "LoginCycleTest.moc"
