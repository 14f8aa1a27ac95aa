#pragma once

#include "DialogFrame.h"
#include "ShareRecord.h"

#include <QDialog>

class QButtonGroup;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;
class ShareService;

/// Makes a link for an item, public or with a password, and shows and copies it; of a link that is there already it
/// changes the password and ends the share. Modal; the service outlives it. GUI thread only.
class LinkShareDialog : public QDialog
{
    Q_OBJECT

public:
    /// @param record path and name for a new link; a whole record for one that is there
    LinkShareDialog(ShareService *service, const ShareRecord &record, QWidget *parent = nullptr);

signals:
    /// The link was made or changed.
    void sigMyShared(ShareRecord record);
    void ended(QString shareId);

protected:
    void showEvent(QShowEvent *event) override;

private:
    QWidget *buildQuestion();
    QWidget *buildAnswer();
    void make();
    void showLink(const ShareRecord &record);
    void savePassword();
    void endShare();
    void setBusy(bool busy);
    void tell(const QString &text, bool warning = false);

    DialogFrame m_frame;
    ShareService *m_service;
    ShareRecord m_record;
    bool m_asked = false; ///< an answer is waited for
    QStackedWidget *m_pages;
    QButtonGroup *m_kinds = nullptr;
    QLineEdit *m_newPassword = nullptr;
    QPushButton *m_make = nullptr;
    QLineEdit *m_link = nullptr;
    QWidget *m_passwordRow = nullptr;
    QLineEdit *m_password = nullptr;
    QPushButton *m_save = nullptr;
    QPushButton *m_end = nullptr;
    QLabel *m_hint;
};
