#pragma once

#include "FileItem.h"
#include "NavigationHistory.h"
#include "SubCenter.h"

#include <QBasicTimer>
#include <QMap>
#include <QPointer>
#include <QQueue>
#include <QWidget>

#include <utility>

class AddressBar;
class BusyStrip;
class FileCacheAssistant;
class FileIconAssistant;
class FileInfoAssistant;
class FilePreview;
class FileWidget;
class ImagePreviewWidget;
class NetDiskServer;
class NoticeBar;
class OrderedWork;
class QAction;
class QLabel;
class QLineEdit;
class QMenu;
class QMimeData;
class QProgressBar;
class QToolButton;
struct ShareRecord;

/// One browser page onto the drive of one sub-center. Owns its NetDiskServer and its views. Transfers leave as
/// sigUpload and sigDownload, an ended session as sigLogout. The page may be deleted at any time, also while one of its
/// dialogs is open or a lookup runs; late answers are then dropped. GUI thread only.
class NetdiskPage : public QWidget
{
    Q_OBJECT

public:
    /// @param initPath folder to open; empty: the top of the drive
    NetdiskPage(const SubCenter &center, const QString &initPath, QWidget *parent = nullptr);
    ~NetdiskPage() override;

    SubCenter subCenter() const { return m_center; }
    /// The folder shown, ends in "/"; "/" while a search result is shown.
    QString currentPath() const;
    NetDiskServer *server() const { return m_server; }

    /// Downloads @p items as if they were selected: asks for the target folder and about collisions.
    void Download(const QList<FileItem> &items);
    /// Starts transfers without a question. @p localFolder and @p remoteFolder are the targets; @p files and @p folders
    /// are full paths (local ones for an upload).
    void UploadTo(const QStringList &files, const QStringList &folders, const QString &remoteFolder);
    void DownloadTo(const QList<FileItem> &files, const QList<FileItem> &folders, const QString &localFolder);

    /// Offers sharing on the toolbar and in the menus; without somebody behind sigShare it is not offered.
    void setShareAvailable(bool available);
    /// What a drop onto the page as a whole, such as onto its tab, does: a DropDecision::Kind, 0 when it is refused.
    int dropKind(const QMimeData *mime) const;
    /// Performs such a drop into the folder shown.
    void takeDrop(const QMimeData *mime);
    /// Shows what another page onto the same drive told by sigDriveChanged.
    void followChange(const QStringList &gone, const QString &folder);

public slots:
    void Update();
    void Refresh();
    void Forward();
    void Backward();
    /// Opens the top of the drive.
    void IntoHome();
    void IntoParent();
    void IntoFolder(QString path);
    void SearchFile();
    void NewFolder();
    void Remove();
    /// @param mainAsParent the picker belongs to the main window; false: to this page
    void Upload(bool mainAsParent = true);
    /// Uploads local files and folders into the remote folder (empty: the current one), asking about collisions.
    void Upload(QStringList paths, QString remoteFolder);
    void Download();
    void Preview();
    /// Shows the image at @p path among the images of its folder, or opens the file with its program on this machine.
    void Preview(QString path);
    void Cut();
    void Copy();
    void Paste();
    void Move(QStringList paths, QString folder);
    /// Asks for the folder to move the selection to.
    void MoveTo();
    void Rename();
    void Compress();
    void Decompress();
    /// Shares the one selected entry by a link or with users: leaves as sigShare.
    void LinkShare();
    void UserShare();
    void GetFileInfo(QStringList paths);
    void SetIcons(QList<FileItem> items);

    void HandlerRename(QString src, QString dest);
    void HandlerMove(QStringList src, QString dest);
    void HandlerCopy(QStringList src, QString dest);
    void HandlerIntoFloderFailured(int error);

