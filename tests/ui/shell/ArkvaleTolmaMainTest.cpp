#include "ArkvaleTolmaMain.h"
#include "ArkvaleTray.h"
#include "BrowserServer.h"
#include "DialogAnswers.h"
#include "DrivePanes.h"
#include "FakeOrvClient.h"
#include "FinishedListWidget.h"
#include "FinishedTaskModel.h"
#include "GlobalConfig.h"
#include "LoginService.h"
#include "MsgDlg.h"
#include "NetdiskPage.h"
#include "ShownTexts.h"
#include "TabWidget.h"
#include "TestSupport.h"
#include "TransferListWidget.h"
#include "TransferTaskModel.h"
#include "TransferringWidget.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTimer>

#include <memory>

/// The main window over a scripted service.
class ArkvaleTolmaMainTest : public StrictTest
{
    Q_OBJECT

private:
    struct Cycle
    {
        LoginService service;
        ArkvaleTray tray{QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/icon.png"))};
        BrowserServer bridge{0, OrvClient("1", "http://127.0.0.1:1", "", "", "")};
        ArkvaleTolmaMain window{&service, &tray, &bridge, nullptr, false};
        QSignalSpy closed{&window, SIGNAL(Close())};

        void open(const QString &path = QString())
        {
            QTimer timer;
            timer.setSingleShot(true);
            timer.setProperty("initPath", path);
            QObject::connect(&timer, SIGNAL(timeout()), &window, SLOT(initSplitWidget()));
            timer.start(0);
            QTRY_VERIFY(!window.pages().isEmpty());
        }
        QPushButton *button(const char *name) { return window.findChild<QPushButton *>(QLatin1String(name)); }
    };

    static SubCenter center(const QString &id, const QString &home)
    {
        SubCenter center;
        center.id = id;
        center.name = QStringLiteral("Center ") + id;
        center.address = QStringLiteral("http://127.0.0.1:1/") + id;
        center.path = home;
        center.udtServers = {{"127.0.0.1", "1"}};
        return center;
    }

    /// The next window begins as a user's first one does.
    static void forgetWindow()
    {
        GlobalConfig *config = GlobalConfig::instance();
        QFile::remove(config->userFolder(config->currentUser().username) + QStringLiteral("Window.json"));
    }

private slots:
    void init()
    {
        beginStrict();
        allowMessage(QStringLiteral("systemTrayWindowChanged")); // a platform without a tray
        FakeService::instance().reset();
        FakeService::instance().setScript([](const FakeCall &call, int *code, QByteArray *body) {
            *code = 200;
            if (call.operation == QLatin1String("listFile"))
                *body = R"({"items":[{"name":"a","type":0,"path":"/a"},{"name":"d","type":1,"path":"/d"}]})";
            else if (call.operation == QLatin1String("searchFile"))
                *body = R"({"items":[]})";
            else if (call.operation == QLatin1String("getUserStorage"))
                *body = R"({"storage":{"used":100,"quota":1000}})";
            else
                return false;
            return true;
        });
        GlobalConfig *config = GlobalConfig::instance();
        config->setSubCenters({center("1", "/"), center("2", "/"), center("3", "NotFound")});
        UserInfo user;
        user.username = QStringLiteral("demo");
        user.authentication = true;
        config->setCurrentUser(user);
        config->setSubCenters({center("1", "/"), center("2", "/"), center("3", "NotFound")});
        config->setCurrentSubCenterId(QStringLiteral("1"));
        config->setRequestedSubCenterId(QString());
        config->setRequest(CommandLineRequest());
        config->setState(GlobalConfig::LoggedIn);
        forgetWindow();
    }

    void opensTheChosenSubCenter()
    {
        Cycle cycle;
        QSignalSpy greeting(&cycle.window, SIGNAL(sigShowTrayMessage(QString)));
        QSignalSpy log(&cycle.window, SIGNAL(sigWriteLog(int, int, QString, const wchar_t *, int)));
        cycle.open(QStringLiteral("/frames"));
        QCOMPARE(cycle.window.windowTitle(), QStringLiteral("NRX Net Disk"));
        QCOMPARE(greeting.first().first().toString(), QStringLiteral("Arkvale has started!\ndemo is current user."));
        QCOMPARE(log.first().at(2).toString(), QStringLiteral("ArkvaleTolmaMain Created!"));
        QCOMPARE(cycle.window.pages().size(), 1);
        QCOMPARE(cycle.window.pages().first()->subCenter().id, QStringLiteral("1"));
        QCOMPARE(cycle.window.pages().first()->currentPath(), QStringLiteral("/frames/"));
        QCOMPARE(cycle.window.findChild<TabWidget *>()->objectName(), QStringLiteral("SplitWidget1"));
        cycle.window.initSplitWidget(); // a second time changes nothing
        QCOMPARE(cycle.window.pages().size(), 1);
        // The storage figures reach the bar.
        QTRY_COMPARE(cycle.window.findChild<QLabel *>("label_storage")->text(), QStringLiteral("100B/1000B"));
    }

