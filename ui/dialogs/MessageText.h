#pragma once

#include <QScrollArea>

class QLabel;

/// The message of a dialog: plain text that wraps between words and inside very long names, as wide as reads well and
/// as high as it needs; beyond half the screen's height it scrolls. GUI thread only.
class MessageText : public QScrollArea
{
    Q_OBJECT

public:
    explicit MessageText(QWidget *parent = nullptr);

    void setText(const QString &text);
    QString text() const { return m_message; }

    QSize sizeHint() const override { return m_hint; }
    QSize minimumSizeHint() const override { return m_hint; }

private:
    QString m_message;
    QLabel *m_label;
    QSize m_hint;
};
