#include "Session.h"

#include "BufferBudget.h"
#include "Context.h"

#include <asio/io_context.hpp>
#include <asio/post.hpp>

namespace zpdt {

namespace {

constexpr auto kTick = std::chrono::milliseconds(100);
constexpr auto kPingEvery = std::chrono::seconds(2);
constexpr auto kDeadAfter = std::chrono::seconds(8);
/// For a line that takes nothing although the other side still talks.
constexpr auto kStuckAfter = std::chrono::seconds(60);
/// Data that is handed to the channel ahead. Little, so that a stream that comes first does so soon.
constexpr std::size_t kAhead = 256 * 1024;
/// A peer that makes us answer and never reads the answers is cut off here.
constexpr std::size_t kMostQueued = 16u << 20;
/// Before it has shown a ticket there is little to answer.
constexpr std::size_t kMostUnproven = 64 * 1024;
constexpr std::size_t kPendingHigh = 8u << 20;
constexpr std::size_t kPendingLow = 4u << 20;
/// What every connection may hold even when the common budget is used up.
constexpr std::size_t kPendingLeast = 1u << 20;

} // namespace

Session::Session(Context &context, std::shared_ptr<Channel> channel, Role role, std::string software, Handler handler)
    : m_context(context)
    , m_channel(std::move(channel))
    , m_role(role)
    , m_software(std::move(software))
    , m_handler(std::move(handler))
    , m_pumpTimer(context.io())
    , m_tickTimer(context.io())
{
}

Session::~Session()
{
    m_channel->close();
    m_context.budget().remove(m_pending);
}

void Session::start()
{
    m_channel->start(this);
}

void Session::close(Error error, const std::string &text)
{
    if (m_closed)
        return;
    if (m_greeted) {
        ByeMessage bye;
        bye.error = error;
        bye.text = text;
        m_channel->send(frame(0, bye));
    }
    finish(error, text);
}

void Session::finish(Error error, const std::string &text)
{
    if (m_closed)
        return;
    const auto self = shared_from_this();
    m_closed = true;
    m_ready = false;
    m_tickTimer.cancel();
    m_pumpTimer.cancel();
    m_channel->close();
    auto streams = std::move(m_streams);
    m_streams.clear();
    for (auto &stream : streams)
        stream.second->lost(error, text);
    const Handler handler = std::move(m_handler);
    m_handler = {};
    if (handler.onClosed)
        handler.onClosed(error, text);
}

void Session::violation(const char *what)
{
    close(Error::Integrity, std::string("the other side broke the protocol: ") + what);
}

Metrics Session::metrics() const
{
    Metrics metrics = m_channel->metrics();
    if (metrics.roundTripMs < 0)
        metrics.roundTripMs = m_pingMs;
    metrics.inBytesPerSecond = m_rates.inBytesPerSecond;
    metrics.outBytesPerSecond = m_rates.outBytesPerSecond;
    return metrics;
}

void Session::setSendGoal(const RateGoal &goal)
{
    m_sendGoal = goal;
    const bool own =
        m_peerGoal.bytesPerSecond == 0 || (goal.bytesPerSecond > 0 && goal.bytesPerSecond < m_peerGoal.bytesPerSecond);
    const RateGoal &both = own ? goal : m_peerGoal;
    // A carrier that paces has to see what waits: held back here as well, it would never fill the line.
    m_limiter.setRate(m_channel->setGoal(both) ? 0 : both.bytesPerSecond);
    wake();
}

void Session::setReceiveGoal(const RateGoal &goal)
{
    m_receiveGoal = goal;
    if (!m_greeted)
        return;
    RateMessage rate;
    rate.goal = goal;
    send(frame(0, rate));
}

std::uint32_t Session::add(std::shared_ptr<SessionStream> stream)
{
    m_streams[++m_lastId] = std::move(stream);
    return m_lastId;
}

void Session::remove(std::uint32_t id)
{
    m_streams.erase(id);
}

void Session::refuse(std::uint32_t id, Error error, const std::string &text)
{
    CloseMessage close;
    close.error = error;
    close.text = text;
    send(frame(id, close));
}

void Session::send(Bytes data)
{
    if (m_closed)
        return;
    m_channel->send(std::move(data));
    if (m_channel->queuedBytes() > (m_role == Role::Server && !m_served ? kMostUnproven : kMostQueued)) {
        // Not from inside whatever is sending.
        asio::post(m_context.io(), [weak = weak_from_this()] {
            if (const auto self = weak.lock())
                self->close(Error::Network, "the other side does not read");
        });
    }
}

void Session::wake()
{
    if (m_pumpPosted || m_closed)
        return;
    m_pumpPosted = true;
    asio::post(m_context.io(), [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->m_pumpPosted = false;
            self->pump();
        }
    });
}

