#include "PipeChannel.h"

#include "Context.h"

#include <utility>

using namespace zpdt;

void PipeChannel::join(const std::shared_ptr<PipeChannel> &a, const std::shared_ptr<PipeChannel> &b)
{
    a->m_other = b;
    b->m_other = a;
}

void PipeChannel::start(Listener *listener)
{
    m_listener = listener;
    m_context.post([self = shared_from_this()] {
        if (self->m_listener)
            self->m_listener->channelReady();
        self->deliver();
    });
}

void PipeChannel::send(Bytes frames)
{
    for (std::size_t at = 0; at < frames.size() && !m_closed;) {
        WireReader header(frames.data() + at, 4);
        const std::size_t size = header.u32() + 4;
        Bytes one(frames.begin() + std::ptrdiff_t(at), frames.begin() + std::ptrdiff_t(at + size));
        at += size;
        const Verdict verdict = m_filter ? m_filter(one) : Verdict::Pass;
        const auto other = m_other.lock();
        if (verdict == Verdict::Drop || !other)
            continue;
        if (verdict == Verdict::Cut) {
            cut();
            other->cut();
            return;
        }
        other->m_arrivedBytes += one.size();
        other->m_arrived.push_back(std::move(one));
        other->deliver();
    }
}

std::size_t PipeChannel::queuedBytes() const
{
    const auto other = m_other.lock();
    return other ? other->m_arrivedBytes : 0;
}

void PipeChannel::setReading(bool reading)
{
    m_reading = reading;
    deliver();
}

void PipeChannel::deliver()
{
    if (m_posted)
        return;
    m_posted = true;
    m_context.post([self = shared_from_this()] {
        self->m_posted = false;
        const auto other = self->m_other.lock();
        for (int i = 0; i < 8 && self->m_listener && self->m_reading && !self->m_arrived.empty(); ++i) {
            const Bytes one = std::move(self->m_arrived.front());
            self->m_arrived.pop_front();
            self->m_arrivedBytes -= one.size();
            self->m_received += one.size();
            WireReader r(one.data() + 4, 5);
            const std::uint8_t type = r.u8();
            const std::uint32_t stream = r.u32();
            self->m_listener->channelFrame(type, stream, one.data() + kFrameHeader, one.size() - kFrameHeader);
        }
        if (other && other->m_listener)
            other->m_listener->channelWritable();
        if (self->m_listener && self->m_arrived.empty() && self->m_otherClosed)
            return self->cut();
        if (self->m_listener && self->m_reading && !self->m_arrived.empty())
            self->deliver();
    });
}

void PipeChannel::cut()
{
    m_context.post([self = shared_from_this()] {
        self->m_closed = true;
        if (Listener *listener = std::exchange(self->m_listener, nullptr))
            listener->channelClosed(Error::Network, "cut");
    });
}

void PipeChannel::close()
{
    if (std::exchange(m_closed, true))
        return;
    m_listener = nullptr;
    if (const auto other = m_other.lock()) {
        other->m_otherClosed = true;
        other->deliver();
    }
}
