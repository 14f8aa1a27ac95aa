#include "TicketStore.h"

#include "Secrets.h"

namespace arkvale::service {

std::string TicketStore::issue(Ticket ticket, std::int64_t now)
{
    const std::lock_guard lock(m_mutex);
    expire(now);
    std::size_t &count = m_ofUser[ticket.user];
    if (count >= mostOfUser)
        return {};
    ++count;
    std::string text = randomText(32);
    const std::string key = sha256Hex(text);
    m_byExpiry.emplace(now + lifetimeMs, key);
    m_issued[key] = {std::move(ticket), now + lifetimeMs};
    return text;
}

std::optional<Ticket> TicketStore::redeem(const std::string &text, std::int64_t now)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_issued.find(sha256Hex(text));
    if (found == m_issued.end())
        return std::nullopt;
    std::optional<Ticket> ticket;
    if (found->second.expires > now)
        ticket = found->second.ticket;
    erase(found);
    return ticket;
}

void TicketStore::revoke(const std::string &user)
{
    const std::lock_guard lock(m_mutex);
    for (auto it = m_issued.begin(); it != m_issued.end();) {
        const auto next = std::next(it);
        if (it->second.ticket.user == user)
            erase(it);
        it = next;
    }
}

void TicketStore::erase(std::map<std::string, Issued>::iterator it)
{
    const auto count = m_ofUser.find(it->second.ticket.user);
    if (count != m_ofUser.end() && --count->second == 0)
        m_ofUser.erase(count);
    m_issued.erase(it);
}

void TicketStore::expire(std::int64_t now)
{
    // Tickets that were used meanwhile leave their entry here until its time comes.
    while (!m_byExpiry.empty() && m_byExpiry.begin()->first <= now) {
        const auto found = m_issued.find(m_byExpiry.begin()->second);
        if (found != m_issued.end())
            erase(found);
        m_byExpiry.erase(m_byExpiry.begin());
    }
}

} // namespace arkvale::service