    void waitsUntilTheSubCenterIsKnown()
    {
        GlobalConfig::instance()->setSubCenters({center("1", QString()), center("2", "/")});
        Cycle cycle;
        cycle.window.initSplitWidget();
        QVERIFY(cycle.window.pages().isEmpty());
        GlobalConfig::instance()->updateSubCenter(center("1", "/"));
        emit cycle.service.handlerCheckSubCenterFinished();
        QCOMPARE(cycle.window.pages().size(), 1);
    }

    void tabsAndPanes()
    {
        Cycle cycle;
        cycle.open();
        cycle.window.addTab(QStringLiteral("2"));
        cycle.window.addTab(QStringLiteral("3")); // no home there
        auto *pane = cycle.window.findChild<TabWidget *>();
        QCOMPARE(pane->count(), 2);
        QCOMPARE(pane->tabText(1), QStringLiteral("Center 2"));
        emit pane->sigSplitWidget(1);
        QCOMPARE(cycle.window.findChildren<TabWidget *>().size(), 2);
        QCOMPARE(cycle.window.pages().size(), 2);
        emit cycle.window.findChildren<TabWidget *>().last()->sigCloseTab(0);
        QTRY_COMPARE(cycle.window.findChildren<TabWidget *>().size(), 1);
        emit pane->sigCloseTab(0); // the last one stays
        QCOMPARE(cycle.window.pages().size(), 1);
    }

    void panesSplitCloseReopenAndComeBack()
    {
        {
            Cycle cycle;
            cycle.open(QStringLiteral("/frames"));
            cycle.window.toggleSplit();
            QCOMPARE(cycle.window.panes()->panes().size(), 2);
            QCOMPARE(cycle.window.pages().last()->currentPath(), QStringLiteral("/frames/"));
            cycle.window.addTab(QStringLiteral("2"));
            QCOMPARE(cycle.window.panes()->panes().last()->count(), 2);
            cycle.window.closeCurrentTab();
            QCOMPARE(cycle.window.pages().size(), 2);
            cycle.window.reopenTab();
            QCOMPARE(cycle.window.panes()->currentPage()->subCenter().id, QStringLiteral("2"));
            // A tab dropped onto the other pane; the pane of a last tab goes with it.
            TabWidget *right = cycle.window.panes()->panes().last();
            TabWidget *left = cycle.window.panes()->panes().first();
            emit right->sigTabDropped(0, left, TabWidget::Inside, 0);
            QCOMPARE(left->count(), 2);
            emit left->sigTabDropped(0, right, TabWidget::RightSide, -1);
            QCOMPARE(cycle.window.panes()->panes().size(), 3);
            cycle.window.panes()->stepPane(1);
            cycle.window.closePane();
            QCOMPARE(cycle.window.panes()->panes().size(), 2);
            cycle.window.Logout(QString());
        }
        Cycle cycle;
        cycle.open();
        QCOMPARE(cycle.window.panes()->panes().size(), 2);
        QCOMPARE(cycle.window.pages().size(), 2);
        // A sub-center that is gone takes its tabs with it; what is left always shows something.
        cycle.window.Logout(QString());
        GlobalConfig::instance()->setSubCenters({center("1", "NotFound"), center("2", "/")});
        GlobalConfig::instance()->setCurrentSubCenterId(QStringLiteral("2"));
        Cycle last;
        last.open();
        const QList<NetdiskPage *> pages = last.window.pages();
        for (const NetdiskPage *page : pages)
            QCOMPARE(page->subCenter().id, QStringLiteral("2"));
    }

    void aSessionThatEndsClosesWhatIsOpen()
    {
        Cycle cycle;
        cycle.open();
        DialogAnswers answers;
        // A question is open, and every part of the program tells of the end.
        answers.answer([&cycle](QDialog *) {
            for (int i = 0; i < 3; ++i)
                GlobalConfig::instance()->noteSessionEnded();
            emit cycle.window.pages().first()->sigLogout(QStringLiteral("Expired"));
        });
        cycle.window.Exit();
        QTRY_COMPARE(cycle.closed.size(), 1);
        QCOMPARE(GlobalConfig::instance()->state(), 1);
        QCOMPARE(answers.shown().size(), 2);
    }

