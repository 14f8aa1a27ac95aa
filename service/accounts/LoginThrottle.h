#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace arkvale::service {

/// Slows down who guesses passwords. Counts failed logins of the last 15 minutes for each pair of name and address,
/// each address and each name; an attempt counts as failed until it has succeeded, so that many at once gain nothing.
/// Keeps a bounded number of counts. May be used from any thread.
class LoginThrottle
{
public:
    static constexpr std::int64_t windowMs = 15 * 60 * 1000;
    static constexpr std::size_t mostOfPair = 10;
    static constexpr std::size_t mostOfAddress = 60;
    static constexpr std::size_t mostOfName = 100;
    static constexpr std::size_t mostCounts = 20000;

    /// The pause in milliseconds before the answer of a failed attempt is told: 0 for the first two, then from 250
    /// doubling up to 8000. Empty: too many, no attempt is made.
    std::optional<int> attempt(const std::string &name, const std::string &address, std::int64_t now);
    /// The attempt went well: the pair's failures are forgotten.
    void succeeded(const std::string &name, const std::string &address);
    /// The attempt was not made after all.
    void withdraw(const std::string &name, const std::string &address);

    std::size_t counts() const;

private:
    using Times = std::deque<std::int64_t>;

    Times &recent(const std::string &key, std::int64_t now);
    void takeBack(const std::string &key);
    void trim(std::int64_t now);

    mutable std::mutex m_mutex;
    std::map<std::string, Times> m_times;
};

} // namespace arkvale::service
