#pragma once

#include "Context.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>

namespace arkvale::service {

class AccountStore;

/// Knows how much each home holds. Changes are added in memory at once, written to the database every few seconds,
/// and set right by counting the home's files anew on a thread of its own. May be used from any thread.
class UsageBook
{
public:
    using HomeOf = std::function<std::optional<std::string>(const std::string &user, const std::string &subCenterId)>;

    UsageBook(AccountStore &store, HomeOf homeOf);
    /// Writes what is not written, and joins the thread.
    ~UsageBook();
    UsageBook(const UsageBook &) = delete;
    UsageBook &operator=(const UsageBook &) = delete;

    StorageUse storage(const std::string &user, const std::string &subCenterId);
    void add(const std::string &user, const std::string &subCenterId, std::int64_t delta);
    /// The count begins within a second; a count that is asked for while one runs is made after it.
    void recount(const std::string &user, const std::string &subCenterId);
    /// For stop and tests: true once no count is left to be made.
    bool idle() const;

private:
    using Key = std::pair<std::string, std::string>;

    struct Entry
    {
        StorageUse use;
        std::int64_t quotaReadAt = 0; ///< steady milliseconds; the quota may be changed by another process
        bool dirty = false;
        bool known = false;
    };

    Entry &entry(const Key &key);
    void run();
    void count(std::unique_lock<std::mutex> &lock, const Key &key);
    void flush(std::unique_lock<std::mutex> &lock);

    AccountStore &m_store;
    const HomeOf m_homeOf;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::map<Key, Entry> m_entries;
    std::set<Key> m_toCount;
    bool m_counting = false;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

} // namespace arkvale::service
