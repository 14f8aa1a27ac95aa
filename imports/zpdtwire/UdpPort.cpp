#include "UdpPort.h"

namespace zpdt {

namespace {

/// Batches in one go, so that timers and other sockets get their turn.
constexpr int kBatches = 4;
constexpr std::size_t kFew = 8;
constexpr auto kBusy = std::chrono::milliseconds(2);
constexpr auto kGather = std::chrono::milliseconds(1);
constexpr auto kRoom = std::chrono::milliseconds(1);

} // namespace

void UdpPort::receive(UdpSocket::Sink onDatagram, std::function<void()> onEnd)
{
    m_onDatagram = std::move(onDatagram);
    m_onEnd = std::move(onEnd);
    wait();
}

void UdpPort::wait()
{
    m_socket.whenReadable([self = shared_from_this()] {
        if (!self->m_closed)
            self->read();
    });
}

void UdpPort::read()
{
    const auto now = std::chrono::steady_clock::now();
    const bool busy = now - m_lastRead < kBusy;
    m_lastRead = now;
    std::size_t count = 0;
    for (int i = 0; i < kBatches && !m_closed; ++i) {
        const std::size_t more = m_socket.receive(m_onDatagram);
        count += more;
        if (more < UdpSocket::kMost)
            break;
    }
    if (m_closed)
        return;
    if (count > 0)
        m_onEnd();
    if (m_closed)
        return;
    // Waking up for one or two datagrams at a time would cost more than what is done with them.
    if (!busy || count == 0 || count >= kFew * kBatches)
        return wait();
    m_gather.expires_after(kGather);
    m_gather.async_wait([self = shared_from_this()](std::error_code stopped) {
        if (!self->m_closed && !stopped)
            self->read();
    });
}

void UdpPort::whenRoom(std::function<void()> work)
{
    m_waiting.push_back(std::move(work));
    if (m_waiting.size() > 1)
        return;
    m_room.expires_after(kRoom);
    m_room.async_wait([self = shared_from_this()](std::error_code) {
        const auto waiting = std::move(self->m_waiting);
        self->m_waiting.clear();
        for (const auto &next : waiting)
            next();
    });
}

void UdpPort::close()
{
    if (m_closed)
        return;
    m_closed = true;
    m_gather.cancel();
    m_room.cancel();
    m_socket.close();
}

} // namespace zpdt
