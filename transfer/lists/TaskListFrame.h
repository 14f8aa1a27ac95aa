#pragma once

#include "RowListView.h"
#include "TransferModule.h"

#include <QLineEdit>
#include <QSortFilterProxyModel>

class QMenu;

/// What the lists of transfers have in common: rows under a head, and a field that filters them by name, opened by
/// Ctrl+F and closed by Esc. A filter costs nothing while it is closed. GUI thread only.
class TaskListFrame : public QWidget
{
    Q_OBJECT

public:
    /// The heir calls retranslate() when it is made.
    /// @param taskRole role of the model under which a row gives its TaskRecord
    TaskListFrame(QAbstractItemModel *model, int taskRole, const RowListView::Factory &factory, const QString &hintIcon,
                  QWidget *parent = nullptr);

    RowListView *view() const { return m_view; }
    QList<TaskRecord> selected() const;
    /// Cheaper than asking for them.
    int selectedCount() const;

public slots:
    void openFilter();
    void closeFilter();

signals:
    /// Rows came into sight or went by a change of the filter.
    void filterChanged();

protected:
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void retranslate();
    /// Stands in the middle of a list that is empty, in the language of the moment.
    virtual QString emptyHint() const = 0;
    /// Widths of the columns beside the first one, which takes the room that is left.
    /// @param spare columns that a narrow window does without, in the order in which they go
    void setColumnWidths(const QVector<int> &widths, const QVector<int> &spare);
    /// A key that works in the list.
    void addKey(const QKeySequence &keys, const std::function<void()> &action);
    /// What every list's menu ends with.
    void addCommonActions(QMenu *menu);

private:
    void applyFilter();

    QAbstractItemModel *m_model;
    const int m_taskRole;
    const QString m_hintIcon;
    RowListView *m_view;
    QWidget *m_filterBar;
    QLineEdit *m_filter;
    QSortFilterProxyModel *m_proxy = nullptr; ///< only while there is a filter
    QTimer m_apply;
    QVector<int> m_spare;
};
