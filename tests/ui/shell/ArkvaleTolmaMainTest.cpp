#include "ArkvaleTolmaMain.h"
#include "AdTicker.h"
#include "ArkvaleTray.h"
#include "BrowserServer.h"
#include "CommandLineRunner.h"
#include "DialogAnswers.h"
#include "DrivePanes.h"
#include "FakeOrvClient.h"
#include "FileIconAssistant.h"
#include "FileItemModel.h"
#include "FileWidget.h"
#include "FinishedListWidget.h"
#include "FinishedTaskModel.h"
#include "GlobalConfig.h"
#include "LoginService.h"
#include "MsgDlg.h"
#include "MyDiskDirectoryBrowser.h"
#include "NetDiskServer.h"
#include "NetdiskPage.h"
#include "PictureLoader.h"
#include "ShareService.h"
#include "ShownTexts.h"
#include "TabWidget.h"
#include "TestFiles.h"
#include "TestSupport.h"
#include "TransferListWidget.h"
#include "TransferTaskModel.h"
#include "TransferringWidget.h"

#include <QApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolButton>

#include <memory>

namespace {

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
    NetdiskPage *page() { return window.pages().first(); }
};

using Ask = std::function<void(Cycle &)>;

FileItem picture(quint64 size)
{
    FileItem item;
    item.name = QStringLiteral("p.png");
    item.path = QStringLiteral("/p%1.png").arg(size);
    item.contentType = QStringLiteral("image/png");
    item.size = size;
    return item;
}

/// Has a picture loaded whose preview is not in the cache.
Ask askForPicture(quint64 size)
{
    return [size](Cycle &cycle) {
        auto *loader = new PictureLoader(QStringLiteral("http://127.0.0.1:1/1"),
                                         CacheFolders::ofCurrentUser(QStringLiteral("1")), &cycle.window);
        QObject::connect(loader, &PictureLoader::sigCheckCache, loader, &PictureLoader::previewCacheInvaild);
        loader->setBox(QSize(100, 100));
        loader->want({picture(size)});
    };
}

} // namespace

Q_DECLARE_METATYPE(Ask)

/// The main window over a scripted service.
class ArkvaleTolmaMainTest : public StrictTest
{
    Q_OBJECT

private:
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

    QTemporaryDir m_config;

    static void logIn()
    {
        GlobalConfig *config = GlobalConfig::instance();
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

    /// The next window begins as a user's first one does.
    static void forgetWindow()
    {
        GlobalConfig *config = GlobalConfig::instance();
        QFile::remove(config->userFolder(config->currentUser().username) + QStringLiteral("Window.json"));
    }

private slots:
    void initTestCase()
    {
        for (const char *name : {"ArkvaleTolma", "arkvale.ini"})
            QVERIFY(QFile::copy(builtProgram(QStringLiteral("Config/") + name), m_config.filePath(name)));
        QFile::setPermissions(m_config.filePath("arkvale.ini"), QFile::ReadOwner | QFile::WriteOwner);
        qputenv("ARKVALE_CONFIG_DIR", m_config.path().toUtf8());
    }

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
        logIn();
    }

