#pragma once

#include "DialogFrame.h"
#include "ShareRecord.h"

#include <QDialog>

class QLabel;
class QPushButton;
class ShareService;
class UserPicker;

/// Shares an item with named users, or changes with whom it is shared. Modal; the service outlives it. GUI thread only.
class UserShareDialog : public QDialog
{
    Q_OBJECT

public:
    /// @param record path and name for a new share; a whole record for one that is there
    UserShareDialog(ShareService *service, const ShareRecord &record, QWidget *parent = nullptr);

signals:
    void sigMyShared(ShareRecord record);
    void ended(QString shareId);

public slots:
    void accept() override;

protected:
    void showEvent(QShowEvent *event) override;

private:
    void finish(const ShareRecord &record);
    void refresh();

    DialogFrame m_frame;
    ShareService *m_service;
    ShareRecord m_record;
    bool m_asked = false;
    UserPicker *m_users;
    QLabel *m_hint;
};
