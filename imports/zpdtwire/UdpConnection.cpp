#include "UdpConnection.h"

#include "BufferBudget.h"
#include "Context.h"

#include <asio/io_context.hpp>
#include <asio/post.hpp>

#include <algorithm>

namespace zpdt {

namespace {

constexpr auto kConnectTime = std::chrono::seconds(5);
constexpr auto kHelloFirst = std::chrono::milliseconds(250);
constexpr auto kHelloMost = std::chrono::milliseconds(1000);
constexpr auto kFlushTime = std::chrono::seconds(1);
constexpr auto kRepeat = std::chrono::milliseconds(60);
constexpr auto kLinger = std::chrono::milliseconds(500);
constexpr auto kSilence = std::chrono::seconds(15);
constexpr auto kKeepAlive = std::chrono::seconds(10);
constexpr auto kBlockedPing = std::chrono::milliseconds(250);
constexpr auto kMeasure = std::chrono::milliseconds(250);
constexpr std::size_t kBurst = 62 * 1024;

double seconds(UdpClock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

} // namespace

UdpConnection::UdpConnection(Context &context, std::string host, std::uint16_t port, const std::string &fingerprint,
                             const std::string &key)
    : m_context(context)
    , m_timer(context.io())
    , m_server(false)
    , m_host(std::move(host))
    , m_hostPort(port)
    , m_resolver(context.io())
    , m_handshake(std::make_unique<UdpClientHandshake>(fingerprint, key))
{
}

UdpConnection::UdpConnection(Context &context, std::shared_ptr<UdpPort> port, UdpMet met, const Endpoint &remote,
                             double roundTrip, std::function<void(std::uint64_t)> onGone)
    : m_context(context)
    , m_port(std::move(port))
    , m_timer(context.io())
    , m_onGone(std::move(onGone))
    , m_server(true)
    , m_resolver(context.io())
    , m_met(std::move(met))
    , m_remote(remote)
{
    m_state = State::Open;
    opened(roundTrip);
}

UdpConnection::~UdpConnection()
{
    m_context.budget().remove(m_countedMemory);
}

void UdpConnection::start(Channel::Listener *listener)
{
    m_listener = listener;
    // Never answers from inside this call.
    asio::post(m_context.io(), [self = shared_from_this()] {
        if (self->m_state == State::Ended)
            return;
        if (!self->m_server) {
            self->m_state = State::Finding;
            self->m_startedAt = Clock::now();
            if (!self->m_handshake->valid())
                return self->fail(Error::Refused, "no key for a UDP connection");
            self->schedule();
            return self->resolve();
        }
        if (self->m_state != State::Open)
            return;
        self->m_told = true;
        if (self->m_listener)
            self->m_listener->channelReady();
        self->deliver();
        self->flush();
    });
}

void UdpConnection::resolve()
{
    std::error_code failed;
    const auto address = asio::ip::make_address(m_host, failed);
    if (!failed) {
        m_candidates = {Endpoint(address, m_hostPort)};
        return sendHello();
    }
    m_resolver.async_resolve(
        m_host, std::to_string(m_hostPort),
        [self = shared_from_this()](std::error_code error, asio::ip::udp::resolver::results_type results) {
            if (self->m_state != State::Finding)
                return;
            if (error)
                return self->fail(Error::Network, "host not found: " + self->m_host);
            for (const auto &result : results)
                self->m_candidates.push_back(result.endpoint());
            self->sendHello();
        });
}

bool UdpConnection::reachPort()
{
    const auto protocol = m_candidates[m_candidate].protocol();
    if (m_port && m_port->local().protocol() == protocol)
        return true;
    if (m_port)
        m_port->close();
    m_port = std::make_shared<UdpPort>(m_context.io());
    std::string error;
    if (!m_port->open(Endpoint(protocol, 0), error))
        return false;
    m_port->receive(weak_from_this());
    return true;
}

void UdpConnection::sendHello()
{
    const auto now = Clock::now();
    m_helloAt = now + std::min<Clock::duration>(kHelloFirst * (1 << std::min(m_hellos, 4u)), kHelloMost);
    // Every other address in its turn, as long as none answers.
    if (m_hellos > 1)
        m_candidate = (m_candidate + 1) % m_candidates.size();
    ++m_hellos;
    if (reachPort()) {
        const Bytes hello = m_handshake->hello();
        std::size_t sent = 0;
        (void)m_port->send(m_candidates[m_candidate], hello.data(), hello.size(), hello.size(), sent);
        m_bytesOut += sent;
        m_lastSent = now;
    }
    schedule();
}

void UdpConnection::onWelcome(const std::uint8_t *data, std::size_t size, const Endpoint &from)
{
    if (!m_handshake->welcome(data, size, m_met))
        return;
    m_remote = from;
    m_state = State::Open;
    opened(seconds(Clock::now() - m_lastSent));
    m_handshake.reset();
    m_candidates.clear();
    // The server waits for a first packet as the last proof.
    m_pingWanted = true;
    m_told = true;
    if (m_listener)
        m_listener->channelReady();
    flush();
}

void UdpConnection::opened(double roundTrip)
{
    m_heard = m_lastSent = m_windowAt = m_measuredAt = m_startedAt = Clock::now();
    m_size = std::make_unique<UdpPathSize>(m_remote.address().is_v6());
    m_plain.resize(65536);
    m_burst.resize(kBurst);
    m_recovery.firstRoundTrip(roundTrip);
    m_toldMost = m_inbox.mostOffset();
    m_controller = UdpController::make(m_goal.mode, roundTrip, m_size->size());
    retarget();
}

void UdpConnection::setGoal(const RateGoal &goal)
{
    const bool sameMode = goal.mode == m_goal.mode;
    m_goal = goal;
    if (!m_controller)
        return;
    if (!sameMode)
        m_controller = UdpController::make(m_goal.mode, m_recovery.leastRoundTrip(), m_size->size());
    retarget();
    m_nextSend = std::min(m_nextSend, Clock::now());
    flushSoon();
}

void UdpConnection::retarget()
{
    const auto wire = [this](std::uint64_t bytes) { return double(bytes) * m_addition; };
    m_controller->setTarget(wire(m_goal.bytesPerSecond), wire(m_goal.startBytesPerSecond),
                            wire(m_goal.floorBytesPerSecond));
}

void UdpConnection::close()
{
    m_listener = nullptr;
    if (m_state == State::Idle || m_state == State::Finding)
        return end();
    if (m_state != State::Open)
        return;
    m_state = State::Flushing;
    m_leaveAt = Clock::now() + kFlushTime;
    flushSoon();
}

void UdpConnection::leave()
{
    const auto now = Clock::now();
    if (m_state != State::Leaving) {
        m_state = State::Leaving;
        m_leaveAt = now + kLinger;
    }
    sendControl(
        now, m_remote, kUdpFirst, [](UdpFrameWriter &out) { out.close(Error::None); }, false);
    schedule();
}

void UdpConnection::fail(Error error, const std::string &text)
{
    Channel::Listener *listener = m_listener;
    m_listener = nullptr;
    if (m_state == State::Open)
        leave();
    else if (m_state != State::Leaving)
        end();
    schedule();
    if (listener)
        listener->channelClosed(error, text);
}

void UdpConnection::end()
{
    if (m_state == State::Ended)
        return;
    m_state = State::Ended;
    m_listener = nullptr;
    m_timer.cancel();
    m_resolver.cancel();
    m_outbox.clear();
    if (!m_server && m_port)
        m_port->close();
    if (const auto gone = std::move(m_onGone))
        gone(m_met.own);
    m_onGone = nullptr;
}

void UdpConnection::schedule()
{
    if (m_state == State::Ended || m_state == State::Idle)
        return;
    auto at = Clock::time_point::max();
    switch (m_state) {
    case State::Finding:
        at = std::min(m_startedAt + kConnectTime, m_hellos > 0 ? m_helloAt : Clock::time_point::max());
        break;
    case State::Leaving:
        at = std::min(m_leaveAt, m_lastSent + kRepeat);
        break;
    default:
        at = std::min({m_recovery.deadline(), m_heard + kSilence, m_lastSent + kKeepAlive, m_measuredAt + kMeasure});
        if (m_unacked > 0)
            at = std::min(at, m_ackAt);
        if (m_state == State::Flushing)
            at = std::min(at, m_leaveAt);
        const bool something = m_outbox.hasLost() || (m_outbox.unsent() > 0 && m_outbox.nextOffset() < m_otherMost);
        if (something && m_recovery.inFlight() + m_size->size() <= m_controller->window())
            at = std::min(at, std::max(m_nextSend, m_notBefore));
        else if (m_outbox.unsent() > 0 && !m_recovery.anyFlying())
            at = std::min(at, m_lastSent + kBlockedPing);
        break;
    }
    // A timer that goes off a little early costs less than setting it anew each time.
    if (at >= m_timerAt && m_timerAt > Clock::now())
        return;
    m_timerAt = at;
    m_timer.expires_at(at);
    m_timer.async_wait([self = shared_from_this()](std::error_code stopped) {
        if (stopped || self->m_state == State::Ended)
            return;
        self->m_timerAt = Clock::time_point::max();
        self->onTimer();
    });
}

void UdpConnection::onTimer()
{
    const auto now = Clock::now();
    if (m_state == State::Finding) {
        if (now >= m_startedAt + kConnectTime)
            return fail(Error::Network, "no answer over UDP within 5 s");
        if (m_hellos > 0 && now >= m_helloAt)
            return sendHello();
        return schedule();
    }
    if (m_state == State::Leaving || (m_state == State::Flushing && now >= m_leaveAt)) {
        if (m_state == State::Leaving && now >= m_leaveAt)
            return end();
        leave();
        return;
    }
    if (now >= m_heard + kSilence)
        return fail(Error::Network, "the other side has not been heard of for 15 s");
    UdpSample sample;
    if (m_recovery.deadline() <= now) {
        if (m_recovery.onTime(now, sample)) {
            m_probes = 2;
            if (m_recovery.silences() >= 3)
                m_size->fallBack(now);
            m_recovery.probe();
            m_pingWanted = !m_outbox.hasLost() && m_outbox.unsent() == 0;
        }
        afterSample(sample);
    }
    if (now >= m_lastSent + kKeepAlive || (m_outbox.unsent() > 0 && m_outbox.nextOffset() >= m_otherMost &&
                                           !m_recovery.anyFlying() && now >= m_lastSent + kBlockedPing))
        m_pingWanted = true;
    if (now >= m_measuredAt + kMeasure) {
        const std::uint64_t sent = m_recovery.sentBytes();
        const std::uint64_t fresh = m_outbox.nextOffset();
        const std::uint64_t lost = m_recovery.lostBytes();
        if (fresh - m_measuredNew > 64 * 1024) {
            const double addition = double(sent - m_measuredSent) / double(fresh - m_measuredNew);
            m_addition = std::clamp(0.7 * m_addition + 0.3 * addition, 1.02, 1.3);
            retarget();
        }
        if (sent > m_measuredSent) {
            const double loss =
                lost > m_measuredLost ? double(lost - m_measuredLost) / double(sent - m_measuredSent) : 0.0;
            m_loss = m_loss < 0.0 ? loss : 0.8 * m_loss + 0.2 * loss;
        }
        m_measuredSent = sent;
        m_measuredNew = fresh;
        m_measuredLost = lost;
        m_measuredAt = now;
    }
    flush();
}

Metrics UdpConnection::metrics() const
{
    Metrics metrics;
    metrics.carrier = "UDP";
    metrics.bytesIn = m_bytesIn;
    metrics.bytesOut = m_bytesOut;
    if (!m_controller)
        return metrics;
    metrics.congestion = m_controller->name();
    metrics.roundTripMs = m_recovery.roundTrip() * 1e3;
    const std::uint64_t sent = m_recovery.sentBytes();
    metrics.retransmitPercent = sent > 0 ? 100.0 * double(m_recovery.lostBytes()) / double(sent) : 0.0;
    metrics.lossPercent = 100.0 * std::max(m_loss, 0.0);
    metrics.paceBytesPerSecond = m_controller->pace();
    metrics.packetBytes = std::uint32_t(m_size->size());
    return metrics;
}

std::string UdpConnection::peer() const
{
    return m_remote.port() != 0 ? m_remote.address().to_string() : m_host;
}

} // namespace zpdt
