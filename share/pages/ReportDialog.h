#pragma once

#include "DialogFrame.h"
#include "ShareRecord.h"

#include <QDialog>
#include <QStringList>

class QButtonGroup;
class QLabel;
class QListWidget;
class QPlainTextEdit;
class QPushButton;
class ShareService;

/// Reports a share of somebody else to those who run the service: a reason, words, and pictures that show it. Modal;
/// the service outlives it. GUI thread only.
class ReportDialog : public QDialog
{
    Q_OBJECT

public:
    ReportDialog(ShareService *service, const ShareRecord &record, QWidget *parent = nullptr);

public slots:
    void accept() override;
    /// Takes pictures in, as far as they fit.
    void addPictures(const QStringList &files);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void choosePictures();
    void refresh();
    void tell(const QString &text);
    QStringList pictures() const;

    DialogFrame m_frame;
    ShareService *m_service;
    const ShareRecord m_record;
    bool m_asked = false;
    QButtonGroup *m_reasons;
    QPlainTextEdit *m_text;
    QListWidget *m_pictures;
    QPushButton *m_remove = nullptr;
    QLabel *m_hint;
};
