#include "Messages.h"

#include "NameRules.h"

namespace zpdt {

namespace {

bool readBool(WireReader &r, bool &value)
{
    const std::uint8_t v = r.u8();
    value = v == 1;
    return v <= 1;
}

bool readError(WireReader &r, Error &error)
{
    const std::uint8_t v = r.u8();
    error = static_cast<Error>(v);
    return v <= static_cast<std::uint8_t>(Error::Skipped);
}

void writeInfo(WireWriter &w, const ItemInfo &info)
{
    w.u8(static_cast<std::uint8_t>(info.kind));
    w.u32(info.root);
    w.u64(info.size);
    w.i64(info.modifiedMs);
    w.text(info.path);
}

bool readInfo(WireReader &r, ItemInfo &info)
{
    const std::uint8_t kind = r.u8();
    info.kind = static_cast<ItemKind>(kind);
    info.root = r.u32();
    info.size = r.u64();
    info.modifiedMs = r.i64();
    info.path = r.text(kMaxPathBytes);
    // Times outside the years 1 to 9999 overflow when they are turned into nanoseconds or dates somewhere.
    constexpr std::int64_t kFirst = -62135596800000, kLast = 253402300799999;
    return kind <= 1 && info.size <= kMaxFileSize && (kind == 0 || info.size == 0) && info.modifiedMs >= kFirst &&
           info.modifiedMs <= kLast;
}

} // namespace

std::uint32_t blockSizeFor(std::uint64_t fileSize)
{
    std::uint32_t size = kMinBlock;
    while (size < kMaxBlock && fileSize / size >= 4096)
        size *= 2;
    return size;
}

std::uint32_t blockCount(std::uint64_t fileSize, std::uint32_t blockSize)
{
    // Folders have none.
    return blockSize == 0 ? 0 : static_cast<std::uint32_t>((fileSize + blockSize - 1) / blockSize);
}

void HelloMessage::encode(WireWriter &w) const
{
    w.u32(kHelloMagic);
    w.u16(version);
    w.text(shortText(software));
}

bool HelloMessage::decode(WireReader &r)
{
    const bool magic = r.u32() == kHelloMagic;
    version = r.u16();
    software = r.text(kMaxTextBytes);
    // A newer end may say more.
    return r.ok() && magic && version >= 1;
}

void PingMessage::encode(WireWriter &w) const
{
    w.u64(token);
}

bool PingMessage::decode(WireReader &r)
{
    token = r.u64();
    return r.complete();
}

void ByeMessage::encode(WireWriter &w) const
{
    w.u8(static_cast<std::uint8_t>(error));
    w.text(shortText(text));
}

bool ByeMessage::decode(WireReader &r)
{
    const bool known = readError(r, error);
    text = r.text(kMaxTextBytes);
    return known && r.complete();
}

void RateMessage::encode(WireWriter &w) const
{
    w.u64(goal.bytesPerSecond);
    w.u8(static_cast<std::uint8_t>(goal.mode));
    w.u64(goal.startBytesPerSecond);
    w.u64(goal.floorBytesPerSecond);
}

bool RateMessage::decode(WireReader &r)
{
    goal.bytesPerSecond = r.u64();
    const std::uint8_t mode = r.u8();
    goal.mode = static_cast<RateMode>(mode);
    goal.startBytesPerSecond = r.u64();
    goal.floorBytesPerSecond = r.u64();
    return r.complete() && mode <= static_cast<std::uint8_t>(RateMode::Fixed);
}

void OpenMessage::encode(WireWriter &w) const
{
    w.text(ticket);
    w.u8(static_cast<std::uint8_t>(direction));
    w.u8(resumed);
    w.u8(verify);
    w.i32(priority);
    w.u16(static_cast<std::uint16_t>(excludedSuffixes.size()));
    for (const std::string &suffix : excludedSuffixes)
        w.text(suffix);
}

bool OpenMessage::decode(WireReader &r)
{
    ticket = r.text(kMaxTicket);
    const std::uint8_t way = r.u8();
    direction = static_cast<Direction>(way);
    bool good = way >= 1 && way <= 3 && readBool(r, resumed) && readBool(r, verify);
    priority = r.i32();
    const std::size_t count = r.u16();
    if (count > kMaxSuffixes)
        return false;
    for (std::size_t i = 0; i < count && r.ok(); ++i)
        excludedSuffixes.push_back(r.text(kMaxNameBytes));
    return good && !ticket.empty() && r.complete();
}

void CloseMessage::encode(WireWriter &w) const
{
    w.u8(static_cast<std::uint8_t>(error));
    w.u8(discard);
    w.text(shortText(text));
}

bool CloseMessage::decode(WireReader &r)
{
    const bool good = readError(r, error) && readBool(r, discard);
    text = r.text(kMaxTextBytes);
    return good && r.complete();
}

void PriorityMessage::encode(WireWriter &w) const
{
    w.i32(priority);
}

bool PriorityMessage::decode(WireReader &r)
{
    priority = r.i32();
    return r.complete();
}

void WantMessage::encode(WireWriter &w) const
{
    w.u8(last);
    w.u16(static_cast<std::uint16_t>(names.size()));
    for (const std::string &name : names)
        w.text(name);
}

bool WantMessage::decode(WireReader &r)
{
    const bool good = readBool(r, last);
    const std::size_t count = r.u16();
    for (std::size_t i = 0; i < count && r.ok(); ++i)
        names.push_back(r.text(kMaxNameBytes));
    return good && r.complete();
}

void ScanMessage::encode(WireWriter &w) const
{
    w.u64(totals.files);
    w.u64(totals.bytes);
    w.u8(totals.complete);
}

bool ScanMessage::decode(WireReader &r)
{
    totals.files = r.u64();
    totals.bytes = r.u64();
    return readBool(r, totals.complete) && r.complete();
}

void ItemMessage::encode(WireWriter &w) const
{
    w.u32(no);
    w.u8(ask);
    w.u64(identity);
    w.u32(blockSize);
    writeInfo(w, info);
}

bool ItemMessage::decode(WireReader &r)
{
    no = r.u32();
    const bool good = readBool(r, ask);
    identity = r.u64();
    blockSize = r.u32();
    if (!readInfo(r, info) || !good || !r.complete())
        return false;
    if (info.kind == ItemKind::Folder)
        return blockSize == 0 && !ask;
    // Without asking only what fits into memory may follow.
    return blockSize == blockSizeFor(info.size) && (ask || info.size <= kSmallFile);
}

void ItemErrorMessage::encode(WireWriter &w) const
{
    w.u8(static_cast<std::uint8_t>(error));
    w.text(shortText(text));
    writeInfo(w, info);
}

bool ItemErrorMessage::decode(WireReader &r)
{
    const bool good = readError(r, error) && error != Error::None;
    text = r.text(kMaxTextBytes);
    return good && readInfo(r, info) && r.complete();
}

void DataMessage::encode(WireWriter &w) const
{
    w.u32(no);
    w.u32(block);
    w.u32(offset);
    w.u8(last);
    if (last)
        w.digest(digest);
    w.raw(data, size);
}

bool DataMessage::decode(WireReader &r)
{
    no = r.u32();
    block = r.u32();
    offset = r.u32();
    const bool good = readBool(r, last);
    if (last)
        digest = r.digest();
    size = r.left();
    data = r.raw(size);
    return good && r.complete() && size > 0 && size <= kMaxPiece && offset < kMaxBlock;
}

void SumMessage::encode(WireWriter &w) const
{
    w.u32(no);
    w.u32(block);
    w.u16(static_cast<std::uint16_t>(digests.size()));
    for (const Digest &digest : digests)
        w.digest(digest);
}

bool SumMessage::decode(WireReader &r)
{
    no = r.u32();
    block = r.u32();
    const std::size_t count = r.u16();
    if (count == 0 || count > kMaxSums || r.left() != count * sizeof(Digest))
        return false;
    digests.resize(count);
    for (Digest &digest : digests)
        digest = r.digest();
    return r.complete();
}

void EndMessage::encode(WireWriter &w) const
{
    w.u32(no);
    w.u8(same);
    w.digest(digest);
}

bool EndMessage::decode(WireReader &r)
{
    no = r.u32();
    const bool good = readBool(r, same);
    digest = r.digest();
    return good && r.complete();
}

void ItemStopMessage::encode(WireWriter &w) const
{
    w.u32(no);
    w.u8(static_cast<std::uint8_t>(error));
    w.text(shortText(text));
}

bool ItemStopMessage::decode(WireReader &r)
{
    no = r.u32();
    const bool good = readError(r, error) && error != Error::None;
    text = r.text(kMaxTextBytes);
    return good && r.complete();
}

void HaveMessage::encode(WireWriter &w) const
{
    w.u32(no);
    w.u8(more);
    w.u8(existing);
    if (existing)
        w.digest(digest);
    w.u16(static_cast<std::uint16_t>(runs.size()));
    for (const Run &run : runs) {
        w.u32(run.first);
        w.u32(run.count);
    }
}

bool HaveMessage::decode(WireReader &r)
{
    no = r.u32();
    const bool good = readBool(r, more) && readBool(r, existing);
    if (existing)
        digest = r.digest();
    const std::size_t count = r.u16();
    if (!good || count > kMaxRuns || r.left() != count * 8 || (existing && count > 0))
        return false;
    std::uint64_t end = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const Run run{r.u32(), r.u32()};
        if (run.count == 0 || run.first < end || std::uint64_t(run.first) + run.count > UINT32_MAX)
            return false;
        end = std::uint64_t(run.first) + run.count;
        runs.push_back(run);
    }
    return r.complete();
}

