#include "ArkvaleTolmaMain.h"

#include "BrowserServer.h"
#include "CenterIcons.h"
#include "CommandLineRunner.h"
#include "DrivePanes.h"
#include "GlobalConfig.h"
#include "HeaderBar.h"
#include "LoginService.h"
#include "MsgDlg.h"
#include "NetdiskPage.h"
#include "SelectCenterDialog.h"
#include "Settings.h"
#include "SharePage.h"
#include "TabWidget.h"
#include "TransferringWidget.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QStackedWidget>
#include <QVariant>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kAfterRemoval = 3000; // milliseconds
constexpr int kSettingsWidth = 900; // pixels

QStringList homes(const GlobalConfig *config)
{
    QStringList ids;
    const QList<SubCenter> centers = config->subCenters();
    for (const SubCenter &center : centers) {
        if (center.hasHome())
            ids << center.id;
    }
    return ids;
}

} // namespace

// Panes and tabs

QList<NetdiskPage *> ArkvaleTolmaMain::pages() const
{
    return m_panes->pages();
}

TabWidget *ArkvaleTolmaMain::addSplitWidget()
{
    return m_panes->addPane();
}

void ArkvaleTolmaMain::hearPane(TabWidget *pane)
{
    connect(pane, SIGNAL(sigAddTab()), this, SLOT(openTab()));
    connect(pane, SIGNAL(sigSplitWidget(int)), this, SLOT(splitTab(int)));
    connect(pane, SIGNAL(sigCloseTab(int)), this, SLOT(closeTab(int)));
    connect(pane, &TabWidget::sigCloseOthers, this, [this, pane](int index) { m_panes->closeOthers(pane, index); });
    m_waiting->hide();
    m_panes->show();
}

void ArkvaleTolmaMain::removeSplitWidget(TabWidget *pane)
{
    m_panes->removePane(pane);
}

NetdiskPage *ArkvaleTolmaMain::addNetDiskPage(QString ndpId, SubCenter subCenter, QString initPath)
{
    TabWidget *pane = m_panes->pane(ndpId);
    if (!pane)
        pane = addSplitWidget();
    auto *page = new NetdiskPage(subCenter, initPath);
    connect(page, SIGNAL(sigUpload(QStringList, QStringList, SubCenter, QString)), this,
            SIGNAL(StartUpload(QStringList, QStringList, SubCenter, QString)));
    connect(page, SIGNAL(sigDownload(QList<FileItem>, QList<FileItem>, SubCenter, QString)), this,
            SIGNAL(StartDownload(QList<FileItem>, QList<FileItem>, SubCenter, QString)));
    connect(page, SIGNAL(sigLogout(QString)), this, SLOT(sessionEnded(QString)), Qt::QueuedConnection);
    connect(m_transfers, SIGNAL(FileUploadFinished(QStringList)), page, SLOT(GetFileInfo(QStringList)));
    connect(m_transfers, SIGNAL(FolderUploadFinished(QStringList)), page, SLOT(GetFileInfo(QStringList)));
    connect(m_transfers, SIGNAL(ChangeTransferStatus(int)), page, SLOT(changeTransferStatus(int)));
    connect(page, &NetdiskPage::UserConfermRemove, this, [this] { scheduleStorageCheck(kAfterRemoval); });
    connect(page, &NetdiskPage::sigTitleChanged, this, [this, page](const QString &title) { retitle(page, title); });
    // Other tabs and panes may show the folders that it changes.
    connect(page, &NetdiskPage::sigDriveChanged, this, [this, page](const QStringList &gone, const QString &folder) {
        for (NetdiskPage *other : pages()) {
            if (other != page && other->subCenter().id == page->subCenter().id)
                other->followChange(gone, folder);
        }
    });
    if (m_share) {
        page->setShareAvailable(true);
        connect(m_share, SIGNAL(sigCopyToMyDiskFinished(QStringList)), page, SLOT(GetFileInfo(QStringList)));
        connect(page, &NetdiskPage::sigShare, m_share, [this, page](const FileItem &item, bool withUsers) {
            m_share->share(item, withUsers, page->subCenter());
        });
    }
    m_panes->addPage(pane, page);
    retitle(page, QString());
    pane->setTabIcon(pane->indexOf(page), m_icons->icon(subCenter.id));
    page->changeTransferStatus(m_transfers->runningCount() > 0 ? 2 : 0);
    return page;
}

void ArkvaleTolmaMain::retitle(NetdiskPage *page, const QString &folder)
{
    TabWidget *pane = m_panes->paneOf(page);
    if (!pane)
        return;
    const QString center = page->subCenter().name;
    pane->setTitle(page, folder.isEmpty() ? center : center + QStringLiteral(" - ") + folder);
}

