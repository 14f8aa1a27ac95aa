#pragma once

#include "FileItem.h"

#include <QVector>

#include <vector>

/// Finds the row of a path in a list of entries. Holds row numbers only, a tenth of what a table of texts takes, and so
/// has to be made anew when the list changes. A plain value.
class RowIndex
{
public:
    /// Of all of @p items.
    static RowIndex of(const QVector<FileItem> &items);
    void clear() { m_slots.clear(); }
    bool isEmpty() const { return m_slots.empty(); }
    void reserve(int rows);
    /// Takes the row of @p items in. False when another row with that path is there, which stays.
    bool insert(const QVector<FileItem> &items, int row);
    /// -1 when no row has that path. A "/" at the end of a path makes no difference.
    int find(const QVector<FileItem> &items, const QString &path) const;

private:
    size_t slot(const QVector<FileItem> &items, QStringView key) const;

    std::vector<qint32> m_slots; ///< rows at the place of their hash, -1 where there is none; a power of two
};
