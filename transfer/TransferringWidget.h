#pragma once

#include "FileItem.h"
#include "SubCenter.h"
#include "TransferModule.h"
#include "TransferTotals.h"

#include <QElapsedTimer>
#include <QWidget>

#include <memory>

class FinishedListWidget;
class MsgDlg;
class QPushButton;
class QTabWidget;
class StorageWatch;
class TransferDispatch;
class TransferListWidget;
class TransferManager;
class TransferModulePort;
class TransferStatusDockWidget;
class TransferSummaryBar;

/// The transfer page: owns the record store, the transfer engine, its dispatch and the lists of running and ended
/// transfers. Requests come in by the slots, reports of the engine go on to the lists and leave as signals for the
/// window. Pages learn by ChangeTransferStatus whether tasks are being added (1), run (2) or rest (0). GUI thread only.
class TransferringWidget : public QWidget
{
    Q_OBJECT

public:
    explicit TransferringWidget(QWidget *parent = nullptr);
    ~TransferringWidget() override;

    /// The page of this login cycle, null when there is none.
    static TransferringWidget *instance();

    TransferModule *engine() const { return m_engine.get(); }
    TransferListWidget *uploadList() const { return m_uploads; }
    TransferListWidget *downloadList() const { return m_downloads; }
    FinishedListWidget *finishedList() const { return m_finished; }
    QTabWidget *tabs() const { return m_tabs; }
    /// Transfers that would be interrupted by an end of the program: those that neither pause nor wait to end.
    int runningCount() const;
    /// How far the transfers of both directions are.
    TransferFigures figures() const { return m_totals.figures(); }

public slots:
    void Upload(QStringList files, QStringList folders, SubCenter center, QString remoteDir);
    void Download(QList<FileItem> files, QList<FileItem> folders, SubCenter center, QString localDir);
    void StartTask(TaskRecord task);
    void PauseTask(TaskRecord task);
    void CancelTask(TaskRecord task);
    void StartAllTask(QList<TaskRecord> tasks);
    /// These two take the direction from the sending list.
    void PauseAllTask();
    void CancelAllTask();
    /// Changed transfer parameters of a sub-center go to the engine: speeds hold at once.
    void SetZpdtParams(QString subCenterId);
    /// The configured numbers of tasks that run at once go to the engine.
    void ApplyConcurrence();
    /// Hands the free space of the sub-centers on to the engine; called when new figures are in the store.
    void UpdateStorageCapacity();
    void RefreshTaskCount();
    void InitCount(qint64 uploads, qint64 downloads, qint64 finished);
    void TransferTaskCountChanged(qint64 count, ZPDTCMDTYPE type);
    void FinishTaskCountChanged(qint64 count);

    void OnFileTaskCreate(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    void OnFileTaskStart(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    void OnFileTaskFinished(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    void OnFileTaskRetrans(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    void OnFolderUploadFinished(QStringList folders);
    void OnPauseEnd(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    void OnCancelEnd(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    void OnTaskExist(QList<TaskRecord> tasks);
    void OnConnectionInfoChanged(QList<ZpdtConnectionInfo> connections);
    void OnButtonStateChanged(bool running);
    /// Opens or closes the state of the connections.
    void OnClickNetStatus();

signals:
    /// Remote paths of uploaded files and folders.
    void FileUploadFinished(QStringList paths);
    /// Remote folders that uploads created.
    void FolderUploadFinished(QStringList paths);
    void ChangeTransferStatus(int state);
    /// Names of successful transfers, the last text counting those left out when there are many.
    void FileTransferringFinished(QStringList names, ZPDTCMDTYPE type);
    void FileTransferringTaskCreated(ZPDTCMDTYPE type);
    /// Uploads wait for room: new storage figures of the accounts would be of use.
    void StorageFiguresWanted();
    /// The service refuses a task: whether it still knows the login should be asked. May fire often.
    void Refused();

protected:
    void changeEvent(QEvent *event) override;

private:
    void buildTabs();
    void buildStatus();
    void buildWatch();
    QWidget *buildTab(const QString &name, QWidget *list, const QList<QPushButton *> &buttons);
    void connectEngine();
    void connectLists();
    void connectStore();
    void retranslate();
    TransferListWidget *listOf(ZPDTCMDTYPE type) const;
    void showStorageExhausted();

    std::unique_ptr<TransferManager> m_store;
    std::unique_ptr<TransferModule> m_engine;
    std::unique_ptr<TransferModulePort> m_port;
    TransferDispatch *m_dispatch;
    QTabWidget *m_tabs = nullptr;
    TransferListWidget *m_uploads = nullptr;
    TransferListWidget *m_downloads = nullptr;
    FinishedListWidget *m_finished = nullptr;
    QList<QPushButton *> m_startAll;
    QList<QPushButton *> m_pauseAll;
    QList<QPushButton *> m_cancelAll;
    QPushButton *m_retryAll = nullptr;
    QPushButton *m_clearAll = nullptr;
    TransferStatusDockWidget *m_dock = nullptr;
    TransferSummaryBar *m_summary = nullptr;
    TransferTotals m_totals;
    QElapsedTimer m_clock;
    int m_ticks = 0;
    StorageWatch *m_watch = nullptr;
    MsgDlg *m_storageNotice = nullptr;
    bool m_storageTold = false;
    int m_ticksWithRoom = 0;
    MsgDlg *m_existNotice = nullptr;
    qint64 m_uploadCount = 0;
    qint64 m_downloadCount = 0;
    qint64 m_finishedCount = 0;
};
