#pragma once

#include "FileItem.h"

#include <QDialog>
#include <QStringList>

class FileItemModel;
class FileListWidget;
class FileTreeWidget;
class LocalFolder;
class QAbstractItemView;
class QHBoxLayout;
class QItemSelectionModel;
class QLabel;
class QLineEdit;
class QListWidget;
class QModelIndex;
class QPushButton;
class QStackedWidget;
class QToolButton;

/// A picker of local files and folders together, which the system's own dialogs do not offer. The disk is read on a
/// pool thread; folders of many thousands of files are shown by the views of the drive. The place and the view of the
/// last choice are kept with the user's settings. GUI thread only.
class FileDialog : public QDialog
{
    Q_OBJECT

public:
    /// @param title of the window
    /// @param startFolder folder to show first; the last one used, else the home folder, when empty
    explicit FileDialog(const QString &title, const QString &startFolder = QString(), QWidget *parent = nullptr);
    ~FileDialog() override;

    /// Absolute paths of what was chosen, empty unless accepted.
    QStringList selectedPaths() const { return m_chosen; }
    void setFolder(const QString &folder);
    QString folder() const { return m_folder; }

public slots:
    /// Accepts the selection, files and folders together; without one, the name typed.
    void onSelect();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void buildViews();
    QHBoxLayout *buildTop();
    QHBoxLayout *buildBottom();
    void addPlaces();
    void newFolder();
    void openEntry(const QModelIndex &index);
    void goTo(const QString &typed);
    void setMode(bool list);
    void setOrder(int order);
    void showItems(const QList<FileItem> &items, bool again);
    void selectPaths(const QStringList &paths);
    void selectionChanged();
    int selectedCount() const;
    QStringList selection() const;
    QStringList typed() const;
    QAbstractItemView *currentView() const;
    void restore(const QString &startFolder);
    void remember() const;

    LocalFolder *m_disk;
    FileItemModel *m_model;
    FileListWidget *m_list;
    FileTreeWidget *m_tree;
    QListWidget *m_places;
    QStackedWidget *m_views;
    QItemSelectionModel *m_selection = nullptr;
    QToolButton *m_listMode;
    QToolButton *m_detailMode;
    QToolButton *m_newFolder;
    QToolButton *m_up;
    QLineEdit *m_path;
    QLineEdit *m_filter;
    QLineEdit *m_name;
    QLabel *m_notice;
    QPushButton *m_select;
    QString m_folder;
    QStringList m_toSelect; ///< when the list is there
    int m_place = 0;        ///< to scroll to then
    QStringList m_chosen;
};
