#include "NetdiskPage.h"

#include "AddressBar.h"
#include "FileCacheAssistant.h"
#include "FileIconAssistant.h"
#include "FileInfoAssistant.h"
#include "FileItemModel.h"
#include "FileListing.h"
#include "FilePreview.h"
#include "FileWidget.h"
#include "GlobalConfig.h"
#include "NetDiskServer.h"
#include "OrderedWork.h"
#include "SizeText.h"

#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QProgressBar>
#include <QTimerEvent>
#include <QToolButton>

#include <limits>

namespace {

constexpr int NoticeTime = 8000; // ms

} // namespace

NetdiskPage::NetdiskPage(const SubCenter &center, const QString &initPath, QWidget *parent)
    : QWidget(parent)
    , m_center(center)
    , m_server(new NetDiskServer(center.address, this))
    , m_info(new FileInfoAssistant(center.address, this))
    , m_cache(new FileCacheAssistant(center.id, this))
    , m_icons(new FileIconAssistant(center.address, m_cache->folders(), this))
    , m_preview(new FilePreview(center.address, m_cache->folders(), this, this))
    , m_work(new OrderedWork(this))
{
    setObjectName(QStringLiteral("NetdiskPage"));
    buildLayout();
    m_view->setPreviewAvailable(true);
    addShortcuts();
    m_address->setRootName(center.name);
    m_view->model()->setSubCenterId(center.id);
    connectServer();
    connectViews();
    connectCaches();
    RefreshItemCount();
    SetStorage();
    ChangeButtonStatus();
    setFocusProxy(m_view);
    m_view->setFocus();
    IntoFolder(initPath.isEmpty() ? QStringLiteral("/") : initPath);
}

NetdiskPage::~NetdiskPage() = default;

void NetdiskPage::connectServer()
{
    connect(m_server, &NetDiskServer::handlerIntoFloderFinished, this, &NetdiskPage::ShowItems);
    connect(m_server, &NetDiskServer::handlerSearchFileFinished, this, &NetdiskPage::ShowItems);
    connect(m_server, &NetDiskServer::handlerNewFolderFinished, this, [this](const QList<FileItem> &items) {
        if (items.isEmpty())
            return showNotice(tr("The folder could not be created."));
        AddItems(items);
        m_view->select({items.first().path});
    });
    connect(m_server, &NetDiskServer::handlerIntoFloderFailured, this, &NetdiskPage::HandlerIntoFloderFailured);
    connect(m_server, &NetDiskServer::handlerRenameFinished, this, &NetdiskPage::HandlerRename);
    connect(m_server, &NetDiskServer::handlerRemoveFinished, this, [this](const QStringList &paths) {
        if (paths.isEmpty())
            showNotice(tr("The items could not be deleted."));
        RemoveItems(paths);
    });
    connect(m_server, &NetDiskServer::handlerMoveFinished, this, &NetdiskPage::HandlerMove);
    connect(m_server, &NetDiskServer::handlerCopyFinished, this, &NetdiskPage::HandlerCopy);
    connect(m_server, &NetDiskServer::handlerGetStorageFinished, this, &NetdiskPage::SetStorage);
    connect(m_server, &NetDiskServer::NavgationChanged, this, &NetdiskPage::ChangeButtonStatus);
    connect(m_server, &NetDiskServer::NavgationChanged, this, &NetdiskPage::SlotFolderChanged);
    connect(m_server, &NetDiskServer::sigLogout, this, &NetdiskPage::sigLogout);
    connect(this, &NetdiskPage::sigGetFileInfo, m_info, &FileInfoAssistant::getFileInfo);
    connect(m_info, &FileInfoAssistant::handlerGetFileInfoFinished, this, &NetdiskPage::AddItems);
}

void NetdiskPage::connectViews()
{
    connect(m_view, &FileWidget::sigIntoFolder, this, &NetdiskPage::IntoFolder);
    // Queued: these ask questions and wait, in which the page may be closed, and the view's event must be over by then.
    connect(m_view, &FileWidget::sigOpenFile, this, QOverload<QString>::of(&NetdiskPage::Preview),
            Qt::QueuedConnection);
    connect(m_view, &FileWidget::sigUpload, this, QOverload<QStringList, QString>::of(&NetdiskPage::Upload),
            Qt::QueuedConnection);
    connect(m_view, &FileWidget::sigMove, this, &NetdiskPage::Move, Qt::QueuedConnection);
    connect(m_view, &FileWidget::uploadClicked, this, [this] { Upload(); });
    connect(m_view, &FileWidget::menuAsked, this, &NetdiskPage::contextMenuRequested);
    connect(m_view, &FileWidget::sortTypeAsked, this, &NetdiskPage::changeSortType);
    connect(m_view, &FileWidget::nameCommitted, this, &NetdiskPage::commitRename);
    connect(m_view, &FileWidget::command, this, &NetdiskPage::runCommand);
    connect(m_address, &AddressBar::sigIntoFolder, this, &NetdiskPage::IntoFolder);
    connect(m_address, &AddressBar::sigSearch, this, [this](const QString &keyword) {
        m_search->setText(keyword);
        SearchFile();
    });
    FileItemModel *model = m_view->model();
    connect(model, &FileItemModel::shown, this, [this, model] {
        ClearItemCount();
        AddItemCount(model->listing().folders, model->listing().files);
    });
    connect(model, &FileItemModel::added, this, &NetdiskPage::AddItemCount);
    connect(model, &FileItemModel::removed, this, &NetdiskPage::RemoveItemCount);
}