void NeedMessage::encode(WireWriter &w) const
{
    w.u32(no);
    w.u32(block);
}

bool NeedMessage::decode(WireReader &r)
{
    no = r.u32();
    block = r.u32();
    return r.complete();
}

void DoneMessage::encode(WireWriter &w) const
{
    w.u32(no);
    w.u8(outcome.created);
    w.u8(outcome.same);
}

bool DoneMessage::decode(WireReader &r)
{
    no = r.u32();
    return readBool(r, outcome.created) && readBool(r, outcome.same) && r.complete();
}

void ProgressMessage::encode(WireWriter &w) const
{
    w.u64(progress.bytes);
    w.u64(progress.held);
    w.u64(progress.filesDone);
    w.u64(progress.filesFailed);
}

bool ProgressMessage::decode(WireReader &r)
{
    progress.bytes = r.u64();
    progress.held = r.u64();
    progress.filesDone = r.u64();
    progress.filesFailed = r.u64();
    return r.complete();
}

Bytes emptyFrame(std::uint32_t stream, Msg type)
{
    WireWriter w;
    w.begin(static_cast<std::uint8_t>(type), stream);
    w.end();
    return w.take();
}

std::string shortText(const std::string &text)
{
    constexpr std::size_t kLimit = kMaxTextBytes;
    if (text.size() <= kLimit)
        return text;
    std::size_t cut = kLimit;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80)
        --cut;
    return text.substr(0, cut);
}

} // namespace zpdt