void ArkvaleTolmaMain::removeNetDiskPage(NetdiskPage *page)
{
    m_panes->closePage(page);
}

void ArkvaleTolmaMain::changeTabButtonState()
{
    const bool several = m_panes->panes().size() > 1;
    m_header->setTabActions(m_panes->hasClosed(), m_panes->canSplit() && m_panes->currentPage(), several);
}

void ArkvaleTolmaMain::closeTab(int index)
{
    auto *pane = qobject_cast<TabWidget *>(sender());
    if (!pane)
        pane = m_panes->currentPane();
    if (NetdiskPage *page = DrivePanes::page(pane, index))
        removeNetDiskPage(page);
}

void ArkvaleTolmaMain::closeCurrentTab()
{
    if (m_header->page() != HeaderBar::Disk)
        return showDiskPage();
    if (NetdiskPage *page = m_panes->currentPage())
        removeNetDiskPage(page);
}

void ArkvaleTolmaMain::splitTab(int index)
{
    auto *pane = qobject_cast<TabWidget *>(sender());
    m_panes->splitPage(DrivePanes::page(pane ? pane : m_panes->currentPane(), index));
}

void ArkvaleTolmaMain::splitInto(NetdiskPage *page)
{
    if (!page || !m_panes->canSplit())
        return;
    showDiskPage();
    const int place = m_panes->panes().indexOf(m_panes->paneOf(page)) + 1;
    TabWidget *pane = m_panes->addPane(place);
    m_panes->activate(addNetDiskPage(pane->objectName(), page->subCenter(), page->currentPath()));
}

void ArkvaleTolmaMain::toggleSplit()
{
    if (m_panes->panes().size() > 1)
        closePane();
    else
        splitInto(m_panes->currentPage());
}

void ArkvaleTolmaMain::closePane()
{
    m_panes->closePane(m_panes->currentPane());
}

void ArkvaleTolmaMain::reopenTab()
{
    while (m_panes->hasClosed()) {
        const WindowState::Tab tab = m_panes->takeClosed();
        const TabWidget *pane = m_panes->currentPane();
        if (restoreTab(tab, pane ? pane->objectName() : QString())) {
            showDiskPage();
            break;
        }
    }
    changeTabButtonState();
}

void ArkvaleTolmaMain::changeTab(int)
{
    if (const NetdiskPage *page = m_panes->currentPage())
        m_config->setCurrentSubCenterId(page->subCenter().id);
    SetStorage();
}

void ArkvaleTolmaMain::showTab(int index)
{
    showDiskPage();
    m_panes->selectTab(index);
}

void ArkvaleTolmaMain::openTab()
{
    // Sub-centers without a home are no choice, and of one there is nothing to choose.
    const QStringList choice = homes(m_config);
    if (choice.size() == 1)
        return addTab(choice.first());
    SelectCenterDialog dialog(this);
    dialog.watch(m_loginService);
    connect(&dialog, SIGNAL(centerSelected(QString)), this, SLOT(addTab(QString)));
    const int state = m_config->state();
    const QPointer<ArkvaleTolmaMain> alive(this);
    dialog.exec();
    // Without a choice the dialog asks for an end of the session, which here it was not opened for.
    if (alive && !m_closed)
        m_config->setState(state);
}

void ArkvaleTolmaMain::addTab(QString subCenterId)
{
    const SubCenter center = m_config->subCenter(subCenterId);
    if (!center.hasHome() || m_closed)
        return;
    showDiskPage();
    const TabWidget *pane = m_panes->currentPane();
    m_panes->activate(addNetDiskPage(pane ? pane->objectName() : QString(), center, QString()));
}

void ArkvaleTolmaMain::openFolder(QString path)
{
    const QString place = m_share ? m_share->placeCenter() : QString();
    const SubCenter center = m_config->subCenter(place.isEmpty() ? m_config->currentSubCenterId() : place);
    if (center.hasHome())
        preparePage(center.id, path);
}

void ArkvaleTolmaMain::showDiskPage()
{
    m_header->setPage(HeaderBar::Disk);
    changePage();
}

void ArkvaleTolmaMain::changePage()
{
    QWidget *shown = m_stack->widget(0);
    if (m_header->page() == HeaderBar::Transfers)
        shown = m_transfers;
    else if (m_header->page() == HeaderBar::Share && m_share)
        shown = m_share;
    else if (m_header->page() == HeaderBar::Settings)
        shown = buildSettings();
    m_stack->setCurrentWidget(shown);
    m_header->setPage(m_header->page());
    if (shown == m_stack->widget(0) && m_panes->currentPage())
        m_panes->currentPage()->setFocus();
}

