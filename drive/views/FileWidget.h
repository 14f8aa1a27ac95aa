#pragma once

#include "FileOrder.h"
#include "FileWidgetItem.h"

#include <QMap>
#include <QStackedWidget>
#include <QTimer>

#include <functional>

class EmptyFolderPanel;
class FileItemModel;
class FileListWidget;
class FileNameDelegate;
class FileTreeWidget;
class QAbstractItemView;
class QAction;
class QItemSelectionModel;
class QMenu;

/// The entries of a page: the detailed list, the icon grid and the panel for an empty folder over one model and one
/// selection. Holds the actions of the context menu; what a person asks for leaves as a signal. GUI thread only.
class FileWidget : public QStackedWidget
{
    Q_OBJECT

public:
    enum ShowMode
    {
        ListMode,
        IconMode
    };
    enum Command
    {
        Open,
        Download,
        Rename,
        Delete,
        Preview,
        Cut,
        Copy,
        Paste,
        Compress,
        Decompress,
        MoveTo
    };

    explicit FileWidget(QWidget *parent = nullptr);

    FileItemModel *model() const { return m_model; }
    ShowMode showMode() const { return m_mode; }
    void setShowMode(ShowMode mode);
    void setEmptyPanelVisible(bool visible);
    bool isEmptyPanelVisible() const;
    /// Offers "Preview" for pictures; not offered without a viewer.
    void setPreviewAvailable(bool available);
    /// Size in device pixels in which pictures are wanted.
    QSize pictureSize() const;
    /// Shows the pictures of those entries, see FileItemModel::setIcons.
    void setIcons(const QList<FileItem> &items);
    QString sortType() const;
    void setSortType(const QString &type);

    QList<FileItem> selectedItems() const;
    QList<FileItem> selectedFiles() const;
    void forEachSelected(const std::function<void(const FileItem &item)> &visit) const;
    QList<FileItem> selectedFolders() const;
    /// Selects and shows the entries of those paths, as far as they are there.
    void select(const QStringList &paths);
    /// Scrolls to the entry of that path, if it is there.
    void showPath(const QString &path);
    /// How many entries are selected; costs nothing, however many they are.
    int selectedCount() const;
    /// Opens the editor on the name of the one selected entry.
    void editName();
    void selectAll();
    /// Shows only entries whose name holds @p text; a panel says so when none does.
    void setFilter(const QString &text);
    /// The selected entry, or the one that the keys are on; invalid when there is none.
    FileWidgetItem currentItem() const;

    /// The context menu for the selection, owned by @p parent; actions that do not fit it are left out.
    QMenu *createContextMenu(QWidget *parent);
    /// "Sort by" with its orders, owned by @p parent.
    QMenu *createSortMenu(QWidget *parent);
    /// Enables the actions that fit the selection.
    void updateActions();
    QAction *action(Command command) const { return m_actions.value(command); }

signals:
    void sigIntoFolder(QString path);
    void sigOpenFile(QString path);
    void sigUpload(QStringList paths, QString folder);
    void sigMove(QStringList paths, QString folder);
    void sigGetIcons(QList<FileItem> items);
    /// New picture bytes of an entry are shown in that size.
    void sigIconChanged(FileItem item, QSize size);
    /// The picture entries in view that have no picture yet, in their order and with the next screenful behind them,
    /// and the size in device pixels in which they are shown. Told when the view comes to rest after scrolling,
    /// resizing, a new list or another mode; each telling replaces the one before: what is not in it is no longer
    /// wanted.
    void sigVisiblePictures(QList<FileItem> items, QSize size);
    void command(FileWidget::Command command);
    void nameCommitted(FileItem item, QString name);
    void sortTypeAsked(QString type);
    void menuAsked(QPoint globalPos);
    void selectionChanged();
    void uploadClicked();

protected:
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void buildActions();
    void retranslate();
    void setUpView(QAbstractItemView *view);
    void activate(const QModelIndex &index);
    void tellVisiblePictures();
    void dragSelection();
    void keepPlace();
    void restorePlace();
    void showPart();
    void selectRows(QVector<int> rows);
    QAbstractItemView *currentView() const;

    FileItemModel *m_model;
    FileNameDelegate *m_delegate;
    FileTreeWidget *m_tree;
    FileListWidget *m_list;
    EmptyFolderPanel *m_empty;
    QItemSelectionModel *m_selection = nullptr;
    QMap<Command, QAction *> m_actions;
    QMap<FileOrder::Type, QAction *> m_orders;
    ShowMode m_mode = ListMode;
    bool m_emptyVisible = false;
    bool m_previewAvailable = false;
    QTimer m_restTimer; ///< runs while the view moves

    // Where the person was, for a list that comes anew.
    QString m_placeFolder;
    FileOrder::Type m_placeOrder = FileOrder::FileName;
    bool m_placeAll = false; ///< everything was selected
    QStringList m_placeSelected;
    QString m_placeCurrent;
    int m_placeScroll = 0;
};
