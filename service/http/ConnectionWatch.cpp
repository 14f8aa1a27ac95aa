#include "ConnectionWatch.h"

#include <sys/socket.h>

namespace arkvale::service {

void ConnectionWatch::opened(const void *connection, int socket, unsigned seconds)
{
    const std::lock_guard lock(m_mutex);
    m_entries[connection] = {socket, Clock::now() + std::chrono::seconds(seconds)};
}

void ConnectionWatch::expect(const void *connection, unsigned seconds)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_entries.find(connection);
    if (found != m_entries.end())
        found->second.deadline = Clock::now() + std::chrono::seconds(seconds);
}

void ConnectionWatch::release(const void *connection)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_entries.find(connection);
    if (found != m_entries.end())
        found->second.deadline = Clock::time_point::max();
}

void ConnectionWatch::closed(const void *connection)
{
    const std::lock_guard lock(m_mutex);
    m_entries.erase(connection);
}

void ConnectionWatch::cutOverdue()
{
    const std::lock_guard lock(m_mutex);
    const Clock::time_point now = Clock::now();
    for (auto &[connection, entry] : m_entries) {
        if (entry.deadline > now)
            continue;
        // Only shut down, never closed here: the number stays taken until its owner closes it.
        ::shutdown(entry.socket, SHUT_RDWR);
        entry.deadline = Clock::time_point::max();
    }
}

} // namespace arkvale::service
