#include "NetdiskPage.h"

#include "AddressBar.h"
#include "CollisionQuestion.h"
#include "DriveClipboard.h"
#include "DropDecision.h"
#include "FileDialog.h"
#include "FileItemModel.h"
#include "FileListing.h"
#include "FileNameRules.h"
#include "FileWidget.h"
#include "GlobalConfig.h"
#include "ImagePreviewWidget.h"
#include "MoveDialog.h"
#include "MsgBox.h"
#include "MsgDlg.h"
#include "NetDiskServer.h"
#include "NewFolderWidget.h"
#include "OrderedWork.h"

#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMimeData>
#include <QStandardPaths>
#include <QToolButton>

#include <algorithm>

namespace {

QStringList pathsOf(const QList<FileItem> &items)
{
    QStringList paths;
    for (const FileItem &item : items)
        paths.append(item.path);
    return paths;
}

QStringList namesOf(const QList<FileItem> &items)
{
    QStringList names;
    for (const FileItem &item : items)
        names.append(item.name);
    return names;
}

/// Local paths told apart. Looks at the disk, which may be a slow one.
struct LocalChoice
{
    QStringList files, folders, fileNames, folderNames, missing;

    static LocalChoice of(const QStringList &paths)
    {
        LocalChoice choice;
        for (const QString &path : paths) {
            const QFileInfo info(QDir::cleanPath(path));
            if (!info.exists()) {
                choice.missing.append(path);
            } else if (info.isDir()) {
                choice.folders.append(info.absoluteFilePath());
                choice.folderNames.append(info.fileName());
            } else {
                choice.files.append(info.absoluteFilePath());
                choice.fileNames.append(info.fileName());
            }
        }
        return choice;
    }
};

/// Those of @p names that the local folder holds, by the disk's own idea of equal names. A name that is no single path
/// component is not looked for: it must not reach outside the folder.
QSet<QString> namesIn(const QString &folder, const QStringList &names)
{
    QSet<QString> found;
    const QDir dir(folder);
    for (const QString &name : names) {
        if (name.isEmpty() || name == QLatin1String("..") || name.contains(QLatin1Char('/')) ||
            name.contains(QLatin1Char('\\')))
            continue;
        const QFileInfo info(dir.filePath(name));
        if (info.exists() || info.isSymLink())
            found.insert(name);
    }
    return found;
}

} // namespace

// Questions

bool NetdiskPage::ask(const QString &title, const QString &text, const QString &okText)
{
    // Not on the stack: the dialog is a child of the page, which may go away while it is open.
    const QPointer<NetdiskPage> self(this);
    const QPointer<MsgDlg> dialog = new MsgDlg(askOver());
    dialog->setTitle(title);
    dialog->setText(text);
    if (!okText.isEmpty())
        dialog->setButtonText(QStringLiteral("ok"), okText);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    delete dialog;
    return self && accepted;
}

void NetdiskPage::tell(const QString &title, const QString &text)
{
    const QPointer<MsgDlg> dialog = new MsgDlg(askOver());
    dialog->setTitle(title);
    dialog->setText(text);
    dialog->setButtonVisible(QStringLiteral("ok"), false);
    dialog->exec();
    delete dialog;
}

QStringList NetdiskPage::askLocalPaths(QWidget *owner)
{
    const QPointer<NetdiskPage> self(this);
    const QPointer<FileDialog> dialog = new FileDialog(tr("Select file(s)/folder(s) to upload."), QString(), owner);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    const QStringList paths = dialog && accepted ? dialog->selectedPaths() : QStringList();
    delete dialog;
    return self ? paths : QStringList();
}

QString NetdiskPage::askTargetFolder(const QString &startFolder)
{
    const QPointer<NetdiskPage> self(this);
    const QPointer<QFileDialog> dialog = new QFileDialog(askOver(), tr("Select target folder"), startFolder);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    const QString folder = dialog && accepted ? dialog->selectedFiles().value(0) : QString();
    delete dialog;
    return self ? folder : QString();
}

// Transfers

