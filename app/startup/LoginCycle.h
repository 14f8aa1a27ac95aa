#pragma once

#include "CommandLine.h"

#include <QList>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

class ArkvaleTolmaMain;
class ArkvaleTray;
class BrowserServer;
class GlobalConfig;
class LoginUI;
class QEventLoop;
class QTranslator;
class QWidget;
class SingleApplication;
class UpdateService;
class zpt_logger;

/// One login after another: builds logger, bridge, login dialog, tray and main window, joins them by their text
/// signatures, waits in local event loops, and takes all of it down in reverse order. Only the configuration store and
/// the application outlive a cycle. During a cycle the application's property "updateService" holds the update checker
/// (a QObject *, null when there is none). GUI thread only.
class LoginCycle : public QObject
{
    Q_OBJECT

public:
    LoginCycle(SingleApplication *application, const CommandLine &commandLine);
    ~LoginCycle() override;

    /// Runs one cycle to its end. True when the user logged out, so that the next cycle should begin.
    bool run();
    /// What the last cycle left to be done when nothing of the program is in use any more; empty: nothing.
    std::function<void()> lastAct() const { return m_lastAct; }

public slots:
    /// Ends the cycle, and with it the program, wherever it stands. Open questions are closed unanswered.
    void end();

private slots:
    /// The answer to a login that a web page made through the bridge.
    void handlerAuth(qint64 id, int code, QByteArray body);

private:
    void loadConfiguration();
    void startServices();
    bool login();
    void takeUserSettings();
    bool chooseSubCenter();
    /// Tells at once what the command line asked for in vain, before anything else is asked.
    void refuseRequest();
    void waitForSubCenters();
    void makeTray();
    static void bringForward(QWidget *window);
    void openShell();
    void join(const QObject *sender, const char *signal, const QObject *receiver, const char *slot,
              Qt::ConnectionType type = Qt::AutoConnection);
    void takeLastAct();
    void tearDown();
    void removeTranslators();
    /// Runs a local event loop until one of the two signals, or end().
    void wait(const QObject *sender, const char *signal, const char *otherSignal = nullptr);

    SingleApplication *m_application;
    const CommandLine m_commandLine;
    GlobalConfig *m_config;
    bool m_hidden;
    bool m_requestTaken = false;
    bool m_ending = false;
    QPointer<QEventLoop> m_loop;
    QList<QTranslator *> m_translators;
    QList<QMetaObject::Connection> m_connections;

    std::function<void()> m_lastAct;

    // In the order in which they are built.
    std::unique_ptr<UpdateService> m_updater;
    std::unique_ptr<zpt_logger> m_logger;
    std::unique_ptr<BrowserServer> m_bridge;
    std::unique_ptr<LoginUI> m_dialog;
    std::unique_ptr<ArkvaleTray> m_tray;
    std::unique_ptr<ArkvaleTolmaMain> m_window;
};
