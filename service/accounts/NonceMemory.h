#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace arkvale::service {

/// Remembers the nonces of signed requests for as long as their time would still be accepted. Bounded for each access
/// id and in all. May be used from any thread.
class NonceMemory
{
public:
    static constexpr std::int64_t windowMs = 300 * 1000;
    static constexpr std::size_t mostOfOne = 65536;
    static constexpr std::size_t mostOfAll = 2000000;

    enum class Verdict
    {
        Fresh,
        Repeated,
        Full
    };

    struct Entry
    {
        std::string accessId;
        std::string nonce;
        std::int64_t time = 0;
    };

    /// @param time of the request, already found to be within the window around @p now
    Verdict remember(const std::string &accessId, const std::string &nonce, std::int64_t time, std::int64_t now);
    void forget(const std::string &accessId);

    /// Everything that is still worth keeping, for the next start of the service.
    std::vector<Entry> entries(std::int64_t now) const;

private:
    struct Memory
    {
        std::set<std::pair<std::int64_t, std::string>> byTime;
        std::unordered_set<std::string> nonces;
    };

    void expire(Memory &memory, std::int64_t now);

    mutable std::mutex m_mutex;
    std::unordered_map<std::string, Memory> m_memories;
    std::size_t m_count = 0;
};

} // namespace arkvale::service