SessionStream *Session::nextStream()
{
    // The highest priority that has data; among equals the one after the last turn, round and round.
    auto best = m_streams.end();
    auto start = m_streams.upper_bound(m_lastTurn);
    for (std::size_t i = 0; i < m_streams.size(); ++i, ++start) {
        if (start == m_streams.end())
            start = m_streams.begin();
        if (start->second->hasData() &&
            (best == m_streams.end() || start->second->priority() > best->second->priority()))
            best = start;
    }
    if (best == m_streams.end())
        return nullptr;
    m_lastTurn = best->first;
    return best->second.get();
}

void Session::pump()
{
    if (!maySend() || m_closed)
        return;
    while (m_channel->queuedBytes() < kAhead) {
        const auto now = Clock::now();
        if (!m_limiter.ready(now)) {
            m_pumpTimer.expires_at(m_limiter.next());
            m_pumpTimer.async_wait([weak = weak_from_this()](std::error_code stopped) {
                const auto self = weak.lock();
                if (self && !stopped)
                    self->pump();
            });
            return;
        }
        SessionStream *stream = nextStream();
        if (!stream)
            return;
        Bytes data = stream->takeData();
        m_limiter.take(data.size(), now);
        m_channel->send(std::move(data));
    }
}

void Session::addPending(std::size_t bytes)
{
    m_pending += bytes;
    m_context.budget().add(bytes);
    updateReading();
}

void Session::removePending(std::size_t bytes)
{
    m_pending -= bytes;
    m_context.budget().remove(bytes);
    updateReading();
}

void Session::updateReading()
{
    const bool scarce = m_context.budget().usedUp();
    if (!m_readingStopped && (m_pending > kPendingHigh || (scarce && m_pending > kPendingLeast))) {
        m_readingStopped = true;
        m_channel->setReading(false);
    } else if (m_readingStopped && m_pending < (scarce ? kPendingLeast : kPendingLow)) {
        m_readingStopped = false;
        m_lastHeard = Clock::now();
        m_channel->setReading(true);
    }
}

void Session::channelReady()
{
    m_greeted = true;
    m_lastHeard = m_lastPing = m_lastSent = m_lastRates = Clock::now();
    HelloMessage hello;
    hello.software = m_software;
    send(frame(0, hello));
    if (m_receiveGoal != RateGoal())
        setReceiveGoal(m_receiveGoal);
    armTick();
    if (m_role == Role::Client && m_handler.onMaySend)
        m_handler.onMaySend();
}

void Session::channelWritable()
{
    pump();
}

void Session::channelClosed(Error error, const std::string &text)
{
    finish(error, text);
}

void Session::channelFrame(std::uint8_t type, std::uint32_t stream, const std::uint8_t *body, std::size_t size)
{
    const auto self = shared_from_this();
    WireReader reader(body, size);
    if (!m_ready && type != static_cast<std::uint8_t>(Msg::Hello))
        return violation("no greeting");
    const bool good = stream == 0 ? connectionMessage(Msg(type), reader) : streamMessage(Msg(type), stream, reader);
    if (!good && type < kOptionalFrom)
        violation("message that breaks the rules");
}

