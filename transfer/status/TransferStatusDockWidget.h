#pragma once

#include "ConnectionHealth.h"

#include <QElapsedTimer>
#include <QFrame>
#include <QList>
#include <QVector>

#include <functional>

class QBoxLayout;
class QButtonGroup;
class QLabel;
class QPushButton;
class QToolButton;
class QVBoxLayout;
class TaskDetailInfoWidget;

/// The state of the engine's connections, one line for each, and the figures of the one that is chosen. Keeps the last
/// report, so that it is right as soon as it is shown. GUI thread only.
class TransferStatusDockWidget : public QFrame
{
    Q_OBJECT

public:
    /// How many tasks of a sub-center are under way or wait.
    using TaskCount = std::function<qint64(const QString &subCenterId)>;

    explicit TransferStatusDockWidget(const TaskCount &tasks, QWidget *parent = nullptr);

    /// Worst verdict of all connections in the last report.
    ConnectionHealth::Verdict worst() const { return m_worst; }
    /// Shows the present numbers of tasks.
    void refresh();

public slots:
    void OnConnectionInfoChanged(QList<ZpdtConnectionInfo> connections);

signals:
    void closed();
    /// The worst verdict is another one.
    void worstChanged();

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();
    void rebuild();
    static QString nameOf(const ZpdtConnectionInfo &connection);

    TaskCount m_taskCount;
    ConnectionHealth m_health;
    QElapsedTimer m_clock;
    QLabel *m_title;
    QToolButton *m_close;
    QLabel *m_label;
    QLabel *m_none;
    QBoxLayout *m_row;
    QVBoxLayout *m_lines;
    QButtonGroup *m_group;
    QVector<QPushButton *> m_buttons;
    TaskDetailInfoWidget *m_detail;
    QList<ZpdtConnectionInfo> m_connections;
    QVector<ConnectionHealth::Verdict> m_verdicts;
    QString m_chosen; ///< key of the connection whose figures are shown
    ConnectionHealth::Verdict m_worst = ConnectionHealth::Good;
};
