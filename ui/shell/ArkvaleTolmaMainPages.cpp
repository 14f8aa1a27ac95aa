#include "ArkvaleTolmaMain.h"

#include "BrowserServer.h"
#include "CommandLineTransfer.h"
#include "FileItemReader.h"
#include "GlobalConfig.h"
#include "LoginService.h"
#include "MsgDlg.h"
#include "NetdiskPage.h"
#include "OrderedWork.h"
#include "OrvClient.h"
#include "SelectCenterDialog.h"
#include "TabWidget.h"
#include "TransferringWidget.h"

#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QTimer>
#include <QVariant>

namespace {

constexpr int kMostPanes = 4;
constexpr int kListingTries = 3;
constexpr int kListingPause = 2000; // milliseconds
constexpr int kAfterRemoval = 3000; // milliseconds

} // namespace

// Panes and tabs

QList<TabWidget *> ArkvaleTolmaMain::panes() const
{
    QList<TabWidget *> found;
    for (int i = 0; i < m_splitter->count(); ++i) {
        if (auto *pane = qobject_cast<TabWidget *>(m_splitter->widget(i)))
            found << pane;
    }
    return found;
}

QList<NetdiskPage *> ArkvaleTolmaMain::pages() const
{
    QList<NetdiskPage *> found;
    const QList<TabWidget *> all = panes();
    for (const TabWidget *pane : all) {
        for (int i = 0; i < pane->count(); ++i) {
            if (auto *page = qobject_cast<NetdiskPage *>(pane->widget(i)))
                found << page;
        }
    }
    return found;
}

TabWidget *ArkvaleTolmaMain::paneOf(const NetdiskPage *page) const
{
    const QList<TabWidget *> all = panes();
    for (TabWidget *pane : all) {
        if (pane->indexOf(const_cast<NetdiskPage *>(page)) >= 0)
            return pane;
    }
    return nullptr;
}

TabWidget *ArkvaleTolmaMain::currentPane() const
{
    const QList<TabWidget *> all = panes();
    for (TabWidget *pane : all) {
        if (pane->isAncestorOf(focusWidget()))
            return pane;
    }
    return all.value(0);
}

NetdiskPage *ArkvaleTolmaMain::currentPage() const
{
    const TabWidget *pane = currentPane();
    return pane ? qobject_cast<NetdiskPage *>(pane->currentWidget()) : nullptr;
}

NetdiskPage *ArkvaleTolmaMain::findPage(const QString &subCenterId) const
{
    NetdiskPage *current = currentPage();
    if (current && current->subCenter().id == subCenterId)
        return current;
    const QList<NetdiskPage *> all = pages();
    for (NetdiskPage *page : all) {
        if (page->subCenter().id == subCenterId)
            return page;
    }
    return nullptr;
}

TabWidget *ArkvaleTolmaMain::addSplitWidget()
{
    auto *pane = new TabWidget;
    pane->setObjectName(QStringLiteral("SplitWidget%1").arg(++m_paneNumber));
    connect(pane, SIGNAL(sigAddTab()), this, SLOT(openTab()));
    connect(pane, SIGNAL(sigSplitWidget(int)), this, SLOT(splitTab(int)));
    connect(pane, SIGNAL(sigCloseTab(int)), this, SLOT(closeTab(int)));
    connect(pane, SIGNAL(currentChanged(int)), this, SLOT(changeTab(int)));
    m_splitter->addWidget(pane);
    m_waiting->hide();
    m_splitter->show();
    return pane;
}

void ArkvaleTolmaMain::removeSplitWidget(TabWidget *pane)
{
    if (!pane || pane->count() > 0 || panes().size() < 2)
        return;
    pane->setParent(nullptr);
    pane->deleteLater();
}

NetdiskPage *ArkvaleTolmaMain::addNetDiskPage(QString ndpId, SubCenter subCenter, QString initPath)
{
    TabWidget *pane = m_splitter->findChild<TabWidget *>(ndpId, Qt::FindDirectChildrenOnly);
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
    pane->addTab(page, QString());
    retitle(page, QString());
    pane->setCurrentWidget(page);
    page->changeTransferStatus(m_transfers->runningCount() > 0 ? 2 : 0);
    return page;
}

void ArkvaleTolmaMain::retitle(NetdiskPage *page, const QString &folder)
{
    TabWidget *pane = paneOf(page);
    if (!pane)
        return;
    const QString center = page->subCenter().name;
    pane->setTitle(page, folder.isEmpty() ? center : center + QStringLiteral(" - ") + folder);
}

void ArkvaleTolmaMain::removeNetDiskPage(NetdiskPage *page)
{
    TabWidget *pane = paneOf(page);
    if (!pane || pages().size() < 2)
        return;
    pane->removeTab(pane->indexOf(page));
    page->deleteLater();
    removeSplitWidget(pane);
}

void ArkvaleTolmaMain::closeTab(int index)
{
    auto *pane = qobject_cast<TabWidget *>(sender());
    if (!pane)
        pane = currentPane();
    if (pane)
        removeNetDiskPage(qobject_cast<NetdiskPage *>(pane->widget(index)));
}

