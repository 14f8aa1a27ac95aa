#include "LoginCycle.h"

#include "ArkvaleTolmaMain.h"
#include "ArkvaleTray.h"
#include "BrowserServer.h"
#include "CrashHandler.h"
#include "FileItem.h"
#include "GlobalConfig.h"
#include "LoginUI.h"
#include "MsgDlg.h"
#include "OpenDialogs.h"
#include "SelectCenterDialog.h"
#include "SingleApplication.h"
#include "Theme.h"
#include "UpdateService.h"
#include "zpt_logger.h"

#include <QDebug>
#include <QEventLoop>
#include <QIcon>
#include <QPixmapCache>
#include <QTimer>
#include <QTranslator>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kFirstPageDelay = 400; // ms
constexpr int kSuccess = 200;
constexpr int kSubCenterPatience = 3000; // ms for the service to tell where the user's homes are

const char kUpdaterProperty[] = "updateService";

/// Pictures of the user's files are nobody else's. The cache's own clear() would leave its keys behind for ever.
void forgetPictures()
{
    const int limit = QPixmapCache::cacheLimit();
    QPixmapCache::setCacheLimit(0);
    QPixmapCache::setCacheLimit(limit);
}

} // namespace

LoginCycle::LoginCycle(SingleApplication *application, const CommandLine &commandLine)
    : m_application(application)
    , m_commandLine(commandLine)
    , m_config(GlobalConfig::instance())
    , m_hidden(commandLine.browserLaunch)
{
}

LoginCycle::~LoginCycle()
{
    tearDown();
}

bool LoginCycle::run()
{
    if (m_ending)
        return false;
    // Anew each time: the toolkit never forgets what it worked out for widgets that were not shown before they went.
    Theme::apply(m_application, Theme::isDark());
    loadConfiguration();
    startServices();
    bool again = false;
    if (login()) {
        takeUserSettings();
        if (chooseSubCenter()) {
            openShell();
            wait(m_window.get(), SIGNAL(Close()));
        }
        again = m_config->state() == GlobalConfig::LoggedOut;
    }
    tearDown();
    return again && !m_ending;
}

void LoginCycle::end()
{
    m_ending = true;
    m_config->setState(GlobalConfig::Quitting);
    // A question that is open runs a loop inside ours, which would keep ours from ending.
    rejectOpenDialogs(m_dialog.get());
    if (m_loop)
        m_loop->quit();
}

void LoginCycle::wait(const QObject *sender, const char *signal, const char *otherSignal)
{
    if (m_ending)
        return;
    QEventLoop loop;
    m_loop = &loop;
    connect(sender, signal, &loop, SLOT(quit()));
    if (otherSignal)
        connect(sender, otherSignal, &loop, SLOT(quit()));
    loop.exec();
}

void LoginCycle::loadConfiguration()
{
    m_config->reload();
    m_config->setRequestedSubCenterId(QString());
    removeTranslators();
    m_translators = m_config->translators();
    for (QTranslator *translator : qAsConst(m_translators))
        m_application->installTranslator(translator);
    CrashHandler::setTexts(tr("ArkvaleTolma is crashed!"), tr("app crash"), tr("OK"));
}

void LoginCycle::startServices()
{
    if (!m_config->updateUrl().isEmpty())
        m_updater = std::make_unique<UpdateService>(m_config->updateUrl(), m_config->version(), m_config->language());
    m_application->setProperty(kUpdaterProperty, QVariant::fromValue<QObject *>(m_updater.get()));

    m_logger = std::make_unique<zpt_logger>();
    m_bridge = std::make_unique<BrowserServer>(m_config->wssPort(), m_config->client());
    m_bridge->setLoggerId(m_logger->RegisterLogger(QStringLiteral("zpt_wss")));
    join(m_bridge.get(), SIGNAL(sigWriteLog(int, int, QString, const wchar_t *, int)), m_logger.get(),
         SLOT(SlotWriteLog(int, int, QString, const wchar_t *, int)));
    m_bridge->Start();
}

