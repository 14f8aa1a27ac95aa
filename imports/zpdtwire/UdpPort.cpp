#include "UdpPort.h"

namespace zpdt {

namespace {
/// Batches in one go, so that timers and other sockets get their turn.
constexpr int kBatches = 4;
} // namespace

bool UdpPort::open(const Endpoint &local, std::string &error)
{
    std::error_code failed;
    m_socket.open(local.protocol(), failed);
    if (!failed)
        m_socket.bind(local, failed);
    if (failed) {
        error = failed.message();
        m_socket.close(failed);
        return false;
    }
    m_batch.tune(m_socket);
    return true;
}

UdpPort::Endpoint UdpPort::local() const
{
    std::error_code ignored;
    return m_socket.local_endpoint(ignored);
}

void UdpPort::receive(UdpBatch::Sink onDatagram, std::function<void()> onEnd)
{
    m_onDatagram = std::move(onDatagram);
    m_onEnd = std::move(onEnd);
    wait();
}

void UdpPort::wait()
{
    m_socket.async_wait(asio::ip::udp::socket::wait_read, [self = shared_from_this()](std::error_code failed) {
        if (self->m_closed || failed == asio::error::operation_aborted)
            return;
        for (int i = 0; i < kBatches && !self->m_closed; ++i) {
            if (!self->m_batch.receive(self->m_socket, self->m_onDatagram))
                break;
        }
        if (self->m_closed)
            return;
        self->m_onEnd();
        if (!self->m_closed)
            self->wait();
    });
}

void UdpPort::whenWritable(std::function<void()> work)
{
    m_waiting.push_back(std::move(work));
    if (m_waiting.size() > 1)
        return;
    m_socket.async_wait(asio::ip::udp::socket::wait_write, [self = shared_from_this()](std::error_code) {
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
    std::error_code ignored;
    m_socket.close(ignored);
}

} // namespace zpdt
