#pragma once

#include "FileSender.h"
#include "StreamBase.h"
#include "TreeScan.h"

#include <deque>
#include <unordered_map>

namespace zpdt {

/// The sending end of a stream: an upload at the client, a download at the server. Scans while it sends, keeps many
/// files in flight, and reads ahead no more than a few MiB.
class StreamSender : public StreamBase
{
public:
    struct Source
    {
        std::function<FileResult(SafeFolder &)> open; ///< the folder that holds the names; disk threads
        std::vector<std::string> names;
        std::vector<std::string> excludedSuffixes;
        bool resumed = false;
        bool wanted = false; ///< the names come from the other side
        std::string only;    ///< with wanted: the one name that may be asked for; empty: any
    };

    StreamSender(Session &session, Source source, StreamCallbacks callbacks);
    ~StreamSender() override;

    bool message(Msg type, WireReader &body) override;
    bool hasData() const override { return !m_ready.empty(); }
    Bytes takeData() override;
    void tick() override;
    void lost(Error error, const std::string &text) override;
    void stop(Error error, const std::string &text, bool discard) override;
    void requested() override { begin(); }

private:
    struct Item
    {
        ItemMessage message;
        std::unique_ptr<FileSender> file; ///< null while a job has it, and for what was sent in one go
        bool answered = false;            ///< Have has come, or none is waited for
        bool busy = false;
        bool sent = false; ///< End is out
        bool large = false;
        std::vector<std::uint32_t> again; ///< blocks to send once more
    };

    void begin();
    void scan();
    void pump();
    bool startNew();
    bool startLarge();
    bool startBatch();
    void sendFolder(ScanEntry entry);
    void prepared(std::vector<PreparedFile> items, std::size_t reserved);
    void readMore(std::uint32_t no);
    void readSmallAgain(std::uint32_t no);
    void queue(Bytes data);
    void queueChunk(FileSender::Chunk &chunk);
    void schedule(std::uint32_t no);
    void giveUp(std::uint32_t no, Error error, const std::string &text);
    void reportUnsendable(const ItemInfo &info, Error error, const std::string &text);
    void tellFailed(const ItemInfo &info, Error error, const std::string &text);
    void itemDone(std::uint32_t no, const ItemOutcome &outcome);
    void itemFailed(std::uint32_t no, Error error, const std::string &text);
    void finishIfDone();
    bool mayRead() const;
    bool have(WireReader &body);

    Source m_source;
    std::size_t m_wantedBytes = 0;
    SafeFolder m_root;
    std::shared_ptr<TreeScan> m_scan;
    bool m_begun = false;
    bool m_opened = false; ///< the other side agreed; an upload does not wait for that
    /// What could not be sent before it agreed.
    std::vector<std::function<void()>> m_untold;
    bool m_scanRunning = false;
    bool m_scanDone = false;
    Totals m_totals;
    Totals m_toldTotals;

    std::deque<ScanEntry> m_entries;
    std::deque<ScanEntry> m_largeEntries;            ///< their turn comes when one of those in work is done
    std::unordered_map<std::uint32_t, Item> m_items; ///< announced, or about to be, and not done
    std::deque<std::uint32_t> m_work;                ///< items with something to read
    std::uint32_t m_nextNo = 1;
    std::size_t m_largeItems = 0;
    std::size_t m_starting = 0; ///< entries that a batch job is looking at
    std::size_t m_jobs = 0;

    std::deque<Bytes> m_ready;
    std::size_t m_readyBytes = 0;
    std::size_t m_reserved = 0;     ///< bytes that running jobs will bring
    std::size_t m_ahead = 1u << 20; ///< how much may be read and not sent
    bool m_taken = false;           ///< something was sent since the last tick
    bool m_newTurn = false;
    bool m_pumpPosted = false;
    bool m_finishSent = false;
};

} // namespace zpdt
