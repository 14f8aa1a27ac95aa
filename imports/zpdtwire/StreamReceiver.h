#pragma once

#include "CacheFile.h"
#include "ExistingFile.h"
#include "SmallFiles.h"
#include "StreamBase.h"
#include "TargetTree.h"

#include <chrono>
#include <unordered_map>

namespace zpdt {

/// The receiving end of a stream: a download at the client, an upload at the server. Believes nothing that it is told:
/// names, numbers, lengths and digests are checked, and a file gets its name when all of it is right and on the disk.
class StreamReceiver : public StreamBase
{
public:
    struct Target
    {
        std::function<FileResult(SafeFolder &)> open; ///< the folder to write into; disk threads
        std::string key;                              ///< stands for that folder among all of this process
        std::vector<std::string> names;               ///< when not empty: only these, and what is in them, may come
        TargetTree::Limits limits;
        bool resumed = false; ///< finished files may be there already
        bool verify = false;  ///< read each file back before it gets its name
    };

    StreamReceiver(Session &session, Target target, StreamCallbacks callbacks);
    ~StreamReceiver() override;

    /// Opens the folder. Items that come before are kept waiting.
    void begin();

    bool message(Msg type, WireReader &body) override;
    void tick() override;
    void lost(Error error, const std::string &text) override;
    void stop(Error error, const std::string &text, bool discard) override;

private:
    struct Item
    {
        ItemMessage message;
        std::string activeKey; ///< in the context's ActiveFiles, empty when it is not ours (yet)
        bool waiting = false;  ///< another stream has the file
        std::chrono::steady_clock::time_point waitingSince;
        // A file that comes whole.
        bool whole = false;
        SmallFile small;
        bool blockSeen = false;
        bool stored = false; ///< on its way to the disk
        bool ended = false;  ///< the sender holds it to be whole
        unsigned damaged = 0;
        // A file with a journal.
        std::shared_ptr<CacheFile> cache;
        std::vector<CacheFile::Op> ops;
        std::size_t opBytes = 0;
        bool prepared = false;
        bool haveSent = false;
        bool existing = false; ///< the answer named a finished file
        bool busy = false;
        bool syncing = false;
        std::chrono::steady_clock::time_point lastSync;
        std::uint64_t sinceSync = 0;
        std::uint64_t sinceWriteback = 0;
        bool writingBack = false;
    };
    using ItemPtr = std::shared_ptr<Item>;

    bool itemMessage(WireReader &body);
    bool itemErrorMessage(WireReader &body);
    bool dataMessage(WireReader &body);
    bool sumMessage(WireReader &body);
    bool endMessage(WireReader &body);
    bool abortMessage(WireReader &body);
    bool finishMessage(WireReader &body);
    bool closeMessage(WireReader &body);
    ItemPtr find(std::uint32_t no, bool &known) const;
    /// False for an item that has ended while work on it was under way.
    bool isCurrent(const ItemPtr &item) const;
    static bool isLarge(const Item &item) { return !item.whole && item.message.info.kind == ItemKind::File; }

    const char *objection(const ItemInfo &info) const;
    void startItem(const ItemPtr &item);
    void makeFolder(const ItemPtr &item);
    void lookForExisting(const ItemPtr &item);
    void readExisting(const ItemPtr &item, const std::shared_ptr<ExistingFile> &file);
    void prepareCache(const ItemPtr &item);
    void verifyCache(const ItemPtr &item);
    void checkCache(const ItemPtr &item);
    void prepared(const ItemPtr &item);
    bool apply(const ItemPtr &item, const CacheFile::Outcome &outcome);
    void sendHave(const ItemPtr &item, const std::vector<HaveMessage::Run> &runs);
    void process(const ItemPtr &item);
    void processed(const ItemPtr &item, CacheFile::Outcome outcome);
    void storeSmall();
    void stored(const SmallFileResult &result);
    void done(const ItemPtr &item, const ItemOutcome &outcome);
    void fail(const ItemPtr &item, Error error, const std::string &text);
    void forget(const ItemPtr &item);
    void finishIfDone();
    void need(std::uint32_t no, std::uint32_t block);
    void close(Error error, const std::string &text, bool discard);
    void yieldIfSilent();
    void idle();
    template <typename Work, typename Done>
    void job(Work work, Done done);

    Target m_target;
    std::shared_ptr<TargetTree> m_tree;
    std::unordered_map<std::uint32_t, ItemPtr> m_items;
    std::vector<ItemPtr> m_beforeOpen;
    std::uint32_t m_nextNo = 1;
    std::size_t m_largeItems = 0;
    std::size_t m_wholeBytes = 0; ///< of small files that have not ended yet
    std::vector<SmallFile> m_smallReady;
    std::size_t m_smallJobs = 0;
    std::size_t m_jobs = 0;
    std::size_t m_held = 0; ///< pending bytes that the session counts for this stream
    bool m_finishing = false;

    bool m_closing = false; ///< nothing new is begun; ends when the jobs are done
    bool m_discard = false;
    bool m_settled = false; ///< the partial files were told of the end
    Error m_closeError = Error::None;
    std::string m_closeText;
    StreamProgress m_sentProgress;
};

template <typename Work, typename Done>
void StreamReceiver::job(Work work, Done done)
{
    ++m_jobs;
    disk(std::move(work), [this, done = std::move(done)](auto answer) mutable {
        --m_jobs;
        done(std::move(answer));
        idle();
    });
}

} // namespace zpdt
