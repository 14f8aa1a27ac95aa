#pragma once

#include "RowWidget.h"
#include "TransferModule.h"

class QProgressBar;

/// One row of a list of unfinished transfers: name and target, progress, speed, time left, status, a button that starts
/// or pauses and one that cancels. Shows one task, later another; what is clicked is asked for by signals. GUI thread
/// only.
class TransferItemWidget : public RowWidget
{
    Q_OBJECT

public:
    explicit TransferItemWidget(QWidget *parent);

    void showRow(const QModelIndex &index) override;
    void arrange(const QVector<QRect> &cells) override;
    void setTask(const TaskRecord &task, const ZpdtProgress &progress);
    const TaskRecord &task() const { return m_task; }

public slots:
    void ClickStart();
    void ClickPause();
    void ClickCancel();

signals:
    void sigStartTask(TaskRecord task);
    void sigPauseTask(TaskRecord task);
    void sigCancelTask(TaskRecord task);

private:
    void setStatus(qint32 status);
    void placeStatus();
    void toggle();

    TaskRecord m_task;
    QLabel *m_icon;
    ElidedLabel *m_name;
    ElidedLabel *m_target;
    ElidedLabel *m_progress;
    QProgressBar *m_bar;
    ElidedLabel *m_speed;
    ElidedLabel *m_left;
    ElidedLabel *m_status;
    ElidedLabel *m_reason;
    QToolButton *m_toggle;
    QToolButton *m_cancel;
    QRect m_statusCell;
};
