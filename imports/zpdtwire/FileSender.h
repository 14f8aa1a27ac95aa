#pragma once

#include "BlockHash.h"
#include "Messages.h"
#include "SafeFolder.h"

#include <memory>
#include <vector>

namespace zpdt {

/// Turns one file into frames: which blocks the receiver lacks, their digests, and the proof that the file did not
/// change on the way. Disk threads, one at a time.
class FileSender
{
public:
    struct Chunk
    {
        std::vector<Bytes> frames;
        bool finished = false;     ///< End is among the frames, or there is an error
        Error error = Error::None; ///< the item has to be given up
        std::string text;
    };

    FileSender(SafeFolder root, std::string path, std::uint32_t stream, std::uint32_t no);

    /// All of a small file, if it still is the one that was announced.
    static Chunk once(const SafeFolder &root, const ItemMessage &announced, std::uint32_t stream);

    /// Looks at the file; the answer describes it as it is from now on expected to stay.
    Error look(ItemMessage &item, std::string &text);
    /// Takes what the receiver has, before the first next(). False when that is more than the file.
    bool setHave(const HaveMessage &have);
    /// The next bytes, about one MiB read.
    Chunk next();
    /// One block once more.
    Chunk again(std::uint32_t block);

private:
    bool open(Chunk &chunk);
    bool unchanged(Chunk &chunk);
    void changed(Chunk &chunk);
    bool read(std::uint32_t block, std::uint32_t offset, void *data, std::size_t size, Chunk &chunk);
    bool sendPart(std::uint32_t block, std::uint32_t offset, std::size_t size, BlockHash &hash, Chunk &chunk);
    void flushSums(Chunk &chunk);
    bool isHeld(std::uint32_t block, std::size_t &run) const;
    void hashed(std::uint32_t block, const Digest &digest);
    bool sendMissing(Chunk &chunk);
    bool sumHeld(std::size_t most, Chunk &chunk);
    std::uint32_t sizeOf(std::uint32_t block) const;
    void compare(Chunk &chunk);

    SafeFolder m_root;
    std::string m_path;
    std::uint32_t m_stream;
    std::uint32_t m_no;
    FileStat m_stat;
    SafeFile m_file;
    std::uint32_t m_blockSize = 0;
    std::uint32_t m_blocks = 0;

    std::vector<HaveMessage::Run> m_runs;
    bool m_comparing = false;
    Digest m_existing{};

    std::uint32_t m_block = 0;
    std::uint32_t m_offset = 0; ///< within m_block
    std::size_t m_run = 0;      ///< of m_runs, at m_block
    BlockHash m_blockHash;
    /// The same for the blocks that the receiver has, which are read beside.
    std::uint32_t m_heldBlock = 0;
    std::uint32_t m_heldOffset = 0;
    std::size_t m_heldRun = 0;
    BlockHash m_heldHash;
    std::vector<Digest> m_digests; ///< of all blocks, where they are not read in their order
    BlockHash m_wholeHash;
    SumMessage m_sums;
};

/// A file that is about to be announced, with what it takes to do so. Disk threads.
struct PreparedFile
{
    /// Looks at a file whose data waits until the receiver has said what it has.
    void announce(const SafeFolder &root, const ItemInfo &info, std::uint32_t stream, std::uint32_t no);
    /// Reads a small file whole; with @p ask, or when it has grown, looks at it only.
    void readSmall(const SafeFolder &root, const ItemInfo &info, std::uint32_t stream, std::uint32_t no, bool ask);

    ItemMessage message;
    std::unique_ptr<FileSender> file;
    FileSender::Chunk chunk;
    Error error = Error::None;
    std::string text;
};

} // namespace zpdt
