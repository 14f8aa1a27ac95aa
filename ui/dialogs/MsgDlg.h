#pragma once

#include <QDialog>

class MovableGroupBox;
class QLabel;
class QPushButton;

/// Modal question with "OK" and "Cancel" in a frameless window of the client's own. Build it on the stack, set title
/// and text, hide or rename buttons, exec(): QDialog::Accepted means OK, everything else not. GUI thread only.
class MsgDlg : public QDialog
{
    Q_OBJECT

public:
    explicit MsgDlg(QWidget *parent = nullptr);
    ~MsgDlg() override;

    void setTitle(const QString &title);
    /// Plain text, or rich text with links that open in the system browser when it holds an anchor.
    void setText(const QString &text);
    /// @param name "ok" or "cancel"; any other name does nothing
    void setButtonVisible(const QString &name, bool visible);
    void setButtonText(const QString &name, const QString &text);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    MovableGroupBox *m_titleBar;
    QLabel *m_title;
    QLabel *m_text;
    QPushButton *m_ok;
    QPushButton *m_cancel;
};
