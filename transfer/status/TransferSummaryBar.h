#pragma once

#include "ConnectionHealth.h"
#include "TransferTotals.h"

#include <QFrame>

class QLabel;
class QPushButton;

/// The line below the lists: how far all transfers are, how fast, how long they take, and the button of the
/// connections' state. Shows what it is given. GUI thread only.
class TransferSummaryBar : public QFrame
{
    Q_OBJECT

public:
    explicit TransferSummaryBar(QWidget *parent = nullptr);

    void setFigures(const TransferFigures &up, const TransferFigures &down, const TransferFigures &all);
    void setHealth(ConnectionHealth::Verdict verdict);
    QPushButton *statusButton() const { return m_status; }
    QString text() const;

    /// "42 of 10000 files, 1.2G of 40G, 96.00 Mbps, about 6 min left"; empty when there is nothing to tell.
    static QString describe(const TransferFigures &figures);

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    QLabel *m_text;
    QPushButton *m_status;
    TransferFigures m_up;
    TransferFigures m_down;
    TransferFigures m_all;
    ConnectionHealth::Verdict m_verdict = ConnectionHealth::Good;
};
