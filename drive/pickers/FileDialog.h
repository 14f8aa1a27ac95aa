#pragma once

#include <QDialog>
#include <QStringList>

class QAbstractItemView;
class QFileSystemModel;
class QItemSelectionModel;
class QLineEdit;
class QListView;
class QModelIndex;
class QPushButton;
class QStackedWidget;
class QToolButton;
class QTreeView;

/// A picker of local files and folders together, which the system's own dialogs do not offer. The disk is read on the
/// file model's thread. GUI thread only.
class FileDialog : public QDialog
{
    Q_OBJECT

public:
    /// @param title of the window
    /// @param startFolder folder to show first; the last one used, else the home folder, when empty
    explicit FileDialog(const QString &title, const QString &startFolder = QString(), QWidget *parent = nullptr);

    /// Absolute paths of what was chosen, empty unless accepted.
    QStringList selectedPaths() const { return m_chosen; }
    void setFolder(const QString &folder);
    QString folder() const { return m_folder; }

public slots:
    /// Accepts the selection, files and folders together; without one, the name typed.
    void onSelect();

private:
    void buildBars();
    void newFolder();
    void open(const QModelIndex &index);
    void setMode(bool list);
    void selectionChanged();
    QStringList selection() const;
    QStringList typed() const;

    QFileSystemModel *m_model;
    QListView *m_list;
    QTreeView *m_tree;
    QStackedWidget *m_views;
    QItemSelectionModel *m_selection = nullptr;
    QToolButton *m_listMode;
    QToolButton *m_detailMode;
    QToolButton *m_newFolder;
    QToolButton *m_up;
    QLineEdit *m_path;
    QLineEdit *m_name;
    QPushButton *m_select;
    QString m_folder;
    QStringList m_chosen;
};