    void leaving_data()
    {
        QTest::addColumn<QByteArray>("slot");
        QTest::addColumn<bool>("accept");
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("text");
        QTest::newRow("exit") << QByteArray("Exit") << true << 6 << "Are you sure you want to exit?";
        QTest::newRow("not exit") << QByteArray("Exit") << false << 3 << "Are you sure you want to exit?";
        QTest::newRow("logout") << QByteArray("Logout") << true << 1 << "Are you sure you want to logout?";
        QTest::newRow("not logout") << QByteArray("Logout") << false << 3 << "Are you sure you want to logout?";
        QTest::newRow("close") << QByteArray("close") << true << 6 << "Are you sure you want to exit?";
        QTest::newRow("not close") << QByteArray("close") << false << 3 << "Are you sure you want to exit?";
    }

    void leaving()
    {
        QFETCH(QByteArray, slot);
        QFETCH(bool, accept);
        QFETCH(int, state);
        Cycle cycle;
        cycle.open();
        DialogAnswers answers;
        if (accept)
            answers.accept();
        cycle.window.show();
        QMetaObject::invokeMethod(&cycle.window, slot.constData());
        QTEST(answers.shown().value(0).text, "text");
        QCOMPARE(GlobalConfig::instance()->state(), state);
        QCOMPARE(cycle.closed.size(), accept ? 1 : 0);
        if (!accept)
            QVERIFY(cycle.window.isVisible());
        cycle.window.Logout(QStringLiteral("other")); // without a question, and Close() only once
        QCOMPARE(cycle.closed.size(), 1);
        QCOMPARE(answers.shown().size(), 1);
    }

    void leavingTellsOfRunningTransfers()
    {
        Cycle cycle;
        cycle.open();
        TaskRecord task;
        task.Type = ZPDT_UPLOAD;
        task.Path = QStringLiteral("/l/a");
        emit cycle.window.transfers()->engine()->TaskCreated({task}, ZPDT_UPLOAD);
        QCOMPARE(cycle.button("btn_transfer")->text(), QStringLiteral("Transfer List (1)"));
        DialogAnswers answers;
        cycle.window.Exit();
        QVERIFY(answers.shown().first().text.contains("1 transfers are still running"));
    }

    void aChangeOfTheLanguageReachesEveryText()
    {
        // A window that changes is to look like one that was built in the language.
        QStringList texts[2];
        for (QStringList &shown : texts) {
            auto language = &shown == texts ? nullptr : std::make_unique<MarkedLanguage>();
            GlobalConfig::instance()->setCurrentSubCenterId(QStringLiteral("1"));
            forgetWindow();
            Cycle cycle;
            cycle.open();
            cycle.window.show();
            cycle.window.pages().first()->ChangeShowMode(1);
            cycle.window.addTab(QStringLiteral("2"));
            NetdiskPage *searching = cycle.window.pages().last();
            QTRY_VERIFY(searching->findChild<QLabel *>("itemCount")->text().contains("(1"));
            searching->findChild<QLineEdit *>("searchEdit")->setText(QStringLiteral("nothing"));
            searching->SearchFile();
            QTRY_VERIFY(searching->findChild<QLabel *>("emptyTitle")->isVisible());
            const TransferringWidget *transfers = cycle.window.transfers();
            TaskRecord task;
            task.Type = ZPDT_UPLOAD;
            task.Dest = QStringLiteral("/to/");
            task.FinishDate = QDateTime(QDate(2026, 1, 2), QTime(3, 4));
            QList<TaskRecord> tasks;
            for (int status : {ZPDT_WAITING, ZPDT_PAUSED, ZPDT_FAILED}) {
                task.Status = status;
                task.Path = QStringLiteral("/l/%1").arg(status);
                tasks << task;
            }
            emit transfers->engine()->TaskCreated(tasks, ZPDT_UPLOAD);
            ZpdtProgress progress;
            progress.error = ZpdtError::Integrity;
            emit transfers->engine()->TaskProgressChanged(tasks.last(), progress);
            emit transfers->engine()->TaskFinished({tasks.last()}, ZPDT_UPLOAD);
            QTRY_COMPARE(cycle.window.findChild<QLabel *>("label_storage")->text(), QStringLiteral("100B/1000B"));
            QTRY_VERIFY(transfers->tabs()->tabText(2).endsWith(QLatin1String("(1)")));
            if (!language)
                language = std::make_unique<MarkedLanguage>();
            shown = shownTexts(&cycle.window);
            for (const char *expected :
                 {"[My Disk]", "[Transfer List] (1)", "[Search Result]: nothing", "[Modified]", "[paused...]",
                  "[The data arrived damaged]", "[Nothing found]", "[Switch to list mode]", "[Start All]"})
                QVERIFY2(shown.join('\n').contains(expected), expected);
        }
        for (int i = 0; i < qMin(texts[0].size(), texts[1].size()); ++i)
            QCOMPARE(texts[0].at(i), texts[1].at(i));
        QCOMPARE(texts[0].size(), texts[1].size());
    }

