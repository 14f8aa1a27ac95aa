#include "ArkvaleTray.h"
#include "GlobalConfig.h"
#include "ShownTexts.h"
#include "TestSupport.h"

#include <QApplication>
#include <QSignalSpy>

#include <memory>

class WatchedTray : public ArkvaleTray
{
public:
    WatchedTray()
        : ArkvaleTray(picture())
    {
    }
    QStringList balloons;

    static QIcon picture()
    {
        QPixmap pixmap(16, 16);
        pixmap.fill(Qt::blue);
        return QIcon(pixmap);
    }

protected:
    void showBalloon(const QString &title, const QString &text, int milliseconds) override
    {
        balloons << QStringLiteral("%1|%2|%3").arg(title, text, QString::number(milliseconds));
    }
};

class ArkvaleTrayTest : public StrictTest
{
    Q_OBJECT

    static QStringList texts(const ArkvaleTray &tray)
    {
        QStringList list;
        const QList<QAction *> actions = tray.menu()->actions();
        for (const QAction *action : actions) {
            if (action->isVisible())
                list << action->text();
        }
        return list;
    }

private slots:
    void init()
    {
        beginStrict();
        allowMessage(QStringLiteral("systemTrayWindowChanged")); // a platform without a tray
    }

    void menu()
    {
        WatchedTray tray;
        QCOMPARE(texts(tray), QStringList({"Main Window", "Transfer List", "Settings", "Logout", "Quit"}));
        const char *const signalsInOrder[] = {SIGNAL(sigRaise()), SIGNAL(sigShowTransfering()),
                                              SIGNAL(sigShowSetting()), SIGNAL(sigLogout()), SIGNAL(sigQuit())};
        for (int i = 0; i < 5; ++i) {
            QSignalSpy spy(&tray, signalsInOrder[i]);
            tray.menu()->actions().at(i)->trigger();
            QCOMPARE(spy.size(), 1);
        }
        tray.setLoggedInActionsVisible(false);
        QCOMPARE(texts(tray), QStringList({"Main Window", "Settings", "Quit"}));
        tray.setLoggedInActionsVisible(true);

        auto brackets = std::make_unique<MarkedLanguage>();
        tray.slotChangeLanguage();
        QCOMPARE(texts(tray), QStringList({"[Main Window]", "[Transfer List]", "[Settings]", "[Logout]", "[Quit]"}));
        QCOMPARE(tray.icon()->toolTip(), QStringLiteral("[Arkvale for Render]"));
        brackets.reset();
        tray.slotChangeLanguage(); // back from the untranslated texts, not from the translated ones
        QCOMPARE(texts(tray).first(), QStringLiteral("Main Window"));
    }

    void onlyADoubleClickShows()
    {
        WatchedTray tray;
        QSignalSpy shown(&tray, SIGNAL(sigSwitchShow(bool)));
        for (const auto reason : {QSystemTrayIcon::Trigger, QSystemTrayIcon::Context, QSystemTrayIcon::MiddleClick,
                                  QSystemTrayIcon::Unknown})
            tray.slotTrayActivated(reason);
        QCOMPARE(shown.size(), 0);
        tray.slotTrayActivated(QSystemTrayIcon::DoubleClick);
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown.first().first().toBool(), true);
    }

    void balloons()
    {
        WatchedTray tray;
        const auto unknown = static_cast<ZPDTCMDTYPE>(3);
        tray.slotShowFileTransferringCreatedMsg(ZPDT_DOWNLOAD);
        tray.slotShowFileTransferringCreatedMsg(ZPDT_UPLOAD);
        tray.slotShowFileTransferringCreatedMsg(unknown);
        tray.slotShowFileTransferringFinishedMsg({"a", "b"}, ZPDT_DOWNLOAD);
        tray.slotShowFileTransferringFinishedMsg({}, ZPDT_UPLOAD);
        tray.slotShowFileTransferringFinishedMsg({"a"}, unknown);
        tray.slotShowMessage(QStringLiteral("text"));
        UserInfo user;
        user.username = QStringLiteral("demo");
        GlobalConfig::instance()->setCurrentUser(user);
        for (int state = 0; state <= 6; ++state) {
            GlobalConfig::instance()->setState(state);
            tray.slotShowLoginMessage();
        }
        QCOMPARE(tray.balloons, QStringList({"Message|Download task created|1000", "Message|Upload task created|1000",
                                             "File download finished|a\nb|1000", "File upload finished||1000",
                                             "Message|text|100", "Message|demo has loginned|100"}));
    }
};

ARKVALE_WIDGET_TEST(ArkvaleTrayTest)
#include "ArkvaleTrayTest.moc"
