#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace arkvale::service {

/// What one ticket allows, resolved by whoever issued it.
struct TransferGrant
{
    enum class Direction
    {
        Upload,
        Download
    };

    std::string user;
    std::string subCenterId;
    std::string homeRoot; ///< folder of this machine that is the user's drive; nothing outside it is reached
    std::string folder; ///< folder of the ticket below homeRoot, '/' between names, no leading one; "" the home itself
    std::string onlyName; ///< of a download: the one name in the folder that may be asked for; empty: any
    Direction direction = Direction::Upload;
    /// Asked at the beginning and about once a second; false ends the stream. Empty: for good. Called on disk threads.
    std::function<bool()> allowed;
    /// Bytes that the user may still store; empty: no limit. Called on disk threads.
    std::function<std::uint64_t()> quotaFree;
    /// Told the change of stored bytes: after each finished file, negative when a
    /// smaller one replaced a larger, and when a partial file is left behind,
    /// taken up again or removed. Called on disk threads.
    std::function<void(std::int64_t)> addUsed;
};

struct TransferServerOptions
{
    std::string host = "127.0.0.1"; ///< address to listen on
    std::uint16_t port = 0;         ///< 0: any free one
    bool udp = true;                ///< listen on UDP besides, on the same port number if that is free
    std::string subCenterId;        ///< a ticket for another sub-center is refused
    std::string certificateFile;    ///< PEM with certificate and key; made, private to this user, when it is missing
    unsigned maxConnections = 500;
    unsigned maxConnectionsPerAddress = 64;
    unsigned maxStreamsPerUser = 64;
    std::uint64_t maxSendBytesPerSecond = 0; ///< to each connection; 0: no limit
    std::uint64_t maxReceiveBytesPerSecond = 0;
};

/// The I/O and disk threads that all transfer listeners of the process share; outlives them.
class TransferRuntime;
std::shared_ptr<TransferRuntime> makeTransferRuntime(unsigned diskThreads = 4);

/// Removes the partial files in a home that nothing has changed after @p unchangedSinceNs (since the Unix epoch) and
/// that no stream is writing. Takes the time of a walk through the home; any thread but the runtime's own.
/// @param stop asked often; true ends the walk
/// @return bytes of what was removed
std::uint64_t removeOldPartials(TransferRuntime &runtime, const std::string &homeRoot, std::int64_t unchangedSinceNs,
                                const std::function<bool()> &stop);

/// The transfer listener of one sub-center. Runs on the runtime's threads; its functions may be called from any
/// other thread. Files are whole or absent at their names at every moment, so it may be stopped, or killed, anytime.
class TransferServer
{
public:
    /// Takes a ticket out of the store; empty when there is no such ticket (any more). Called on the I/O thread: it
    /// must not wait for disk or network.
    using Redeem = std::function<std::optional<TransferGrant>(const std::string &ticket)>;
    using Log = std::function<void(const std::string &line)>;

    TransferServer(std::shared_ptr<TransferRuntime> runtime, TransferServerOptions options, Redeem redeem,
                   Log log = {});
    ~TransferServer(); ///< stops
    TransferServer(const TransferServer &) = delete;
    TransferServer &operator=(const TransferServer &) = delete;

    /// Listens. False with an English reason in @p error when the certificate or the port is not to be had.
    bool start(std::string &error);
    /// No new connections; finishes what the disk threads are writing, keeps partial files for resuming, and closes.
    /// Returns within about 5 s.
    void stop();

    std::uint16_t port() const;    ///< after start()
    std::uint16_t udpPort() const; ///< after start(); 0: none
    /// A key that opens one UDP connection to any listener of this runtime, within a minute; empty when there is none.
    std::string issueUdpKey() const;
    std::string fingerprint() const; ///< after start(); SHA-256 of the certificate, lower-case hexadecimal

private:
    struct Private;
    std::shared_ptr<TransferRuntime> m_runtime;
    std::shared_ptr<Private> d;
};

} // namespace arkvale::service
