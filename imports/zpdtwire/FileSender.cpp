#include "FileSender.h"

#include "FramePool.h"
#include "TreeScan.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace zpdt {

namespace {
constexpr std::size_t kReadSize = 1u << 20;
/// Blocks that are only read, to compare their digests, cost no line; more of them at a time.
constexpr std::size_t kHashSize = 8u << 20;
/// Data of one frame: whole pages of the disk, and the frame fits a little more than three TLS records.
constexpr std::size_t kPiece = 15 * 4096;
static_assert(kPiece <= kMaxPiece);

/// One for each disk thread: thousands of files may be open, few are read at the same time.
Bytes &readBuffer()
{
    thread_local Bytes buffer(kReadSize);
    return buffer;
}

/// Two writes within one tick of the system's clock leave the same time. A file that was written just now is looked at
/// a little later, so that every further write shows. False when it is older.
bool letTimePass(std::int64_t modifiedNs)
{
    using namespace std::chrono;
    constexpr nanoseconds kTick = milliseconds(20);
    const nanoseconds age = system_clock::now().time_since_epoch() - nanoseconds(std::max<std::int64_t>(0, modifiedNs));
    if (modifiedNs < 0 || age < nanoseconds(0) || age >= kTick)
        return false;
    std::this_thread::sleep_for(kTick - age);
    return true;
}

} // namespace

FileSender::FileSender(SafeFolder root, std::string path, std::uint32_t stream, std::uint32_t no)
    : m_root(std::move(root))
    , m_path(std::move(path))
    , m_stream(stream)
    , m_no(no)
{
    m_sums.no = no;
}

FileSender::Chunk FileSender::once(const SafeFolder &root, const ItemMessage &announced, std::uint32_t stream)
{
    ItemMessage now;
    Chunk chunk;
    FileSender file(root, announced.info.path, stream, announced.no);
    chunk.error = file.look(now, chunk.text);
    if (chunk.error == Error::None &&
        (now.info.size != announced.info.size || now.info.modifiedMs != announced.info.modifiedMs ||
         now.identity != announced.identity))
        file.changed(chunk);
    return chunk.error == Error::None ? file.next() : chunk;
}

Error FileSender::look(ItemMessage &item, std::string &text)
{
    m_file.close();
    FileResult result = m_root.openRead(m_path, m_file);
    if (result.ok())
        result = m_file.stat(m_stat);
    if (result.ok() && letTimePass(m_stat.modifiedNs))
        result = m_file.stat(m_stat);
    if (!result.ok() || m_stat.size > kMaxFileSize) {
        text = result.ok() ? "file is too large" : result.message();
        return result.ok() ? Error::Refused : errorOf(result);
    }
    m_blockSize = blockSizeFor(m_stat.size);
    m_blocks = blockCount(m_stat.size, m_blockSize);
    item.no = m_no;
    item.info.size = m_stat.size;
    item.info.modifiedMs = toMs(m_stat.modifiedNs);
    item.identity = m_stat.id;
    item.blockSize = m_blockSize;
    // Thousands of announced files may wait for their answers: they are opened again when it is their turn.
    if (m_stat.size > kSmallFile || item.ask)
        m_file.close();
    return Error::None;
}

bool FileSender::setHave(const HaveMessage &have)
{
    if (have.existing) {
        m_comparing = true;
        m_existing = have.digest;
        return true;
    }
    for (const HaveMessage::Run &run : have.runs) {
        const std::uint64_t before = m_runs.empty() ? 0 : std::uint64_t(m_runs.back().first) + m_runs.back().count;
        if (run.first < before || std::uint64_t(run.first) + run.count > m_blocks)
            return false;
        m_runs.push_back(run);
    }
    return true;
}

FileSender::Chunk FileSender::next()
{
    Chunk chunk;
    if (!open(chunk))
        return chunk;
    if (m_comparing) {
        compare(chunk);
        return chunk;
    }
    if (!sendMissing(chunk))
        return chunk;
    // What the receiver has is read beside what it lacks, which goes first.
    if (!sumHeld(m_block < m_blocks ? kReadSize : kHashSize, chunk) || m_block < m_blocks || m_heldBlock < m_blocks)
        return chunk;
    flushSums(chunk);
    for (const Digest &digest : m_digests)
        m_wholeHash.add(digest.data(), digest.size());
    if (!unchanged(chunk))
        return chunk;
    EndMessage end;
    end.no = m_no;
    end.digest = m_wholeHash.digest();
    if (!chunk.frames.empty() && chunk.frames.back().size() < kMaxPiece) {
        const Bytes tail = frame(m_stream, end);
        chunk.frames.back().insert(chunk.frames.back().end(), tail.begin(), tail.end());
    } else {
        chunk.frames.push_back(frame(m_stream, end));
    }
    chunk.finished = true;
    return chunk;
}