void NetdiskPage::Upload(bool mainAsParent)
{
    if (inSearch())
        return;
    const QPointer<NetdiskPage> self(this);
    const QString folder = currentPath();
    const QStringList paths = askLocalPaths(mainAsParent ? window() : this);
    if (self && !paths.isEmpty())
        Upload(paths, folder);
}

void NetdiskPage::Upload(QStringList paths, QString remoteFolder)
{
    if (paths.isEmpty() || (remoteFolder.isEmpty() && inSearch()))
        return;
    const QString folder = FileListing::withSlash(remoteFolder.isEmpty() ? currentPath() : remoteFolder);
    const QPointer<NetdiskPage> self(this);
    bool known = false;
    const QStringList names = m_server->getFloderName(folder, &known);
    if (!self)
        return;
    if (!known) {
        // Without the names an upload could replace files that nobody was asked about.
        showNotice(tr("The upload was not started: the folder's contents could not be read."));
        return;
    }
    m_work->run([this, paths, folder, names]() -> OrderedWork::Deliver {
        const LocalChoice choice = LocalChoice::of(paths);
        return [this, choice, folder, names] {
            if (!choice.missing.isEmpty())
                showNotice(tr("%1 of the chosen files or folders cannot be read.").arg(choice.missing.size()));
            if (choice.files.isEmpty() && choice.folders.isEmpty())
                return;
            const CollisionQuestion question(choice.fileNames, choice.folderNames,
                                             QSet<QString>(names.begin(), names.end()));
            if (question.isNeeded() && !ask(tr("Tip"), question.text(), question.button()))
                return;
            emit sigUpload(choice.files, choice.folders, m_center, folder);
        };
    });
}

void NetdiskPage::UploadTo(const QStringList &files, const QStringList &folders, const QString &remoteFolder)
{
    if (!files.isEmpty() || !folders.isEmpty())
        emit sigUpload(files, folders, m_center, FileListing::withSlash(remoteFolder));
}

void NetdiskPage::Download()
{
    Download(askedByViewer() ? QList<FileItem>{m_viewer->current()} : m_view->selectedItems());
}

void NetdiskPage::Download(const QList<FileItem> &items)
{
    if (items.isEmpty()) {
        tell(tr("Tip"), tr("Please select file(s)/folder(s) to download."));
        return;
    }
    const QPointer<NetdiskPage> self(this);
    const QString target = targetFolder();
    if (!self || target.isEmpty())
        return;
    QList<FileItem> files, folders;
    for (const FileItem &item : items)
        (item.isFolder() ? folders : files).append(item);
    m_work->run([this, files, folders, target]() -> OrderedWork::Deliver {
        const QSet<QString> existing = namesIn(target, namesOf(files) + namesOf(folders));
        const bool usable = QFileInfo(target).isDir() || QDir().mkpath(target);
        return [this, files, folders, target, existing, usable] {
            if (!usable) {
                tell(tr("Error"), tr("The folder \"%1\" cannot be used.").arg(QDir::toNativeSeparators(target)));
                return;
            }
            const CollisionQuestion question(namesOf(files), namesOf(folders), existing);
            if (question.isNeeded() && !ask(tr("Tip"), question.text(), question.button()))
                return;
            emit sigDownload(files, folders, m_center, target);
        };
    });
}

void NetdiskPage::DownloadTo(const QList<FileItem> &files, const QList<FileItem> &folders, const QString &localFolder)
{
    if (!files.isEmpty() || !folders.isEmpty())
        emit sigDownload(files, folders, m_center, localFolder);
}

QString NetdiskPage::targetFolder()
{
    const DownloadPathSetting setting = GlobalConfig::instance()->downloadPath(m_center.id);
    if (setting.alwaysUseDefaultPath && !setting.defaultPath.isEmpty())
        return setting.defaultPath;
    QString start = setting.defaultPath.isEmpty() ? m_lastTarget : setting.defaultPath;
    if (start.isEmpty() || !QDir(start).exists())
        start = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (!QDir(start).exists())
        start = QDir::homePath();
    const QString chosen = askTargetFolder(start);
    if (!chosen.isEmpty()) // empty also when the page went away meanwhile
        m_lastTarget = chosen;
    return chosen;
}

