#include "CacheFile.h"

#include "DiskHints.h"
#include "TargetTree.h"
#include "TreeScan.h"

#include <algorithm>
#include <random>
#include <utility>

namespace zpdt {

namespace {

// The journal lies behind the data, from the next multiple of 4096 on: a header of that size, then one slot for each
// block. Every record carries a check of its own, seeded so that a slot is worth nothing in another place or file.
constexpr std::uint64_t kPage = 4096;
constexpr char kMagic[8] = {'Z', 'P', 'D', 'T', 'J', 'N', 'L', '1'};
constexpr std::size_t kSlotSize = 32;
constexpr std::size_t kHeaderSize = 64;
constexpr std::size_t kVerifyBytes = 32u << 20; ///< checked in one go
constexpr unsigned kCheckers = 2;
constexpr std::uint8_t kMostAsked = 5;

Bytes &diskBuffer()
{
    thread_local Bytes buffer(1u << 20);
    return buffer;
}

} // namespace

CacheFile::CacheFile(std::shared_ptr<TargetTree> tree, const ItemMessage &item, bool verify)
    : m_tree(std::move(tree))
    , m_item(item)
    , m_verify(verify)
    , m_blocks(blockCount(item.info.size, item.blockSize))
{
    m_have.assign(m_blocks / 8 + 1, 0);
}

CacheFile::~CacheFile() = default;

std::uint64_t CacheFile::journalAt() const
{
    return (m_item.info.size + kPage - 1) / kPage * kPage;
}

std::uint64_t CacheFile::slotAt(std::uint32_t block) const
{
    return journalAt() + kPage + std::uint64_t(block) * kSlotSize;
}

std::uint32_t CacheFile::sizeOf(std::uint32_t block) const
{
    const std::uint64_t begin = std::uint64_t(block) * m_item.blockSize;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(m_item.blockSize, m_item.info.size - begin));
}

void CacheFile::setHas(std::uint32_t block, bool value)
{
    if (has(block) == value)
        return;
    m_have[block / 8] = static_cast<std::uint8_t>(m_have[block / 8] ^ (1u << (block % 8)));
    m_haveCount += value ? 1 : -1u;
}

CacheFile::Outcome CacheFile::prepare()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    Outcome outcome;
    // Given up before its turn came.
    if (m_broken)
        return outcome;
    FileResult result = m_tree->parentOf(m_item.info.path, m_folder, m_leaf);
    FileStat old;
    if (result.ok() && m_folder.stat(m_leaf, old).ok() && !old.isFile())
        result = {old.isFolder() ? FileError::IsFolder : FileError::Denied, 0};
    m_cache = cacheNameOf(m_leaf);
    FileStat stat;
    if (result.ok())
        result = openPartial(m_folder, m_cache, m_tree.get(), m_file, stat, m_lock);
    if (!result.ok()) {
        fail(result, outcome);
        return outcome;
    }
    m_reserved = m_tree->reserve(m_item.info.size, stat.size);
    if (!m_reserved) {
        if (stat.size == 0)
            drop();
        fail(Error::NoSpace, "the quota does not allow a file of this size", outcome);
        return outcome;
    }
    m_claimed = stat.size > journalAt() && loadHeader();
    if (!m_claimed && stat.size > 0 && stat.size == m_item.info.size) {
        // Everything was there and the journal cut off when it ended. The sender's sums will tell what is right.
        m_claimed = m_withoutJournal = true;
    }
    if (!m_claimed)
        result = m_file.truncate(0);
    const std::uint64_t end = slotAt(m_blocks);
    std::uint64_t free = 0;
    if (result.ok() && !m_claimed && m_tree->root().freeSpace(free).ok() && free < end)
        result = {FileError::NoSpace, 0};
    if (result.ok())
        result = preallocate(m_file, end);
    if (result.ok())
        result = m_file.truncate(end);
    if (result.ok() && (!m_claimed || m_withoutJournal))
        result = writeHeader();
    if (!result.ok()) {
        // An empty reservation is of no use to anyone who lacks space.
        if (!m_claimed)
            drop();
        fail(result, outcome);
    } else if (m_claimed && !m_withoutJournal) {
        claim(outcome);
    }
    return outcome;
}

void CacheFile::claim(Outcome &outcome)
{
    m_claims.assign(m_have.size(), 0);
    Digest digest;
    for (std::uint32_t block = 0; block < m_blocks; ++block) {
        if (!readSlot(block, digest))
            continue;
        m_claims[block / 8] = static_cast<std::uint8_t>(m_claims[block / 8] | 1u << block % 8);
        setHas(block, true);
        outcome.confirmed += sizeOf(block);
    }
    if (m_haveCount == 0)
        m_claims.clear();
}

