#pragma once

#include "FileItem.h"
#include "ShareRecord.h"

#include <QWidget>

class AddressBar;
class BusyStrip;
class FileWidget;
class QLabel;
class ShareService;

/// Looks into one shared folder. Takes no drops and changes nothing. GUI thread only.
class ShareBrowser : public QWidget
{
    Q_OBJECT

public:
    explicit ShareBrowser(ShareService *service, QWidget *parent = nullptr);

    /// Shows what lies in the shared folder.
    void enter(const ShareRecord &record);
    const ShareRecord &record() const { return m_record; }
    QList<FileItem> selectedItems() const;
    /// Everything in the folder, in the order of the view.
    QList<FileItem> items() const;
    void setFilter(const QString &text);
    void refresh();

signals:
    /// The person goes back to the list of shares.
    void left();
    void fileOpened(FileItem item);
    void menuAsked(QPoint globalPos);
    void selectionChanged();

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void open(const QString &path);
    void show(const QList<FileItem> &items);
    void goUp();
    void retranslate();

    ShareService *m_service;
    ShareRecord m_record;
    QString m_path;   ///< shown
    QString m_wanted; ///< asked for
    AddressBar *m_address;
    BusyStrip *m_busy;
    FileWidget *m_view;
    QLabel *m_empty;
};
