#pragma once

#include "TransferModule.h"

#include <QTimer>
#include <QWidget>

class QTreeView;
class TransferTaskModel;

/// The list of the unfinished transfers of one direction, named "listwid_upload" or "listwid_download". Follows the
/// engine's reports, of which it takes those of its own direction, and asks for starts, pauses and cancels by signals;
/// it never speaks to the engine itself. GUI thread only.
class TransferListWidget : public QWidget
{
    Q_OBJECT

public:
    explicit TransferListWidget(ZPDTCMDTYPE type, QWidget *parent = nullptr);

    ZPDTCMDTYPE type() const { return m_type; }
    TransferTaskModel *model() const { return m_model; }
    QTreeView *view() const { return m_view; }
    int selectedCount() const;
    /// Asks the store for the tasks of an earlier run.
    void Load();
    /// Gives the store the progress that it does not have yet.
    void handOverProgress();

public slots:
    void CreateEnd(QList<TaskRecord> tasks);
    void StartEnd(QList<TaskRecord> tasks);
    void PauseEnd(QList<TaskRecord> tasks);
    void CancelEnd(QList<TaskRecord> tasks);
    void CancelAllPausedEnd(QList<TaskRecord> tasks);
    void Finish(QList<TaskRecord> tasks);
    void Retrans(QList<TaskRecord> tasks);
    /// Tasks that a request is about to add.
    void CreateCount(qint64 count, ZPDTCMDTYPE type);
    void OnProgressChanged(TaskRecord task, ZpdtProgress progress);
    /// Takes in tasks of an earlier run: those that ran go on, those that were paused stay so.
    void HandlerLoadTransferTaskRecord(QList<TaskRecord> tasks);

    void StartAllTask();
    void PauseAllTask();
    /// Asks first.
    void CancelAllTask();
    /// Starts what is paused among the selected rows and pauses what runs.
    void ToggleSelected();
    void CancelSelected();

signals:
    void sigStartTask(TaskRecord task);
    void sigPauseTask(TaskRecord task);
    void sigCancelTask(TaskRecord task);
    void sigStartAllTask(QList<TaskRecord> tasks);
    void sigPauseAllTask();
    void sigCancelAllTask();
    void sigRegisterPausedTask(QList<TaskRecord> tasks);
    void sigUnRegisterPausedTask(QList<TaskRecord> tasks);
    void sigLoadTransferTaskRecord(ZPDTCMDTYPE type);
    void sigAddFinishedTaskRecord(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    /// Size, progress and status of tasks that the store knows.
    void sigUpdateTransferRecord(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    void sigClearTransferTaskRecord(ZPDTCMDTYPE type);
    void sigTransferTaskCountChanged(qint64 count, ZPDTCMDTYPE type);
    /// @param running whether any task of the list goes on
    void sigButtonStateChanged(bool running);

private:
    enum ActionId
    {
        Toggle,
        Cancel
    };
    QList<TaskRecord> selected() const;
    QList<TaskRecord> ofOwnType(const QList<TaskRecord> &tasks) const;
    void trigger(int id, const QModelIndex &index);
    void ClickStart(const TaskRecord &task);
    void ClickPause(const TaskRecord &task);
    void ClickCancel(const TaskRecord &task);
    void showMenu(const QPoint &position);
    void reportCounts();
    void setStatus(const QList<TaskRecord> &tasks, qint32 status);

    ZPDTCMDTYPE m_type;
    TransferTaskModel *m_model;
    QTreeView *m_view;
    qint64 m_lastCount = 0;
    bool m_lastRunning = false;
    QTimer m_handOver;
};