bool CacheFile::loadHeader()
{
    std::uint8_t raw[kHeaderSize];
    std::size_t got = 0;
    if (!m_file.readAt(journalAt(), raw, sizeof(raw), got).ok() || got != sizeof(raw) ||
        std::memcmp(raw, kMagic, sizeof(kMagic)) != 0)
        return false;
    WireReader r(raw + sizeof(kMagic), sizeof(raw) - sizeof(kMagic));
    const bool same = r.u64() == m_item.info.size && r.i64() == m_item.info.modifiedMs && r.u64() == m_item.identity &&
                      r.u32() == m_item.blockSize;
    m_salt = r.u64();
    return same && r.u64() == BlockHash::check(raw, sizeof(kMagic) + 36, m_salt);
}

FileResult CacheFile::writeHeader()
{
    std::random_device random;
    m_salt = std::uint64_t(random()) << 32 | random();
    WireWriter w;
    w.raw(kMagic, sizeof(kMagic));
    w.u64(m_item.info.size);
    w.i64(m_item.info.modifiedMs);
    w.u64(m_item.identity);
    w.u32(m_item.blockSize);
    w.u64(m_salt);
    Bytes raw = w.take();
    const std::uint64_t check = BlockHash::check(raw.data(), sizeof(kMagic) + 36, m_salt);
    WireWriter tail;
    tail.u64(check);
    const Bytes end = tail.take();
    raw.insert(raw.end(), end.begin(), end.end());
    raw.resize(kHeaderSize);
    return m_file.writeAt(journalAt(), raw.data(), raw.size());
}

bool CacheFile::readSlot(std::uint32_t block, Digest &digest) const
{
    std::uint8_t raw[kSlotSize];
    std::size_t got = 0;
    if (!m_file.readAt(slotAt(block), raw, sizeof(raw), got).ok() || got != sizeof(raw))
        return false;
    WireReader r(raw, sizeof(raw));
    digest = r.digest();
    return r.u32() == block && r.u64() == BlockHash::check(raw, sizeof(Digest) + 4, m_salt);
}

FileResult CacheFile::writeSlot(std::uint32_t block, const Digest &digest)
{
    WireWriter w;
    w.digest(digest);
    w.u32(block);
    Bytes raw = w.take();
    WireWriter tail;
    tail.u64(BlockHash::check(raw.data(), raw.size(), m_salt));
    const Bytes check = tail.take();
    raw.insert(raw.end(), check.begin(), check.end());
    raw.resize(kSlotSize);
    return m_file.writeAt(slotAt(block), raw.data(), raw.size());
}

bool CacheFile::hashBlock(std::uint32_t block, Digest &digest) const
{
    BlockHash hash;
    Bytes &buffer = diskBuffer();
    const std::uint32_t size = sizeOf(block);
    for (std::uint32_t at = 0; at < size;) {
        const std::size_t part = std::min<std::size_t>(size - at, buffer.size());
        std::size_t got = 0;
        if (!m_file.readAt(std::uint64_t(block) * m_item.blockSize + at, buffer.data(), part, got).ok() || got != part)
            return false;
        hash.add(buffer.data(), part);
        at += static_cast<std::uint32_t>(part);
    }
    digest = hash.digest();
    return true;
}

bool CacheFile::verifySome(Outcome &outcome)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto claimed = [this] { return !m_claims.empty() && (m_claims[m_verified / 8] >> m_verified % 8 & 1); };
    if ((m_claims.empty() && !m_withoutJournal) || m_broken)
        return true;
    std::size_t looked = 0;
    for (; m_verified < m_blocks && looked < kVerifyBytes && !m_broken; ++m_verified) {
        Digest slot, actual;
        if (!m_withoutJournal && !claimed())
            continue;
        looked += sizeOf(m_verified);
        // What comes from the line is written meanwhile, and may replace this block.
        lock.unlock();
        bool good = hashBlock(m_verified, actual);
        lock.lock();
        if (m_broken)
            break;
        if (m_withoutJournal) {
            good = good && writeSlot(m_verified, actual).ok();
            setHas(m_verified, good);
            outcome.confirmed += good ? sizeOf(m_verified) : 0;
        } else if (claimed() && (!good || !readSlot(m_verified, slot) || slot != actual)) {
            setHas(m_verified, false);
            outcome.confirmed -= sizeOf(m_verified);
            ask(m_verified, outcome);
        }
    }
    if (m_verified < m_blocks && !m_broken)
        return false;
    m_claims.clear();
    m_withoutJournal = false;
    finishIfWhole(outcome);
    return true;
}