// Places

QString NetdiskPage::currentPath() const
{
    const QString &path = m_server->current().path;
    return path.isEmpty() ? QStringLiteral("/") : path;
}

bool NetdiskPage::inSearch() const
{
    return m_server->current().kind == QLatin1String("SearchFile");
}

void NetdiskPage::Update()
{
    m_server->navigation();
}

void NetdiskPage::Refresh()
{
    m_server->refresh();
}

void NetdiskPage::Forward()
{
    m_server->forward();
}

void NetdiskPage::Backward()
{
    m_server->backward();
}

void NetdiskPage::IntoHome()
{
    IntoFolder(QStringLiteral("/"));
}

void NetdiskPage::IntoParent()
{
    if (!inSearch() && currentPath() != QLatin1String("/"))
        IntoFolder(FileListing::parentFolder(currentPath()));
}

void NetdiskPage::IntoFolder(QString path)
{
    m_server->intoFolder(path);
}

void NetdiskPage::SearchFile()
{
    const QString keyword = m_search->text().trimmed();
    if (keyword.isEmpty())
        return;
    emit ClickedSearchFile();
    m_server->searchFile(keyword);
}

void NetdiskPage::HandlerIntoFloderFailured(int error)
{
    // The answer of a place that was left in the meantime says nothing about the place that is shown.
    if (!m_server->answerIsCurrent())
        return;
    const QPointer<NetdiskPage> self(this);
    if (error == 2)
        tell(tr("Error"), tr("Path not found!"));
    else
        showNotice(tr("The folder could not be opened: the service did not answer as expected."));
    if (!self)
        return;
    ChangeButtonStatus();
    m_server->backward();
}

void NetdiskPage::ChangeButtonStatus()
{
    m_back->setEnabled(m_server->canBackward());
    m_forward->setEnabled(m_server->canForward());
    const bool folder = !inSearch();
    m_upload->setEnabled(folder);
    m_newFolder->setEnabled(folder);
}

void NetdiskPage::SlotFolderChanged()
{
    const NavigationEntry &place = m_server->current();
    if (inSearch()) {
        // Not the place's own title, which is in the language of the time of the search.
        const QString title = NetDiskServer::tr("Search Result");
        m_address->setTitle(title + QLatin1String(": ") + place.keyword);
        emit sigTitleChanged(title);
        return;
    }
    m_address->setPath(place.path);
    const QString name = FileListing::fileName(place.path);
    emit sigTitleChanged(name.isEmpty() ? m_center.name : name);
}

// Entries

void NetdiskPage::ShowItems(QList<FileItem> items)
{
    if (!m_server->answerIsCurrent())
        return;
    m_view->model()->setFolder(currentPath());
    m_view->setSearchResult(inSearch());
    m_view->model()->show(items);
}

void NetdiskPage::AddItems(QList<FileItem> items)
{
    if (inSearch() || items.isEmpty())
        return;
    QList<FileItem> here;
    for (const FileItem &item : qAsConst(items)) {
        if (FileListing::parentFolder(item.path) == currentPath())
            here.append(item);
    }
    if (here.isEmpty())
        return;
    m_view->model()->add(here);
    emit sigAddItems(here);
}

void NetdiskPage::RemoveItems(QStringList paths)
{
    m_view->model()->remove(paths);
}

void NetdiskPage::HandlerRename(QString src, QString dest)
{
    // The view showed the old name all along.
    if (src.isEmpty()) {
        showNotice(tr("The item could not be renamed."));
        return;
    }
    m_view->model()->rename(src, dest);
}

void NetdiskPage::HandlerMove(QStringList src, QString dest)
{
    if (src.isEmpty()) {
        showNotice(tr("The items could not be moved."));
        return;
    }
    if (!inSearch() && FileListing::withSlash(dest) == currentPath())
        m_server->navigation();
    else
        RemoveItems(src);
}

void NetdiskPage::HandlerCopy(QStringList src, QString dest)
{
    if (src.isEmpty()) {
        showNotice(tr("The items could not be copied."));
        return;
    }
    if (!inSearch() && FileListing::withSlash(dest) == currentPath())
        m_server->navigation();
}

