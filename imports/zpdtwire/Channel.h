#pragma once

#include "Codec.h"
#include "WireTypes.h"

#include <memory>
#include <string>

namespace zpdt {

/// A reliable, ordered, encrypted line for whole frames between two processes, whatever carries it. Lives on the I/O
/// thread. After close(), or after channelClosed(), the listener hears nothing more.
class Channel
{
public:
    class Listener
    {
    public:
        virtual ~Listener() = default;
        virtual void channelReady() = 0; ///< connected, encrypted, the other side proven
        /// One frame; @p body is valid during the call only.
        virtual void channelFrame(std::uint8_t type, std::uint32_t stream, const std::uint8_t *body,
                                  std::size_t size) = 0;
        virtual void channelWritable() = 0; ///< queuedBytes() has fallen
        virtual void channelClosed(Error error, const std::string &text) = 0;
    };

    virtual ~Channel() = default;
    virtual void start(Listener *listener) = 0;
    /// Queues one or several whole frames. Never refuses: whoever sends much looks at queuedBytes() first.
    virtual void send(Bytes frames) = 0;
    virtual std::size_t queuedBytes() const = 0;
    /// Inside channelFrame(): keeps the body of that frame where it is for as long as the answer lives. Null where
    /// the channel cannot; the body then has to be copied. What is held may pin some times its size.
    virtual std::shared_ptr<const void> holdFrame() { return nullptr; }
    /// With false no further frames are delivered and the line fills up, which slows the other side down.
    virtual void setReading(bool reading) = 0;
    /// How fast to send from now on. True when the carrier keeps to it by itself; with false whoever sends has to.
    virtual bool setGoal(const RateGoal &) { return false; }
    /// Nothing more comes for now. What is queued may be sent twice where the line loses packets, so that the last of
    /// it does not have to be missed before it is sent again.
    virtual void urge() {}
    /// Sends what is queued as long as that takes no more than a second, then ends the line.
    virtual void close() = 0;
    /// Carrier, congestion, round trip, retransmits and byte counts; the rates stay empty.
    virtual Metrics metrics() const = 0;
    /// Since the start; grows with every sign of life.
    virtual std::uint64_t bytesReceived() const = 0;
    /// Address of the other side, for logs.
    virtual std::string peer() const = 0;
};

} // namespace zpdt
