#include "ArkvaleTray.h"

#include "GlobalConfig.h"

#include <QAction>
#include <QApplication>
#include <QTimer>

namespace {

constexpr int kTransferBalloon = 1000; // milliseconds
constexpr int kTextBalloon = 100;
constexpr int kGatherTime = 1000;
constexpr int kMostNames = 10; // lines that a balloon has room for

} // namespace

ArkvaleTray::ArkvaleTray(const QIcon &icon, QObject *parent)
    : QObject(parent)
{
    m_icon.setIcon(icon);
    m_icon.setToolTip(tr("Arkvale for Render"));
    addAction(QT_TR_NOOP("Main Window"), SIGNAL(sigRaise()));
    m_transferList = addAction(QT_TR_NOOP("Transfer List"), SIGNAL(sigShowTransfering()));
    addAction(QT_TR_NOOP("Settings"), SIGNAL(sigShowSetting()));
    m_logout = addAction(QT_TR_NOOP("Logout"), SIGNAL(sigLogout()));
    addAction(QT_TR_NOOP("Quit"), SIGNAL(sigQuit()));
    m_icon.setContextMenu(&m_menu);
    connect(&m_icon, SIGNAL(activated(QSystemTrayIcon::ActivationReason)), this,
            SLOT(slotTrayActivated(QSystemTrayIcon::ActivationReason)));
    connect(&m_icon, SIGNAL(messageClicked()), this, SLOT(slotTrayMessageClicked()));
    m_icon.setVisible(true);
}

ArkvaleTray::~ArkvaleTray()
{
    m_icon.hide();
}

QAction *ArkvaleTray::addAction(const char *text, const char *signal)
{
    QAction *action = m_menu.addAction(tr(text));
    // The untranslated text stays with the action, so that another language can be put on it later.
    action->setData(QByteArray(text));
    connect(action, SIGNAL(triggered()), this, signal);
    return action;
}

void ArkvaleTray::setLoggedInActionsVisible(bool visible)
{
    m_icon.setVisible(true);
    m_transferList->setVisible(visible);
    m_logout->setVisible(visible);
}

void ArkvaleTray::setVisible(bool visible)
{
    m_icon.setVisible(visible);
}

void ArkvaleTray::slotChangeLanguage()
{
    const QList<QAction *> actions = m_menu.actions();
    for (QAction *action : actions)
        action->setText(tr(action->data().toByteArray().constData()));
    m_icon.setToolTip(tr("Arkvale for Render"));
}

void ArkvaleTray::onChangedSkin()
{
    const QIcon icon = QApplication::windowIcon();
    if (!icon.isNull())
        m_icon.setIcon(icon);
}

void ArkvaleTray::slotTrayMessageClicked()
{
    emit sigRaise();
}

void ArkvaleTray::slotTrayActivated(QSystemTrayIcon::ActivationReason reason)
{
    if (reason == QSystemTrayIcon::DoubleClick)
        emit sigSwitchShow(true);
}

void ArkvaleTray::showBalloon(const QString &title, const QString &text, int milliseconds)
{
    m_icon.showMessage(title, text, QSystemTrayIcon::Information, milliseconds);
}

void ArkvaleTray::gather(Kind kind, const QStringList &names)
{
    Gathered &gathered = m_gathered[kind];
    if (!gathered.timer) {
        gathered.timer = new QTimer(this);
        gathered.timer->setInterval(kGatherTime);
        connect(gathered.timer, &QTimer::timeout, this, [this, kind] { showGathered(kind); });
    }
    if (!gathered.timer->isActive()) {
        gathered.timer->start();
        showEvents(kind, 1, names);
        return;
    }
    ++gathered.count;
    gathered.names << names;
}

void ArkvaleTray::showGathered(Kind kind)
{
    Gathered &gathered = m_gathered[kind];
    if (gathered.count == 0) {
        gathered.timer->stop();
        return;
    }
    const int count = gathered.count;
    const QStringList names = gathered.names;
    gathered.count = 0;
    gathered.names.clear();
    showEvents(kind, count, names);
}

void ArkvaleTray::showEvents(Kind kind, int count, const QStringList &names)
{
    QString text;
    if (kind == DownloadCreated) {
        text = count == 1 ? tr("Download task created") : tr("%1 download tasks created").arg(count);
    } else if (kind == UploadCreated) {
        text = count == 1 ? tr("Upload task created") : tr("%1 upload tasks created").arg(count);
    } else {
        text = QStringList(names.mid(0, kMostNames)).join(QLatin1Char('\n'));
        if (names.size() > kMostNames)
            text += QLatin1Char('\n') + tr("and %1 more").arg(names.size() - kMostNames);
    }
    QString title = tr("Message");
    if (kind == DownloadFinished)
        title = tr("File download finished");
    else if (kind == UploadFinished)
        title = tr("File upload finished");
    showBalloon(title, text, kTransferBalloon);
}

void ArkvaleTray::slotShowFileTransferringCreatedMsg(ZPDTCMDTYPE type)
{
    if (type == ZPDT_DOWNLOAD)
        gather(DownloadCreated, {});
    else if (type == ZPDT_UPLOAD)
        gather(UploadCreated, {});
}

void ArkvaleTray::slotShowFileTransferringFinishedMsg(QStringList names, ZPDTCMDTYPE type)
{
    if (type == ZPDT_DOWNLOAD)
        gather(DownloadFinished, names);
    else if (type == ZPDT_UPLOAD)
        gather(UploadFinished, names);
}

void ArkvaleTray::slotShowLoginMessage()
{
    const GlobalConfig *config = GlobalConfig::instance();
    if (config->state() == GlobalConfig::LoggedIn)
        showBalloon(tr("Message"), config->currentUser().username + tr(" has loginned"), kTextBalloon);
}

void ArkvaleTray::slotShowMessage(QString message)
{
    showBalloon(tr("Message"), message, kTextBalloon);
}
