#include "NetdiskPage.h"

#include "AddressBar.h"
#include "BusyStrip.h"
#include "DriveClipboard.h"
#include "DropDecision.h"
#include "FileCacheAssistant.h"
#include "FileIconAssistant.h"
#include "FileInfoAssistant.h"
#include "FileItemModel.h"
#include "FileListing.h"
#include "FilePreview.h"
#include "FileTexts.h"
#include "FileWidget.h"
#include "GlobalConfig.h"
#include "NetDiskServer.h"
#include "NoticeBar.h"
#include "OrderedWork.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QToolButton>

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
    m_address->setRootName(center.name);
    m_view->model()->setSubCenterId(center.id);
    connectServer();
    tellChanges();
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
        AddItems(items);
        if (!items.isEmpty())
            m_view->select({items.first().path});
    });
    connect(m_server, &NetDiskServer::handlerIntoFloderFailured, this, &NetdiskPage::HandlerIntoFloderFailured);
    connect(m_server, &NetDiskServer::handlerRenameFinished, this, &NetdiskPage::HandlerRename);
    connect(m_server, &NetDiskServer::handlerRemoveFinished, this, &NetdiskPage::RemoveItems);
    connect(m_server, &NetDiskServer::handlerMoveFinished, this, &NetdiskPage::HandlerMove);
    connect(m_server, &NetDiskServer::handlerCopyFinished, this, &NetdiskPage::HandlerCopy);
    connect(m_server, &NetDiskServer::handlerGetStorageFinished, this, &NetdiskPage::SetStorage);
    connect(m_server, &NetDiskServer::NavgationChanged, this, &NetdiskPage::ChangeButtonStatus);
    connect(m_server, &NetDiskServer::NavgationChanged, this, &NetdiskPage::SlotFolderChanged);
    connect(m_server, &NetDiskServer::sigLogout, this, &NetdiskPage::sigLogout);
    connect(m_server, &NetDiskServer::sigLogout, m_busy, &BusyStrip::stop);
    connect(m_server, &NetDiskServer::locationAsked, m_busy, &BusyStrip::start);
    connect(m_server, &NetDiskServer::locationAsked, this, [this] {
        m_goingBack = false;
        m_unknown = false;
    });
    connect(m_server, &NetDiskServer::operationFailed, this, &NetdiskPage::operationFailed);
    connect(m_server, &NetDiskServer::foldersListed, m_address, &AddressBar::setFolderNames);
    connect(m_notice, &NoticeBar::tryAgain, this, &NetdiskPage::tryAgain);
    connect(this, &NetdiskPage::sigGetFileInfo, m_info, &FileInfoAssistant::getFileInfo);
    connect(m_info, &FileInfoAssistant::handlerGetFileInfoFinished, this, &NetdiskPage::AddItems);
}

void NetdiskPage::tellChanges()
{
    const auto tell = [this](const QStringList &gone, const QString &folder) {
        if (!gone.isEmpty() || !folder.isEmpty())
            emit sigDriveChanged(gone, folder.isEmpty() ? folder : FileListing::withSlash(folder));
    };
    connect(m_server, &NetDiskServer::handlerRemoveFinished, this,
            [tell](const QStringList &paths) { tell(paths, QString()); });
    connect(m_server, &NetDiskServer::handlerMoveFinished, this, tell);
    connect(m_server, &NetDiskServer::handlerCopyFinished, this,
            [tell](const QStringList &, const QString &dest) { tell({}, dest); });
    connect(m_server, &NetDiskServer::handlerRenameFinished, this, [tell](const QString &src, const QString &dest) {
        if (!src.isEmpty())
            tell({src}, FileListing::parentFolder(dest));
    });
    connect(m_server, &NetDiskServer::handlerNewFolderFinished, this, [tell](const QList<FileItem> &items) {
        if (!items.isEmpty())
            tell({}, FileListing::parentFolder(items.first().path));
    });
}

void NetdiskPage::followChange(const QStringList &gone, const QString &folder)
{
    if (!folder.isEmpty() && folder == currentPath() && !inSearch())
        Update();
    else if (!gone.isEmpty())
        RemoveItems(gone);
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
    connect(m_address, &AddressBar::left, m_view, QOverload<>::of(&QWidget::setFocus));
    connect(m_address, &AddressBar::folderNamesAsked, this, &NetdiskPage::completeFolders);
    connect(m_address, &AddressBar::dropped, this, [this](const QMimeData *mime, const QString &folder) {
        if (DropDecision::of(mime, folder, m_center.id) == DropDecision::Move)
            Move(DriveClipboard::fromMime(mime).paths(), folder);
        else
            emit m_view->sigUpload(DriveClipboard::localFiles(mime), folder);
    });
    connect(m_address, &AddressBar::sigSearch, this, [this](const QString &keyword) {
        m_search->setText(keyword);
        SearchFile();
    });
    FileItemModel *model = m_view->model();
    connect(model, &FileItemModel::shown, this, &NetdiskPage::locationShown);
    connect(m_view, &FileWidget::selectionChanged, this, &NetdiskPage::showSelection);
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
    m_view->setFocus(); // where what is found can be stepped through
    m_server->searchFile(keyword);
}

