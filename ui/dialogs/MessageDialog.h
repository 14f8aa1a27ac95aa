#pragma once

#include "DialogFrame.h"

#include <QDialog>

class MessageText;

/// What MsgDlg and MsgDlgEx have in common: a modal message in a frameless window of the client's own. Build it on the
/// stack, set title and text, hide or rename buttons, exec(): QDialog::Accepted means OK; Cancel, Esc and the close
/// button reject. Enter presses the first visible button. GUI thread only; tests answer it through DialogAnswers.
class MessageDialog : public QDialog
{
    Q_OBJECT

public:
    ~MessageDialog() override;

    void setTitle(const QString &title);
    /// Always shown as plain text: it may hold names that other people chose. Long texts wrap, then scroll.
    void setText(const QString &text);
    QString text() const;
    /// @param name "ok" or "cancel"; any other name does nothing
    void setButtonVisible(const QString &name, bool visible);
    /// @param name "ok" or "cancel"; any other name does nothing
    void setButtonText(const QString &name, const QString &text);

protected:
    /// What stands in the dialog until it is set; without a cancel text there is no such button.
    struct Texts
    {
        QString windowTitle;
        QString title;
        QString ok;
        QString cancel;
    };
    MessageDialog(const Texts &texts, QWidget *parent);
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    DialogFrame m_frame;
    MessageText *m_text;
};
