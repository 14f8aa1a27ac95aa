#pragma once

#include "DialogFrame.h"

#include <QDialog>

class QTextBrowser;
class QUrl;

/// Modal notice whose body is rich text with links, in the frame of MsgDlg and used as it is. A link opens in the
/// system's browser when it is an http or https address; nothing else is followed, and no file or picture is loaded.
/// Escape whatever in the text is not the program's own. GUI thread only; tests answer it through DialogAnswers.
class MsgBox : public QDialog
{
    Q_OBJECT

public:
    explicit MsgBox(QWidget *parent = nullptr);
    ~MsgBox() override;

    void setTitle(const QString &title);
    /// Rich text.
    void setText(const QString &html);
    QString text() const { return m_html; }
    /// @param name "ok" or "cancel"; any other name does nothing
    void setButtonVisible(const QString &name, bool visible);
    /// @param name "ok" or "cancel"; any other name does nothing
    void setButtonText(const QString &name, const QString &text);

public slots:
    void SlotOpenLink(const QUrl &link);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void fit();

    DialogFrame m_frame;
    QString m_html;
    QTextBrowser *m_body;
};