bool LoginCycle::login()
{
    m_dialog = std::make_unique<LoginUI>();
    m_application->setDialog(m_dialog.get());
    if (m_commandLine.user.isEmpty())
        m_dialog->setUsers(m_config->knownUserNames());
    else
        m_dialog->setUsers({m_commandLine.user}, m_commandLine.password);
    join(m_bridge->client(), SIGNAL(authFinished(qint64, int, QByteArray)), this,
         SLOT(handlerAuth(qint64, int, QByteArray)));
    if (m_updater) {
        join(m_updater.get(), SIGNAL(UpdateFinished(int)), m_dialog.get(), SLOT(UpdateFinished(int)));
        m_updater->Update();
    }
    // Lives as long as the wait: what the tray does meanwhile is over with the login.
    QObject waiting;
    if (m_hidden) {
        m_dialog->setQuiet();
        makeTray();
        m_tray->setLoggedInActionsVisible(false);
        const auto show = [this] { bringForward(m_dialog.get()); };
        connect(m_tray.get(), &ArkvaleTray::sigRaise, &waiting, show);
        connect(m_tray.get(), &ArkvaleTray::sigSwitchShow, &waiting, show);
        connect(m_tray.get(), &ArkvaleTray::sigShowSetting, &waiting, show);
        connect(m_tray.get(), &ArkvaleTray::sigQuit, &waiting, [this] { end(); });
    } else {
        m_dialog->show();
    }
    wait(m_dialog.get(), SIGNAL(accepted()), SIGNAL(rejected()));
    return !m_ending && m_dialog->result() == QDialog::Accepted;
}

void LoginCycle::handlerAuth(qint64 id, int code, QByteArray body)
{
    // A page whose token is no good changes nothing for the user who is logged in; the page hears of it.
    const bool refused = code != kSuccess || body.contains("\"violation\"");
    if (m_config->state() != GlobalConfig::LoggedIn || !refused)
        m_dialog->loginService()->handlerAuth(id, code, body);
}

void LoginCycle::takeUserSettings()
{
    const QString wanted =
        m_commandLine.subCenter.isEmpty() ? m_config->requestedSubCenterId() : m_commandLine.subCenter;
    m_config->loadUserSettings(m_config->currentUser().username, wanted);
    // The request is for one login; logging in again must not transfer everything again.
    CommandLineRequest request;
    if (!m_requestTaken) {
        request = m_commandLine.request;
        request.subCenter = m_commandLine.subCenter;
    }
    m_config->setRequest(request);
    m_requestTaken = true;
}

// The answers about the user's homes come after the login; which page to open first hangs on them.
void LoginCycle::waitForSubCenters()
{
    const auto known = [this] {
        const QList<SubCenter> centers = m_config->subCenters();
        const auto answered = [](const SubCenter &center) { return !center.path.isEmpty(); };
        return !centers.isEmpty() && (m_config->subCenter(m_config->currentSubCenterId()).hasHome() ||
                                      std::all_of(centers.begin(), centers.end(), answered));
    };
    QEventLoop loop;
    m_loop = &loop;
    const auto look = [&] {
        if (known())
            loop.quit();
    };
    connect(m_dialog->loginService(), &LoginService::handlerCheckSubCenterFinished, &loop, look);
    connect(m_config, &GlobalConfig::handlerListSubCenterFinished, &loop, look);
    QTimer patience;
    patience.setSingleShot(true);
    connect(&patience, &QTimer::timeout, &loop, &QEventLoop::quit);
    patience.start(kSubCenterPatience);
    if (!m_ending && !known())
        loop.exec();
}

void LoginCycle::refuseRequest()
{
    const CommandLineRequest request = m_config->request();
    const QString reason = ArkvaleTolmaMain::refusal(request);
    const SubCenter wanted = m_config->subCenter(request.subCenter);
    const bool known = wanted.id.isEmpty() ? !m_config->subCenters().isEmpty() : !wanted.path.isEmpty();
    // Hidden, it is for the window to tell.
    if (m_ending || m_hidden || !known || reason.isEmpty())
        return;
    m_config->setRequest(CommandLineRequest());
    std::fprintf(stderr, "%s\n", reason.toUtf8().constData());
    MsgDlg notice;
    notice.setTitle(tr("Tip"));
    notice.setText(reason);
    notice.setButtonVisible(QStringLiteral("cancel"), false);
    notice.exec();
}

bool LoginCycle::chooseSubCenter()
{
    waitForSubCenters();
    refuseRequest();
    if (m_ending)
        return false;
    if (!SelectCenterDialog::needed())
        return true;
    QStringList homes;
    for (const SubCenter &center : m_config->subCenters()) {
        if (center.hasHome())
            homes << center.id;
    }
    // Nobody needs to be asked when there is nothing to choose, nor while nothing is to be seen of the program.
    if (homes.size() == 1 || (m_hidden && !homes.isEmpty())) {
        m_config->setCurrentSubCenterId(homes.first());
        return true;
    }
    if (homes.isEmpty())
        return true;
    SelectCenterDialog dialog;
    dialog.watch(m_dialog->loginService());
    return dialog.exec() == QDialog::Accepted && !m_ending;
}