void NetdiskPage::HandlerIntoFloderFailured(int error)
{
    // The answer of a place that was left in the meantime says nothing about the place that is shown.
    if (!m_server->answerIsCurrent())
        return;
    m_busy->stop();
    const QPointer<NetdiskPage> self(this);
    const NavigationEntry failed = m_server->current();
    if (error == 2)
        tell(tr("Error"), tr("Path not found!"));
    else if (!m_goingBack) // what the person asked for is told, not each place on the way back from there
        showFailedPlace(tr("The folder \"%1\" could not be opened: the service does not answer as expected.")
                            .arg(FileTexts::line(failed.path)));
    // While the message was open the person may have gone on.
    if (!self || !(m_server->current() == failed))
        return;
    ChangeButtonStatus();
    if (m_server->canBackward()) {
        m_server->backward();
        m_goingBack = true;
    } else if (error == 2 && failed.path != QLatin1String("/")) {
        m_server->intoFolder(QStringLiteral("/"));
        m_server->clearBackward(); // a place that is not there is nothing to go back to
    } else if (!m_shownPlace.kind.isEmpty() && !(m_shownPlace == failed)) {
        // The list that is still there is of another place than the one that changes would go to.
        m_arriving.enqueue(NavigationEntry());
        m_view->model()->show({}, failed.path, false);
    }
    ChangeButtonStatus();
}

void NetdiskPage::showFailedPlace(const QString &text)
{
    m_failedPlace = m_server->current();
    showNotice(text, true);
}

void NetdiskPage::tryAgain()
{
    if (m_server->current() == m_failedPlace)
        m_server->navigation();
    else if (m_failedPlace.kind == QLatin1String("SearchFile"))
        m_server->searchFile(m_failedPlace.keyword);
    else
        m_server->intoFolder(m_failedPlace.title);
}

void NetdiskPage::ChangeButtonStatus()
{
    m_back->setEnabled(m_server->canBackward());
    m_forward->setEnabled(m_server->canForward());
    const bool folder = !inSearch();
    m_upload->setEnabled(folder);
    m_newFolder->setEnabled(folder);
    m_actions[UploadAction]->setEnabled(folder);
    m_actions[NewFolderAction]->setEnabled(folder);
    m_actions[BackAction]->setEnabled(m_server->canBackward());
    m_actions[ForwardAction]->setEnabled(m_server->canForward());
    m_actions[ParentAction]->setEnabled(folder && currentPath() != QLatin1String("/"));
}

void NetdiskPage::SlotFolderChanged()
{
    const NavigationEntry &place = m_server->current();
    if (inSearch()) {
        // Not the place's own title, which is in the language of the time of the search.
        const QString title = NetDiskServer::tr("Search Result");
        m_address->setTitle(title + QLatin1String(": ") + FileTexts::line(place.keyword));
        emit sigTitleChanged(title);
        return;
    }
    m_address->setPath(place.path);
    const QString name = FileTexts::line(FileListing::fileName(place.path));
    emit sigTitleChanged(name.isEmpty() ? m_center.name : name);
}

// Entries

void NetdiskPage::ShowItems(QList<FileItem> items)
{
    if (!m_server->answerIsCurrent())
        return;
    const NavigationEntry &place = m_server->current();
    m_arriving.enqueue(m_unknown ? NavigationEntry() : place);
    m_view->model()->show(items, place.path, inSearch());
}

void NetdiskPage::locationShown()
{
    m_busy->stop();
    const QString left = m_shownPlace.path;
    m_shownPlace = m_arriving.dequeue();
    const QSignalBlocker quiet(m_filter);
    m_filter->setText(m_view->model()->filter());
    ClearItemCount();
    AddItemCount(m_view->model()->listing().folders, m_view->model()->listing().files);
    if (m_shownPlace.kind.isEmpty())
        showEmptyFolder(false); // what is there is not known
    // Who comes up from a folder finds it where it is.
    const QString &here = m_shownPlace.path;
    if (!inSearch() && !here.isEmpty() && left.size() > here.size() && left.startsWith(here) &&
        m_view->selectedCount() == 0)
        m_view->select({left.left(left.indexOf(QLatin1Char('/'), here.size()))});
}

void NetdiskPage::AddItems(QList<FileItem> items)
{
    if (m_view->model()->isSearchResult() || items.isEmpty())
        return;
    QList<FileItem> here;
    for (const FileItem &item : qAsConst(items)) {
        if (FileListing::parentFolder(item.path) == m_view->model()->folder())
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
    // After a failure there is nothing to restore: the view showed the old name all along.
    if (src.isEmpty())
        return;
    m_view->model()->rename(src, dest);
    m_view->showPath(dest);
}

void NetdiskPage::HandlerMove(QStringList src, QString dest)
{
    if (src.isEmpty())
        return;
    forgetCut(src);
    if (!inSearch() && FileListing::withSlash(dest) == currentPath())
        m_server->navigation();
    else
        RemoveItems(src);
}

void NetdiskPage::HandlerCopy(QStringList src, QString dest)
{
    if (!src.isEmpty() && !inSearch() && FileListing::withSlash(dest) == currentPath())
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
