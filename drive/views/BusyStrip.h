#pragma once

#include <QBasicTimer>
#include <QWidget>

/// A thin moving line along the top of a widget that says that something is on its way. Shows itself only when that
/// takes longer than 200 ms. Keeps to the width of its parent. GUI thread only.
class BusyStrip : public QWidget
{
    Q_OBJECT

public:
    explicit BusyStrip(QWidget *parent);

    void start();
    void stop();

protected:
    void timerEvent(QTimerEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QBasicTimer m_patience;
    QBasicTimer m_frames;
    int m_step = 0;
};
