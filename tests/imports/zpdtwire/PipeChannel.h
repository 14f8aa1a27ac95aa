#pragma once

#include "Channel.h"

#include <deque>
#include <functional>
#include <memory>

namespace zpdt {
class Context;
}

/// Both ends of a line inside one process. Every frame passes a filter that may change it, drop it, or break the line.
/// I/O thread.
class PipeChannel : public zpdt::Channel, public std::enable_shared_from_this<PipeChannel>
{
public:
    enum class Verdict
    {
        Pass,
        Drop,
        Cut
    };
    /// Sees the frame whole, header included, on its way from this end.
    using Filter = std::function<Verdict(zpdt::Bytes &frame)>;

    explicit PipeChannel(zpdt::Context &context)
        : m_context(context)
    {
    }
    static void join(const std::shared_ptr<PipeChannel> &a, const std::shared_ptr<PipeChannel> &b);
    void setFilter(Filter filter) { m_filter = std::move(filter); }

    void start(Listener *listener) override;
    void send(zpdt::Bytes frames) override;
    std::size_t queuedBytes() const override;
    void setReading(bool reading) override;
    void close() override;
    zpdt::Metrics metrics() const override { return {}; }
    std::uint64_t bytesReceived() const override { return m_received; }
    std::string peer() const override { return "pipe"; }

private:
    void deliver();
    void cut();

    zpdt::Context &m_context;
    std::weak_ptr<PipeChannel> m_other;
    Filter m_filter;
    Listener *m_listener = nullptr;
    std::deque<zpdt::Bytes> m_arrived;
    std::size_t m_arrivedBytes = 0;
    std::uint64_t m_received = 0;
    bool m_reading = true;
    bool m_posted = false;
    bool m_closed = false;
    bool m_otherClosed = false;
};