/// About a MiB of the blocks that the receiver lacks.
bool FileSender::sendMissing(Chunk &chunk)
{
    std::size_t left = kReadSize;
    while (m_block < m_blocks && left > 0) {
        if (isHeld(m_block, m_run)) {
            ++m_block;
            continue;
        }
        const std::size_t part = std::min<std::size_t>(sizeOf(m_block) - m_offset, kPiece);
        if (!sendPart(m_block, m_offset, part, m_blockHash, chunk))
            return false;
        left -= std::min(left, part);
        m_offset += static_cast<std::uint32_t>(part);
        if (m_offset < sizeOf(m_block))
            continue;
        hashed(m_block, m_blockHash.digest());
        m_blockHash.reset();
        m_offset = 0;
        ++m_block;
    }
    while (m_block < m_blocks && isHeld(m_block, m_run))
        ++m_block;
    return true;
}

/// Digests of the blocks that the receiver has.
bool FileSender::sumHeld(std::size_t most, Chunk &chunk)
{
    while (m_heldBlock < m_blocks && most > 0) {
        if (!isHeld(m_heldBlock, m_heldRun)) {
            flushSums(chunk);
            m_heldBlock = m_heldRun < m_runs.size() ? m_runs[m_heldRun].first : m_blocks;
            continue;
        }
        const std::size_t part = std::min<std::size_t>(sizeOf(m_heldBlock) - m_heldOffset, kReadSize);
        if (!read(m_heldBlock, m_heldOffset, readBuffer().data(), part, chunk))
            return false;
        m_heldHash.add(readBuffer().data(), part);
        most -= std::min(most, part);
        m_heldOffset += static_cast<std::uint32_t>(part);
        if (m_heldOffset < sizeOf(m_heldBlock))
            continue;
        const Digest digest = m_heldHash.digest();
        hashed(m_heldBlock, digest);
        if (m_sums.digests.empty())
            m_sums.block = m_heldBlock;
        m_sums.digests.push_back(digest);
        if (m_sums.digests.size() == kMaxSums)
            flushSums(chunk);
        m_heldHash.reset();
        m_heldOffset = 0;
        ++m_heldBlock;
    }
    return true;
}

void FileSender::hashed(std::uint32_t block, const Digest &digest)
{
    if (m_runs.empty())
        return m_wholeHash.add(digest.data(), digest.size());
    m_digests.resize(m_blocks);
    m_digests[block] = digest;
}

FileSender::Chunk FileSender::again(std::uint32_t block)
{
    Chunk chunk;
    if (block >= m_blocks) {
        chunk.error = Error::Integrity;
        chunk.text = "the receiver asked for a block that the file does not have";
        chunk.finished = true;
        return chunk;
    }
    if (!open(chunk))
        return chunk;
    BlockHash hash;
    const std::uint32_t size = sizeOf(block);
    for (std::uint32_t at = 0; at < size;) {
        const std::size_t part = std::min<std::size_t>(size - at, kPiece);
        if (!sendPart(block, at, part, hash, chunk))
            break;
        at += static_cast<std::uint32_t>(part);
    }
    if (chunk.error == Error::None)
        (void)unchanged(chunk);
    return chunk;
}

void FileSender::compare(Chunk &chunk)
{
    std::size_t left = kHashSize;
    while (m_block < m_blocks && left > 0) {
        const std::size_t part = std::min<std::size_t>(sizeOf(m_block) - m_offset, kReadSize);
        if (!read(m_block, m_offset, readBuffer().data(), part, chunk))
            return;
        m_blockHash.add(readBuffer().data(), part);
        left -= std::min(left, part);
        m_offset += static_cast<std::uint32_t>(part);
        if (m_offset == sizeOf(m_block)) {
            const Digest digest = m_blockHash.digest();
            m_wholeHash.add(digest.data(), digest.size());
            m_blockHash.reset();
            m_offset = 0;
            ++m_block;
        }
    }
    if (m_block < m_blocks || !unchanged(chunk))
        return;
    EndMessage end;
    end.no = m_no;
    end.digest = m_wholeHash.digest();
    m_comparing = false;
    if (end.digest == m_existing) {
        end.same = true;
        chunk.frames.push_back(frame(m_stream, end));
        chunk.finished = true;
        return;
    }
    // Same size and time, another content: all of it goes.
    m_block = 0;
    m_wholeHash.reset();
}