    void sharingCanBeSwitchedOff()
    {
        QFile file(m_config.filePath(QStringLiteral("arkvale.ini")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QJsonObject settings = QJsonDocument::fromJson(file.readAll()).object();
        for (const bool disabled : {true, false}) {
            settings.insert(QStringLiteral("DisableShare"), disabled);
            writeFile(file.fileName(), QJsonDocument(settings).toJson());
            GlobalConfig::instance()->reload();
            logIn();
            Cycle cycle;
            cycle.open();
            cycle.window.show();
            QTRY_VERIFY(cycle.page()->findChild<QLabel *>("itemCount")->text().contains("1"));
            QCOMPARE(cycle.window.findChild<ShareService *>() == nullptr, disabled);
            QCOMPARE(cycle.button("btn_share")->isVisible(), !disabled);
            QCOMPARE(cycle.page()->findChild<QToolButton *>("shareButton")->isVisible(), !disabled);
        }
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
            // What is done in one page is seen in the other.
            FileItemModel *other = cycle.window.pages().last()->findChild<FileWidget *>()->model();
            QTRY_COMPARE(other->rowCount(), 2);
            emit cycle.page()->server()->handlerMoveFinished({QStringLiteral("/a")}, QStringLiteral("/elsewhere"));
            QCOMPARE(other->rowCount(), 1);
            emit cycle.page()->server()->handlerCopyFinished({QStringLiteral("/x")}, QStringLiteral("/frames"));
            QTRY_COMPARE(other->rowCount(), 2);
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
        cycle.window.addTab(QStringLiteral("2"));
        DialogAnswers answers;
        // A question is open, and every part of the program tells of the end.
        answers.answer([&cycle](QDialog *) {
            for (int i = 0; i < 3; ++i)
                GlobalConfig::instance()->noteAnswer(201);
            for (NetdiskPage *page : cycle.window.pages())
                emit page->sigLogout(QStringLiteral("Expired"));
        });
        cycle.window.Exit();
        QTRY_COMPARE(cycle.closed.size(), 1);
        QCoreApplication::processEvents();
        QCOMPARE(GlobalConfig::instance()->state(), 1);
        QCOMPARE(answers.shown().size(), 2);
    }

    void everyRefusalEndsTheSession_data()
    {
        QTest::addColumn<QString>("operation"); // the one that is answered with 201
        QTest::addColumn<Ask>("ask");
        const QString path = QStringLiteral("/x");
        const auto share = [](const char *operation, const std::function<void(ShareService *)> &ask) {
            QTest::addRow("share %s", operation)
                << QString(operation) << Ask([ask](Cycle &c) { ask(c.window.findChild<ShareService *>()); });
        };
        const ShareRecord record;
        share("searchUsers", [](ShareService *service) { service->searchUser("x", 5); });
        share("publicShare", [=](ShareService *service) { service->publicShare(record); });
        share("privateShare", [=](ShareService *service) { service->privateShare(record); });
        share("friendShare", [=](ShareService *service) { service->friendShare(record); });
        share("modifyPassword", [=](ShareService *service) { service->modifyPassword(record); });
        share("modifyUsers", [=](ShareService *service) { service->modifyUsers(record); });
        share("deleteShare", [](ShareService *service) { service->deleteShare({"1"}); });
        share("ignoreShare", [=](ShareService *service) { service->ignoreShare(record); });
        share("listMyShare", [](ShareService *service) { service->listMyShare(); });
        share("listShareToMe", [](ShareService *service) { service->listShareToMe(); });
        share("shareToMeListFile", [=](ShareService *service) { service->shareToMeListFile(record, path); });
        share("shareToMeSaveAs", [=](ShareService *service) { service->shareToMeSaveAs(record, path, "/"); });
        share("shareToMeFileRealPath", [=](ShareService *service) { service->shareToMeFileRealPath(record, path); });
        share("shareDownload", [=](ShareService *service) { service->shareToMeDownload(record, path, "/tmp/x"); });
        share("reportShare", [=](ShareService *service) { service->reportShare(record, "x", {}, "x"); });
        share("getUserInfo", [](ShareService *service) {
            QList<UserInfo> users{UserInfo()};
            service->getUserInfo(users);
        });

        const auto row = [](const char *name, const char *operation, const Ask &ask) {
            QTest::newRow(name) << QString(operation) << ask;
        };
        row("drive", "mkdir", [](Cycle &c) { c.page()->server()->newFloder("x"); });
        row("folders of the address bar", "listFile", [](Cycle &c) { c.page()->server()->listFolders("/x/"); });
        row("record of an upload", "getFileInfo", [](Cycle &c) { c.page()->GetFileInfo({"/x"}); });
        row("thumbnail", "getThumbnail",
            [](Cycle &c) { c.page()->findChild<FileIconAssistant *>()->getIcon({picture(7)}); });
        row("icon of a file", "getIcon", [](Cycle &c) {
            FileItem item = picture(7);
            item.contentType.clear();
            item.icon = QStringLiteral("/icon");
            c.page()->findChild<FileIconAssistant *>()->getIcon({item});
        });
        row("icon of a user", "getIcon", [](Cycle &c) {
            UserInfo user;
            user.icon = QStringLiteral("/user");
            c.page()->findChild<FileIconAssistant *>()->getUserIcon({user});
        });
        row("picture", "getPreviewFile", askForPicture(7));
        row("stand-in of a large picture", "getThumbnail", askForPicture(quint64(1) << 40));
        row("folder picker", "listFile",
            [](Cycle &c) { new MyDiskDirectoryBrowser(QStringLiteral("http://127.0.0.1:1/1"), &c.window); });
        row("icon of a sub-center", "getIcon", [](Cycle &c) {
            SubCenter changed = GlobalConfig::instance()->subCenter("1");
            changed.icon = QStringLiteral("/center");
            GlobalConfig::instance()->updateSubCenter(changed);
            c.window.RefreshSubCenterIcon();
        });
        row("avatar", "getIcon", [](Cycle &c) { emit c.window.sigGetUserIcon(); });
        row("storage of the sub-centers", "getUserStorage", [](Cycle &c) { c.service.checkStorage(); });
        row("home in a sub-center", "getUserPath", [](Cycle &c) {
            GlobalConfig::instance()->setSubCenters({center("1", "/"), center("4", QString())});
            c.service.checkSubCenter();
        });
        row("advertisements", "getAD", [](Cycle &) { GlobalConfig::instance()->requestAdvertisements(); });
        row("limits", "getTransferLimit", [](Cycle &) { GlobalConfig::instance()->requestTransferLimit(); });
        row("command line", "listFile", [](Cycle &c) {
            CommandLineRequest request;
            request.method = 1;
            request.filelist = QStringList{"a"};
            (new CommandLineRunner(request, c.page()))->start();
        });
        row("transfer", "getUserStorage", [](Cycle &c) {
            ZpdtProgress progress;
            progress.error = ZpdtError::Refused;
            emit c.window.transfers()->engine()->TaskProgressChanged(TaskRecord(), progress);
        });
    }

    void everyRefusalEndsTheSession()
    {
        QFETCH(QString, operation);
        QFETCH(Ask, ask);
        Cycle cycle;
        cycle.open();
        QTRY_VERIFY(cycle.page()->findChild<QLabel *>("itemCount")->text().contains("1"));
        DialogAnswers answers;
        FakeService::instance().setScript([operation](const FakeCall &call, int *code, QByteArray *) {
            *code = 201;
            return call.operation == operation;
        });
        ask(cycle);
        QTRY_COMPARE(cycle.closed.size(), 1);
        QCoreApplication::processEvents();
        QCOMPARE(cycle.closed.size(), 1);
        QCOMPARE(GlobalConfig::instance()->state(), 1);
        QCOMPARE(answers.shown().size(), 1);
    }

    void theTickerMovesWhereItIsSeenAndTooLong()
    {
        AdTicker ticker;
        const auto *timer = ticker.findChild<QTimer *>();
        const auto tell = [&ticker](QEvent::Type type) {
            QEvent event(type);
            QApplication::sendEvent(&ticker, &event);
        };
        Advertisement ad;
        ad.title = QStringLiteral("a");
        ticker.setAdvertisements({ad});
        QVERIFY(ticker.isVisible() && !timer->isActive()); // it fits, and there is no other
        ad.title = QString(200, QLatin1Char('W'));
        ticker.setFixedWidth(120);
        ticker.setAdvertisements({ad});
        QTRY_VERIFY(ticker.offset() > 3);
        tell(QEvent::Enter);
        QVERIFY(!timer->isActive());
        tell(QEvent::Leave);
        const int before = ticker.offset();
        QTRY_VERIFY(ticker.offset() > before);
        ticker.hide();
        QVERIFY(!timer->isActive());
        ticker.show();
        QVERIFY(timer->isActive());
        ticker.setAdvertisements({});
        QVERIFY(!ticker.isVisible() && !timer->isActive());
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
};

ARKVALE_WIDGET_TEST(ArkvaleTolmaMainTest)
#include "ArkvaleTolmaMainTest.moc"
