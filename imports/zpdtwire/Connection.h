#pragma once

#include "WireTypes.h"

#include <memory>
#include <string>

namespace zpdt {

class Context;

/// Handle of one stream, the unit that is paused, cancelled and put first: one ticket, one direction, one folder.
/// Dropping the handle changes nothing; the stream lives until its onEnd. Every function may be called from any
/// thread and after the end.
class Stream
{
public:
    virtual ~Stream() = default;

    /// Closes the stream and keeps what was received, so that a later stream goes on there. Ends with Cancelled.
    virtual void pause() = 0;
    /// Closes the stream and removes its partial files at the receiver; finished files stay. Ends with Cancelled.
    virtual void cancel() = 0;
    /// A higher number goes first; equal ones share the line. Both directions.
    virtual void setPriority(int priority) = 0;
};

enum class CarrierKind
{
    Tcp,
    Udp
};

struct Endpoint
{
    CarrierKind carrier = CarrierKind::Tcp;
    std::string host; ///< name or address
    std::uint16_t port = 0;
    /// SHA-256 of the server's certificate, lower-case hexadecimal. Nothing else is trusted.
    std::string fingerprint;
    std::string clientVersion;
    std::string udpKey; ///< for UDP: opens this one connection
};

enum class ConnectionState
{
    Connecting,
    Connected,
    Closed
};

/// The client's end of one transfer connection, with any number of streams. All functions may be called from any
/// thread; callbacks come on the context's I/O thread. A connection connects once and ends once: on a broken line its
/// streams end with Network, and the owner makes a new connection and new streams with resumed set.
class Connection
{
public:
    /// @p onState is told every change; the error and its text go with Closed. Connecting ends within 10 s, and a
    /// dead line is noticed within 10 s.
    using StateHandler = std::function<void(ConnectionState, Error, const std::string &text)>;

    Connection(Context &context, const Endpoint &endpoint, StateHandler onState);
    /// Closes without further callbacks from the moment the I/O thread hears of it.
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    /// Ends all streams with Cancelled, keeping what was received, then the connection.
    void close();

    /// Streams may be opened while the connection is still being made. On a closed one they end with Network, on one
    /// that was refused with Refused.
    std::shared_ptr<Stream> openUpload(UploadRequest request, StreamCallbacks callbacks);
    std::shared_ptr<Stream> openDownload(DownloadRequest request, StreamCallbacks callbacks);
    /// Has the service remove partial files. Of the callbacks onOpened and onEnd are used; None at the end: they are
    /// gone.
    std::shared_ptr<Stream> openDiscard(DiscardRequest request, StreamCallbacks callbacks);

    /// How fast everything this connection sends or receives in that direction goes. Takes effect at once.
    void setGoal(Direction direction, const RateGoal &goal);
    /// A fair goal. @param bytesPerSecond 0: as fast as the line allows
    void setRate(Direction direction, std::uint64_t bytesPerSecond) { setGoal(direction, {bytesPerSecond}); }

    /// Asks for the figures; @p answer is called on the I/O thread.
    void metrics(std::function<void(const Metrics &)> answer);

    class Core;

private:
    std::shared_ptr<Core> m_core;
};

} // namespace zpdt
