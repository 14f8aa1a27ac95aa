#pragma once

#include "FileItem.h"
#include "SubCenter.h"
#include "TransferModule.h"

#include <QMainWindow>
#include <QMap>

class AdTicker;
class ArkvaleTray;
class BrowserServer;
class CommandLineTransfer;
class GlobalConfig;
class LoginService;
class NetdiskPage;
class OrderedWork;
class QButtonGroup;
class QLabel;
class QProgressBar;
class QPushButton;
class QSplitter;
class QStackedWidget;
class QTimer;
class QToolButton;
class TabWidget;
class TransferringWidget;

/// The main window of one login cycle: drive pages in tabs and panes, the transfer page, the menu, and the handling of
/// requests from web pages and the command line. Close() fires once, when the cycle is to end; the session state then
/// says whether the user logged out (1) or leaves (6). The objects given to the constructor must outlive the window.
/// GUI thread only.
class ArkvaleTolmaMain : public QMainWindow
{
    Q_OBJECT

public:
    /// @param updater object with a slot Update() and a signal UpdateFinished(int), or none
    /// @param updateAvailable there is an updater
    ArkvaleTolmaMain(LoginService *loginService, ArkvaleTray *tray, BrowserServer *bridge, QObject *updater,
                     bool updateAvailable);
    ~ArkvaleTolmaMain() override;

    void setLoggerId(int id) { m_loggerId = id; }
    /// All drive pages, pane by pane.
    QList<NetdiskPage *> pages() const;
    TransferringWidget *transfers() const { return m_transfers; }

signals:
    void Close();
    void languageChanged();
    void sigWriteLog(int logLevel, int, QString, const wchar_t *fileName, int lineNum);
    void sigShowTrayMessage(QString text);
    void StartUpload(QStringList files, QStringList folders, SubCenter subCenter, QString remoteFolder);
    void StartDownload(QList<FileItem> files, QList<FileItem> folders, SubCenter subCenter, QString localFolder);
    void SigUpdateSubcenterPaths(QMap<QString, QString> paths);

public slots:
    /// Opens the first drive page. The sending timer's property "initPath" names the folder to open.
    void initSplitWidget();
    /// A new pane to the right of the others.
    TabWidget *addSplitWidget();
    /// Removes an empty pane unless it is the only one.
    void removeSplitWidget(TabWidget *pane);
    /// @param ndpId name of the pane that takes the page
    NetdiskPage *addNetDiskPage(QString ndpId, SubCenter subCenter, QString initPath);
    void removeNetDiskPage(NetdiskPage *page);
    void changeTab(int index);
    /// Closes the tab of the sending pane; the last tab of all stays.
    void closeTab(int index);
    /// Lets the person choose a sub-center for a new tab.
    void openTab();
    void addTab(QString subCenterId);
    void splitTab(int index);
    void SetUserIcon();
    void SetStorage();
    void showMenu();
    void refreshAD();
    void showMaximizedOrNormal();
    void changePage();
    void updateTransferList();
    void Logout();
    void Logout(QString user);
    void Exit();
    void UpdateApp();
    void UpdateFinished(int retcode);
    void ClearCache();
    void ChangeLanguage();
    void About();
    void Help();
    void onRaise();
    /// Brings the window forward, with the transfer page when @p bSwith is true.
    void onShowTransfering(bool bSwith = true);
    /// Brings the window forward and opens the settings.
    void onShowSetting();
    void StartSocketServer();
    void StopSocketServer();
    void ProcessDownloadRequest(QString subCenterId, QList<FileItem> items);
    void ProcessUploadRequest(QString subcenterId, QString remotePath);
    void CloseMinimizedToTray();
    void initSubCenter();
    void refreshSubCenter();
    void UpdateSubcenterPaths();
    /// Settings of that sub-center were changed.
    void RefreshConfig(QString subCenterId);
    void RefreshVipParam();

protected:
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;

private slots:
    void announceStart();
    void sessionEnded(QString message);
    void checkStorage();

private:
    // Construction
    void buildTitleBar();
    void buildPages();
    void connectStore();
    void connectTransfers();
    void retranslate();

    // Panes and pages
    void openFirstPage();
    TabWidget *paneOf(const NetdiskPage *page) const;
    QList<TabWidget *> panes() const;
    TabWidget *currentPane() const;
    NetdiskPage *currentPage() const;
    NetdiskPage *findPage(const QString &subCenterId) const;
    /// The page of that sub-center, brought to the front, made when there is none; null where the user has no access.
    NetdiskPage *preparePage(const QString &subCenterId, const QString &path);
    void showDiskPage();
    void retitle(NetdiskPage *page, const QString &folder);

    // Requests
    void startCommandLine(NetdiskPage *page);
    void listForCommandLine(CommandLineTransfer *transfer, const SubCenter &center, const QString &folder, int tries);

    // Small helpers
    void finish(int state);
    bool ask(const QString &title, const QString &text);
    void tell(const QString &title, const QString &text);
    void writeLog(const QString &message, int line);
    void scheduleStorageCheck(int milliseconds);
    void bringForward();

    GlobalConfig *m_config;
    LoginService *m_loginService;
    ArkvaleTray *m_tray;
    BrowserServer *m_bridge;
    QObject *m_updater;
    OrderedWork *m_work;
    int m_loggerId = 0;
    bool m_closed = false;
    bool m_ready = false;
    bool m_waitingForCenter = false;
    int m_paneNumber = 0;
    QString m_initPath;

    QWidget *m_titleBar = nullptr;
    QButtonGroup *m_pageButtons = nullptr;
    QPushButton *m_diskButton = nullptr;
    QPushButton *m_transferButton = nullptr;
    QPushButton *m_settingButton = nullptr;
    QToolButton *m_newTab = nullptr;
    QToolButton *m_toTray = nullptr;
    QToolButton *m_menuButton = nullptr;
    AdTicker *m_ads = nullptr;
    QProgressBar *m_storageBar = nullptr;
    QLabel *m_storageText = nullptr;
    QLabel *m_avatar = nullptr;
    QLabel *m_userName = nullptr;
    QStackedWidget *m_stack = nullptr;
    QSplitter *m_splitter = nullptr;
    QLabel *m_waiting = nullptr;
    TransferringWidget *m_transfers = nullptr;
    QTimer *m_storageTimer = nullptr;
};
