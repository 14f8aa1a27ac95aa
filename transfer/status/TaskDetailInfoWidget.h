#pragma once

#include "ConnectionHealth.h"

#include <QFrame>
#include <QVector>

class QLabel;
class QToolButton;

/// The figures of one connection: state, tasks, loss, round trip, rates, carrier and why it is that one, with a warning
/// when the line is bad or the server out of reach. Shows what it is given. GUI thread only.
class TaskDetailInfoWidget : public QFrame
{
    Q_OBJECT

public:
    explicit TaskDetailInfoWidget(QWidget *parent = nullptr);

    /// @param tasks of the sub-center that are under way or wait
    void setConnection(const ZpdtConnectionInfo &connection, const QString &centerName, qint64 tasks,
                       ConnectionHealth::Verdict verdict);

    static QString stateText(qint32 state);
    /// File name of the icon of a state.
    static QString stateIcon(qint32 state);
    /// Text of a verdict; empty for a good one.
    static QString warning(ConnectionHealth::Verdict verdict);
    /// What the engine says of a connection, in words of the interface where it has some.
    static QString reasonText(const QString &reason);

protected:
    void changeEvent(QEvent *event) override;

private:
    enum Row
    {
        Task,
        ConnectTimes,
        Loss,
        Ack,
        SendRate,
        ReceiveRate,
        Retransmitted,
        Carrier,
        Reason,
        RowCount
    };
    void retranslate();

    QLabel *m_icon;
    QLabel *m_state;
    QLabel *m_warningIcon;
    QLabel *m_warning;
    QVector<QLabel *> m_names;
    QVector<QLabel *> m_values;
};
