#pragma once

#include "Channel.h"
#include "UdpController.h"
#include "UdpHandshake.h"
#include "UdpInbox.h"
#include "UdpOutbox.h"
#include "UdpPathSize.h"
#include "UdpPort.h"
#include "UdpRecovery.h"

#include <asio/ip/udp.hpp>
#include <asio/steady_timer.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zpdt {

class Context;

/// One end of a UDP connection, behind a UdpChannel. Lives on the I/O thread; its timer keeps it alive until it has
/// ended.
class UdpConnection : public std::enable_shared_from_this<UdpConnection>
{
public:
    using Endpoint = asio::ip::udp::endpoint;
    using Clock = UdpClock;

    /// The client's end; finds its server when it is started.
    UdpConnection(Context &context, std::string host, std::uint16_t port, const std::string &fingerprint,
                  const std::string &key);
    /// The server's end, after the handshake. @p onGone is told its number when it has ended.
    UdpConnection(Context &context, std::shared_ptr<UdpPort> port, UdpMet met, const Endpoint &remote, double roundTrip,
                  std::function<void(std::uint64_t)> onGone);
    ~UdpConnection();

    void start(Channel::Listener *listener);
    void send(Bytes frames);
    std::size_t queuedBytes() const { return m_outbox.unsent(); }
    void setReading(bool reading);
    void setGoal(const RateGoal &goal);
    void urge();
    void close();
    Metrics metrics() const;
    std::uint64_t bytesReceived() const { return m_bytesIn; }
    std::string peer() const;

    /// A datagram for this connection, then the end of the batch in which it came.
    void onDatagram(const std::uint8_t *data, std::size_t size, const Endpoint &from, Clock::time_point at);
    void onBatchEnd();

private:
    enum class State
    {
        Idle,
        Finding, ///< client: looking up the host, shaking hands
        Open,
        Flushing, ///< closed by its owner, with bytes that are still to arrive
        Leaving,  ///< has said good-bye
        Ended
    };

    // The handshake of the client.
    void resolve();
    void sendHello();
    bool reachPort();
    void onWelcome(const std::uint8_t *data, std::size_t size, const Endpoint &from);
    void opened(double roundTrip);

    // Receiving.
    bool decrypt(const UdpHeader &header, const std::uint8_t *data, std::size_t size);
    void onFrames(const UdpHeader &header, const std::uint8_t *data, std::size_t size, const Endpoint &from,
                  Clock::time_point at);
    bool onFrame(const UdpFrame &frame, Clock::time_point now, const Endpoint &from);
    void onAddress(const UdpHeader &header, const Endpoint &from, std::size_t size);
    void movedTo(const Endpoint &remote);
    void deliver();
    void wantAck(Clock::time_point now);
    void afterSample(const UdpSample &sample);

    // Sending.
    void flush();
    void flushSoon();
    void sendPaced(Clock::time_point &now);
    bool repeatOne();
    bool fillBurst(Clock::time_point now);
    std::size_t build(std::uint8_t *out, std::size_t size, Clock::time_point now, bool paced);
    bool sendBurst();
    void sendControl(Clock::time_point now, const Endpoint &to, std::size_t size,
                     const std::function<void(UdpFrameWriter &)> &write, bool elicits);
    std::size_t seal(std::uint8_t *out, std::size_t plain);
    void record(Clock::time_point now, std::size_t datagram, UdpSentPacket packet);
    void probeSize(Clock::time_point now);
    void retarget();

    // Time and end.
    void onTimer();
    void schedule();
    void leave();
    void fail(Error error, const std::string &text);
    void end();

    Context &m_context;
    std::shared_ptr<UdpPort> m_port;
    asio::steady_timer m_timer;
    Clock::time_point m_timerAt = Clock::time_point::max();
    State m_state = State::Idle;
    Channel::Listener *m_listener = nullptr;
    std::function<void(std::uint64_t)> m_onGone;
    const bool m_server;
    bool m_told = false; ///< channelReady
    bool m_reading = true;
    bool m_delivering = false;
    bool m_otherLeft = false;
    bool m_flushPosted = false;

    const std::string m_host;
    const std::uint16_t m_hostPort = 0;
    asio::ip::udp::resolver m_resolver;
    std::vector<Endpoint> m_candidates;
    std::size_t m_candidate = 0;
    std::unique_ptr<UdpClientHandshake> m_handshake;
    Clock::time_point m_startedAt;
    Clock::time_point m_helloAt;
    unsigned m_hellos = 0;

    UdpMet m_met;
    std::optional<UdpCipher> m_nextIn;
    std::optional<UdpCipher> m_previousIn;
    bool m_inPhase = false;
    bool m_outPhase = false;
    std::uint64_t m_inPhaseFirst = 0;
    std::uint64_t m_outPhaseFirst = 0;
    Bytes m_plain;

    Endpoint m_remote;
    Endpoint m_newRemote; ///< being proven
    std::uint64_t m_challenge = 0;
    Clock::time_point m_challengeAt;

    UdpOutbox m_outbox;
    UdpRecovery m_recovery{m_outbox};
    std::unique_ptr<UdpController> m_controller;
    RateGoal m_goal;
    std::uint64_t m_otherMost = UdpInbox::kLeastWindow;
    std::unique_ptr<UdpPathSize> m_size;
    Clock::time_point m_nextSend;  ///< by the pace
    Clock::time_point m_notBefore; ///< after the last burst, when it is late
    Bytes m_burst;
    std::size_t m_burstEnd = 0;
    std::size_t m_burstSegment = 0;
    bool m_blocked = false;       ///< the socket takes nothing now
    std::uint64_t m_urgedEnd = 0; ///< of the stream's bytes that may be sent twice
    unsigned m_probes = 0;        ///< packets that may leave although the line seems to take nothing
    bool m_pingWanted = false;
    std::uint64_t m_limitedUntil = 1; ///< less arrives in the first round trip than the line takes
    Clock::time_point m_lastSent;
    bool m_controlSent = false;

    UdpInbox m_inbox;
    UdpArrivals m_arrivals;
    unsigned m_unacked = 0;
    Clock::time_point m_ackAt = Clock::time_point::max();
    Clock::time_point m_lastAck;
    std::uint64_t m_toldMost = 0;
    Clock::time_point m_heard;
    Clock::time_point m_windowAt;
    std::uint64_t m_windowArrived = 0;
    std::size_t m_countedMemory = 0;

    Clock::time_point m_measuredAt;
    std::uint64_t m_measuredSent = 0;
    std::uint64_t m_measuredNew = 0;
    std::uint64_t m_measuredLost = 0;
    double m_addition = 1.06; ///< bytes on the line for each byte of the stream
    double m_loss = -1.0;
    Clock::time_point m_leaveAt;

    std::uint64_t m_bytesIn = 0;
    std::uint64_t m_bytesOut = 0;
};

} // namespace zpdt
