#include "ArkvaleTolmaMain.h"

#include "AdTicker.h"
#include "ArkvaleTray.h"
#include "BrowserServer.h"
#include "CenterIcons.h"
#include "DrivePanes.h"
#include "GlobalConfig.h"
#include "HeaderBar.h"
#include "LoginService.h"
#include "NetdiskPage.h"
#include "OrderedWork.h"
#include "ServicePicture.h"
#include "Settings.h"
#include "SharePage.h"
#include "TabWidget.h"
#include "TransferListWidget.h"
#include "TransferringWidget.h"

#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QShortcut>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int kStorageInterval = 10 * 60 * 1000; // milliseconds
constexpr int kSoon = 300;                       // milliseconds
constexpr int kAfterChange = 2000;               // milliseconds
constexpr int kUsualWidth = 1120;                // pixels
constexpr int kUsualHeight = 720;
constexpr int kFrameWidth = 8;
constexpr int kFrameHeight = 40;
constexpr int kLeastWidth = 640;
constexpr int kLeastHeight = 420;

QList<QRect> screenRooms()
{
    QList<QRect> rooms;
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (const QScreen *screen : screens)
        rooms << screen->availableGeometry();
    return rooms;
}

} // namespace

ArkvaleTolmaMain::ArkvaleTolmaMain(LoginService *loginService, ArkvaleTray *tray, BrowserServer *bridge,
                                   QObject *updater, bool updateAvailable)
    : m_config(GlobalConfig::instance())
    , m_loginService(loginService)
    , m_tray(tray)
    , m_bridge(bridge)
    , m_updater(updateAvailable ? updater : nullptr)
    , m_work(new OrderedWork(this))
    , m_user(m_config->currentUser().username)
    , m_icons(new CenterIcons(this))
    , m_storageTimer(new QTimer(this))
    , m_endTimer(new QTimer(this))
{
    setObjectName(QStringLiteral("ArkvaleTolmaMain"));
    setWindowTitle(QStringLiteral("NRX Net Disk"));
    setWindowIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/icon.png")));
    qRegisterMetaType<QMap<QString, QString>>("QMap<QString,QString>");
    buildPages();
    connectStore();
    connectTransfers();
    connectHeader();
    addShortcuts();
    retranslate();
    restorePlace();
    SetUserIcon();
    SetStorage();
    RefreshSubCenterIcon();
    if (!m_config->shareDisabled())
        setSharePage(new SharePage);
    checkSharePage(); // the answers about homes may all have come before the window
    m_config->requestAdvertisements();
    m_config->requestTransferLimit();
    UpdateSubcenterPaths();
    scheduleStorageCheck(kSoon);
    // The logger and the tray are connected once the constructor has returned.
    QTimer::singleShot(0, this, SLOT(announceStart()));
}

ArkvaleTolmaMain::~ArkvaleTolmaMain()
{
    keepState();
}

void ArkvaleTolmaMain::buildPages()
{
    auto *disk = new QWidget;
    disk->setObjectName(QStringLiteral("page_disk"));
    m_waiting = new QLabel;
    m_waiting->setObjectName(QStringLiteral("label_waiting"));
    m_waiting->setAlignment(Qt::AlignCenter);
    m_panes = new DrivePanes;
    m_panes->hide();
    auto *layout = new QVBoxLayout(disk);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_waiting, 1);
    layout->addWidget(m_panes, 1);

    m_header = new HeaderBar;
    m_transfers = new TransferringWidget;
    m_stack = new QStackedWidget;
    m_stack->setObjectName(QStringLiteral("stack_pages"));
    m_stack->addWidget(disk);
    m_stack->addWidget(m_transfers);
    m_header->setPageVisible(HeaderBar::Settings, Settings::offered());

    auto *central = new QWidget;
    auto *all = new QVBoxLayout(central);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addWidget(m_header);
    all->addWidget(m_stack, 1);
    setCentralWidget(central);
    setMinimumSize(kLeastWidth, kLeastHeight);
}