    void anEndedSessionLogsOutOnce()
    {
        Cycle cycle;
        cycle.open();
        cycle.window.addTab(QStringLiteral("2"));
        DialogAnswers answers;
        for (NetdiskPage *page : cycle.window.pages())
            emit page->sigLogout(QStringLiteral("Expired"));
        QTRY_COMPARE(cycle.closed.size(), 1);
        QCoreApplication::processEvents();
        QCOMPARE(GlobalConfig::instance()->state(), 1);
        QCOMPARE(answers.shown().size(), 1);
        QCOMPARE(answers.shown().first().text, QStringLiteral("Expired"));
    }

    void requestsOfPages()
    {
        Cycle cycle;
        cycle.open();
        DialogAnswers answers;
        FileItem item;
        item.name = QStringLiteral("a");
        item.path = QStringLiteral("/a");
        for (const char *id : {"3", "unknown"}) {
            cycle.window.ProcessDownloadRequest(QString::fromLatin1(id), {item});
            QCOMPARE(answers.shown().last().text, QStringLiteral("You cannot access this server!"));
        }
        QCOMPARE(cycle.window.pages().size(), 1);

        const QTemporaryDir target;
        DownloadPathSetting setting;
        setting.alwaysAsk = false;
        setting.alwaysUseDefaultPath = true;
        setting.defaultPath = target.path();
        GlobalConfig::instance()->setDownloadPath(QStringLiteral("2"), setting);
        QSignalSpy downloads(&cycle.window,
                             SIGNAL(StartDownload(QList<FileItem>, QList<FileItem>, SubCenter, QString)));
        cycle.window.onShowTransfering();
        cycle.window.ProcessDownloadRequest(QStringLiteral("2"), {item});
        QTRY_COMPARE(downloads.size(), 1);
        QCOMPARE(downloads.first().at(2).value<SubCenter>().id, QStringLiteral("2"));
        QCOMPARE(downloads.first().at(3).toString(), target.path());
        QCOMPARE(cycle.window.findChild<QStackedWidget *>("stack_pages")->currentIndex(), 0);
        QCOMPARE(cycle.window.pages().size(), 2);
        cycle.window.ProcessDownloadRequest(QStringLiteral("2"), {item}); // the same tab serves again
        QTRY_COMPARE(downloads.size(), 2);
        QCOMPARE(cycle.window.pages().size(), 2);
        // The engine was really asked; without a service the task may have ended already.
        const auto *transfers = cycle.window.transfers();
        QTRY_VERIFY(transfers->downloadList()->model()->rowCount() + transfers->finishedList()->model()->rowCount() >
                    0);
    }

    void commandLineUploadsOnce()
    {
        const QTemporaryDir source;
        QFile file(source.filePath("a"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        CommandLineRequest request;
        request.method = 0;
        request.filelist = QStringList{"", "a", "gone"};
        request.local = source.path();
        request.remote = QStringLiteral("/r");
        GlobalConfig::instance()->setRequest(request);
        DialogAnswers answers;
        Cycle cycle;
        QSignalSpy uploads(&cycle.window, SIGNAL(StartUpload(QStringList, QStringList, SubCenter, QString)));
        cycle.open();
        QTRY_COMPARE(uploads.size(), 1);
        QCOMPARE(uploads.first().at(0).toStringList(), QStringList{source.filePath("a")});
        QCOMPARE(uploads.first().at(3).toString(), QStringLiteral("/r/"));
        QCOMPARE(answers.shown().size(), 1);
        QVERIFY(answers.shown().first().text.endsWith("\ngone"));
        QCOMPARE(GlobalConfig::instance()->request().method, -1);
    }

    void commandLineDownloadsWhatTheFolderHolds()
    {
        const QTemporaryDir target;
        CommandLineRequest request;
        request.method = 1;
        request.filelist = QStringList{"a"};
        request.dirlist = QStringList{"d"};
        request.local = target.filePath("new");
        request.remote = QStringLiteral("/r");
        GlobalConfig::instance()->setRequest(request);
        DialogAnswers answers;
        Cycle cycle;
        QSignalSpy downloads(&cycle.window,
                             SIGNAL(StartDownload(QList<FileItem>, QList<FileItem>, SubCenter, QString)));
        cycle.open();
        QTRY_COMPARE(downloads.size(), 1);
        QCOMPARE(downloads.first().at(0).value<QList<FileItem>>().value(0).path, QStringLiteral("/r/a"));
        QCOMPARE(downloads.first().at(1).value<QList<FileItem>>().value(0).path, QStringLiteral("/r/d"));
        QCOMPARE(downloads.first().at(3).toString(), target.filePath("new"));
        QVERIFY(answers.shown().isEmpty());
    }
};

ARKVALE_WIDGET_TEST(ArkvaleTolmaMainTest)
#include "ArkvaleTolmaMainTest.moc"