void CacheFile::finishIfWhole(Outcome &outcome)
{
    if (!m_endSeen || m_haveCount < m_blocks || !m_claims.empty() || m_broken || m_checking)
        return;
    if (!m_verify || m_blocks == 0)
        return finish(outcome);
    m_checking = true;
    m_checkAgain = false;
    m_checkNext = 0;
    outcome.checks = m_item.info.size > kVerifyBytes ? kCheckers : 1;
}

bool CacheFile::checkSome(Outcome &outcome)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_checking || m_broken || m_checkNext == m_blocks)
        return true;
    ++m_checkers;
    std::uint32_t block = m_checkNext;
    const std::uint32_t part = std::max<std::uint32_t>(1, kVerifyBytes / m_item.blockSize);
    const std::uint32_t end = m_checkNext = block + std::min(part, m_blocks - block);
    for (; block < end && !m_broken; ++block) {
        lock.unlock();
        Digest noted, stored;
        const bool good = readSlot(block, noted) && hashBlock(block, stored) && noted == stored;
        lock.lock();
        // The journal, or what is read back, was damaged meanwhile. One that is coming once more is not to be judged.
        if (good || !has(block) || m_broken)
            continue;
        setHas(block, false);
        outcome.confirmed -= sizeOf(block);
        ask(block, outcome);
    }
    --m_checkers;
    if (m_broken)
        return true;
    if (m_checkNext < m_blocks)
        return false;
    if (m_checkers > 0)
        return true;
    m_checking = false;
    if (m_checkAgain)
        finishIfWhole(outcome);
    else if (m_haveCount == m_blocks)
        finish(outcome);
    return true;
}

std::vector<HaveMessage::Run> CacheFile::runs() const
{
    std::vector<HaveMessage::Run> runs;
    for (std::uint32_t block = 0; block < m_blocks; ++block) {
        if (!has(block))
            continue;
        if (!runs.empty() && runs.back().first + runs.back().count == block)
            ++runs.back().count;
        else
            runs.push_back({block, 1});
    }
    return runs;
}

CacheFile::Outcome CacheFile::process(std::vector<Op> ops)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    Outcome outcome;
    if (m_syncFailed && !m_broken) {
        drop();
        fail(m_syncResult, outcome);
    }
    for (const Op &op : ops) {
        if (m_broken || outcome.finished)
            break;
        switch (op.kind) {
        case Op::Piece:
            piece(op, outcome);
            break;
        case Op::Sum:
            sum(op, outcome);
            break;
        case Op::End:
            m_endSeen = true;
            m_whole = op.digest;
            break;
        }
        finishIfWhole(outcome);
    }
    return outcome;
}

void CacheFile::piece(const Op &op, Outcome &outcome)
{
    if (op.block >= m_blocks || op.offset > sizeOf(op.block) || op.size > sizeOf(op.block) - op.offset ||
        op.last != (op.offset + op.size == sizeOf(op.block)))
        return fail(Error::Integrity, "data outside the file", outcome);
    if (op.offset == 0) {
        m_open = op.block;
        m_openAt = 0;
        m_checkAgain = true;
        m_openHash.reset();
        if (!m_claims.empty())
            m_claims[op.block / 8] = static_cast<std::uint8_t>(m_claims[op.block / 8] & ~(1u << op.block % 8));
    }
    if (op.block != m_open || op.offset != m_openAt)
        return fail(Error::Integrity, "data out of order", outcome);
    if (has(op.block)) {
        // Sent twice: from its first byte on it is no longer what was confirmed.
        outcome.confirmed -= sizeOf(op.block);
        setHas(op.block, false);
    }
    const FileResult written = m_file.writeAt(std::uint64_t(op.block) * m_item.blockSize + op.offset, op.data, op.size);
    if (!written.ok())
        return fail(written, outcome);
    m_openHash.add(op.data, op.size);
    m_openAt += static_cast<std::uint32_t>(op.size);
    if (!op.last)
        return;
    m_open = UINT32_MAX;
    if (m_openHash.digest() != op.digest)
        return ask(op.block, outcome);
    const FileResult noted = writeSlot(op.block, op.digest);
    if (!noted.ok())
        return fail(noted, outcome);
    setHas(op.block, true);
    outcome.confirmed += sizeOf(op.block);
}

