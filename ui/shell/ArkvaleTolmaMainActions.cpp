#include "ArkvaleTolmaMain.h"

#include "AboutText.h"
#include "ArkvaleTray.h"
#include "BrowserServer.h"
#include "GlobalConfig.h"
#include "HeaderBar.h"
#include "MsgBox.h"
#include "MsgDlg.h"
#include "OpenDialogs.h"
#include "OrderedWork.h"
#include "Settings.h"
#include "SystemBrowser.h"
#include "TransferringWidget.h"
#include "UpdateDialog.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDir>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QTimer>
#include <QToolButton>
#include <QTranslator>
#include <QUrl>
#include <QVariant>

namespace {

constexpr int kEndInterval = 50; // milliseconds

} // namespace

// End of the cycle

void ArkvaleTolmaMain::finish(int state)
{
    if (m_closed)
        return;
    m_closed = true;
    m_config->setState(state);
    m_bridge->setReady(false);
    keepState();
    // What the user cut or copied is nobody else's.
    if (const QMimeData *kept = QApplication::clipboard()->mimeData();
        kept && kept->hasFormat(QStringLiteral("ArkvaleTolma")))
        QApplication::clipboard()->clear();
    // Open questions run loops of their own, inside which the cycle cannot end; answering one may open the next.
    connect(m_endTimer, &QTimer::timeout, this, [] { rejectOpenDialogs(); });
    m_endTimer->start(kEndInterval);
    rejectOpenDialogs();
    emit Close();
}

bool ArkvaleTolmaMain::ask(const QString &title, const QString &text)
{
    const QPointer<ArkvaleTolmaMain> alive(this);
    const QPointer<MsgDlg> question = new MsgDlg(this);
    question->setTitle(title);
    question->setText(text);
    const bool accepted = question->exec() == QDialog::Accepted;
    delete question;
    return alive && accepted && !m_closed;
}

void ArkvaleTolmaMain::tell(const QString &title, const QString &text)
{
    const QPointer<MsgDlg> notice = new MsgDlg(this);
    notice->setTitle(title);
    notice->setText(text);
    notice->setButtonVisible(QStringLiteral("cancel"), false);
    notice->exec();
    delete notice;
}

QString ArkvaleTolmaMain::leavingText(const QString &question) const
{
    const int running = m_transfers->runningCount();
    if (running == 0)
        return question;
    return question + QLatin1Char('\n') +
           tr("%1 transfers are still running. They stop now and can go on after the next login.").arg(running);
}

void ArkvaleTolmaMain::Exit()
{
    if (ask(tr("Exit"), leavingText(tr("Are you sure you want to exit?"))))
        finish(GlobalConfig::Quitting);
}

void ArkvaleTolmaMain::Logout()
{
    if (ask(tr("Logout"), leavingText(tr("Are you sure you want to logout?"))))
        finish(GlobalConfig::LoggedOut);
}

void ArkvaleTolmaMain::Logout(QString)
{
    m_switchedByPage = true;
    finish(GlobalConfig::LoggedOut);
}

void ArkvaleTolmaMain::sessionEnded(QString message)
{
    // Every page and poll may tell of the same end; the person hears of it once.
    if (m_closed || m_sessionEnded)
        return;
    m_sessionEnded = true;
    m_bridge->setReady(false);
    rejectOpenDialogs();
    const QPointer<ArkvaleTolmaMain> alive(this);
    tell(tr("Tip"), message.isEmpty() ? tr("The session has ended. Please log in again.") : message);
    if (alive)
        finish(GlobalConfig::LoggedOut);
}

void ArkvaleTolmaMain::closeEvent(QCloseEvent *event)
{
    if (m_closed) {
        QMainWindow::closeEvent(event);
        return;
    }
    event->ignore();
    Exit();
}

void ArkvaleTolmaMain::CloseMinimizedToTray()
{
    emit sigShowTrayMessage(tr("Arkvale has minimized to tray!"));
    showMinimized();
}

void ArkvaleTolmaMain::showMinimized()
{
    // Out of the task bar only where the tray brings the window back.
    if (m_tray->isShown())
        hide();
    else
        QMainWindow::showMinimized();
}

void ArkvaleTolmaMain::bringForward()
{
    if (isMinimized())
        setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    QApplication::setActiveWindow(this);
    activateWindow();
    setFocus();
}

void ArkvaleTolmaMain::onRaise()
{
    bringForward();
}

void ArkvaleTolmaMain::onShowTransfering(bool bSwith)
{
    bringForward();
    if (bSwith) {
        m_header->setPage(HeaderBar::Transfers);
        changePage();
    }
}

