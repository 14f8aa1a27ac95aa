#pragma once

#include "TransferTexts.h"

#include <QHash>

#include <algorithm>
#include <deque>

/// Rows of a list in the order of their arrival, found by the identity of their task. A row is found in constant time
/// and its place in logarithmic time, whatever is removed before it; removing near either end is cheap. No thread of
/// its own, not thread-safe.
template <typename Row>
class TaskRows
{
public:
    int count() const { return static_cast<int>(m_rows.size()); }
    const Row &at(int place) const { return m_rows[static_cast<std::size_t>(place)].row; }
    Row &at(int place) { return m_rows[static_cast<std::size_t>(place)].row; }

    /// Place of the row of that identity, -1 when there is none.
    int find(const QString &key) const
    {
        const auto it = m_serials.constFind(key);
        if (it == m_serials.constEnd())
            return -1;
        // Serial numbers rise from row to row, so the place of one is searched for and need not be kept up to date.
        const auto place = std::lower_bound(m_rows.begin(), m_rows.end(), *it,
                                            [](const Entry &entry, qint64 serial) { return entry.serial < serial; });
        return static_cast<int>(place - m_rows.begin());
    }

    /// The identity must not be there yet.
    void append(const QString &key, Row row)
    {
        m_serials.insert(key, ++m_last);
        m_rows.push_back({m_last, key, std::move(row)});
    }
    void prepend(const QString &key, Row row)
    {
        m_serials.insert(key, --m_first);
        m_rows.push_front({m_first, key, std::move(row)});
    }

    void remove(int first, int last)
    {
        const auto begin = m_rows.begin() + first;
        const auto end = m_rows.begin() + last + 1;
        for (auto it = begin; it != end; ++it)
            m_serials.remove(it->key);
        m_rows.erase(begin, end);
    }

    void clear()
    {
        m_rows.clear();
        m_serials.clear();
    }

private:
    struct Entry
    {
        qint64 serial;
        QString key;
        Row row;
    };

    std::deque<Entry> m_rows;
    QHash<QString, qint64> m_serials;
    qint64 m_first = 0;
    qint64 m_last = 0;
};