    void ShowItems(QList<FileItem> items);
    void AddItems(QList<FileItem> items);
    void RemoveItems(QStringList paths);
    void ClearItemCount();
    void AddItemCount(int folders, int files);
    void RemoveItemCount(int folders, int files);
    void RefreshItemCount();
    void showEmptyFolder(bool visible);
    void contextMenuRequested(const QPoint &globalPos);
    void SetStorage();
    /// Asks the service for the figures of the storage bar.
    void refreshStorage();
    /// Takes the sub-center's record anew from the configuration store.
    void refreshSubCenter();
    void ChangeButtonStatus();
    void SlotFolderChanged();
    /// Switches between the detailed list (0) and the icon grid (1); any other index toggles.
    void ChangeShowMode(int index = -1);
    /// @param state 1: tasks are being added, 2: tasks are running, any other: nothing to tell
    void changeTransferStatus(int state);
    /// @param type "FileName", "FileSize" or "Modified"
    void changeSortType(const QString &type);

signals:
    void sigUpload(QStringList files, QStringList folders, SubCenter subCenter, QString remoteFolder);
    void sigDownload(QList<FileItem> files, QList<FileItem> folders, SubCenter subCenter, QString localFolder);
    void ClickedUpload();
    void ClickedUploadFolder();
    void ClickedNewFolder();
    void ClickedSearchFile();
    void IconChanged(const QList<FileItem> &items);
    void UserConfermRemove();
    void sigGetFileInfo(QStringList paths);
    /// A share was made from this page; emitted by the dialogs that sigShare opens.
    void sigMyShared(const ShareRecord &record);
    /// The person wants to share @p item; @p withUsers: with named users, else by a link.
    void sigShare(FileItem item, bool withUsers);
    void sigAddItems(QList<FileItem> items);
    void ChangeTransferStatus(int state);
    /// This page changed the drive: @p gone are entries that are not there any more, in @p folder, if it is not empty,
    /// are others than before.
    void sigDriveChanged(QStringList gone, QString folder);
    /// The session ended or the account was restricted; the text is for the person.
    void sigLogout(QString message);
    /// The page shows another folder; the text is the folder's name, for a tab.
    void sigTitleChanged(QString title);

protected:
    /// The questions to the person, apart for callers that answer them otherwise.
    virtual QStringList askLocalPaths(QWidget *owner);
    virtual QString askTargetFolder(const QString &startFolder);
    void timerEvent(QTimerEvent *event) override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    /// What the page itself can do, each with its key; the view's own actions are FileWidget's.
    enum PageAction
    {
        UploadAction,
        NewFolderAction,
        LinkShareAction,
        UserShareAction,
        BackAction,
        ForwardAction,
        ParentAction,
        HomeAction,
        RefreshAction,
        AddressAction,
        SearchAction,
        FilterAction,
        SelectAllAction,
        DetailsAction,
        IconsAction
    };

    void buildToolbar(QWidget *toolbar);
    void buildLayout();
    void connectServer();
    void tellChanges();
    void connectViews();
    void connectCaches();
    void buildActions();
    void fillMenu(QMenu *menu);
    QMenu *createShareMenu(QWidget *parent);
    void retranslate();
    void retranslateActions();
    void fitToolbar();
    void locationShown();
    void operationFailed(int operation, const QStringList &paths, int code);
    void showFailures();
    static QString reasonOf(int code);
    void showSelection();
    void completeFolders(const QString &parent);
    void share(bool withUsers);
    void focusFilter();
    /// A cut selection that has been moved is nothing to paste again.
    void forgetCut(const QStringList &moved);
    void showMode();
    void showTransferStatus();
    void showNotice(const QString &text, bool canTryAgain = false);
    /// Tells that the place asked for could not be had; tryAgain() asks for it once more.
    void showFailedPlace(const QString &text);
    void tryAgain();
    /// A modal notice or question; false also when the page went away meanwhile.
    bool ask(const QString &title, const QString &text, const QString &okText = QString());
    void tell(const QString &title, const QString &text);
    bool inSearch() const;
    void uploadKnown(const QStringList &paths, const QString &folder, const QStringList &remoteNames);
    void commitRename(const FileItem &item, const QString &name);
    void putOnClipboard(const QString &type);
    /// By the person's settings, or asked for; empty when the person did not choose.
    QString targetFolder();
    void runCommand(int command);
    void showImage(const FileItem &item);
    /// The viewer's signal is what runs: its image is the selection.
    bool askedByViewer() const;
    /// The window that a question belongs to.
    QWidget *askOver();

    SubCenter m_center;
    QString m_lastTarget; ///< folder of the last download
    NetDiskServer *m_server;
    FileInfoAssistant *m_info;
    FileCacheAssistant *m_cache;
    FileIconAssistant *m_icons;
    FilePreview *m_preview;
    QPointer<ImagePreviewWidget> m_viewer;
    OrderedWork *m_work;
    FileWidget *m_view = nullptr;
    AddressBar *m_address = nullptr;
    QToolButton *m_back = nullptr;
    QToolButton *m_forward = nullptr;
    QToolButton *m_mode = nullptr;
    QToolButton *m_upload = nullptr;
    QToolButton *m_newFolder = nullptr;
    QToolButton *m_share = nullptr;
    QLineEdit *m_search = nullptr;
    QLineEdit *m_filter = nullptr;
    QMap<PageAction, QAction *> m_actions;
    BusyStrip *m_busy = nullptr;
    QLabel *m_count = nullptr;
    QLabel *m_status = nullptr;
    QLabel *m_selected = nullptr;
    NoticeBar *m_notice = nullptr;
    QLabel *m_storage = nullptr;
    QProgressBar *m_storageBar = nullptr;
    /// Changes that failed within a short while: operation and code to the names, for one message.
    QMap<std::pair<int, int>, QStringList> m_failures;
    QBasicTimer m_failureTimer;
    QQueue<NavigationEntry> m_arriving; ///< those whose entries are being sorted
    NavigationEntry m_shownPlace;       ///< that whose entries are in the view; empty when they are not known
    NavigationEntry m_failedPlace;      ///< that which the notice offers to try again
    bool m_goingBack = false;           ///< the last request leads back from a place that failed
    bool m_unknown = false;             ///< the list that comes says nothing about its place
    bool m_shareAvailable = false;
    int m_folders = 0;
    int m_files = 0;
    int m_transferState = 0;
};
