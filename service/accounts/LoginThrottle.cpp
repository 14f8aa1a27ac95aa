#include "LoginThrottle.h"

#include <algorithm>

namespace arkvale::service {

namespace {

std::string nameKey(const std::string &name)
{
    return "n" + name;
}

std::string addressKey(const std::string &address)
{
    return "a" + address;
}

std::string pairKey(const std::string &name, const std::string &address)
{
    return "p" + address + ' ' + name;
}

} // namespace

std::optional<int> LoginThrottle::attempt(const std::string &name, const std::string &address, std::int64_t now)
{
    const std::lock_guard lock(m_mutex);
    if (m_times.size() + 3 > mostCounts)
        trim(now);
    Times &pair = recent(pairKey(name, address), now);
    Times &byAddress = recent(addressKey(address), now);
    Times &byName = recent(nameKey(name), now);
    if (pair.size() >= mostOfPair || byAddress.size() >= mostOfAddress || byName.size() >= mostOfName)
        return std::nullopt;
    pair.push_back(now);
    byAddress.push_back(now);
    byName.push_back(now);
    const std::size_t failures = pair.size();
    return failures < 3 ? 0 : std::min(250 << std::min<std::size_t>(failures - 3, 5), 8000);
}

void LoginThrottle::succeeded(const std::string &name, const std::string &address)
{
    const std::lock_guard lock(m_mutex);
    m_times.erase(pairKey(name, address));
    // Of the wider counts only this attempt goes: a guesser with one good account of his own gains nothing by it.
    takeBack(addressKey(address));
    takeBack(nameKey(name));
}

void LoginThrottle::withdraw(const std::string &name, const std::string &address)
{
    const std::lock_guard lock(m_mutex);
    takeBack(pairKey(name, address));
    takeBack(addressKey(address));
    takeBack(nameKey(name));
}

void LoginThrottle::takeBack(const std::string &key)
{
    const auto found = m_times.find(key);
    if (found == m_times.end())
        return;
    if (!found->second.empty())
        found->second.pop_back();
    if (found->second.empty())
        m_times.erase(found);
}

std::size_t LoginThrottle::counts() const
{
    const std::lock_guard lock(m_mutex);
    return m_times.size();
}

LoginThrottle::Times &LoginThrottle::recent(const std::string &key, std::int64_t now)
{
    Times &times = m_times[key];
    while (!times.empty() && times.front() <= now - windowMs)
        times.pop_front();
    return times;
}

void LoginThrottle::trim(std::int64_t now)
{
    for (auto it = m_times.begin(); it != m_times.end();)
        it = it->second.empty() || it->second.back() <= now - windowMs ? m_times.erase(it) : std::next(it);
    // Still full: an attack with made-up names. The names' counts go; those of the attacker's addresses stay.
    if (m_times.size() + 3 > mostCounts) {
        for (auto it = m_times.begin(); it != m_times.end();)
            it = it->first.front() != 'a' ? m_times.erase(it) : std::next(it);
    }
    if (m_times.size() + 3 > mostCounts)
        m_times.clear();
}

} // namespace arkvale::service