void NetdiskPage::GetFileInfo(QStringList paths)
{
    if (inSearch())
        return;
    QStringList here;
    for (const QString &path : qAsConst(paths)) {
        if (FileListing::parentFolder(path) == currentPath())
            here.append(path);
    }
    if (!here.isEmpty())
        emit sigGetFileInfo(here);
}

void NetdiskPage::SetIcons(QList<FileItem> items)
{
    m_view->setIcons(items);
    emit IconChanged(items);
}

// Counters and labels

void NetdiskPage::ClearItemCount()
{
    m_folders = 0;
    m_files = 0;
    RefreshItemCount();
}

void NetdiskPage::AddItemCount(int folders, int files)
{
    m_folders += folders;
    m_files += files;
    RefreshItemCount();
    showEmptyFolder(m_folders + m_files == 0);
}

void NetdiskPage::RemoveItemCount(int folders, int files)
{
    AddItemCount(-folders, -files);
}

void NetdiskPage::RefreshItemCount()
{
    QString text = QStringLiteral(" %1").arg(m_folders + m_files) + QLatin1Char(' ') + tr("items");
    text += QStringLiteral(" (%1").arg(m_files) + QLatin1Char(' ') + tr("files");
    text += QStringLiteral(", %1").arg(m_folders) + QLatin1Char(' ') + tr("folders") + QLatin1Char(')');
    m_count->setText(text.trimmed());
}

void NetdiskPage::showEmptyFolder(bool visible)
{
    m_view->setEmptyPanelVisible(visible);
}

void NetdiskPage::SetStorage()
{
    const UserInfo user = GlobalConfig::instance()->currentUser();
    const qint64 used = qMax<qint64>(0, user.storageUsed), quota = user.storageQuota;
    if (quota > 0) {
        const bool fits = used <= std::numeric_limits<qint64>::max() / 100;
        const qint64 percent = fits ? used * 100 / quota : used / qMax<qint64>(1, quota / 100);
        m_storageBar->setValue(int(qMin<qint64>(100, percent)));
    }
    m_storage->setText(QStringLiteral("%1/%2").arg(sizeText(quint64(used)), sizeText(quint64(qMax<qint64>(0, quota)))));
}

void NetdiskPage::refreshStorage()
{
    m_server->getStorage();
}

void NetdiskPage::refreshSubCenter()
{
    const SubCenter center = GlobalConfig::instance()->subCenter(m_center.id);
    if (center.id != m_center.id)
        return;
    m_center = center;
    m_address->setRootName(center.name);
}

void NetdiskPage::ChangeShowMode(int index)
{
    const bool toIcons = index < 0 ? m_view->showMode() == FileWidget::ListMode : index == 1;
    m_view->setShowMode(toIcons ? FileWidget::IconMode : FileWidget::ListMode);
    showMode();
}

void NetdiskPage::showMode()
{
    const bool toIcons = m_view->showMode() == FileWidget::IconMode;
    m_mode->setText(toIcons ? tr("Icon") : tr("List"));
    m_mode->setAccessibleName(m_mode->text());
    m_mode->setToolTip(toIcons ? tr("Switch to list mode") : tr("Switch to icon mode"));
    m_mode->setIcon(QIcon(toIcons ? QStringLiteral(":/ArkvaleTolmaMain/Icon/grid.svg")
                                  : QStringLiteral(":/ArkvaleTolmaMain/Icon/list.svg")));
}

void NetdiskPage::changeTransferStatus(int state)
{
    m_transferState = state;
    showTransferStatus();
    emit ChangeTransferStatus(state);
}

void NetdiskPage::showTransferStatus()
{
    m_status->setText(m_transferState == 1   ? tr("Adding to the transfer list...")
                      : m_transferState == 2 ? tr("Tasks is running...")
                                             : QString());
}

void NetdiskPage::changeSortType(const QString &type)
{
    m_view->setSortType(type);
}

void NetdiskPage::contextMenuRequested(const QPoint &globalPos)
{
    QMenu *menu = m_view->createContextMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setStyleSheet(
        QStringLiteral("QMenu { background: white; font-size: 12px; }"
                       "QMenu::item { height: 30px; min-width: 95px; padding: 0 24px 0 30px; color: #2459b8; }"
                       "QMenu::icon { padding-left: 8px; }"
                       "QMenu::item:selected { background: #e8f0fe; }"
                       "QMenu::item:disabled { color: #a3aebd; }"));
    menu->popup(globalPos);
}

void NetdiskPage::showNotice(const QString &text)
{
    m_notice->setText(text);
    m_notice->show();
    m_noticeTimer.start(NoticeTime, this);
}

void NetdiskPage::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_noticeTimer.timerId())
        return QWidget::timerEvent(event);
    m_noticeTimer.stop();
    m_notice->hide();
}