void ArkvaleTolmaMain::connectStore()
{
    connect(m_config, SIGNAL(handlerListSubCenterFinished()), this, SLOT(initSubCenter()));
    connect(m_config, SIGNAL(handlerGetADFinished()), this, SLOT(refreshAD()));
    connect(m_config, SIGNAL(handlerGetTransferLimitFinished()), this, SLOT(RefreshVipParam()));
    connect(m_config, SIGNAL(sessionEnded()), this, SLOT(sessionEnded()), Qt::QueuedConnection);
    connect(m_loginService, SIGNAL(handlerCheckSubCenterFinished()), this, SLOT(refreshSubCenter()));
    connect(m_loginService, SIGNAL(handlerCheckSubCenterFinished()), this, SLOT(checkSharePage()));
    connect(m_loginService, SIGNAL(handlerCheckSubCenterFinished()), this, SLOT(UpdateSubcenterPaths()));
    connect(m_loginService, SIGNAL(handlerGetCurrentUserIconFinished()), this, SLOT(SetUserIcon()));
    connect(m_loginService, SIGNAL(handlerGetStorageFinished()), this, SLOT(SetStorage()));
    connect(m_loginService, SIGNAL(handlerGetStorageFinished()), m_transfers, SLOT(UpdateStorageCapacity()));
    connect(this, SIGNAL(sigGetUserIcon()), m_loginService, SLOT(getCurrentUserIcon()));
    connect(this, SIGNAL(ReadyResize(QSize)), this, SLOT(resizeShow(QSize)));
    connect(m_icons, &CenterIcons::changed, this, &ArkvaleTolmaMain::RefreshSubCenterIcon);
    if (m_updater)
        connect(m_updater, SIGNAL(UpdateFinished(int)), this, SLOT(UpdateFinished(int)));
    m_storageTimer->setSingleShot(true);
    connect(m_storageTimer, SIGNAL(timeout()), this, SLOT(checkStorage()));
    // A screen that is unplugged takes nothing with it.
    const auto comeBack = [this] {
        if (!isMaximized() && !isFullScreen())
            emit ReadyResize(size());
    };
    connect(qApp, &QGuiApplication::screenRemoved, this, comeBack, Qt::QueuedConnection);
    connect(qApp, &QGuiApplication::primaryScreenChanged, this, comeBack, Qt::QueuedConnection);
}

void ArkvaleTolmaMain::connectTransfers()
{
    connect(this, SIGNAL(StartUpload(QStringList, QStringList, SubCenter, QString)), m_transfers,
            SLOT(Upload(QStringList, QStringList, SubCenter, QString)));
    connect(this, SIGNAL(StartDownload(QList<FileItem>, QList<FileItem>, SubCenter, QString)), m_transfers,
            SLOT(Download(QList<FileItem>, QList<FileItem>, SubCenter, QString)));
    connect(this, SIGNAL(SigUpdateSubcenterPaths(QMap<QString, QString>)), m_transfers->engine(),
            SIGNAL(UpdateSubcenterPath(QMap<QString, QString>)));
    connect(m_transfers, SIGNAL(FileTransferringFinished(QStringList, ZPDTCMDTYPE)), m_tray,
            SLOT(slotShowFileTransferringFinishedMsg(QStringList, ZPDTCMDTYPE)));
    connect(m_transfers, SIGNAL(FileTransferringTaskCreated(ZPDTCMDTYPE)), m_tray,
            SLOT(slotShowFileTransferringCreatedMsg(ZPDTCMDTYPE)));
    for (TransferListWidget *list : {m_transfers->uploadList(), m_transfers->downloadList()})
        connect(list, SIGNAL(sigTransferTaskCountChanged(qint64, ZPDTCMDTYPE)), this, SLOT(updateTransferList()));
    connect(m_transfers, SIGNAL(StorageFiguresWanted()), this, SLOT(checkStorage()));
    // The answer tells as well whether the session has ended.
    connect(m_transfers, &TransferringWidget::Refused, this, [this] { scheduleStorageCheck(kSoon); });
    // What was uploaded takes space that the next upload must know of.
    connect(m_transfers, &TransferringWidget::FileUploadFinished, this, [this] { scheduleStorageCheck(kAfterChange); });
}

void ArkvaleTolmaMain::connectHeader()
{
    connect(m_header->trayButton(), SIGNAL(clicked()), this, SLOT(CloseMinimizedToTray()));
    connect(m_header->menuButton(), SIGNAL(clicked()), this, SLOT(showMenu()));
    connect(m_header, SIGNAL(pageChosen()), this, SLOT(changePage()));
    connect(m_header, SIGNAL(newTabAsked()), this, SLOT(openTab()));
    connect(m_header, SIGNAL(reopenAsked()), this, SLOT(reopenTab()));
    connect(m_header, &HeaderBar::splitAsked, this, [this] { splitInto(m_panes->currentPage()); });
    connect(m_header, SIGNAL(closePaneAsked()), this, SLOT(closePane()));
    connect(m_header, SIGNAL(userClicked()), this, SIGNAL(sigGetUserIcon()));
    connect(m_panes, &DrivePanes::paneAdded, this, &ArkvaleTolmaMain::hearPane);
    connect(m_panes, &DrivePanes::changed, this, [this] {
        changeTabButtonState();
        changeTab(-1);
    });
}