QWidget *ArkvaleTolmaMain::buildSettings()
{
    // Anew each time: it shows what the store and the service say now, in the language of now.
    delete m_settings;
    m_settings = new QWidget;
    m_settings->setObjectName(QStringLiteral("page_settings"));
    auto *settings = new Settings(m_settings);
    settings->embed();
    settings->setMaximumWidth(kSettingsWidth);
    auto *layout = new QHBoxLayout(m_settings);
    layout->addStretch(1);
    layout->addWidget(settings, 100);
    layout->addStretch(1);
    connect(settings, SIGNAL(SettingChanged(QString)), this, SLOT(RefreshConfig(QString)));
    connect(settings, SIGNAL(concurrenceChanged()), m_transfers, SLOT(ApplyConcurrence()));
    connect(settings, &QDialog::finished, this, &ArkvaleTolmaMain::showDiskPage, Qt::QueuedConnection);
    m_stack->addWidget(m_settings);
    return m_settings;
}

// The first pages

void ArkvaleTolmaMain::initSplitWidget()
{
    const QString path = sender() ? sender()->property("initPath").toString() : QString();
    if (!path.isEmpty())
        m_initPath = path;
    if (pages().isEmpty())
        openFirstPage();
}

void ArkvaleTolmaMain::openFirstPage()
{
    const QString requested = m_config->requestedSubCenterId();
    if (!requested.isEmpty() && m_config->subCenter(requested).hasHome())
        m_config->setCurrentSubCenterId(requested);
    m_waitingForCenter = SelectCenterDialog::undecided();
    if (m_waitingForCenter)
        return;
    if (SelectCenterDialog::needed()) {
        const QPointer<ArkvaleTolmaMain> alive(this);
        SelectCenterDialog dialog(this);
        dialog.watch(m_loginService);
        bool leave = false;
        connect(&dialog, &SelectCenterDialog::sigLogout, this, [&leave] { leave = true; });
        const bool chosen = dialog.exec() == QDialog::Accepted;
        if (!alive || m_closed)
            return;
        if (!chosen) {
            // Nothing can be shown without a sub-center; the dialog has put down whether to log out or to end.
            finish(leave ? m_config->state() : int(GlobalConfig::LoggedOut));
            return;
        }
    }
    if (!pages().isEmpty())
        return;
    const SubCenter center = m_config->subCenter(m_config->currentSubCenterId());
    restoreTabs();
    NetdiskPage *page = m_panes->findPage(center.id);
    if (!page) {
        const TabWidget *pane = m_panes->currentPane();
        page = addNetDiskPage(pane ? pane->objectName() : QString(), center, m_initPath);
    } else if (!m_initPath.isEmpty()) {
        page->IntoFolder(m_initPath);
    }
    m_panes->activate(page);
    SetStorage();
    m_ready = true;
    m_bridge->setReady(true);
    startCommandLine(page);
}

bool ArkvaleTolmaMain::restoreTab(const WindowState::Tab &tab, const QString &pane)
{
    const SubCenter center = m_config->subCenter(tab.center);
    if (!center.hasHome())
        return false;
    m_panes->activate(addNetDiskPage(pane, center, tab.path));
    return true;
}

void ArkvaleTolmaMain::restoreTabs()
{
    QList<int> widths;
    QList<QPair<QString, int>> fronts; // pane and the tab in front
    for (const WindowState::Pane &kept : qAsConst(m_state.panes)) {
        QString name;
        for (const WindowState::Tab &tab : kept.tabs) {
            const SubCenter center = m_config->subCenter(tab.center);
            if (!center.hasHome()) {
                if (!center.id.isEmpty() && center.path.isEmpty())
                    m_lateTabs << tab;
                continue;
            }
            if (name.isEmpty())
                name = addSplitWidget()->objectName();
            restoreTab(tab, name);
        }
        if (name.isEmpty())
            continue;
        widths << qMax(1, kept.width);
        fronts << qMakePair(name, kept.current);
    }
    for (const auto &front : qAsConst(fronts))
        m_panes->pane(front.first)->setCurrentIndex(front.second);
    if (widths.size() == m_panes->count())
        m_panes->setSizes(widths);
    const TabWidget *current = m_panes->panes().value(m_state.currentPane);
    if (NetdiskPage *page = DrivePanes::page(current, current ? current->currentIndex() : -1))
        m_panes->activate(page);
}

void ArkvaleTolmaMain::restoreLateTabs()
{
    NetdiskPage *current = m_panes->currentPage();
    QList<WindowState::Tab> waiting;
    bool restored = false;
    for (const WindowState::Tab &tab : qAsConst(m_lateTabs)) {
        const SubCenter center = m_config->subCenter(tab.center);
        if (center.hasHome())
            restored = restoreTab(tab, m_panes->panes().last()->objectName()) || restored;
        else if (center.path.isEmpty())
            waiting << tab;
    }
    m_lateTabs = waiting;
    // The person works elsewhere meanwhile.
    if (restored && current)
        m_panes->activate(current);
}