void CacheFile::sum(const Op &op, Outcome &outcome)
{
    if (op.block >= m_blocks || op.sums.size() > m_blocks - op.block)
        return fail(Error::Integrity, "sums outside the file", outcome);
    for (std::size_t i = 0; i < op.sums.size() && !m_broken; ++i) {
        const std::uint32_t block = op.block + static_cast<std::uint32_t>(i);
        Digest own;
        if (has(block) && readSlot(block, own) && own == op.sums[i])
            continue;
        // Asked for when it was found damaged; it is on its way.
        if (!has(block) && !m_asked.empty() && m_asked[block] > 0)
            continue;
        if (has(block)) {
            setHas(block, false);
            outcome.confirmed -= sizeOf(block);
        }
        ask(block, outcome);
    }
}

void CacheFile::ask(std::uint32_t block, Outcome &outcome)
{
    if (m_asked.empty())
        m_asked.assign(m_blocks, 0);
    if (++m_asked[block] > kMostAsked)
        return fail(Error::Integrity, "a block arrives damaged again and again", outcome);
    outcome.needed.push_back(block);
}

void CacheFile::finish(Outcome &outcome)
{
    BlockHash whole;
    bool complete = true;
    for (std::uint32_t block = 0; block < m_blocks && !m_broken; ++block) {
        Digest digest{};
        if (readSlot(block, digest)) {
            whole.add(digest.data(), digest.size());
            continue;
        }
        complete = false;
        setHas(block, false);
        outcome.confirmed -= sizeOf(block);
        ask(block, outcome);
    }
    if (!complete || m_broken)
        return;
    if (whole.digest() != m_whole) {
        drop();
        return fail(Error::Integrity, "the file does not match its digest", outcome);
    }
    FileResult result = bringToDisk();
    FileStat stat;
    if (result.ok())
        result = m_file.stat(stat);
    if (result.ok() && stat.size != m_item.info.size)
        return fail(Error::LocalFile, "the file on the disk has another size", outcome);
    if (result.ok())
        result = place(stat.id, outcome.item.created);
    if (!result.ok()) {
        drop();
        return fail(result, outcome);
    }
    m_reserved = false;
    m_broken = true;
    m_lock.release();
    outcome.finished = true;
    (void)m_folder.syncFolder("");
}

FileResult CacheFile::place(std::uint64_t id, bool &created)
{
    std::vector<TargetTree::Placement> one(1);
    one[0].cache = m_cache;
    one[0].path = m_item.info.path;
    one[0].size = m_item.info.size;
    one[0].id = id;
    m_tree->putInPlace(m_folder, one);
    created = one[0].created;
    return one[0].result;
}

void CacheFile::startWriteback()
{
    zpdt::startWriteback(m_file);
}

void CacheFile::sync()
{
    const std::lock_guard<std::mutex> lock(m_syncMutex);
    const FileResult result = m_file.sync();
    if (result.ok() || m_syncFailed)
        return;
    m_syncResult = result;
    m_syncFailed = true;
}

FileResult CacheFile::bringToDisk()
{
    const std::lock_guard<std::mutex> lock(m_syncMutex);
    // The long wait first, while the journal is still there: a kill in it costs nothing.
    FileResult result = m_syncFailed ? m_syncResult : m_file.sync();
    if (result.ok())
        result = m_file.truncate(m_item.info.size);
    if (result.ok())
        result = m_file.setModified(m_item.info.modifiedMs * kNsPerMs);
    return result.ok() ? m_file.sync() : result;
}

void CacheFile::discard()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    // One that has failed, or is the file now, is none of this object's any more.
    if (m_broken)
        return;
    drop();
    settle();
    m_lock.release();
}

void CacheFile::leave()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_broken = true;
    settle();
    m_lock.release();
}

void CacheFile::drop()
{
    m_broken = true;
    if (!m_cache.empty())
        (void)m_folder.removeFile(m_cache);
}

/// What was reserved becomes what is there.
void CacheFile::settle()
{
    if (!std::exchange(m_reserved, false))
        return;
    FileStat stat;
    const bool kept =
        m_folder.stat(m_cache, stat).ok() && stat.isFile() && m_tree->stillThere(m_folder, m_item.info.path).ok();
    m_tree->unreserve(m_item.info.size, kept ? static_cast<std::int64_t>(stat.size) : 0);
}

void CacheFile::fail(Error error, const std::string &text, Outcome &outcome)
{
    m_broken = true;
    outcome.error = error;
    outcome.text = text;
    settle();
    m_lock.release();
}

void CacheFile::fail(const FileResult &result, Outcome &outcome)
{
    fail(errorOf(result), result.message(), outcome);
}

} // namespace zpdt