void ArkvaleTolmaMain::splitTab(int index)
{
    auto *pane = qobject_cast<TabWidget *>(sender());
    auto *page = pane ? qobject_cast<NetdiskPage *>(pane->widget(index)) : nullptr;
    // A pane's only tab has the room that a pane of its own would give it.
    if (!page || pane->count() < 2 || panes().size() >= kMostPanes)
        return;
    const QString title = pane->tabText(index);
    pane->removeTab(index);
    TabWidget *other = addSplitWidget();
    other->addTab(page, title);
    page->show();
}

void ArkvaleTolmaMain::changeTab(int)
{
    if (const NetdiskPage *page = currentPage())
        m_config->setCurrentSubCenterId(page->subCenter().id);
    SetStorage();
}

void ArkvaleTolmaMain::openTab()
{
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
    if (!center.hasHome())
        return;
    showDiskPage();
    const TabWidget *pane = currentPane();
    addNetDiskPage(pane ? pane->objectName() : QString(), center, QString());
}

void ArkvaleTolmaMain::showDiskPage()
{
    m_diskButton->setChecked(true);
    changePage();
}

void ArkvaleTolmaMain::changePage()
{
    m_stack->setCurrentIndex(m_transferButton->isChecked() ? 1 : 0);
}

// The first page

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
    NetdiskPage *page = addNetDiskPage(QString(), center, m_initPath);
    SetStorage();
    m_ready = true;
    m_bridge->setReady(true);
    startCommandLine(page);
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
    if (m_waitingForCenter)
        openFirstPage();
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
    NetdiskPage *page = findPage(subCenterId);
    if (!page) {
        const TabWidget *pane = currentPane();
        page = addNetDiskPage(pane ? pane->objectName() : QString(), center, path);
    } else {
        paneOf(page)->setCurrentWidget(page);
        if (!path.isEmpty())
            page->IntoFolder(path);
    }
    writeLog(QStringLiteral("Netdiskpage is prepared，current path is :%1").arg(page->currentPath()), __LINE__);
    return page;
}

void ArkvaleTolmaMain::ProcessDownloadRequest(QString subCenterId, QList<FileItem> items)
{
    writeLog(QStringLiteral("Process download request %1:files(%2)").arg(subCenterId, QString::number(items.size())),
             __LINE__);
    bringForward();
    if (NetdiskPage *page = preparePage(subCenterId, QString()))
        page->Download(items);
}

void ArkvaleTolmaMain::ProcessUploadRequest(QString subcenterId, QString remotePath)
{
    writeLog(QStringLiteral("Process upload request %1:%2").arg(subcenterId, remotePath), __LINE__);
    bringForward();
    if (NetdiskPage *page = preparePage(subcenterId, remotePath))
        page->Upload(false);
}

// The command line's request

void ArkvaleTolmaMain::startCommandLine(NetdiskPage *page)
{
    const CommandLineRequest request = m_config->request();
    // Taken once: a login after a logout starts no transfer again.
    m_config->setRequest(CommandLineRequest());
    auto *transfer = new CommandLineTransfer(request, page->currentPath(), page);
    if (transfer->isEmpty()) {
        delete transfer;
        return;
    }
    const SubCenter center = page->subCenter();
    connect(transfer, &CommandLineTransfer::upload, page, &NetdiskPage::UploadTo);
    connect(transfer, &CommandLineTransfer::download, page,
            [page](const QList<FileItem> &files, const QList<FileItem> &folders, const QString &localFolder) {
                if (localFolder.isEmpty())
                    page->Download(files + folders);
                else
                    page->DownloadTo(files, folders, localFolder);
            });
    connect(transfer, &CommandLineTransfer::uploadChoiceWanted, page, [page](const QString &folder) {
        page->IntoFolder(folder);
        page->Upload(true);
    });
    connect(transfer, &CommandLineTransfer::listingWanted, this,
            [this, transfer, center](const QString &folder) { listForCommandLine(transfer, center, folder, 1); });
    connect(transfer, &CommandLineTransfer::problem, this, [this](const QString &text) {
        writeLog(text, __LINE__);
        // Not exec(): what does exist is transferred meanwhile.
        auto *notice = new MsgDlg(this);
        notice->setAttribute(Qt::WA_DeleteOnClose);
        notice->setTitle(tr("Tip"));
        notice->setText(text);
        notice->setButtonVisible(QStringLiteral("cancel"), false);
        notice->open();
    });
    transfer->start();
}

void ArkvaleTolmaMain::listForCommandLine(CommandLineTransfer *transfer, const SubCenter &center, const QString &folder,
                                          int tries)
{
    auto *client = new OrvClient(m_config->client());
    client->setParent(transfer);
    client->setUrl(center.address);
    connect(client, &OrvClient::listFileFinished, transfer, [=](qint64, int code, const QByteArray &body) {
        client->deleteLater();
        if (code == 201) {
            sessionEnded(QString());
        } else if (code == 200 || code == 203) {
            // A large folder's listing takes its time to read.
            const QPointer<CommandLineTransfer> alive(transfer);
            m_work->run([alive, code, body]() -> OrderedWork::Deliver {
                QList<FileItem> entries;
                if (code == 200)
                    entries = FileItemReader::items(body, FileItemReader::ListingTime);
                return [alive, entries] {
                    if (alive)
                        alive->setListing(true, entries);
                };
            });
        } else if (code == 404 || tries >= kListingTries) {
            transfer->setListing(code == 404, {});
        } else {
            QTimer::singleShot(kListingPause, transfer,
                               [=] { listForCommandLine(transfer, center, folder, tries + 1); });
        }
    });
    client->listFile(folder, 1);
}
