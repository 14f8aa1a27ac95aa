#pragma once

#include <chrono>
#include <map>
#include <mutex>

namespace arkvale::service {

/// Cuts connections whose request takes too long to arrive. A time-out between two bytes does not catch a client that
/// sends one byte now and then; this one counts from the start. May be used from any thread.
class ConnectionWatch
{
public:
    using Clock = std::chrono::steady_clock;

    /// @param connection a name for the connection; @param seconds from now within which the next step must come
    void opened(const void *connection, int socket, unsigned seconds);
    void expect(const void *connection, unsigned seconds);
    /// No limit until the next expect().
    void release(const void *connection);
    /// Before the socket is closed.
    void closed(const void *connection);

    /// Cuts what is overdue.
    void cutOverdue();

private:
    struct Entry
    {
        int socket = -1;
        Clock::time_point deadline = Clock::time_point::max();
    };

    std::mutex m_mutex;
    std::map<const void *, Entry> m_entries;
};

} // namespace arkvale::service