bool FileSender::open(Chunk &chunk)
{
    if (m_file.isOpen())
        return true;
    FileStat now;
    FileResult result = m_root.openRead(m_path, m_file);
    if (result.ok())
        result = m_file.stat(now);
    if (!result.ok()) {
        chunk.error = errorOf(result);
        chunk.text = result.message();
        chunk.finished = true;
        return false;
    }
    if (now.size != m_stat.size || now.modifiedNs != m_stat.modifiedNs || now.id != m_stat.id) {
        changed(chunk);
        return false;
    }
    return true;
}

bool FileSender::unchanged(Chunk &chunk)
{
    // The open file may have been written to, and its name may stand for another file by now.
    FileStat opened, named;
    if (m_file.stat(opened).ok() && m_root.stat(m_path, named).ok() && opened.size == m_stat.size &&
        opened.modifiedNs == m_stat.modifiedNs && named.size == m_stat.size && named.modifiedNs == m_stat.modifiedNs &&
        named.id == m_stat.id)
        return true;
    changed(chunk);
    return false;
}

void FileSender::changed(Chunk &chunk)
{
    chunk.error = Error::ChangedSource;
    chunk.text = "the file changed while it was sent";
    chunk.finished = true;
    m_file.close();
}

bool FileSender::read(std::uint32_t block, std::uint32_t offset, void *data, std::size_t size, Chunk &chunk)
{
    std::size_t got = 0;
    const FileResult result = m_file.readAt(std::uint64_t(block) * m_blockSize + offset, data, size, got);
    if (!result.ok()) {
        chunk.error = errorOf(result);
        chunk.text = result.message();
        chunk.finished = true;
        return false;
    }
    if (got < size) {
        changed(chunk);
        return false;
    }
    return true;
}

/// Reads a piece straight into its frame; the digest goes in front of it afterwards.
bool FileSender::sendPart(std::uint32_t block, std::uint32_t offset, std::size_t size, BlockHash &hash, Chunk &chunk)
{
    DataMessage data;
    data.no = m_no;
    data.block = block;
    data.offset = offset;
    data.last = offset + size == sizeOf(block);
    const std::size_t before = kFrameHeader + DataMessage::headSize(data.last);
    Bytes whole = FramePool::take(before + size);
    std::uint8_t *piece = whole.data() + before;
    if (!read(block, offset, piece, size, chunk)) {
        FramePool::give(std::move(whole));
        return false;
    }
    hash.add(piece, size);
    if (data.last)
        data.digest = hash.digest();
    WireWriter head;
    head.begin(static_cast<std::uint8_t>(DataMessage::kType), m_stream);
    data.encode(head);
    head.end(size);
    const Bytes front = head.take();
    std::copy(front.begin(), front.end(), whole.begin());
    chunk.frames.push_back(std::move(whole));
    return true;
}

void FileSender::flushSums(Chunk &chunk)
{
    if (m_sums.digests.empty())
        return;
    chunk.frames.push_back(frame(m_stream, m_sums));
    m_sums.digests.clear();
}

/// @param run where the last call for this row of blocks stopped
bool FileSender::isHeld(std::uint32_t block, std::size_t &run) const
{
    while (run < m_runs.size() && m_runs[run].first + m_runs[run].count <= block)
        ++run;
    return run < m_runs.size() && m_runs[run].first <= block;
}

std::uint32_t FileSender::sizeOf(std::uint32_t block) const
{
    const std::uint64_t begin = std::uint64_t(block) * m_blockSize;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(m_blockSize, m_stat.size - begin));
}

void PreparedFile::announce(const SafeFolder &root, const ItemInfo &info, std::uint32_t stream, std::uint32_t no)
{
    message.no = no;
    message.info = info;
    message.ask = true;
    file = std::make_unique<FileSender>(root, info.path, stream, no);
    error = file->look(message, text);
}

void PreparedFile::readSmall(const SafeFolder &root, const ItemInfo &info, std::uint32_t stream, std::uint32_t no,
                             bool ask)
{
    message.info = info;
    // A file that is being written to may be whole the next moment.
    for (int attempt = 0; attempt < 2; ++attempt) {
        message.no = no;
        message.ask = ask;
        file = std::make_unique<FileSender>(root, info.path, stream, no);
        error = file->look(message, text);
        if (error == Error::None && message.info.size > kSmallFile)
            message.ask = true;
        if (error != Error::None || message.ask)
            return;
        chunk = file->next();
        error = chunk.error;
        text = chunk.text;
        if (error != Error::ChangedSource)
            return;
    }
}

} // namespace zpdt