void ArkvaleTolmaMain::initSubCenter()
{
    refreshSubCenter();
}

void ArkvaleTolmaMain::refreshSubCenter()
{
    const QList<NetdiskPage *> all = pages();
    for (NetdiskPage *page : all)
        page->refreshSubCenter();
    RefreshSubCenterIcon();
    if (m_waitingForCenter)
        openFirstPage();
    else if (!m_lateTabs.isEmpty() && !all.isEmpty())
        restoreLateTabs();
    scheduleStorageCheck(300);
}

// Requests of web pages

NetdiskPage *ArkvaleTolmaMain::preparePage(const QString &subCenterId, const QString &path)
{
    const SubCenter center = m_config->subCenter(subCenterId);
    if (center.id.isEmpty() || center.path == QLatin1String("NotFound")) {
        tell(tr("Warning"), tr("You cannot access this server!"));
        return nullptr;
    }
    showDiskPage();
    NetdiskPage *page = m_panes->findPage(subCenterId);
    if (!page) {
        const TabWidget *pane = m_panes->currentPane();
        page = addNetDiskPage(pane ? pane->objectName() : QString(), center, path);
    } else if (!path.isEmpty()) {
        page->IntoFolder(path);
    }
    m_panes->activate(page);
    writeLog(QStringLiteral("Netdiskpage is prepared，current path is :%1").arg(page->currentPath()), __LINE__);
    return page;
}

void ArkvaleTolmaMain::serve(const QString &subCenterId, const QString &path,
                             const std::function<void(NetdiskPage *)> &action)
{
    // Pages may ask as often as they like; the person answers one question at a time.
    if (m_serving || m_closed) {
        writeLog(QStringLiteral("Request dropped: another one waits for an answer"), __LINE__);
        return;
    }
    m_serving = true;
    const QPointer<ArkvaleTolmaMain> alive(this);
    bringForward();
    if (NetdiskPage *page = preparePage(subCenterId, path))
        action(page);
    if (alive)
        m_serving = false;
}

void ArkvaleTolmaMain::ProcessDownloadRequest(QString subCenterId, QList<FileItem> items)
{
    writeLog(QStringLiteral("Process download request %1:files(%2)").arg(subCenterId, QString::number(items.size())),
             __LINE__);
    serve(subCenterId, QString(), [items](NetdiskPage *page) { page->Download(items); });
}

void ArkvaleTolmaMain::ProcessUploadRequest(QString subcenterId, QString remotePath)
{
    writeLog(QStringLiteral("Process upload request %1:%2").arg(subcenterId, remotePath), __LINE__);
    serve(subcenterId, remotePath, [](NetdiskPage *page) { page->Upload(false); });
}

// The command line's request

QString ArkvaleTolmaMain::refusal(const CommandLineRequest &request)
{
    const GlobalConfig *config = GlobalConfig::instance();
    if (request.subCenter.isEmpty())
        return QString();
    const SubCenter wanted = config->subCenter(request.subCenter);
    if (wanted.id.isEmpty())
        return tr("There is no sub-center \"%1\".").arg(request.subCenter);
    return !wanted.hasHome() ? tr("You have no folder in the sub-center \"%1\".").arg(wanted.name) : QString();
}

void ArkvaleTolmaMain::startCommandLine(NetdiskPage *page)
{
    const CommandLineRequest request = m_config->request();
    // Taken once: a login after a logout starts no transfer again.
    m_config->setRequest(CommandLineRequest());
    if (!request.subCenter.isEmpty() && request.subCenter != page->subCenter().id) {
        // Its paths are those of another drive, so nothing of it is done here.
        const QString reason = refusal(request);
        if (!reason.isEmpty())
            complain(reason);
        return;
    }
    auto *runner = new CommandLineRunner(request, page);
    connect(runner, &CommandLineRunner::problem, this, &ArkvaleTolmaMain::complain);
    runner->start();
}

void ArkvaleTolmaMain::complain(const QString &text)
{
    writeLog(text, __LINE__);
    std::fprintf(stderr, "%s\n", text.toUtf8().constData());
    // Not exec(): what does exist is transferred meanwhile.
    auto *notice = new MsgDlg(this);
    notice->setAttribute(Qt::WA_DeleteOnClose);
    notice->setTitle(tr("Tip"));
    notice->setText(text);
    notice->setButtonVisible(QStringLiteral("cancel"), false);
    notice->open();
}
