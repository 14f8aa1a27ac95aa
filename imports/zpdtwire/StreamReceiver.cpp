#include "StreamReceiver.h"

#include "BufferBudget.h"
#include "TreeScan.h"

#include <algorithm>
#include <set>

namespace zpdt {

namespace {

constexpr std::size_t kBatchFiles = 512;
constexpr std::size_t kBatchBytes = 4u << 20;
constexpr std::size_t kBatchFolders = 128; ///< each is open until the batch is stored
constexpr std::size_t kMostSmallJobs = 2;
constexpr unsigned kMostDamaged = 5;
constexpr std::uint64_t kWriteback = 16u << 20;
constexpr std::uint64_t kSyncBytes = 16u << 20;
constexpr auto kSyncTime = std::chrono::seconds(1);
/// A stream whose line broke holds its files until this side noticed that.
constexpr auto kWaitForFile = std::chrono::seconds(20);
constexpr auto kSilent = std::chrono::milliseconds(3000);

using Clock = std::chrono::steady_clock;

} // namespace

StreamReceiver::StreamReceiver(Session &session, Target target, StreamCallbacks callbacks)
    : StreamBase(session, std::move(callbacks))
    , m_target(std::move(target))
{
}

StreamReceiver::~StreamReceiver()
{
    for (const auto &item : m_items)
        if (!item.second->activeKey.empty())
            m_context.activeFiles().release(item.second->activeKey);
}

void StreamReceiver::begin()
{
    job(
        [open = m_target.open, limits = m_target.limits] {
            std::pair<FileResult, std::shared_ptr<TargetTree>> opened;
            SafeFolder folder;
            opened.first = open(folder);
            if (opened.first.ok())
                opened.second = std::make_shared<TargetTree>(std::move(folder), limits);
            return opened;
        },
        [this](auto opened) {
            if (m_closing)
                return;
            if (!opened.first.ok()) {
                const std::string text = "cannot open the folder: " + opened.first.message();
                return stop(errorOf(opened.first), text, false);
            }
            m_tree = opened.second;
            const auto waiting = std::move(m_beforeOpen);
            m_beforeOpen.clear();
            for (const ItemPtr &item : waiting) {
                if (!m_closing && isCurrent(item))
                    startItem(item);
            }
        });
}

void StreamReceiver::startItem(const ItemPtr &item)
{
    const ItemInfo &info = item->message.info;
    if (info.kind == ItemKind::Folder)
        return makeFolder(item);
    const std::string key = m_target.key + '/' + cachePathOf(info.path);
    if (item->activeKey.empty()) {
        // Who asks may be on any thread.
        const auto yield = [weak = weak_from_this(), &context = m_context] {
            context.post([weak] {
                if (const auto self = std::static_pointer_cast<StreamReceiver>(weak.lock()))
                    self->yieldIfSilent();
            });
        };
        if (!m_context.activeFiles().take(key, yield)) {
            if (!item->waiting)
                item->waitingSince = Clock::now();
            item->waiting = true;
            return;
        }
        item->activeKey = key;
        item->waiting = false;
    }
    if (m_target.resumed && item->message.ask)
        return lookForExisting(item);
    if (!item->whole)
        return prepareCache(item);
    if (item->message.ask)
        return sendHave(item, {});
    storeSmall();
}

void StreamReceiver::makeFolder(const ItemPtr &item)
{
    job(
        [tree = m_tree, path = item->message.info.path] {
            std::pair<FileResult, bool> made;
            made.first = tree->makeFolder(path, made.second);
            return made;
        },
        [this, item](std::pair<FileResult, bool> made) {
            if (!isCurrent(item))
                return;
            if (!made.first.ok())
                return fail(item, errorOf(made.first), made.first.message());
            m_tree->rememberTime(item->message.info.path, item->message.info.modifiedMs);
            ItemOutcome outcome;
            outcome.created = made.second;
            done(item, outcome);
        });
}

void StreamReceiver::lookForExisting(const ItemPtr &item)
{
    job([tree = m_tree, message = item->message] { return ExistingFile::find(*tree, message); },
        [this, item](std::shared_ptr<ExistingFile> file) { readExisting(item, file); });
}

/// In pieces, so that the disk threads serve others in between, and an end comes through.
void StreamReceiver::readExisting(const ItemPtr &item, const std::shared_ptr<ExistingFile> &file)
{
    if (m_closing || !isCurrent(item))
        return;
    if (!file)
        return item->whole ? sendHave(item, {}) : prepareCache(item);
    if (!file->complete())
        return job([file] { return file->readSome() ? file : nullptr; },
                   [this, item](std::shared_ptr<ExistingFile> read) { readExisting(item, read); });
    HaveMessage have;
    have.no = item->message.no;
    have.existing = true;
    have.digest = file->digest();
    item->haveSent = item->existing = true;
    send(have);
}

void StreamReceiver::prepareCache(const ItemPtr &item)
{
    item->cache = std::make_shared<CacheFile>(m_tree, item->message, m_target.verify);
    item->lastSync = Clock::now();
    item->busy = true;
    job([cache = item->cache] { return cache->prepare(); },
        [this, item](CacheFile::Outcome prepared) {
            if (!isCurrent(item))
                return;
            if (prepared.error != Error::None)
                return fail(item, prepared.error, prepared.text);
            m_progress.bytes += static_cast<std::uint64_t>(prepared.confirmed);
            m_progress.held += static_cast<std::uint64_t>(prepared.confirmed);
            if (!item->cache->verifiesFirst())
                this->prepared(item);
            verifyCache(item);
        });
}

/// Beside what comes from the line, unless nothing can come before.
void StreamReceiver::verifyCache(const ItemPtr &item)
{
    // In pieces, so that the disk threads serve others in between, and an end comes through.
    job(
        [cache = item->cache] {
            std::pair<bool, CacheFile::Outcome> verified;
            verified.first = cache->verifySome(verified.second);
            return verified;
        },
        [this, item](std::pair<bool, CacheFile::Outcome> verified) {
            m_progress.held += static_cast<std::uint64_t>(verified.second.confirmed);
            if (!apply(item, verified.second))
                return;
            if (!verified.first)
                return verifyCache(item);
            if (!item->prepared)
                prepared(item);
        });
}

/// Reads back what is there, after the last of it came.
void StreamReceiver::checkCache(const ItemPtr &item)
{
    job(
        [cache = item->cache] {
            std::pair<bool, CacheFile::Outcome> checked;
            checked.first = cache->checkSome(checked.second);
            return checked;
        },
        [this, item](std::pair<bool, CacheFile::Outcome> checked) {
            if (apply(item, checked.second) && !checked.first)
                checkCache(item);
        });
}

void StreamReceiver::prepared(const ItemPtr &item)
{
    if (m_closing)
        return;
    item->busy = false;
    item->prepared = true;
    // Where a finished file of the same time turned out to be another, all of the data is coming already.
    if (!item->haveSent)
        sendHave(item, item->cache->runs());
    process(item);
}

void StreamReceiver::sendHave(const ItemPtr &item, const std::vector<HaveMessage::Run> &runs)
{
    std::size_t at = 0;
    item->haveSent = true;
    do {
        HaveMessage have;
        have.no = item->message.no;
        const std::size_t count = std::min(kMaxRuns, runs.size() - at);
        have.runs.assign(runs.begin() + std::ptrdiff_t(at), runs.begin() + std::ptrdiff_t(at + count));
        at += count;
        have.more = at < runs.size();
        send(have);
    } while (at < runs.size());
}

void StreamReceiver::process(const ItemPtr &item)
{
    if (!item->prepared || item->busy || item->ops.empty())
        return;
    item->busy = true;
    const std::size_t bytes = std::exchange(item->opBytes, 0);
    item->sinceSync += bytes;
    item->sinceWriteback += bytes;
    job([cache = item->cache, ops = std::exchange(item->ops, {})]() mutable { return cache->process(std::move(ops)); },
        [this, item, bytes](CacheFile::Outcome outcome) {
            m_held -= bytes;
            if (m_session)
                m_session->removePending(bytes);
            processed(item, std::move(outcome));
        });
}

/// What happened to a file on the disk. False when the item has ended, or is about to.
bool StreamReceiver::apply(const ItemPtr &item, const CacheFile::Outcome &outcome)
{
    m_progress.bytes += static_cast<std::uint64_t>(outcome.confirmed);
    if (m_ended || !isCurrent(item))
        return false;
    if (outcome.finished) {
        done(item, outcome.item);
        return false;
    }
    if (outcome.error != Error::None) {
        fail(item, outcome.error, outcome.text);
        return false;
    }
    if (m_closing)
        return false;
    for (std::uint32_t block : outcome.needed)
        need(item->message.no, block);
    for (unsigned i = 0; i < outcome.checks; ++i)
        checkCache(item);
    return true;
}

void StreamReceiver::processed(const ItemPtr &item, CacheFile::Outcome outcome)
{
    item->busy = false;
    if (!apply(item, outcome))
        return;
    process(item);
    if (!item->writingBack && item->sinceWriteback >= kWriteback) {
        item->writingBack = true;
        item->sinceWriteback = 0;
        job(
            [cache = item->cache] {
                cache->startWriteback();
                return true;
            },
            [item](bool) { item->writingBack = false; });
    }
    const auto now = Clock::now();
    if (item->syncing || item->sinceSync < kSyncBytes || now - item->lastSync < kSyncTime)
        return;
    // What a crash of the machine may cost stays bounded; beside the writing, not before it.
    item->syncing = true;
    item->sinceSync = 0;
    job(
        [cache = item->cache] {
            cache->sync();
            return true;
        },
        [item](bool) {
            item->syncing = false;
            item->lastSync = Clock::now();
        });
}

void StreamReceiver::storeSmall()
{
    while (!m_smallReady.empty() && m_smallJobs < kMostSmallJobs && m_tree && !m_closing) {
        std::vector<SmallFile> batch;
        std::vector<SmallFile> later;
        std::set<std::string> folders;
        std::size_t bytes = 0;
        for (SmallFile &file : m_smallReady) {
            const auto found = m_items.find(file.no);
            const bool full = batch.size() == kBatchFiles || bytes >= kBatchBytes || folders.size() == kBatchFolders;
            if (found == m_items.end()) {
                // Given up while it waited.
                m_held -= file.data.size();
                m_session->removePending(file.data.size());
                continue;
            }
            if (full || found->second->activeKey.empty()) {
                later.push_back(std::move(file));
                continue;
            }
            bytes += file.data.size();
            folders.insert(file.path.substr(0, file.path.rfind('/') + 1));
            batch.push_back(std::move(file));
        }
        m_smallReady = std::move(later);
        if (batch.empty())
            return;
        ++m_smallJobs;
        job(
            [tree = m_tree, batch = std::move(batch), bytes, verify = m_target.verify] {
                std::vector<SmallFileResult> results;
                if (tree->reserve(bytes))
                    return storeSmallFiles(*tree, batch, verify);
                for (const SmallFile &file : batch) {
                    SmallFileResult result;
                    result.no = file.no;
                    result.size = file.data.size();
                    result.error = Error::NoSpace;
                    result.text = "the quota is used up";
                    results.push_back(std::move(result));
                }
                return results;
            },
            [this, bytes](std::vector<SmallFileResult> results) {
                --m_smallJobs;
                m_held -= bytes;
                if (m_session)
                    m_session->removePending(bytes);
                for (const SmallFileResult &result : results)
                    stored(result);
                storeSmall();
            });
    }
}

void StreamReceiver::stored(const SmallFileResult &result)
{
    const auto found = m_items.find(result.no);
    if (found == m_items.end() || m_ended)
        return;
    const ItemPtr item = found->second;
    if (result.damaged && ++item->damaged <= kMostDamaged) {
        item->stored = item->blockSeen = false;
        item->small = SmallFile();
        return need(result.no, 0);
    }
    if (result.damaged)
        return fail(item, Error::Integrity, "the file arrives damaged again and again");
    if (result.error != Error::None)
        return fail(item, result.error, result.text);
    m_progress.bytes += result.size;
    done(item, result.item);
}

void StreamReceiver::need(std::uint32_t no, std::uint32_t block)
{
    NeedMessage message;
    message.no = no;
    message.block = block;
    send(message);
}

void StreamReceiver::forget(const ItemPtr &item)
{
    if (!item->activeKey.empty())
        m_context.activeFiles().release(std::exchange(item->activeKey, {}));
    m_largeItems -= isLarge(*item) ? 1 : 0;
    m_wholeBytes -= item->small.data.size();
    const std::size_t dropped = item->small.data.size() + item->opBytes;
    m_held -= dropped;
    if (m_session && dropped > 0)
        m_session->removePending(dropped);
    item->ops.clear();
    item->opBytes = 0;
    m_items.erase(item->message.no);
    finishIfDone();
}

void StreamReceiver::finishIfDone()
{
    if (!m_finishing || !m_items.empty() || m_closing || m_ended)
        return;
    job(
        [tree = m_tree] {
            if (tree)
                tree->applyTimes();
            return true;
        },
        [this](bool) {
            if (!m_closing)
                close(Error::None, "", false);
        });
}

void StreamReceiver::done(const ItemPtr &item, const ItemOutcome &outcome)
{
    forget(item);
    if (item->message.info.kind == ItemKind::File)
        ++m_progress.filesDone;
    DoneMessage message;
    message.no = item->message.no;
    message.outcome = outcome;
    send(message);
    if (m_callbacks.onItemDone)
        m_callbacks.onItemDone(item->message.info, outcome);
}

void StreamReceiver::fail(const ItemPtr &item, Error error, const std::string &text)
{
    if (!isCurrent(item) || m_ended)
        return;
    forget(item);
    ++m_progress.filesFailed;
    ItemStopMessage message;
    message.no = item->message.no;
    message.error = error;
    message.text = text;
    send(message, Msg::Fail);
    if (m_callbacks.onItemFailed)
        m_callbacks.onItemFailed(item->message.info, error, text);
    // Whatever follows would fail in the same way.
    if (error == Error::NoSpace)
        stop(error, text, false);
}

void StreamReceiver::stop(Error error, const std::string &text, bool discard)
{
    if (!m_closing)
        close(error, text, discard);
}

void StreamReceiver::close(Error error, const std::string &text, bool discard)
{
    if (m_closing)
        return;
    m_closing = true;
    m_discard = discard;
    m_closeError = error;
    m_closeText = text;
    tick();
    // The other side gets to know now; this stream ends when its last write is done, so that a following one finds
    // the files at rest.
    sendClose(error, text, discard);
    if (m_session) {
        m_session->removePending(m_held);
        m_held = 0;
    }
    detach();
    idle();
}

void StreamReceiver::idle()
{
    if (!m_closing || m_jobs > 0 || m_ended)
        return;
    std::vector<std::shared_ptr<CacheFile>> caches;
    for (const auto &item : m_items)
        if (item.second->cache)
            caches.push_back(item.second->cache);
    if (!std::exchange(m_settled, true) && !caches.empty()) {
        return job(
            [caches = std::move(caches), discard = m_discard] {
                for (const auto &cache : caches)
                    discard ? cache->discard() : cache->leave();
                return true;
            },
            [](bool) {});
    }
    // Gives the files free before anyone hears of the end.
    const auto items = std::move(m_items);
    m_items.clear();
    for (const auto &item : items)
        if (!item.second->activeKey.empty())
            m_context.activeFiles().release(std::exchange(item.second->activeKey, {}));
    end(m_closeError, m_closeText);
}

void StreamReceiver::tick()
{
    if (m_ended)
        return;
    if (m_progress.bytes != m_sentProgress.bytes || m_progress.filesDone != m_sentProgress.filesDone ||
        m_progress.filesFailed != m_sentProgress.filesFailed) {
        m_sentProgress = m_progress;
        ProgressMessage progress;
        progress.progress = m_progress;
        send(progress);
    }
    reportProgress(false);
    if (m_closing)
        return;
    std::vector<ItemPtr> waiting;
    for (const auto &item : m_items)
        if (item.second->waiting)
            waiting.push_back(item.second);
    for (const ItemPtr &item : waiting) {
        if (Clock::now() - item->waitingSince > kWaitForFile)
            fail(item, Error::Refused, "another transfer is writing this file");
        else
            startItem(item);
        if (m_closing)
            return;
    }
}

/// Another stream waits for a file that this one has. A line on which nothing arrives any more is most likely one that
/// its client has given up: the client pings every two seconds.
void StreamReceiver::yieldIfSilent()
{
    if (m_session && m_session->silence() > kSilent)
        stop(Error::Network, "a newer stream goes on with the file", false);
}

void StreamReceiver::lost(Error error, const std::string &text)
{
    // The session gives back what it counted by itself.
    m_session = nullptr;
    m_held = 0;
    close(error, text, false);
}

} // namespace zpdt
