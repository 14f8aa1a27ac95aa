#pragma once

#include "SerialIndex.h"
#include "TransferTexts.h"

#include <algorithm>
#include <deque>
#include <utility>
#include <vector>

/// Rows of a list in the order of their arrival, found by the identity of their task. A row has a member `record`. It
/// is found in constant time and its place in logarithmic time, whatever is removed before it; removing near either end
/// is cheap. The index holds hashes and no texts. No thread of its own, not thread-safe.
template <typename Row>
class TaskRows
{
public:
    int count() const { return static_cast<int>(m_rows.size()); }
    const Row &at(int place) const { return m_rows[static_cast<std::size_t>(place)].row; }
    Row &at(int place) { return m_rows[static_cast<std::size_t>(place)].row; }

    /// Place of the row of that task, -1 when there is none.
    /// @param guess a place that is looked at first: tasks that are named together mostly stand together
    int find(const TaskRecord &task, int guess = -1) const
    {
        if (guess >= 0 && guess < count() && at(guess).record.sameTask(task))
            return guess;
        int found = -1;
        m_serials.find(TransferTexts::keyHash(task), [&](qint64 serial) {
            const int place = placeOf(serial);
            if (at(place).record.sameTask(task))
                found = place;
            return found >= 0;
        });
        return found;
    }

    /// A number that stays with the row, whatever happens to the rows around it.
    qint64 serial(int place) const { return m_rows[static_cast<std::size_t>(place)].serial; }
    /// Place of the row of that number, -1 when it is gone.
    int findSerial(qint64 serial) const
    {
        const int place = placeOf(serial);
        return place < count() && this->serial(place) == serial ? place : -1;
    }

    /// The task must not be there yet.
    void append(Row row)
    {
        const quint64 hash = TransferTexts::keyHash(row.record);
        m_serials.insert(hash, ++m_last);
        m_rows.push_back({m_last, hash, std::move(row)});
    }
    void prepend(Row row)
    {
        const quint64 hash = TransferTexts::keyHash(row.record);
        m_serials.insert(hash, --m_first);
        m_rows.push_front({m_first, hash, std::move(row)});
    }

    void remove(int first, int last)
    {
        const auto begin = m_rows.begin() + first;
        const auto end = m_rows.begin() + last + 1;
        for (auto it = begin; it != end; ++it)
            m_serials.remove(it->hash, it->serial);
        m_rows.erase(begin, end);
    }

    /// Stretches of places, first and last of each, in rising order.
    using Stretches = std::vector<std::pair<int, int>>;

    /// The places of those of the tasks that are there.
    Stretches find(const QList<TaskRecord> &tasks) const
    {
        std::vector<int> places;
        places.reserve(static_cast<std::size_t>(tasks.size()));
        int place = -1;
        for (const TaskRecord &task : tasks) {
            place = find(task, place + 1);
            if (place >= 0)
                places.push_back(place);
        }
        std::sort(places.begin(), places.end());
        places.erase(std::unique(places.begin(), places.end()), places.end());
        Stretches stretches;
        for (const int at : places) {
            if (!stretches.empty() && stretches.back().second == at - 1)
                stretches.back().second = at;
            else
                stretches.emplace_back(at, at);
        }
        return stretches;
    }

    /// All of them in one pass.
    void remove(const Stretches &stretches)
    {
        std::deque<Entry> kept;
        auto next = stretches.begin();
        for (int place = 0; place < count(); ++place) {
            Entry &entry = m_rows[static_cast<std::size_t>(place)];
            while (next != stretches.end() && next->second < place)
                ++next;
            if (next != stretches.end() && next->first <= place)
                m_serials.remove(entry.hash, entry.serial);
            else
                kept.push_back(std::move(entry));
        }
        m_rows = std::move(kept);
    }

    /// With more separate stretches than this, removing them one by one costs a view more than starting anew.
    static constexpr std::size_t kMostStretches = 200;

    void clear()
    {
        m_rows.clear();
        m_serials.clear();
    }

private:
    struct Entry
    {
        qint64 serial;
        quint64 hash;
        Row row;
    };

    int placeOf(qint64 serial) const
    {
        // Serial numbers rise from row to row, so the place of one is searched for and need not be kept up to date.
        const auto place = std::lower_bound(m_rows.begin(), m_rows.end(), serial,
                                            [](const Entry &entry, qint64 wanted) { return entry.serial < wanted; });
        return static_cast<int>(place - m_rows.begin());
    }

    std::deque<Entry> m_rows;
    SerialIndex m_serials;
    qint64 m_first = 0;
    qint64 m_last = 0;
};
