#pragma once

#include "DialogFrame.h"
#include "FileItem.h"

#include "OrvClient.h"

#include <QDialog>
#include <QHash>
#include <QPersistentModelIndex>
#include <QTimer>

class MyDiskDirectoryBrowserTree;
class OrderedWork;
class QLabel;
class QPushButton;
class QTreeWidgetItem;

/// Lets a person choose a folder of the drive, or make one. Folders are listed when they are opened, through a copy of
/// the session's client; long listings are read on a pool thread and enter the tree a few at a time. GUI thread only.
class MyDiskDirectoryBrowser : public QDialog
{
    Q_OBJECT

public:
    /// @param url address of the sub-center's service
    explicit MyDiskDirectoryBrowser(const QString &url, QWidget *parent = nullptr);
    ~MyDiskDirectoryBrowser() override;

    /// The folder chosen, ends in "/"; empty unless accepted.
    QString folder() const { return m_folder; }

public slots:
    void accept() override;

protected:
    void showEvent(QShowEvent *event) override;
    MyDiskDirectoryBrowserTree *tree() const { return m_tree; }
    DialogFrame &frame() { return m_frame; }
    /// Whether the folder may be the answer.
    virtual bool mayChoose(const QString &path) const;
    void updateButtons();

private slots:
    void slotExpand(QTreeWidgetItem *item);
    void slotHandleListFinished(qint64 id, int code, QByteArray body);
    void slotAddChildren();

private:
    /// Sub-folders that wait to enter the tree.
    struct Arrivals
    {
        QPersistentModelIndex parent;
        QList<FileItem> folders;
        int next = 0;
    };

    QPersistentModelIndex place(QTreeWidgetItem *item) const;
    QTreeWidgetItem *itemAt(const QPersistentModelIndex &index) const;
    void newFolder();
    void handleMkdir(qint64 id, int code);
    void tell(const QString &text);

    DialogFrame m_frame;
    OrvClient m_client;
    OrderedWork *m_work;
    MyDiskDirectoryBrowserTree *m_tree;
    QPushButton *m_newFolder;
    QLabel *m_notice;
    QTimer m_timer;
    QHash<qint64, QPersistentModelIndex> m_requests;
    QList<Arrivals> m_arrivals;
    qint64 m_mkdir = 0;
    FileItem m_made;
    QPersistentModelIndex m_madeIn;
    QString m_folder;
};
