#pragma once

#include "RowWidget.h"
#include "TransferModule.h"

/// One row of the list of ended transfers: name, size, sub-center, time, result, and buttons that open the file or its
/// folder, send a failed one again, or delete the record. Shows one task, later another. GUI thread only.
class FinishedItemWidget : public RowWidget
{
    Q_OBJECT

public:
    explicit FinishedItemWidget(QWidget *parent);

    void showRow(const QModelIndex &index) override;
    void arrange(const QVector<QRect> &cells) override;
    const TaskRecord &task() const { return m_task; }

    /// Opens the local file of an ended task, or the folder that holds it; says so when there is none.
    static void openFile(const TaskRecord &task, QWidget *window);
    static void openFolder(const TaskRecord &task, QWidget *window);

public slots:
    void OpenFile();
    void OpenFolder();

signals:
    void sigRemove(TaskRecord task);
    void sigRetryTask(TaskRecord task);

private:
    TaskRecord m_task;
    QLabel *m_icon;
    ElidedLabel *m_name;
    ElidedLabel *m_target;
    ElidedLabel *m_size;
    ElidedLabel *m_center;
    ElidedLabel *m_time;
    ElidedLabel *m_result;
    ElidedLabel *m_reason;
    QToolButton *m_open;
    QToolButton *m_folder;
    QToolButton *m_retry;
    QToolButton *m_delete;
    QVector<QRect> m_cells;
};
