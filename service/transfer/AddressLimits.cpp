#include "AddressLimits.h"

#include <asio/ip/address.hpp>

#include <algorithm>

namespace arkvale::service {

namespace {
/// From here on the entries are looked through for idle ones.
constexpr std::size_t kManyEntries = 4096;
} // namespace

AddressLimits::AddressLimits(unsigned atOnce, double perSecond)
    : m_atOnce(atOnce)
    , m_perSecond(perSecond)
{
}

std::string AddressLimits::keyOf(const std::string &address)
{
    std::error_code failed;
    const auto parsed = asio::ip::make_address(address, failed);
    if (failed || !parsed.is_v6() || parsed.to_v6().is_v4_mapped())
        return address;
    const auto bytes = parsed.to_v6().to_bytes();
    return std::string(bytes.begin(), bytes.begin() + 8);
}

bool AddressLimits::enter(const std::string &address, Clock::time_point now)
{
    if (m_entries.size() >= kManyEntries)
        forgetIdle(now);
    const auto made = m_entries.try_emplace(keyOf(address));
    Entry &entry = made.first->second;
    const double earned = std::chrono::duration<double>(now - entry.since).count() * m_perSecond;
    entry.credit = made.second ? m_atOnce : std::min<double>(m_atOnce, entry.credit + earned);
    entry.since = now;
    if (entry.credit < 1)
        return false;
    entry.credit -= 1;
    ++entry.open;
    return true;
}

bool AddressLimits::tooMany(const std::string &address) const
{
    const auto found = m_entries.find(keyOf(address));
    return found != m_entries.end() && found->second.open > m_atOnce;
}

void AddressLimits::leave(const std::string &address)
{
    const auto found = m_entries.find(keyOf(address));
    if (found != m_entries.end() && found->second.open > 0)
        --found->second.open;
}

void AddressLimits::forgetIdle(Clock::time_point now)
{
    for (auto it = m_entries.begin(); it != m_entries.end();) {
        const double seconds = std::chrono::duration<double>(now - it->second.since).count();
        it = it->second.open == 0 && seconds * m_perSecond >= m_atOnce ? m_entries.erase(it) : std::next(it);
    }
}

} // namespace arkvale::service
