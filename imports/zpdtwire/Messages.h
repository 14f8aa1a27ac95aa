#pragma once

#include "Codec.h"
#include "WireTypes.h"

namespace zpdt {

constexpr std::uint16_t kProtocolVersion = 2;
/// From this one on Finish need not wait for the answers to what was sent.
constexpr std::uint16_t kEarlyFinishVersion = 2;
constexpr std::uint32_t kHelloMagic = 0x5450445au; ///< "ZPDT"

constexpr std::size_t kMaxTicket = 512;
constexpr std::size_t kMaxTextBytes = 1024; ///< of a reason or a version
constexpr std::size_t kMaxPathBytes = 32 * 1024;
constexpr std::size_t kMaxSuffixes = 256;
constexpr std::size_t kMaxRuns = 8192;       ///< of one Have message
constexpr std::size_t kMaxSums = 4096;       ///< of one Sum message
constexpr std::size_t kMaxPiece = 64 * 1024; ///< data bytes of one Data message
constexpr std::uint32_t kMinBlock = 1u << 20;
constexpr std::uint32_t kMaxBlock = 8u << 20;
constexpr std::uint64_t kMaxFileSize = 1ull << 44; ///< 16 TiB
/// Files up to this size travel whole, without question and without journal.
constexpr std::uint64_t kSmallFile = 256 * 1024;

/// Types below kOptionalFrom are known to both ends or end the connection; the others are skipped when unknown.
enum class Msg : std::uint8_t
{
    Hello = 1,
    Ping = 2,
    Pong = 3,
    Bye = 4,
    Rate = 5,
    Open = 16,
    Opened = 17,
    Close = 18,
    Priority = 19,
    Want = 20,
    Scan = 32,
    Item = 33,
    ItemError = 34,
    Data = 35,
    Sum = 36,
    End = 37,
    Abort = 38,
    Finish = 39,
    Have = 48,
    Need = 49,
    Done = 50,
    Fail = 51,
    Progress = 52,
};
constexpr std::uint8_t kOptionalFrom = 0x80;

/// Block size of a file: 1 MiB, growing with files above 4 GiB so that a file has few blocks.
std::uint32_t blockSizeFor(std::uint64_t fileSize);
std::uint32_t blockCount(std::uint64_t fileSize, std::uint32_t blockSize);

// Each message has its type, encode() and decode(); decode() answers false for anything out of bounds.

struct HelloMessage
{
    static constexpr Msg kType = Msg::Hello;
    std::uint16_t version = kProtocolVersion;
    std::string software;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

/// Ping and Pong, told apart by their type.
struct PingMessage
{
    static constexpr Msg kType = Msg::Ping;
    std::uint64_t token = 0;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

struct ByeMessage
{
    static constexpr Msg kType = Msg::Bye;
    Error error = Error::None;
    std::string text;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

/// The receiver of this is to send no faster.
struct RateMessage
{
    static constexpr Msg kType = Msg::Rate;
    RateGoal goal;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

struct OpenMessage
{
    static constexpr Msg kType = Msg::Open;
    std::string ticket;
    Direction direction = Direction::Upload;
    bool resumed = false;
    bool verify = false;
    std::int32_t priority = 0;
    std::vector<std::string> excludedSuffixes;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

struct CloseMessage
{
    static constexpr Msg kType = Msg::Close;
    Error error = Error::None;
    bool discard = false; ///< the receiver removes its partial files
    std::string text;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

struct PriorityMessage
{
    static constexpr Msg kType = Msg::Priority;
    std::int32_t priority = 0;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

/// Names that a download asks for, or that are to be discarded, in pieces.
struct WantMessage
{
    static constexpr Msg kType = Msg::Want;
    bool last = true;
    std::vector<std::string> names;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

struct ScanMessage
{
    static constexpr Msg kType = Msg::Scan;
    Totals totals;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

struct ItemMessage
{
    static constexpr Msg kType = Msg::Item;
    std::uint32_t no = 0;
    ItemInfo info;
    bool ask = false;           ///< nothing follows before the Have message
    std::uint64_t identity = 0; ///< number of the file at its source
    std::uint32_t blockSize = 0;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

/// Something that the sender found but cannot send.
struct ItemErrorMessage
{
    static constexpr Msg kType = Msg::ItemError;
    ItemInfo info;
    Error error = Error::None;
    std::string text;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

/// One piece of a block; the last one brings the block's digest. Bytes stay in the frame that was read.
struct DataMessage
{
    static constexpr Msg kType = Msg::Data;
    std::uint32_t no = 0;
    std::uint32_t block = 0;
    std::uint32_t offset = 0; ///< within the block
    bool last = false;
    Digest digest{};
    const std::uint8_t *data = nullptr;
    std::size_t size = 0;
    /// Bytes of the body before the data.
    static std::size_t headSize(bool last) { return last ? 13 + sizeof(Digest) : 13; }
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

/// Digests of blocks that the receiver has and that are therefore not sent.
struct SumMessage
{
    static constexpr Msg kType = Msg::Sum;
    std::uint32_t no = 0;
    std::uint32_t block = 0;
    std::vector<Digest> digests;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

/// All of the file was sent; the digest is the one over its blocks' digests.
struct EndMessage
{
    static constexpr Msg kType = Msg::End;
    std::uint32_t no = 0;
    bool same = false; ///< what the receiver has is the same already
    Digest digest{};
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

/// Abort (the sender gives an item up) and Fail (the receiver does), told apart by their type.
struct ItemStopMessage
{
    static constexpr Msg kType = Msg::Abort;
    std::uint32_t no = 0;
    Error error = Error::None;
    std::string text;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

struct HaveMessage
{
    struct Run
    {
        std::uint32_t first = 0;
        std::uint32_t count = 0;
    };
    static constexpr Msg kType = Msg::Have;
    std::uint32_t no = 0;
    bool more = false;     ///< another Have for the same item follows
    bool existing = false; ///< a finished file of that size and time is there, with this digest
    Digest digest{};
    std::vector<Run> runs; ///< blocks of the partial file, rising
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

/// The block came damaged and is to be sent again.
struct NeedMessage
{
    static constexpr Msg kType = Msg::Need;
    std::uint32_t no = 0;
    std::uint32_t block = 0;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

struct DoneMessage
{
    static constexpr Msg kType = Msg::Done;
    std::uint32_t no = 0;
    ItemOutcome outcome;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

struct ProgressMessage
{
    static constexpr Msg kType = Msg::Progress;
    StreamProgress progress;
    void encode(WireWriter &w) const;
    bool decode(WireReader &r);
};

/// Appends one message as a frame.
template <typename Message>
void append(WireWriter &w, std::uint32_t stream, const Message &message, Msg type = Message::kType)
{
    w.begin(static_cast<std::uint8_t>(type), stream);
    message.encode(w);
    w.end();
}

template <typename Message>
Bytes frame(std::uint32_t stream, const Message &message, Msg type = Message::kType)
{
    WireWriter w;
    append(w, stream, message, type);
    return w.take();
}

/// A frame without fields: Opened, Finish.
Bytes emptyFrame(std::uint32_t stream, Msg type);

/// Cuts a reason to what a message may hold, at a character's edge.
std::string shortText(const std::string &text);

} // namespace zpdt
