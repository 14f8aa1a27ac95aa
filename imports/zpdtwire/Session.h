#pragma once

#include "Channel.h"
#include "Messages.h"
#include "RateLimiter.h"

#include <asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <map>
#include <memory>

namespace zpdt {

class Context;
class Session;

/// One stream's state machine at one end of a session. Lives on the I/O thread. It leaves its session with
/// Session::remove(); after lost() it must not touch the session any more.
class SessionStream : public std::enable_shared_from_this<SessionStream>
{
public:
    virtual ~SessionStream() = default;

    /// False when the message breaks the rules, which ends the connection.
    virtual bool message(Msg type, WireReader &body) = 0;
    /// Frames that wait for their turn on the line.
    virtual bool hasData() const { return false; }
    virtual Bytes takeData() { return {}; }
    /// About ten times a second.
    virtual void tick() {}
    /// The connection ended. What was received stays.
    virtual void lost(Error error, const std::string &text) = 0;

    int priority() const { return m_priority; }
    void setPriority(int priority) { m_priority = priority; }

private:
    int m_priority = 0;
};

/// Both ends of a connection: greeting, keep-alive, the streams and whose turn it is on the line, the speed limit,
/// and slowing the other side down when the disks do not keep up. Lives on the I/O thread; ends once.
class Session : public std::enable_shared_from_this<Session>, private Channel::Listener
{
public:
    using Clock = std::chrono::steady_clock;
    enum class Role
    {
        Client,
        Server
    };
    struct Handler
    {
        std::function<void()> onReady;   ///< both sides have greeted
        std::function<void()> onMaySend; ///< client, before onReady: what is sent now follows the greeting at once
        /// The last call. Streams have been told before.
        std::function<void(Error, const std::string &text)> onClosed;
        /// Server: a stream that the client asks for; its answer is the stream, or null after a refuse().
        std::function<std::shared_ptr<SessionStream>(std::uint32_t id, const OpenMessage &)> onOpen;
    };

    Session(Context &context, std::shared_ptr<Channel> channel, Role role, std::string software, Handler handler);
    ~Session() override;
    void start();
    /// Tells the other side why, and ends. The streams and onClosed are told, with the same words.
    void close(Error error, const std::string &text);

    bool isReady() const { return m_ready; }
    bool maySend() const { return m_role == Role::Client ? m_greeted : m_ready; }
    bool isClosed() const { return m_closed; }
    Context &context() { return m_context; }
    std::string peer() const { return m_channel->peer(); }
    const std::string &peerSoftware() const { return m_peerSoftware; }
    /// 0 until its greeting is there.
    std::uint16_t peerVersion() const { return m_peerVersion; }
    Metrics metrics() const;
    /// Time since anything arrived, to a tenth of a second.
    std::chrono::steady_clock::duration silence() const { return Clock::now() - m_lastHeard; }
    std::size_t streamCount() const { return m_streams.size(); }

    /// Own goals of the two directions. The other side is asked to keep the second one; of two goals for the same
    /// direction the slower holds.
    void setSendGoal(const RateGoal &goal);
    void setReceiveGoal(const RateGoal &goal);

    /// Client: takes a stream in under a new number.
    std::uint32_t add(std::shared_ptr<SessionStream> stream);
    void remove(std::uint32_t id);
    bool has(std::uint32_t id) const { return m_streams.count(id) > 0; }
    void refuse(std::uint32_t id, Error error, const std::string &text);

    /// Sends a frame ahead of all data that waits.
    void send(Bytes frame);
    /// A stream has sent the last of its data: see Channel.
    void urge() { m_channel->urge(); }
    /// A stream has data, or its priority changed.
    void wake();
    /// Inside SessionStream::message(): see Channel.
    std::shared_ptr<const void> holdFrame() { return m_channel->holdFrame(); }
    /// Received bytes that wait for the disk.
    void addPending(std::size_t bytes);
    void removePending(std::size_t bytes);

private:
    void channelReady() override;
    void channelFrame(std::uint8_t type, std::uint32_t stream, const std::uint8_t *body, std::size_t size) override;
    void channelWritable() override;
    void channelClosed(Error error, const std::string &text) override;

    bool connectionMessage(Msg type, WireReader &body);
    bool streamMessage(Msg type, std::uint32_t id, WireReader &body);
    void violation(const char *what);
    void finish(Error error, const std::string &text);
    void pump();
    SessionStream *nextStream();
    void tick();
    void armTick();
    void updateReading();

    Context &m_context;
    std::shared_ptr<Channel> m_channel;
    const Role m_role;
    const std::string m_software;
    Handler m_handler;
    std::string m_peerSoftware;
    std::uint16_t m_peerVersion = 0;
    bool m_greeted = false;
    bool m_ready = false;
    bool m_closed = false;
    bool m_served = false; ///< a stream was accepted

    std::map<std::uint32_t, std::shared_ptr<SessionStream>> m_streams;
    std::uint32_t m_lastId = 0;
    std::uint32_t m_lastTurn = 0;

    RateLimiter m_limiter;
    RateGoal m_sendGoal;
    RateGoal m_receiveGoal;
    RateGoal m_peerGoal;
    bool m_pumpPosted = false;
    asio::steady_timer m_pumpTimer;
    asio::steady_timer m_tickTimer;

    std::size_t m_pending = 0;
    bool m_readingStopped = false;

    Clock::time_point m_lastHeard;
    Clock::time_point m_lastPing;
    Clock::time_point m_lastSent; ///< when the line last took something, or had nothing to take
    Clock::time_point m_lastRates;
    std::uint64_t m_heardBytes = 0;
    std::uint64_t m_sentBytes = 0;
    double m_pingMs = -1.0;
    Metrics m_rates;
};

} // namespace zpdt