void ArkvaleTolmaMain::addShortcuts()
{
    const struct
    {
        QKeySequence keys;
        const char *slot;
    } slots_[] = {
        {Qt::CTRL + Qt::Key_T, SLOT(openTab())},
        {Qt::CTRL + Qt::Key_W, SLOT(closeCurrentTab())},
        {Qt::CTRL + Qt::SHIFT + Qt::Key_T, SLOT(reopenTab())},
        {Qt::CTRL + Qt::SHIFT + Qt::Key_W, SLOT(closePane())},
        {Qt::Key_F3, SLOT(toggleSplit())},
        {Qt::CTRL + Qt::Key_Q, SLOT(Exit())},
        {Qt::Key_F1, SLOT(Help())},
        {Qt::Key_F10, SLOT(showMenu())},
        {Qt::CTRL + Qt::Key_Comma, SLOT(onShowSetting())},
    };
    for (const auto &entry : slots_)
        connect(new QShortcut(entry.keys, this), SIGNAL(activated()), this, entry.slot);
    const auto add = [this](const QKeySequence &keys, const std::function<void()> &action) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, action);
    };
    add(Qt::CTRL + Qt::Key_Tab, [this] { m_panes->stepTab(1); });
    add(Qt::CTRL + Qt::SHIFT + Qt::Key_Tab, [this] { m_panes->stepTab(-1); });
    add(Qt::CTRL + Qt::SHIFT + Qt::Key_PageDown, [this] { m_panes->shiftTab(1); });
    add(Qt::CTRL + Qt::SHIFT + Qt::Key_PageUp, [this] { m_panes->shiftTab(-1); });
    add(Qt::Key_F6, [this] { m_panes->stepPane(1); });
    add(Qt::SHIFT + Qt::Key_F6, [this] { m_panes->stepPane(-1); });
    for (int i = 0; i < 9; ++i)
        add(Qt::ALT + (Qt::Key_1 + i), [this, i] { showTab(i); });
    for (int i = 0; i < HeaderBar::PageCount; ++i) {
        add(Qt::CTRL + (Qt::Key_1 + i), [this, i] {
            const auto page = static_cast<HeaderBar::Page>(i);
            if (!m_header->isPageVisible(page))
                return;
            m_header->setPage(page);
            changePage();
        });
    }
}

void ArkvaleTolmaMain::retranslate()
{
    m_waiting->setText(tr("Waiting for the sub-center..."));
    updateTransferList();
}

void ArkvaleTolmaMain::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange && m_waiting)
        retranslate();
    QMainWindow::changeEvent(event);
}

void ArkvaleTolmaMain::setSharePage(SharePage *page)
{
    m_share = page;
    m_stack->addWidget(page);
    connect(page, SIGNAL(sigLogout(QString)), this, SLOT(sessionEnded(QString)), Qt::QueuedConnection);
    connect(page, SIGNAL(sigIntoFolder(QString)), this, SLOT(openFolder(QString)));
    connect(page, SIGNAL(sigShareToMeFileDownloadStart(QList<FileItem>, QList<FileItem>, SubCenter, QString)), this,
            SIGNAL(StartDownload(QList<FileItem>, QList<FileItem>, SubCenter, QString)));
    checkSharePage();
}

void ArkvaleTolmaMain::checkSharePage()
{
    bool home = false;
    const QList<SubCenter> centers = m_config->subCenters();
    for (const SubCenter &center : centers)
        home = home || center.hasHome();
    m_header->setPageVisible(HeaderBar::Share, m_share && home && !m_config->shareDisabled());
}

void ArkvaleTolmaMain::writeLog(const QString &message, int line)
{
    emit sigWriteLog(m_loggerId, 600, message, L"Code\\ArkvaleTolmaMain.cpp", line);
}

void ArkvaleTolmaMain::announceStart()
{
    QString greeting = tr("Arkvale has started!");
    if (m_config->state() == GlobalConfig::LoggedIn)
        greeting += QLatin1Char('\n') + m_config->currentUser().username + tr(" is current user.");
    emit sigShowTrayMessage(greeting);
    writeLog(QStringLiteral("ArkvaleTolmaMain Created!"), __LINE__);
    // A new version that was found while nobody was logged in.
    bool ready = false;
    if (m_updater && QMetaObject::invokeMethod(m_updater, "canInstall", Q_RETURN_ARG(bool, ready)) && ready)
        UpdateFinished(1);
}

