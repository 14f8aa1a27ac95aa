#pragma once

#include "DialogFrame.h"

#include <QDialog>

class MessageText;

/// Modal notice with "OK" alone in a frameless window of the client's own; used as MsgDlg is. Esc and the close button
/// reject. GUI thread only; tests answer it through DialogAnswers.
class MsgDlgEx : public QDialog
{
    Q_OBJECT

public:
    explicit MsgDlgEx(QWidget *parent = nullptr);
    ~MsgDlgEx() override;

    void setTitle(const QString &title);
    /// Always shown as plain text. Long texts wrap, then scroll.
    void setText(const QString &text);
    QString text() const;
    /// @param name "ok"; any other name does nothing
    void setButtonVisible(const QString &name, bool visible);
    /// @param name "ok"; any other name does nothing
    void setButtonText(const QString &name, const QString &text);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    DialogFrame m_frame;
    MessageText *m_text;
};
