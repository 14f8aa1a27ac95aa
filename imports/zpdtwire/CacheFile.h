#pragma once

#include "BlockHash.h"
#include "Messages.h"
#include "PartialFile.h"
#include "SafeFolder.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

namespace zpdt {

class TargetTree;

/// The receiver's side of one file above the size that travels whole: the partial file beside the target, with the
/// journal of its blocks behind the data. What the journal claims is asked for again when the data on the disk does not
/// match it, before the file gets its name, so a damaged journal, or damaged data, costs time and nothing else. Disk
/// threads; calls wait for each other, except runs(), which follows prepare() or, where that is asked for,
/// verifySome(), and sync(). verifySome() and checkSome() let others through while they read.
class CacheFile
{
public:
    /// What came from the line, in order.
    struct Op
    {
        enum Kind
        {
            Piece,
            Sum,
            End
        } kind = Piece;
        std::uint32_t block = 0;
        std::uint32_t offset = 0;
        bool last = false;
        Digest digest{};
        const std::uint8_t *data = nullptr;
        std::size_t size = 0;
        std::shared_ptr<const void> owner; ///< of the data
        std::vector<Digest> sums;
    };
    struct Outcome
    {
        Error error = Error::None; ///< the item has failed
        std::string text;
        std::int64_t confirmed = 0;        ///< bytes, negative when a block turned out to be damaged
        std::vector<std::uint32_t> needed; ///< blocks to ask for again
        unsigned checks = 0;               ///< calls of checkSome() that are wanted, side by side
        bool finished = false;             ///< the file has its name
        ItemOutcome item;
    };

    /// @param verify reads everything back from the disk before the file gets its name
    CacheFile(std::shared_ptr<TargetTree> tree, const ItemMessage &item, bool verify = false);
    ~CacheFile();

    /// Opens the partial file, or makes it and reserves its space. What the journal claims counts as confirmed.
    Outcome prepare();
    /// Nothing is known of the data before all of it was checked.
    bool verifiesFirst() const { return m_withoutJournal; }
    /// Checks some of the blocks that are claimed, until it answers true. May end the file.
    bool verifySome(Outcome &outcome);
    /// Reads back some of what is there and compares, until it answers true. The last of the callers ends the file.
    bool checkSome(Outcome &outcome);
    std::vector<HaveMessage::Run> runs() const;
    Outcome process(std::vector<Op> ops);
    /// Has the system begin to bring what was written so far to the disk, so that the end finds little to wait for. May
    /// run beside the others, and take as long as the disk is busy.
    void startWriteback();
    /// Brings what was written so far to the disk. May run beside the others; they tell of a failure.
    void sync();
    /// Removes the partial file, unless it has become the file.
    void discard();
    /// Ends without more data: the partial file counts as stored, for a later
    /// stream.
    void leave();

private:
    struct Slot;
    std::uint64_t journalAt() const;
    std::uint64_t slotAt(std::uint32_t block) const;
    std::uint32_t sizeOf(std::uint32_t block) const;
    bool loadHeader();
    FileResult writeHeader();
    bool readSlot(std::uint32_t block, Digest &digest) const;
    FileResult writeSlot(std::uint32_t block, const Digest &digest);
    void claim(Outcome &outcome);
    void finishIfWhole(Outcome &outcome);
    bool hashBlock(std::uint32_t block, Digest &digest) const;
    void piece(const Op &op, Outcome &outcome);
    void sum(const Op &op, Outcome &outcome);
    void finish(Outcome &outcome);
    FileResult place(std::uint64_t id, bool &created);
    void ask(std::uint32_t block, Outcome &outcome);
    FileResult bringToDisk();
    void drop();
    void settle();
    void fail(Error error, const std::string &text, Outcome &outcome);
    void fail(const FileResult &result, Outcome &outcome);
    bool has(std::uint32_t block) const { return (m_have[block / 8] >> (block % 8)) & 1; }
    void setHas(std::uint32_t block, bool has);

    std::shared_ptr<TargetTree> m_tree;
    std::mutex m_mutex;
    const ItemMessage m_item;
    const bool m_verify;
    const std::uint32_t m_blocks;
    SafeFolder m_folder;
    std::string m_leaf;
    std::string m_cache;
    SafeFile m_file;
    PartialLock m_lock;
    std::uint64_t m_salt = 0;
    bool m_claimed = false; ///< the journal, or a file of the right size and time, claims blocks
    bool m_withoutJournal = false;
    std::uint32_t m_verified = 0;       ///< next block to check
    std::vector<std::uint8_t> m_claims; ///< one bit a block: there by the journal alone; empty when all were checked

    std::vector<std::uint8_t> m_have; ///< one bit a block
    std::uint32_t m_haveCount = 0;
    std::vector<std::uint8_t> m_asked; ///< times a block was asked for again; empty until the first
    bool m_endSeen = false;
    Digest m_whole{};

    bool m_checking = false;       ///< checkSome() is at work
    bool m_checkAgain = false;     ///< a block was written meanwhile
    unsigned m_checkers = 0;       ///< in checkSome() now
    std::uint32_t m_checkNext = 0; ///< next block for one of them

    std::uint32_t m_open = UINT32_MAX; ///< block whose pieces are coming
    std::uint32_t m_openAt = 0;
    BlockHash m_openHash;
    bool m_broken = false;
    std::mutex m_syncMutex;  ///< one sync at a time: the system tells of a failed write once
    FileResult m_syncResult; ///< set before m_syncFailed
    std::atomic<bool> m_syncFailed{false};
    bool m_reserved = false;
};

} // namespace zpdt
