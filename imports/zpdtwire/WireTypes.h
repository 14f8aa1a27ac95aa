#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zpdt {

/// Why an item, a stream or a connection ended. The numbers travel on the wire.
enum class Error : std::uint8_t
{
    None = 0,
    Network = 1,       ///< the line broke, or the other side stopped answering
    Refused = 2,       ///< ticket not valid, no right, limit of the other side, wrong certificate
    NotFound = 3,      ///< the source does not exist (any more)
    NoSpace = 4,       ///< quota or disk of the receiver
    ChangedSource = 5, ///< the source changed while it was sent
    BadName = 6,       ///< the receiver cannot store the item under its own name
    Integrity = 7,     ///< data or message does not match its digest or its rules
    Cancelled = 8,     ///< closed on purpose
    LocalFile = 9,     ///< the disk of the side that reports could not be read or written
    Skipped = 10       ///< a link or a special file, which is left out; no failure of what surrounds it
};

/// English word for logs, such as "no space".
const char *errorName(Error error);

enum class Direction : std::uint8_t
{
    Upload = 1,
    Download = 2,
    Discard = 3 ///< moves nothing; opened with a ticket for an upload
};

enum class ItemKind : std::uint8_t
{
    File = 0,
    Folder = 1
};

/// One file or folder of a stream, as it is told to the owner of the stream.
struct ItemInfo
{
    ItemKind kind = ItemKind::File;
    std::string path;            ///< below the stream's folder, '/' between names, UTF-8
    std::uint32_t root = 0;      ///< index into the names that the request asked for
    std::uint64_t size = 0;      ///< bytes
    std::int64_t modifiedMs = 0; ///< since the Unix epoch, UTC
};

/// What a finished item did at the receiver.
struct ItemOutcome
{
    bool created = false; ///< nothing of that name existed before
    bool same = false;    ///< a resumed stream found the item there already, digest checked; nothing was sent
};

/// How much a stream is to move. Both figures grow until @p complete.
struct Totals
{
    std::uint64_t files = 0; ///< folders not counted
    std::uint64_t bytes = 0;
    bool complete = false;
};

struct StreamProgress
{
    std::uint64_t bytes = 0;     ///< confirmed by the receiver with their digest; never falls except after damage
    std::uint64_t held = 0;      ///< of them found at the receiver, from an earlier stream
    std::uint64_t filesDone = 0; ///< folders not counted
    std::uint64_t filesFailed = 0;
};

/// The last word on a stream. With error None every item was done, or had its failure reported.
struct StreamResult
{
    Error error = Error::None;
    std::string text; ///< English detail
    StreamProgress progress;
};

/// Called on the context's I/O thread, never from inside the call that opened the stream. Any of them may be empty.
struct StreamCallbacks
{
    std::function<void()> onOpened; ///< the ticket was accepted
    std::function<void(const Totals &)> onTotals;
    std::function<void(const StreamProgress &)> onProgress; ///< at most ten times a second, and before onEnd
    /// Downloads: a file that is too large to come whole is announced, before its data.
    std::function<void(const ItemInfo &)> onLargeItem;
    std::function<void(const ItemInfo &, const ItemOutcome &)> onItemDone;
    std::function<void(const ItemInfo &, Error, const std::string &text)> onItemFailed;
    std::function<void(const StreamResult &)> onEnd; ///< exactly once, the last call
};

struct UploadRequest
{
    std::string ticket;                        ///< names the remote folder
    std::string localFolder;                   ///< folder of this machine that holds the names
    std::vector<std::string> names;            ///< files and folders in it, one name each; folders go whole
    std::vector<std::string> excludedSuffixes; ///< such as ".mp4", case counts: files inside folders that are left out
    bool resumed = false;                      ///< an earlier stream moved some of it: look before sending
    bool verify = false;                       ///< the receiver reads each file back before it gets its name
    int priority = 0;                          ///< streams of a higher one go first
};

/// Names partial files of earlier uploads that are not to be resumed.
struct DiscardRequest
{
    std::string ticket;             ///< for an upload; names the remote folder
    std::vector<std::string> names; ///< files and folders in it, one name each; of folders everything beneath
};

struct DownloadRequest
{
    std::string ticket;             ///< names the remote folder
    std::vector<std::string> names; ///< files and folders in it; an empty list stands for everything in it
    std::string localFolder;        ///< folder of this machine, made when it is missing
    std::vector<std::string> excludedSuffixes;
    bool resumed = false;
    bool verify = false; ///< read each file back before it gets its name
    int priority = 0;
    /// Free bytes that the receiver may still fill besides what the disk allows; empty: no limit.
    std::function<std::uint64_t()> freeBytes;
};

/// How a sender fills the line.
enum class RateMode : std::uint8_t
{
    Fair = 0, ///< as fast as the line carries without crowding others out, the target at most
    Fixed = 1 ///< the target, whatever the line loses
};

/// How fast one direction of a connection may send. Counts the frames of the streams; what a carrier adds and what it
/// sends again comes on top.
struct RateGoal
{
    std::uint64_t bytesPerSecond = 0; ///< the target; 0: as fast as the line allows, which is always fair
    RateMode mode = RateMode::Fair;
    std::uint64_t startBytesPerSecond = 0; ///< fixed: the pace at the start; 0: the target
    std::uint64_t floorBytesPerSecond = 0; ///< fixed: the lowest to which a congested line may bring it

    bool operator==(const RateGoal &other) const
    {
        return bytesPerSecond == other.bytesPerSecond && mode == other.mode &&
               startBytesPerSecond == other.startBytesPerSecond && floorBytesPerSecond == other.floorBytesPerSecond;
    }
    bool operator!=(const RateGoal &other) const { return !(*this == other); }
};

/// The goal of a rate control as the settings know it.
/// @param mode "fixed"; everything else is fair
/// @param pacingIntervalUs microseconds from one packet of @p packetBytes to the next when a fixed transfer starts
/// @param pacingLimitUs longest interval to which a congested line may stretch it
/// @param floor bytes a second that a fixed transfer never falls below; 0 or less: none
/// @param targetBytesPerSecond 0: as fast as the line allows
RateGoal rateGoal(const std::string &mode, double pacingIntervalUs, double pacingLimitUs, double floor,
                  std::uint32_t packetBytes, std::uint64_t targetBytesPerSecond);

/// Figures of one connection. Rates are of the last full second.
struct Metrics
{
    std::string carrier = "TCP";     ///< or "UDP"
    std::string localAddress;        ///< of this end; empty where the carrier does not depend on it
    std::string congestion;          ///< congestion control that the system granted, empty when not known
    double roundTripMs = -1.0;       ///< -1: not known yet
    double retransmitPercent = -1.0; ///< segments sent again, -1: not known
    double lossPercent = -1.0;       ///< sent packets that did not arrive, of late; -1: not known
    /// What the carrier paces at now, its own additions included; 0: it leaves that to the system.
    double paceBytesPerSecond = 0.0;
    std::uint32_t packetBytes = 0; ///< largest packet that the path is known to carry; 0: not known
    std::uint64_t bytesIn = 0;     ///< on the carrier, since the connection was made
    std::uint64_t bytesOut = 0;
    double inBytesPerSecond = 0.0;
    double outBytesPerSecond = 0.0;
};

} // namespace zpdt