void LoginCycle::makeTray()
{
    if (!m_tray)
        m_tray = std::make_unique<ArkvaleTray>(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/ArkvaleTolma32.ico")));
}

void LoginCycle::bringForward(QWidget *window)
{
    window->show();
    window->raise();
    window->activateWindow();
}

void LoginCycle::openShell()
{
    makeTray();
    m_tray->setLoggedInActionsVisible(true);

    m_window = std::make_unique<ArkvaleTolmaMain>(m_dialog->loginService(), m_tray.get(), m_bridge.get(),
                                                  m_updater.get(), m_updater != nullptr);
    m_window->setLoggerId(m_logger->RegisterLogger(QStringLiteral("zpt_main")));

    qRegisterMetaType<QList<FileItem>>("QList<FileItem>");
    const QObject *tray = m_tray.get();
    const QObject *window = m_window.get();
    const QObject *bridge = m_bridge.get();
    join(window, SIGNAL(sigWriteLog(int, int, QString, const wchar_t *, int)), m_logger.get(),
         SLOT(SlotWriteLog(int, int, QString, const wchar_t *, int)));
    join(tray, SIGNAL(sigLogout()), window, SLOT(Logout()));
    join(tray, SIGNAL(sigQuit()), window, SLOT(Exit()));
    join(tray, SIGNAL(sigRaise()), window, SLOT(onRaise()));
    join(tray, SIGNAL(sigShowSetting()), window, SLOT(onShowSetting()));
    join(tray, SIGNAL(sigShowTransfering()), window, SLOT(onShowTransfering()));
    join(tray, SIGNAL(sigSwitchShow(bool)), window, SLOT(onShowTransfering(bool)));
    join(window, SIGNAL(languageChanged()), tray, SLOT(slotChangeLanguage()));
    join(window, SIGNAL(sigShowTrayMessage(QString)), tray, SLOT(slotShowMessage(QString)));
    join(bridge, SIGNAL(sigSwitchUser(QString)), window, SLOT(Logout(QString)), Qt::QueuedConnection);
    join(bridge, SIGNAL(downloadRequest(QString, QList<FileItem>)), window,
         SLOT(ProcessDownloadRequest(QString, QList<FileItem>)));
    join(bridge, SIGNAL(uploadRequest(QString, QString)), window, SLOT(ProcessUploadRequest(QString, QString)));

    // Child of the window, so that it cannot fire into one that is gone.
    auto *firstPage = new QTimer(m_window.get());
    firstPage->setSingleShot(true);
    if (!m_commandLine.path.isEmpty())
        firstPage->setProperty("initPath", m_commandLine.path);
    join(firstPage, SIGNAL(timeout()), window, SLOT(initSplitWidget()));
    m_application->setWindow(m_window.get());
    // Hidden, but never where the person cannot get at it.
    if (m_hidden)
        m_window->showMinimized();
    else
        m_window->show();
    firstPage->start(kFirstPageDelay);
}

void LoginCycle::join(const QObject *sender, const char *signal, const QObject *receiver, const char *slot,
                      Qt::ConnectionType type)
{
    m_connections << connect(sender, signal, receiver, slot, type);
}

void LoginCycle::takeLastAct()
{
    m_lastAct = nullptr;
    if (!m_updater || !m_updater->installation().isWanted())
        return;
    m_lastAct = [installation = m_updater->installation()] {
        if (!UpdateService::startInstaller(installation))
            qWarning() << "the new version could not be installed";
    };
}

void LoginCycle::tearDown()
{
    m_application->setProperty(kUpdaterProperty, QVariant());
    m_application->setWindow(nullptr);
    m_application->setDialog(nullptr);
    if (m_tray)
        m_tray->setVisible(false);
    for (const QMetaObject::Connection &connection : qAsConst(m_connections))
        disconnect(connection);
    m_connections.clear();
    if (m_bridge) {
        m_bridge->Stop();
        // A page that asked for a switch and then let the matter rest does not hide the next login from the person.
        m_hidden = m_bridge->switchRequested() && m_window && m_window->switchedByPage();
    }
    // Writing thousands of records takes its time; nobody is to look at a window that does not answer meanwhile.
    if (m_window)
        m_window->hide();
    // Each before what it was built with.
    m_window.reset();
    forgetPictures();
    m_tray.reset();
    m_dialog.reset();
    m_bridge.reset();
    m_logger.reset();
    takeLastAct();
    m_updater.reset();
    removeTranslators();
}

void LoginCycle::removeTranslators()
{
    // Those of the language that the person changed to in the main window, too.
    const QList<QTranslator *> translators = m_translators + m_config->translators();
    for (QTranslator *translator : translators)
        m_application->removeTranslator(translator);
    m_translators.clear();
}
