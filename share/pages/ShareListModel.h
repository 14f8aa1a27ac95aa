#pragma once

#include "ShareRecord.h"

#include <QAbstractTableModel>
#include <QHash>

/// Shares, one row each: those of the user, or those of others with the user. Sorting and filtering are done by a proxy
/// model by SortRole. GUI thread only.
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
    enum Role
    {
        SortRole = Qt::UserRole
    };

    explicit ShareListModel(Side side, QObject *parent = nullptr);

    Side side() const { return m_side; }
    void show(const QList<ShareRecord> &records);
    /// Puts a new share first, or a changed one in its place.
    void put(const ShareRecord &record);
    void remove(const QStringList &shareIds);
    /// The name that a user goes by, shown instead of the account's.
    void setNickname(const QString &username, const QString &nickname);
    const ShareRecord &record(int row) const { return m_records.at(row); }
    /// Row of a share, -1 when it is not there.
    int rowOf(const QString &shareId) const;
    void retranslate();

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QString text(const ShareRecord &record, int column) const;

    const Side m_side;
    QList<ShareRecord> m_records;
    QHash<QString, QString> m_nicknames;
};
