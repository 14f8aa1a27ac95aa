#include "UsageBook.h"

#include "AccountStore.h"
#include "FolderSize.h"

#include <algorithm>
#include <chrono>
#include <vector>

namespace arkvale::service {

namespace {

constexpr auto flushInterval = std::chrono::seconds(3);
constexpr std::int64_t quotaFreshMs = 1000;

std::int64_t steadyMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

UsageBook::UsageBook(AccountStore &store, HomeOf homeOf)
    : m_store(store)
    , m_homeOf(std::move(homeOf))
    , m_thread([this] { run(); })
{
}

UsageBook::~UsageBook()
{
    m_stop = true;
    {
        const std::lock_guard lock(m_mutex);
    }
    m_wake.notify_one();
    m_thread.join();
}

UsageBook::Entry &UsageBook::entry(const Key &key)
{
    Entry &entry = m_entries[key];
    const std::int64_t now = steadyMs();
    if (entry.known && now - entry.quotaReadAt < quotaFreshMs)
        return entry;
    const auto home = m_store.home(key.first, key.second);
    entry.use.quota = home ? home->quota : 0;
    if (home && !entry.known)
        entry.use.used = home->used;
    entry.known = home.has_value();
    entry.quotaReadAt = now;
    return entry;
}

StorageUse UsageBook::storage(const std::string &user, const std::string &subCenterId)
{
    const std::lock_guard lock(m_mutex);
    return entry({user, subCenterId}).use;
}

void UsageBook::add(const std::string &user, const std::string &subCenterId, std::int64_t delta)
{
    const std::lock_guard lock(m_mutex);
    Entry &changed = entry({user, subCenterId});
    changed.use.used = std::max<std::int64_t>(changed.use.used + delta, 0);
    changed.dirty = true;
}

void UsageBook::recount(const std::string &user, const std::string &subCenterId)
{
    {
        const std::lock_guard lock(m_mutex);
        m_toCount.insert({user, subCenterId});
    }
    m_wake.notify_one();
}

bool UsageBook::idle() const
{
    const std::lock_guard lock(m_mutex);
    return m_toCount.empty() && !m_counting;
}

void UsageBook::run()
{
    std::unique_lock lock(m_mutex);
    auto flushAt = std::chrono::steady_clock::now() + flushInterval;
    while (!m_stop) {
        m_wake.wait_until(lock, flushAt, [this] { return m_stop || !m_toCount.empty(); });
        if (!m_stop && !m_toCount.empty()) {
            const Key key = *m_toCount.begin();
            m_toCount.erase(m_toCount.begin());
            count(lock, key);
        }
        if (std::chrono::steady_clock::now() >= flushAt) {
            flush(lock);
            flushAt = std::chrono::steady_clock::now() + flushInterval;
        }
    }
    flush(lock);
}

void UsageBook::count(std::unique_lock<std::mutex> &lock, const Key &key)
{
    m_counting = true;
    lock.unlock();
    const auto home = m_homeOf(key.first, key.second);
    const auto size = home ? folderSize(*home, m_stop) : std::nullopt;
    lock.lock();
    m_counting = false;
    if (!size)
        return;
    Entry &counted = entry(key);
    // What changed during the count may or may not be in it; the sum stays near the truth until the next count.
    counted.use.used = std::max<std::int64_t>(*size, 0);
    counted.dirty = true;
}

void UsageBook::flush(std::unique_lock<std::mutex> &lock)
{
    std::vector<std::pair<Key, std::int64_t>> changed;
    for (auto &[key, entry] : m_entries) {
        if (entry.dirty && entry.known)
            changed.emplace_back(key, entry.use.used);
        entry.dirty = false;
    }
    lock.unlock();
    for (const auto &[key, used] : changed)
        m_store.setUsed(key.first, key.second, used);
    lock.lock();
}

} // namespace arkvale::service