bool Session::connectionMessage(Msg type, WireReader &body)
{
    switch (type) {
    case Msg::Hello: {
        HelloMessage hello;
        if (m_ready || !hello.decode(body))
            return false;
        m_peerSoftware = hello.software;
        m_peerVersion = hello.version;
        m_ready = true;
        if (m_handler.onReady)
            m_handler.onReady();
        wake();
        return true;
    }
    case Msg::Ping: {
        PingMessage ping;
        if (!ping.decode(body))
            return false;
        send(frame(0, ping, Msg::Pong));
        return true;
    }
    case Msg::Pong: {
        PingMessage pong;
        if (!pong.decode(body))
            return false;
        const auto now = static_cast<std::uint64_t>(Clock::now().time_since_epoch().count());
        if (pong.token <= now)
            m_pingMs = std::chrono::duration<double, std::milli>(Clock::duration(now - pong.token)).count();
        return true;
    }
    case Msg::Bye: {
        ByeMessage bye;
        if (!bye.decode(body))
            return false;
        finish(bye.error == Error::None ? Error::Network : bye.error, bye.text);
        return true;
    }
    case Msg::Rate: {
        RateMessage rate;
        if (!rate.decode(body))
            return false;
        m_peerGoal = rate.goal;
        setSendGoal(RateGoal(m_sendGoal));
        return true;
    }
    default:
        return false;
    }
}

bool Session::streamMessage(Msg type, std::uint32_t id, WireReader &body)
{
    const auto found = m_streams.find(id);
    if (found != m_streams.end()) {
        const auto stream = found->second;
        if (type == Msg::Priority) {
            PriorityMessage priority;
            if (!priority.decode(body))
                return false;
            stream->setPriority(priority.priority);
            wake();
            return true;
        }
        return stream->message(type, body);
    }
    if (m_role == Role::Server && type == Msg::Open) {
        OpenMessage open;
        if (id <= m_lastId || !open.decode(body))
            return false;
        m_lastId = id;
        auto stream = m_handler.onOpen ? m_handler.onOpen(id, open) : nullptr;
        if (stream && !m_closed) {
            m_served = true;
            stream->setPriority(open.priority);
            m_streams[id] = std::move(stream);
        }
        return true;
    }
    // Messages that crossed with the end of their stream.
    return id <= m_lastId;
}

void Session::armTick()
{
    m_tickTimer.expires_after(kTick);
    m_tickTimer.async_wait([weak = weak_from_this()](std::error_code stopped) {
        const auto self = weak.lock();
        if (self && !stopped && !self->m_closed) {
            self->tick();
            if (!self->m_closed)
                self->armTick();
        }
    });
}

void Session::tick()
{
    const auto now = Clock::now();
    if (m_channel->bytesReceived() != m_heardBytes || m_readingStopped) {
        m_heardBytes = m_channel->bytesReceived();
        m_lastHeard = now;
    }
    if (now - m_lastHeard > kDeadAfter)
        return close(Error::Network, "the other side does not answer");
    if (now - m_lastPing > kPingEvery) {
        m_lastPing = now;
        PingMessage ping;
        ping.token = static_cast<std::uint64_t>(now.time_since_epoch().count());
        send(frame(0, ping));
    }
    if (now - m_lastRates > std::chrono::seconds(1)) {
        const Metrics metrics = m_channel->metrics();
        const double seconds = std::chrono::duration<double>(now - m_lastRates).count();
        m_rates.inBytesPerSecond = double(metrics.bytesIn - m_rates.bytesIn) / seconds;
        m_rates.outBytesPerSecond = double(metrics.bytesOut - m_rates.bytesOut) / seconds;
        m_rates.bytesIn = metrics.bytesIn;
        m_rates.bytesOut = metrics.bytesOut;
        m_lastRates = now;
        if (metrics.bytesOut != m_sentBytes || m_channel->queuedBytes() == 0) {
            m_sentBytes = metrics.bytesOut;
            m_lastSent = now;
        } else if (now - m_lastSent > kStuckAfter) {
            return close(Error::Network, "the other side does not read");
        }
    }
    updateReading();
    // A stream may leave, or end the session, while it is told.
    const auto streams = m_streams;
    for (const auto &stream : streams) {
        if (m_closed)
            return;
        stream.second->tick();
    }
    if (!m_closed)
        pump();
}

} // namespace zpdt
