#include "ArkvaleTolmaMain.h"

#include "AdTicker.h"
#include "ArkvaleTray.h"
#include "BrowserServer.h"
#include "GlobalConfig.h"
#include "LoginService.h"
#include "NetdiskPage.h"
#include "OrderedWork.h"
#include "Settings.h"
#include "SizeText.h"
#include "TransferListWidget.h"
#include "TransferringWidget.h"

#include <QBuffer>
#include <QButtonGroup>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QSplitter>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <QVariant>

namespace {

constexpr int kAvatar = 30; // pixels
constexpr int kLargestAvatarBytes = 4 * 1024 * 1024;
constexpr int kLargestAvatarSide = 4096;         // pixels
constexpr int kStorageInterval = 10 * 60 * 1000; // milliseconds
constexpr int kSoon = 300;                       // milliseconds
constexpr int kAfterChange = 2000;               // milliseconds

QString iconPath(const char *name)
{
    return QStringLiteral(":/ArkvaleTolmaMain/Icon/") + QLatin1String(name);
}

QToolButton *toolButton(const char *objectName, const char *icon)
{
    auto *button = new QToolButton;
    button->setObjectName(QLatin1String(objectName));
    button->setIcon(QIcon(iconPath(icon)));
    button->setIconSize(QSize(18, 18));
    button->setAutoRaise(true);
    return button;
}

/// The picture comes from the service: what is too large to be an avatar is not decoded at all.
QImage decodeAvatar(const QByteArray &data)
{
    if (data.isEmpty() || data.size() > kLargestAvatarBytes)
        return QImage();
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (!size.isValid() || size.width() > kLargestAvatarSide || size.height() > kLargestAvatarSide)
        return QImage();
    return reader.read();
}

QPixmap roundPicture(const QImage &image, qreal ratio)
{
    const int side = qRound(kAvatar * ratio);
    const QImage scaled = image.scaled(side, side, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    QPixmap result(side, side);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath circle;
    circle.addEllipse(0, 0, side, side);
    painter.setClipPath(circle);
    painter.drawImage((side - scaled.width()) / 2, (side - scaled.height()) / 2, scaled);
    painter.end();
    result.setDevicePixelRatio(ratio);
    return result;
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
    , m_storageTimer(new QTimer(this))
{
    setObjectName(QStringLiteral("ArkvaleTolmaMain"));
    setWindowTitle(QStringLiteral("NRX Net Disk"));
    setWindowIcon(QIcon(iconPath("icon.png")));
    qRegisterMetaType<QMap<QString, QString>>("QMap<QString,QString>");
    buildTitleBar();
    buildPages();
    auto *central = new QWidget;
    auto *layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_titleBar);
    layout->addWidget(m_stack, 1);
    setCentralWidget(central);
    resize(1120, 720);

    connectStore();
    connectTransfers();
    retranslate();
    SetUserIcon();
    SetStorage();
    m_config->requestAdvertisements();
    m_config->requestTransferLimit();
    UpdateSubcenterPaths();
    scheduleStorageCheck(kSoon);
    // The logger and the tray are connected once the constructor has returned.
    QTimer::singleShot(0, this, SLOT(announceStart()));
}

ArkvaleTolmaMain::~ArkvaleTolmaMain() = default;

void ArkvaleTolmaMain::buildTitleBar()
{
    m_titleBar = new QWidget;
    m_titleBar->setObjectName(QStringLiteral("titleBar"));
    m_titleBar->setAttribute(Qt::WA_StyledBackground);

    auto *logo = new QLabel;
    logo->setObjectName(QStringLiteral("label_logo"));
    logo->setPixmap(QIcon(iconPath("logo.svg")).pixmap(26, 26));
    m_pageButtons = new QButtonGroup(this);
    m_pageButtons->setExclusive(true);
    m_diskButton = new QPushButton;
    m_diskButton->setObjectName(QStringLiteral("btn_disk"));
    m_diskButton->setIcon(QIcon(iconPath("disk.svg")));
    m_transferButton = new QPushButton;
    m_transferButton->setObjectName(QStringLiteral("btn_transfer"));
    m_transferButton->setIcon(QIcon(iconPath("transfer.svg")));
    for (QPushButton *button : {m_diskButton, m_transferButton}) {
        button->setCheckable(true);
        button->setProperty("pageButton", true);
        m_pageButtons->addButton(button);
        connect(button, SIGNAL(clicked()), this, SLOT(changePage()));
    }
    m_diskButton->setChecked(true);
    m_settingButton = new QPushButton;
    m_settingButton->setObjectName(QStringLiteral("btn_setting"));
    m_settingButton->setIcon(QIcon(iconPath("settings.svg")));
    m_settingButton->setProperty("pageButton", true);
    m_settingButton->setVisible(Settings::offered());
    connect(m_settingButton, SIGNAL(clicked()), this, SLOT(onShowSetting()));
    m_newTab = toolButton("btn_new_tab", "plus.svg");
    connect(m_newTab, SIGNAL(clicked()), this, SLOT(openTab()));

    m_ads = new AdTicker;
    m_storageBar = new QProgressBar;
    m_storageBar->setObjectName(QStringLiteral("bar_storage"));
    m_storageBar->setTextVisible(false);
    m_storageBar->setFixedWidth(110);
    m_storageText = new QLabel;
    m_storageText->setObjectName(QStringLiteral("label_storage"));
    m_avatar = new QLabel;
    m_avatar->setObjectName(QStringLiteral("label_avatar"));
    m_avatar->setFixedSize(kAvatar, kAvatar);
    m_userName = new QLabel;
    m_userName->setObjectName(QStringLiteral("label_user"));
    m_userName->setTextFormat(Qt::PlainText);
    m_toTray = toolButton("btn_tray", "tray.svg");
    connect(m_toTray, SIGNAL(clicked()), this, SLOT(CloseMinimizedToTray()));
    m_menuButton = toolButton("btn_menu", "menu.svg");
    connect(m_menuButton, SIGNAL(clicked()), this, SLOT(showMenu()));

    auto *layout = new QHBoxLayout(m_titleBar);
    layout->setContentsMargins(14, 8, 10, 8);
    layout->setSpacing(8);
    layout->addWidget(logo);
    layout->addSpacing(8);
    layout->addWidget(m_diskButton);
    layout->addWidget(m_transferButton);
    layout->addWidget(m_settingButton);
    layout->addWidget(m_newTab);
    layout->addStretch(1);
    layout->addWidget(m_ads);
    layout->addWidget(m_storageBar);
    layout->addWidget(m_storageText);
    layout->addSpacing(8);
    layout->addWidget(m_avatar);
    layout->addWidget(m_userName);
    layout->addWidget(m_toTray);
    layout->addWidget(m_menuButton);
}

void ArkvaleTolmaMain::buildPages()
{
    auto *disk = new QWidget;
    disk->setObjectName(QStringLiteral("page_disk"));
    m_waiting = new QLabel;
    m_waiting->setObjectName(QStringLiteral("label_waiting"));
    m_waiting->setAlignment(Qt::AlignCenter);
    m_splitter = new QSplitter;
    m_splitter->setObjectName(QStringLiteral("splitter_disk"));
    m_splitter->setChildrenCollapsible(false);
    m_splitter->hide();
    auto *layout = new QVBoxLayout(disk);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_waiting, 1);
    layout->addWidget(m_splitter, 1);

    m_transfers = new TransferringWidget;
    m_stack = new QStackedWidget;
    m_stack->setObjectName(QStringLiteral("stack_pages"));
    m_stack->addWidget(disk);
    m_stack->addWidget(m_transfers);
}

void ArkvaleTolmaMain::connectStore()
{
    connect(m_config, SIGNAL(handlerListSubCenterFinished()), this, SLOT(initSubCenter()));
    connect(m_config, SIGNAL(handlerGetADFinished()), this, SLOT(refreshAD()));
    connect(m_config, SIGNAL(handlerGetTransferLimitFinished()), this, SLOT(RefreshVipParam()));
    connect(m_loginService, SIGNAL(handlerCheckSubCenterFinished()), this, SLOT(refreshSubCenter()));
    connect(m_loginService, SIGNAL(handlerCheckSubCenterFinished()), this, SLOT(UpdateSubcenterPaths()));
    connect(m_loginService, SIGNAL(handlerGetCurrentUserIconFinished()), this, SLOT(SetUserIcon()));
    connect(m_loginService, SIGNAL(handlerGetStorageFinished()), this, SLOT(SetStorage()));
    connect(m_loginService, SIGNAL(handlerGetStorageFinished()), m_transfers, SLOT(UpdateStorageCapacity()));
    if (m_updater)
        connect(m_updater, SIGNAL(UpdateFinished(int)), this, SLOT(UpdateFinished(int)));
    m_storageTimer->setSingleShot(true);
    connect(m_storageTimer, SIGNAL(timeout()), this, SLOT(checkStorage()));

    const struct
    {
        QKeySequence keys;
        const char *slot;
    } shortcuts[] = {
        {Qt::CTRL + Qt::Key_T, SLOT(openTab())}, {Qt::CTRL + Qt::Key_Q, SLOT(Exit())}, {Qt::Key_F1, SLOT(Help())}};
    for (const auto &entry : shortcuts)
        connect(new QShortcut(entry.keys, this), SIGNAL(activated()), this, entry.slot);
    connect(new QShortcut(Qt::CTRL + Qt::Key_Comma, this), SIGNAL(activated()), this, SLOT(onShowSetting()));
    connect(new QShortcut(Qt::CTRL + Qt::Key_1, this), SIGNAL(activated()), m_diskButton, SLOT(click()));
    connect(new QShortcut(Qt::CTRL + Qt::Key_2, this), SIGNAL(activated()), m_transferButton, SLOT(click()));
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
    // What was uploaded takes space that the next upload must know of.
    connect(m_transfers, &TransferringWidget::FileUploadFinished, this, [this] { scheduleStorageCheck(kAfterChange); });
}

void ArkvaleTolmaMain::retranslate()
{
    m_diskButton->setText(tr("My Disk"));
    m_settingButton->setText(tr("Setting"));
    m_newTab->setToolTip(tr("Open another sub-center (Ctrl+T)"));
    m_toTray->setToolTip(tr("Minimize to tray"));
    m_menuButton->setToolTip(tr("Menu"));
    m_waiting->setText(tr("Waiting for the sub-center..."));
    updateTransferList();
}

void ArkvaleTolmaMain::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange && m_waiting)
        retranslate();
    QMainWindow::changeEvent(event);
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
}

