#pragma once

#include <QBasicTimer>
#include <QFrame>

class QLabel;
class QToolButton;

/// A line above the entries that says what went wrong, with a button that closes it and, where it helps, one that tries
/// again. Goes away by itself after a while, unless the pointer rests on it. GUI thread only.
class NoticeBar : public QFrame
{
    Q_OBJECT

public:
    explicit NoticeBar(QWidget *parent = nullptr);

    /// @param text shown as it is, never as markup
    void showText(const QString &text, bool canTryAgain = false);
    QString text() const;

signals:
    void tryAgain();

protected:
    void timerEvent(QTimerEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void retranslate();

    QLabel *m_text;
    QToolButton *m_again;
    QToolButton *m_close;
    QBasicTimer m_timer;
};
