#pragma once

#include <QStyledItemDelegate>
#include <QVector>

#include <functional>

class QTreeView;

/// Draws the rows of the transfer lists: the progress column as a bar with its text, the action column as small buttons
/// with tool tips that can be clicked. What a row offers is asked for when it is drawn. GUI thread only.
class TransferRowDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    struct Action
    {
        int id;
        QString icon; ///< file name of an icon in the resources
        QString tip;
        bool enabled;
    };
    using Actions = std::function<QVector<Action>(const QModelIndex &)>;

    /// @param progressColumn column drawn as a bar, -1 for none; its percentage is read from @p percentRole
    TransferRowDelegate(int progressColumn, int percentRole, int actionColumn, Actions actions,
                        QObject *parent = nullptr);

    /// Sets @p view, which has its model, up as a list of these rows; @p nameColumn takes the room that is left.
    void dress(QTreeView *view, int nameColumn);

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;
    /// Where the button of that number stands in a cell.
    static QRect buttonRect(const QRect &cell, int number);

signals:
    void triggered(int id, QModelIndex index);

protected:
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;

private:
    const Action *actionAt(const QVector<Action> &actions, const QRect &cell, const QPoint &position) const;

    int m_progressColumn;
    int m_percentRole;
    int m_actionColumn;
    Actions m_actions;
};