void ArkvaleTolmaMain::SetUserIcon()
{
    const UserInfo user = m_config->currentUser();
    m_userName->setText(user.nickname.isEmpty() ? user.username : user.nickname);
    m_userName->setToolTip(user.username.toHtmlEscaped());
    const QImage image = decodeAvatar(user.iconData);
    if (image.isNull())
        m_avatar->setPixmap(QIcon(iconPath("user.svg")).pixmap(kAvatar, kAvatar));
    else
        m_avatar->setPixmap(roundPicture(image, devicePixelRatioF()));
}

void ArkvaleTolmaMain::SetStorage()
{
    const NetdiskPage *page = currentPage();
    const SubCenter center = m_config->subCenter(page ? page->subCenter().id : m_config->currentSubCenterId());
    const bool known = center.quota > 0;
    m_storageBar->setVisible(known);
    m_storageText->setVisible(known);
    if (!known)
        return;
    m_storageBar->setValue(static_cast<int>(
        qBound(0.0, 100.0 * static_cast<double>(center.used) / static_cast<double>(center.quota), 100.0)));
    m_storageText->setText(QStringLiteral("%1/%2").arg(sizeText(static_cast<quint64>(qMax<qint64>(0, center.used))),
                                                       sizeText(static_cast<quint64>(center.quota))));
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
    for (NetdiskPage *page : pages())
        page->refreshStorage();
    m_storageTimer->start(kStorageInterval);
}

void ArkvaleTolmaMain::refreshAD()
{
    m_ads->setAdvertisements(m_config->advertisements());
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
    const int count = m_transfers->runningCount();
    const QString name = tr("Transfer List");
    m_transferButton->setText(count > 0 ? QStringLiteral("%1 (%2)").arg(name).arg(count) : name);
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
