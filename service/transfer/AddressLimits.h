#pragma once

#include <chrono>
#include <string>
#include <unordered_map>

namespace arkvale::service {

/// How many connections an address holds and how often it opens new ones. The lower half of an IPv6 address is its
/// owner's choice, and does not count. One thread.
class AddressLimits
{
public:
    using Clock = std::chrono::steady_clock;

    /// @param atOnce connections at a time, and new ones in a row
    /// @param perSecond new ones in the long run
    AddressLimits(unsigned atOnce, double perSecond);

    /// False when the address opens them too fast; else it holds one more, which may be more than it should.
    bool enter(const std::string &address, Clock::time_point now = Clock::now());
    bool tooMany(const std::string &address) const;
    void leave(const std::string &address);

private:
    struct Entry
    {
        unsigned open = 0;
        double credit = 0;
        Clock::time_point since;
    };
    static std::string keyOf(const std::string &address);
    void forgetIdle(Clock::time_point now);

    const unsigned m_atOnce;
    const double m_perSecond;
    std::unordered_map<std::string, Entry> m_entries;
};

} // namespace arkvale::service