// Place

QString ArkvaleTolmaMain::stateFile() const
{
    return m_config->userFolder(m_user) + QStringLiteral("Window.json");
}

void ArkvaleTolmaMain::restorePlace()
{
    m_state = WindowState::read(stateFile());
    const QList<QRect> rooms = screenRooms();
    if (m_state.place.isNull()) {
        if (!rooms.isEmpty()) {
            QRect usual(0, 0, kUsualWidth, kUsualHeight);
            usual.moveCenter(rooms.first().center());
            m_state.place = usual;
        }
    }
    move(m_state.place.topLeft());
    emit ReadyResize(m_state.place.size());
    if (m_state.maximized)
        setWindowState(windowState() | Qt::WindowMaximized);
}

void ArkvaleTolmaMain::keepState()
{
    if (!m_ready)
        return; // what was kept the last time is better than half a window
    WindowState state;
    const bool usual = !isMaximized() && !isFullScreen() && !isMinimized();
    state.place = usual ? QRect(pos(), size()) : normalGeometry();
    state.maximized = isMaximized();
    state.currentPane = m_panes->currentPaneIndex();
    state.panes = m_panes->state();
    if (!state.panes.isEmpty())
        state.panes.last().tabs << m_lateTabs;
    if (!state.write(stateFile()))
        writeLog(QStringLiteral("Window state not kept: the user's folder cannot be written"), __LINE__);
}

void ArkvaleTolmaMain::resizeShow(QSize size)
{
    // Before the window is on the screen nobody knows how large its frame will be.
    const QSize known = frameGeometry().size() - geometry().size();
    const QSize frame = known.isEmpty() ? QSize(kFrameWidth, kFrameHeight) : known;
    const QRect wanted(pos(), size.expandedTo(minimumSize()) + frame);
    const QRect place = WindowState::fitted(wanted, screenRooms());
    resize(place.size() - frame);
    move(place.topLeft());
}

void ArkvaleTolmaMain::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    resizeScrollText();
}

void ArkvaleTolmaMain::resizeScrollText()
{
    m_header->fit(width());
    m_header->ticker()->fit();
}

// What the service told

void ArkvaleTolmaMain::SetUserIcon()
{
    const UserInfo user = m_config->currentUser();
    m_header->setUser(user.nickname.isEmpty() ? user.username : user.nickname, user.username,
                      ServicePicture::decode(user.iconData));
}

void ArkvaleTolmaMain::SetStorage()
{
    const NetdiskPage *page = m_panes->currentPage();
    const SubCenter center = m_config->subCenter(page ? page->subCenter().id : m_config->currentSubCenterId());
    m_header->setStorage(center.used, center.quota);
}

void ArkvaleTolmaMain::scheduleStorageCheck(int milliseconds)
{
    // The soonest wish counts, and many wishes make one question.
    if (!m_storageTimer->isActive() || m_storageTimer->remainingTime() > milliseconds)
        m_storageTimer->start(milliseconds);
}

void ArkvaleTolmaMain::checkStorage()
{
    m_loginService->checkStorage();
    const QList<NetdiskPage *> all = pages();
    for (NetdiskPage *page : all)
        page->refreshStorage();
    m_storageTimer->start(kStorageInterval);
}

void ArkvaleTolmaMain::refreshAD()
{
    m_header->ticker()->setAdvertisements(m_config->advertisements());
    resizeScrollText();
}

void ArkvaleTolmaMain::RefreshConfig(QString subCenterId)
{
    m_transfers->SetZpdtParams(subCenterId);
}

void ArkvaleTolmaMain::RefreshVipParam()
{
    m_transfers->SetZpdtParams(m_config->currentSubCenterId());
}

void ArkvaleTolmaMain::updateTransferList()
{
    m_header->setRunningTransfers(m_transfers->runningCount());
}

void ArkvaleTolmaMain::UpdateSubcenterPaths()
{
    QMap<QString, QString> paths;
    const QList<SubCenter> centers = m_config->subCenters();
    for (const SubCenter &center : centers) {
        if (center.hasHome())
            paths.insert(center.id, center.path);
    }
    emit SigUpdateSubcenterPaths(paths);
}

void ArkvaleTolmaMain::RefreshSubCenterIcon()
{
    m_icons->fetch();
    const QList<NetdiskPage *> all = pages();
    for (NetdiskPage *page : all) {
        TabWidget *pane = m_panes->paneOf(page);
        pane->setTabIcon(pane->indexOf(page), m_icons->icon(page->subCenter().id));
    }
}