// Changes

void NetdiskPage::NewFolder()
{
    if (inSearch())
        return;
    const QPointer<NetdiskPage> self(this);
    const QPointer<NewFolderWidget> dialog =
        new NewFolderWidget(NewFolderWidget::NewFolder, m_view->model()->names(), QString(), this);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    const QString name = dialog ? dialog->name() : QString();
    delete dialog;
    if (self && accepted)
        m_server->newFloder(name);
}

void NetdiskPage::Remove()
{
    const bool viewer = askedByViewer();
    const QStringList files = viewer ? QStringList{m_viewer->current().path} : pathsOf(m_view->selectedFiles());
    const QStringList folders = viewer ? QStringList() : pathsOf(m_view->selectedFolders());
    if (files.isEmpty() && folders.isEmpty()) {
        tell(tr("Tip"), tr("Please select file(s)/folder(s) you want to delete."));
        return;
    }
    if (!ask(tr("Delete"), tr("Delete selected items?")))
        return;
    if (!files.isEmpty())
        m_server->removeFile(files);
    if (!folders.isEmpty())
        m_server->removeFolder(folders);
    emit UserConfermRemove();
}

void NetdiskPage::Rename()
{
    if (m_view->selectedItems().size() != 1) {
        tell(tr("Tip"), tr("Please select the file or directory you want to rename!"));
        return;
    }
    m_view->editName();
}

void NetdiskPage::commitRename(const FileItem &item, const QString &name)
{
    const QString refusal = FileNameRules::renameRefusal(name, item.name, m_view->model()->names());
    if (!refusal.isEmpty()) {
        tell(tr("Tip"), refusal);
        return;
    }
    if (!FileNameRules::matches(name)) {
        showNotice(tr("A name must not begin with a dot or hold one of \\ / : * ? \" < > |"));
        return;
    }
    const QString dest = FileListing::parentFolder(item.path) + name;
    if (item.isFolder())
        m_server->renameFolder(item.path, dest);
    else
        m_server->renameFile(item.path, dest);
}

void NetdiskPage::Move(QStringList paths, QString folder)
{
    // What is there already stays; the service would refuse the whole request for it.
    paths.erase(std::remove_if(paths.begin(), paths.end(),
                               [&](const QString &path) {
                                   return FileListing::parentFolder(path) == FileListing::withSlash(folder);
                               }),
                paths.end());
    if (!paths.isEmpty() && !inSearch())
        m_server->move(paths, folder);
}

void NetdiskPage::MoveTo()
{
    const QStringList paths = pathsOf(m_view->selectedItems());
    if (paths.isEmpty() || inSearch())
        return;
    const QPointer<MoveDialog> dialog = new MoveDialog(m_center.address, paths, this);
    connect(dialog, SIGNAL(sigMove(QStringList, QString)), this, SLOT(Move(QStringList, QString)));
    dialog->exec();
    delete dialog;
}

void NetdiskPage::Compress()
{
    const QStringList paths = pathsOf(m_view->selectedItems());
    if (paths.isEmpty() || inSearch())
        return;
    const QPointer<NetdiskPage> self(this);
    const QString folder = currentPath();
    const QPointer<NewFolderWidget> dialog =
        new NewFolderWidget(NewFolderWidget::Compress, m_view->model()->names(), QString(), this);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    const QString name = dialog ? dialog->name() : QString();
    delete dialog;
    if (self && accepted)
        m_server->compress(paths, folder + name.chopped(4));
}

void NetdiskPage::Decompress()
{
    const QList<FileItem> items = m_view->selectedItems();
    if (items.size() == 1 && FileListing::isArchive(items.first()))
        m_server->decompress(items.first().path, FileListing::parentFolder(items.first().path));
}

// Clipboard

void NetdiskPage::putOnClipboard(const QString &type)
{
    const QList<FileItem> items = m_view->selectedItems();
    if (!items.isEmpty())
        QGuiApplication::clipboard()->setMimeData(new DriveMimeData({type, items, m_center.id}));
}

