#pragma once

#include "TaskListFrame.h"
#include "TransferModule.h"

#include <QSet>

#include <deque>

class TransferTaskModel;

/// The list of the unfinished transfers of one direction, named "listwid_upload" or "listwid_download". Follows the
/// engine's reports, of which it takes those of its own direction, asks for starts, pauses and cancels by signals, and
/// hands to the store by signals what a restart has to know; it never speaks to the engine itself. Orders for thousands
/// of tasks show at once and are asked for in slices. GUI thread only.
class TransferListWidget : public TaskListFrame
{
    Q_OBJECT

public:
    explicit TransferListWidget(ZPDTCMDTYPE type, QWidget *parent = nullptr);

    ZPDTCMDTYPE type() const { return m_type; }
    TransferTaskModel *model() const { return m_model; }
    /// Asks the store for the tasks of an earlier run.
    void Load();
    /// Tasks rest for want of room, or from now on because somebody said so: a restart tries the former anew.
    void holdForRoom(const QList<TaskRecord> &tasks, bool held);
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
    /// Takes in tasks of an earlier run: those that ran go on, those that were paused stay so. Of very many the first
    /// ones are there at once and the others a moment later, so that the window stays alive.
    void HandlerLoadTransferTaskRecord(QList<TaskRecord> tasks);

    void StartAllTask();
    void PauseAllTask();
    /// Asks first.
    void CancelAllTask();
    /// Starts what is paused among the selected rows and pauses what runs.
    void ToggleSelected();
    void StartSelected();
    void PauseSelected();
    /// Asks first when there are several.
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

protected:
    QString emptyHint() const override;

private:
    void takeIn(int count);
    QList<TaskRecord> ofOwnType(const QList<TaskRecord> &tasks) const;
    void start(const QList<TaskRecord> &tasks);
    void pause(const QList<TaskRecord> &tasks);
    void cancel(const QList<TaskRecord> &tasks);
    void order(bool cancel, const QList<TaskRecord> &tasks);
    bool confirm(const QString &text);
    void giveOrders();
    void dropPauses();
    void save(const QList<TaskRecord> &tasks);
    void showMenu(const QPoint &position);
    void reportCounts();

    ZPDTCMDTYPE m_type;
    TransferTaskModel *m_model;
    qint64 m_lastCount = 0;
    bool m_lastRunning = false;
    QTimer m_handOver;
    QList<TaskRecord> m_coming; ///< of an earlier run, not taken in yet
    int m_came = 0;
    QTimer m_next;
    struct Order
    {
        bool cancel;
        TaskRecord task;
    };
    std::deque<Order> m_orders; ///< shown as obeyed, and to be asked for yet
    QTimer m_nextOrders;
    QSet<quint64> m_registered; ///< key hashes of the tasks of an earlier run that were announced as paused
};
