#include "ArkvaleTray.h"

#include "GlobalConfig.h"

#include <QAction>
#include <QApplication>

namespace {

constexpr int kTransferBalloon = 1000; // milliseconds
constexpr int kTextBalloon = 100;

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

void ArkvaleTray::slotShowFileTransferringCreatedMsg(ZPDTCMDTYPE type)
{
    if (type == ZPDT_DOWNLOAD)
        showBalloon(tr("Message"), tr("Download task created"), kTransferBalloon);
    else if (type == ZPDT_UPLOAD)
        showBalloon(tr("Message"), tr("Upload task created"), kTransferBalloon);
}

void ArkvaleTray::slotShowFileTransferringFinishedMsg(QStringList names, ZPDTCMDTYPE type)
{
    const QString text = names.join(QLatin1Char('\n'));
    if (type == ZPDT_DOWNLOAD)
        showBalloon(tr("File download finished"), text, kTransferBalloon);
    else if (type == ZPDT_UPLOAD)
        showBalloon(tr("File upload finished"), text, kTransferBalloon);
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