void NetdiskPage::Cut()
{
    putOnClipboard(QStringLiteral("Cut"));
}

void NetdiskPage::Copy()
{
    putOnClipboard(QStringLiteral("Copy"));
}

void NetdiskPage::Paste()
{
    const QMimeData *mime = QGuiApplication::clipboard()->mimeData();
    if (inSearch() || !mime)
        return;
    if (mime->hasFormat(DriveClipboard::format())) {
        const DriveClipboard record = DriveClipboard::fromMime(mime);
        if (record.isEmpty())
            return;
        const SubCenter origin = GlobalConfig::instance()->subCenter(record.subCenterId);
        if (record.subCenterId != m_center.id) {
            const QString name = origin.name.isEmpty() ? record.subCenterId : origin.name;
            tell(tr("Tip"), tr("These items are in \"%1\". Download them there and upload them here.").arg(name));
        } else if (record.type == QLatin1String("Cut")) {
            Move(record.paths(), currentPath());
        } else if (record.type == QLatin1String("Copy")) {
            m_server->copy(record.paths(), currentPath());
        }
        return;
    }
    const QStringList paths = DriveClipboard::localFiles(mime);
    if (!paths.isEmpty())
        Upload(paths, currentPath());
}

void NetdiskPage::forgetCut(const QStringList &moved)
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (!clipboard->ownsClipboard())
        return;
    const DriveClipboard record = DriveClipboard::fromMime(clipboard->mimeData());
    if (record.type == QLatin1String("Cut") && record.paths() == moved)
        clipboard->clear();
}

int NetdiskPage::dropKind(const QMimeData *mime) const
{
    return DropDecision::of(mime, m_view->model()->dropFolder({}), m_center.id);
}

void NetdiskPage::takeDrop(const QMimeData *mime)
{
    m_view->model()->dropMimeData(mime, Qt::CopyAction, -1, -1, {});
}

// Sharing

void NetdiskPage::setShareAvailable(bool available)
{
    m_shareAvailable = available;
    m_share->setVisible(available);
    fitToolbar();
}

void NetdiskPage::LinkShare()
{
    share(false);
}

void NetdiskPage::UserShare()
{
    share(true);
}

void NetdiskPage::share(bool withUsers)
{
    GlobalConfig *config = GlobalConfig::instance();
    if (!config->currentUser().authentication) {
        const QString name = tr("real name authentication"), address = config->registerUrl();
        const QString link =
            address.isEmpty() ? name : QStringLiteral("<a href=\"%1\">%2</a>").arg(address.toHtmlEscaped(), name);
        const QPointer<MsgBox> notice = new MsgBox(this);
        notice->setTitle(tr("Tip"));
        notice->setText(tr("Dear users, you have not been %1, temporarily unable to share.").arg(link));
        notice->setButtonVisible(QStringLiteral("cancel"), false);
        notice->exec();
        delete notice;
        return;
    }
    const QList<FileItem> items = m_view->selectedItems();
    if (items.size() != 1)
        return tell(tr("Tip"), tr("Please select one file/folder to share."));
    emit sigShare(items.first(), withUsers);
}

void NetdiskPage::completeFolders(const QString &parent)
{
    if (parent != m_view->model()->folder() || m_view->model()->isSearchResult())
        return m_server->listFolders(parent);
    QStringList names;
    for (const FileItem &item : m_view->model()->listing().items) {
        if (item.isFolder())
            names.append(item.name);
    }
    m_address->setFolderNames(parent, names);
}

void NetdiskPage::runCommand(int command)
{
    switch (command) {
    case FileWidget::Download:
        return Download();
    case FileWidget::Rename:
        return Rename();
    case FileWidget::Delete:
        return Remove();
    case FileWidget::Preview:
        return Preview();
    case FileWidget::Cut:
        return Cut();
    case FileWidget::Copy:
        return Copy();
    case FileWidget::Paste:
        return Paste();
    case FileWidget::Compress:
        return Compress();
    case FileWidget::Decompress:
        return Decompress();
    case FileWidget::MoveTo:
        return MoveTo();
    default:
        break;
    }
}
