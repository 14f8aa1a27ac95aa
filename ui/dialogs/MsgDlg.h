#pragma once

#include "DialogFrame.h"

#include <QDialog>

class MessageText;

/// Modal question with "OK" and "Cancel" in a frameless window of the client's own. Build it on the stack, set title
/// and text, hide or rename buttons, exec(): QDialog::Accepted means OK; Cancel, Esc and the close button reject.
/// Enter presses the first visible button. GUI thread only; tests answer it through DialogAnswers.
class MsgDlg : public QDialog
{
    Q_OBJECT

public:
    explicit MsgDlg(QWidget *parent = nullptr);
    ~MsgDlg() override;

    void setTitle(const QString &title);
    /// Always shown as plain text: it may hold names that other people chose. Long texts wrap, then scroll.
    void setText(const QString &text);
    QString text() const;
    /// @param name "ok" or "cancel"; any other name does nothing
    void setButtonVisible(const QString &name, bool visible);
    /// @param name "ok" or "cancel"; any other name does nothing
    void setButtonText(const QString &name, const QString &text);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    DialogFrame m_frame;
    MessageText *m_text;
};
