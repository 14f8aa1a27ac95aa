#pragma once

#include "FileItem.h"
#include "SubCenter.h"
#include "TransferModule.h"
#include "TransferSettings.h"
#include "WindowState.h"

#include <QMainWindow>
#include <QMap>
#include <QPointer>

#include <functional>

class ArkvaleTray;
class BrowserServer;
class CenterIcons;
class DrivePanes;
class GlobalConfig;
class HeaderBar;
class LoginService;
class NetdiskPage;
class OrderedWork;
class QLabel;
class QStackedWidget;
class QTimer;
class SharePage;
class TabWidget;
class TransferringWidget;
class UpdateDialog;

/// The main window of one login cycle: drive pages in tabs and panes, the transfer page, the menu, and the handling of
/// requests from web pages and the command line. Close() fires once, when the cycle is to end; the session state then
/// says whether the user logged out (1) or leaves (6). Place, panes and tabs are kept in the user's folder and come
/// back at the next login. The objects given to the constructor must outlive the window. GUI thread only.
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
    DrivePanes *panes() const { return m_panes; }
    TransferringWidget *transfers() const { return m_transfers; }
    /// Why the command line's request cannot be carried out in the sub-center that it names; empty when it can. A
    /// sub-center that has not answered yet counts as one without a folder.
    static QString refusal(const CommandLineRequest &request);
    /// The cycle ended because a web page asked for another user.
    bool switchedByPage() const { return m_switchedByPage; }

signals:
    void sigGetUserIcon();
    /// The window wants that size, which may not fit on the screen.
    void ReadyResize(QSize size);
    void Close();
    void languageChanged();
    void sigWriteLog(int logLevel, int, QString, const wchar_t *fileName, int lineNum);
    void sigShowTrayMessage(QString text);
    void StartUpload(QStringList files, QStringList folders, SubCenter subCenter, QString remoteFolder);
    void StartDownload(QList<FileItem> files, QList<FileItem> folders, SubCenter subCenter, QString localFolder);
    void SigUpdateSubcenterPaths(QMap<QString, QString> paths);

public slots:
    /// Shows the "Share" button where there is a share page, sharing is allowed and the user has a home.
    void checkSharePage();
    /// Opens the tabs of the last time and the first drive page. The sending timer's property "initPath" names the
    /// folder to open in it.
    void initSplitWidget();
    /// A new pane to the right of the others.
    TabWidget *addSplitWidget();
    /// Removes an empty pane unless it is the only one.
    void removeSplitWidget(TabWidget *pane);
    /// @param ndpId name of the pane that takes the page
    NetdiskPage *addNetDiskPage(QString ndpId, SubCenter subCenter, QString initPath);
    void removeNetDiskPage(NetdiskPage *page);
    /// What can be done with tabs and panes now shows in the buttons.
    void changeTabButtonState();
    void changeTab(int index);
    /// Closes the tab of the sending pane; the last tab of all stays.
    void closeTab(int index);
    /// A new tab: of the one sub-center that there is, or of the one that the person chooses.
    void openTab();
    void addTab(QString subCenterId);
    void splitTab(int index);
    void RefreshSubCenterIcon();
    void SetUserIcon();
    void SetStorage();
    void showMenu();
    void refreshAD();
    /// Gives the ticker the width that the window has for it.
    void resizeScrollText();
    /// Takes the size as far as the screen has room for it, and comes wholly onto the screen.
    void resizeShow(QSize size);
    void showMaximizedOrNormal();
    void changePage();
    void updateTransferList();
    void Logout();
    void UpdateApp();
    void UpdateFinished(int retcode);
    void ClearCache();
    void ChangeLanguage();
    void About();
    void onRaise();
    /// Brings the window forward, with the transfer page when @p bSwith is true.
    void onShowTransfering(bool bSwith = true);
    /// Brings the window forward with the settings.
    void onShowSetting();
    void StartSocketServer();
    void StopSocketServer();
    void ProcessDownloadRequest(QString subCenterId, QList<FileItem> items);
    void ProcessUploadRequest(QString subcenterId, QString remotePath);
    void CloseMinimizedToTray();
    /// A web page wants another user to log in.
    void Logout(QString user);
    void Exit();
    void initSubCenter();
    void refreshSubCenter();
    void UpdateSubcenterPaths();
    /// The transfer settings of a sub-center changed.
    void RefreshConfig(QString subCenterId);
    void RefreshVipParam();
    /// Into the tray where the desktop has one, else into the task bar.
    void showMinimized();
    void Help();
    void reopenTab();
    /// Splits the current tab into a second pane, or closes the current one of several.
    void toggleSplit();
    void closePane();
    void closeCurrentTab();
    /// Shows a folder of the current sub-center.
    void openFolder(QString path);

protected:
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private slots:
    void announceStart();
    void sessionEnded(QString message = QString());
    void checkStorage();

private:
    // Construction
    void buildPages();
    void setSharePage(SharePage *page);
    void showUpdates();
    void connectStore();
    void connectTransfers();
    void connectHeader();
    void addShortcuts();
    void retranslate();
    void hearPane(TabWidget *pane);

    // Panes and pages
    void openFirstPage();
    void restoreTabs();
    /// Opens a tab of the last time; false while its sub-center is not known to be there.
    bool restoreTab(const WindowState::Tab &tab, const QString &pane);
    void restoreLateTabs();
    /// The page of that sub-center, brought to the front, made when there is none; null where the user has no access.
    NetdiskPage *preparePage(const QString &subCenterId, const QString &path);
    /// A second page onto what the page shows, in a pane of its own.
    void splitInto(NetdiskPage *page);
    void showDiskPage();
    QWidget *buildSettings();
    void showTab(int index);
    void retitle(NetdiskPage *page, const QString &folder);
    void startCommandLine(NetdiskPage *page);
    /// Carries out a web page's request on the page of that sub-center, unless another one is being carried out.
    void serve(const QString &subCenterId, const QString &path, const std::function<void(NetdiskPage *)> &action);

    // Place
    QString stateFile() const;
    void restorePlace();
    void keepState();

    // Small helpers
    QString leavingText(const QString &question) const;
    void finish(int state);
    bool ask(const QString &title, const QString &text);
    void tell(const QString &title, const QString &text);
    void complain(const QString &text);
    void writeLog(const QString &message, int line);
    void scheduleStorageCheck(int milliseconds);
    void bringForward();

    GlobalConfig *m_config;
    LoginService *m_loginService;
    ArkvaleTray *m_tray;
    BrowserServer *m_bridge;
    QObject *m_updater;
    OrderedWork *m_work;
    const QString m_user; ///< whose window it is
    int m_loggerId = 0;
    bool m_closed = false;
    bool m_ready = false;
    bool m_serving = false; ///< a request of a web page has the person's attention
    bool m_switchedByPage = false;
    bool m_sessionEnded = false;
    bool m_waitingForCenter = false;
    QString m_initPath;
    WindowState m_state;                ///< of the last time
    QList<WindowState::Tab> m_lateTabs; ///< whose sub-centers have not answered yet

    HeaderBar *m_header = nullptr;
    QStackedWidget *m_stack = nullptr;
    QLabel *m_waiting = nullptr;
    DrivePanes *m_panes = nullptr;
    TransferringWidget *m_transfers = nullptr;
    QPointer<UpdateDialog> m_updates;
    SharePage *m_share = nullptr; ///< none where sharing is disabled
    QWidget *m_settings = nullptr;
    CenterIcons *m_icons = nullptr;
    QTimer *m_storageTimer = nullptr;
    QTimer *m_endTimer = nullptr;
};
