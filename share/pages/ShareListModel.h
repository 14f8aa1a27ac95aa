#pragma once

#include "ShareRecord.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QTimer>
#include <QVector>

/// Shares, one row each: those of the user, or those of others with the user. Keeps them in order and hides what does
/// not match the search; every change of the order is a reset. GUI thread only.
class ShareListModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Side
    {
        Mine,
        ToMe
    };
    enum Column
    {
        NameColumn,
        WhoColumn, ///< with whom, or by whom
        TimeColumn,
        SizeColumn,
        ColumnCount
    };

    explicit ShareListModel(Side side, QObject *parent = nullptr);

    Side side() const { return m_side; }
    void show(const QList<ShareRecord> &records);
    /// A new share, or a changed one.
    void put(const ShareRecord &record);
    void remove(const QStringList &shareIds);
    /// The name that a user goes by, shown instead of the account's.
    void setNickname(const QString &username, const QString &nickname);
    bool knowsNickname(const QString &username) const { return m_nicknames.contains(username); }
    /// Shows only shares with this text in the name, or in who it is about.
    void setFilter(const QString &text);
    bool isFiltered() const { return !m_filter.isEmpty(); }
    const ShareRecord &record(int row) const { return m_entries.at(m_rows.at(row)).record; }
    void retranslate();

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    void sort(int column, Qt::SortOrder order) override;

private:
    struct Entry
    {
        ShareRecord record;
        QString name; ///< as they are shown
        QString who;
        qint64 time; ///< milliseconds since the epoch
    };

    Entry entryOf(const ShareRecord &record) const;
    QString text(const Entry &entry, int column) const;
    /// Chooses and orders the rows anew; within a reset.
    void arrange();

    const Side m_side;
    QVector<Entry> m_entries;
    QVector<int> m_rows; ///< the entries that are shown, in order
    QHash<QString, QString> m_nicknames;
    QString m_filter;
    QTimer m_later; ///< nicknames come one by one
    int m_column = TimeColumn;
    Qt::SortOrder m_order = Qt::DescendingOrder;
};
