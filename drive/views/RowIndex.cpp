#include "RowIndex.h"

namespace {

QStringView keyOf(const QString &path)
{
    const QStringView view(path);
    return view.size() > 1 && view.endsWith(QLatin1Char('/')) ? view.chopped(1) : view;
}

} // namespace

void RowIndex::reserve(int rows)
{
    size_t size = 16;
    while (size < size_t(rows) * 2)
        size *= 2;
    m_slots.assign(size, -1);
}

size_t RowIndex::slot(const QVector<FileItem> &items, QStringView key) const
{
    const size_t mask = m_slots.size() - 1;
    size_t at = qHash(key) * size_t(2654435761U) & mask;
    while (m_slots[at] >= 0 && keyOf(items.at(m_slots[at]).path) != key)
        at = (at + 1) & mask;
    return at;
}

bool RowIndex::insert(const QVector<FileItem> &items, int row)
{
    qint32 &place = m_slots[slot(items, keyOf(items.at(row).path))];
    if (place >= 0)
        return false;
    place = row;
    return true;
}

RowIndex RowIndex::of(const QVector<FileItem> &items)
{
    RowIndex rows;
    rows.reserve(items.size());
    for (int row = 0; row < items.size(); ++row)
        rows.insert(items, row);
    return rows;
}

int RowIndex::find(const QVector<FileItem> &items, const QString &path) const
{
    return m_slots.empty() ? -1 : m_slots[slot(items, keyOf(path))];
}