void ArkvaleTolmaMain::onShowSetting()
{
    bringForward();
    // An open question keeps the keyboard, whatever page is behind it.
    if (QApplication::activeModalWidget() || !Settings::offered())
        return;
    m_header->setPage(HeaderBar::Settings);
    changePage();
}

void ArkvaleTolmaMain::showMaximizedOrNormal()
{
    if (isMaximized())
        showNormal();
    else
        showMaximized();
}

// The menu

void ArkvaleTolmaMain::showMenu()
{
    auto *menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("menu_main"));
    menu->setAttribute(Qt::WA_DeleteOnClose);

    QMenu *languages = menu->addMenu(tr("Language(&A)"));
    const QList<QPair<QString, QString>> known = m_config->languages();
    for (const auto &language : known) {
        QAction *action = languages->addAction(language.second, this, SLOT(ChangeLanguage()));
        action->setData(language.first);
        action->setCheckable(true);
        action->setChecked(language.first == m_config->language());
    }
    menu->addAction(tr("Start WSS"), this, SLOT(StartSocketServer()))->setEnabled(!m_bridge->isRunning());
    menu->addAction(tr("Stop WSS"), this, SLOT(StopSocketServer()))->setEnabled(m_bridge->isRunning());
    menu->addAction(tr("Clear cache(&C)"), this, SLOT(ClearCache()));
    menu->addAction(tr("Check for updates(&U)"), this, SLOT(UpdateApp()))->setEnabled(m_updater);
    menu->addAction(tr("About"), this, SLOT(About()));
    menu->addAction(tr("Help"), this, SLOT(Help()));
    menu->addSeparator();
    menu->addAction(tr("Logout(&L)"), this, SLOT(Logout()));
    menu->addAction(tr("Exit(&E)"), this, SLOT(Exit()));
    const QToolButton *button = m_header->menuButton();
    const QPoint corner = button->mapToGlobal(QPoint(button->width(), button->height()));
    menu->popup(corner - QPoint(menu->sizeHint().width(), 0));
}

void ArkvaleTolmaMain::ChangeLanguage()
{
    const auto *action = qobject_cast<QAction *>(sender());
    const QString code = action ? action->data().toString() : QString();
    if (code.isEmpty() || code == m_config->language())
        return;
    const QList<QTranslator *> before = m_config->translators();
    for (QTranslator *translator : before)
        QCoreApplication::removeTranslator(translator);
    m_config->setLanguage(code);
    const QList<QTranslator *> after = m_config->translators();
    for (QTranslator *translator : after)
        QCoreApplication::installTranslator(translator);
    if (!m_config->save())
        tell(tr("Tip"), tr("The language could not be saved and holds until the program ends."));
    emit languageChanged();
    if (m_header->page() == HeaderBar::Settings)
        changePage();
    m_config->requestAdvertisements();
}

void ArkvaleTolmaMain::StartSocketServer()
{
    m_bridge->Start();
    m_bridge->setReady(m_ready);
}

void ArkvaleTolmaMain::StopSocketServer()
{
    m_bridge->Stop();
}

void ArkvaleTolmaMain::ClearCache()
{
    const QString path = m_config->userFolder(m_config->currentUser().username) + QStringLiteral("Cache/");
    // Many small files on a slow disk: not while the window waits.
    m_work->run([this, path]() -> OrderedWork::Deliver {
        const bool removed = QDir(path).removeRecursively() && QDir().mkpath(path);
        return [this, removed] {
            tell(tr("Tip"), removed ? tr("Cache clean up successfully.") : tr("Cache clean up failed."));
        };
    });
}

void ArkvaleTolmaMain::UpdateApp()
{
    if (!m_updater)
        return;
    showUpdates();
    QMetaObject::invokeMethod(m_updater, "Update");
}

// From the start-up's own look only good news is told; the dialog tells what the person asked for.
void ArkvaleTolmaMain::UpdateFinished(int retcode)
{
    constexpr int newer = 1;
    if (retcode == newer && !m_updates) {
        showUpdates();
        m_updates->showResult(retcode);
    }
}

void ArkvaleTolmaMain::showUpdates()
{
    if (!m_updates) {
        m_updates = new UpdateDialog(m_updater, this);
        connect(m_updates, &UpdateDialog::installNow, this, &ArkvaleTolmaMain::Exit);
    }
    m_updates->show();
    m_updates->raise();
}

void ArkvaleTolmaMain::About()
{
    MsgBox box(this);
    box.setTitle(tr("About"));
    box.setText(AboutText::html(m_config->version(), m_config->userProtocolUrl(), m_config->helpUrl()));
    box.setButtonVisible(QStringLiteral("cancel"), false);
    box.exec();
}

void ArkvaleTolmaMain::Help()
{
    if (!openWebPage(QUrl(m_config->helpUrl())))
        tell(tr("Tip"), tr("No help page is configured."));
}
