#include "StreamSender.h"

#include "BufferBudget.h"
#include "NameRules.h"

#include <algorithm>
#include <utility>

namespace zpdt {

namespace {

constexpr std::size_t kScanStep = 512;
constexpr std::size_t kMostEntries = 200000; ///< found and not sent yet; then the scan waits
constexpr std::size_t kMostInFlight = 4096;
constexpr std::size_t kMostLarge = 16;
constexpr std::size_t kMostJobs = 4;
/// Read ahead of the line: little at first, more where the line is found to wait for the disk. What a slow reader
/// holds in memory stays small, however many streams it opens.
constexpr std::size_t kLeastAhead = 1u << 20;
constexpr std::size_t kMostAhead = 4u << 20;
constexpr std::size_t kReadOnce = 1u << 20;
constexpr std::size_t kBatchFiles = 32;
constexpr std::size_t kBatchBytes = 512 * 1024;
constexpr std::size_t kMostWantedBytes = 16u << 20;

} // namespace

StreamSender::StreamSender(Session &session, Source source, StreamCallbacks callbacks)
    : StreamBase(session, std::move(callbacks))
    , m_source(std::move(source))
{
}

StreamSender::~StreamSender()
{
    m_context.budget().remove(m_readyBytes);
}

bool StreamSender::message(Msg type, WireReader &body)
{
    switch (type) {
    case Msg::Opened:
        if (m_opened || m_source.wanted || !body.complete())
            return false;
        m_opened = true;
        if (m_callbacks.onOpened)
            m_callbacks.onOpened();
        for (const auto &tell : std::exchange(m_untold, {}))
            tell();
        begin();
        tick();
        return true;
    case Msg::Want: {
        WantMessage want;
        if (m_begun || !m_source.wanted || !want.decode(body))
            return false;
        for (std::string &name : want.names) {
            if (!m_source.only.empty() && name != m_source.only)
                return false;
            m_wantedBytes += name.size() + sizeof(std::string);
            m_source.names.push_back(std::move(name));
        }
        if (m_wantedBytes > kMostWantedBytes)
            return false;
        if (want.last)
            begin();
        return true;
    }
    case Msg::Have:
        return have(body);
    case Msg::Need: {
        NeedMessage need;
        if (!need.decode(body))
            return false;
        const auto found = m_items.find(need.no);
        if (found == m_items.end())
            return need.no < m_nextNo;
        Item &item = found->second;
        if (!item.answered || item.message.info.kind == ItemKind::Folder ||
            need.block >= std::max(1u, blockCount(item.message.info.size, item.message.blockSize)) ||
            item.again.size() > 65536)
            return false;
        item.again.push_back(need.block);
        schedule(need.no);
        pump();
        return true;
    }
    case Msg::Done: {
        DoneMessage done;
        if (!done.decode(body) || done.no >= m_nextNo)
            return false;
        itemDone(done.no, done.outcome);
        return true;
    }
    case Msg::Fail: {
        ItemStopMessage fail;
        if (!fail.decode(body) || fail.no >= m_nextNo)
            return false;
        itemFailed(fail.no, fail.error, fail.text);
        return true;
    }
    case Msg::Progress: {
        ProgressMessage progress;
        if (!progress.decode(body))
            return false;
        // Failures of this side's own are not known over there.
        m_progress.bytes = progress.progress.bytes;
        m_progress.held = progress.progress.held;
        return true;
    }
    case Msg::Close: {
        CloseMessage close;
        if (!close.decode(body))
            return false;
        if (close.error == Error::None && (!m_finishSent || !m_items.empty()))
            return false;
        end(close.error, close.text);
        return true;
    }
    default:
        return false;
    }
}

bool StreamSender::have(WireReader &body)
{
    HaveMessage have;
    if (!have.decode(body))
        return false;
    const auto found = m_items.find(have.no);
    if (found == m_items.end())
        return have.no < m_nextNo;
    Item &item = found->second;
    if (item.answered || !item.file || !item.file->setHave(have))
        return false;
    if (have.more)
        return true;
    item.answered = true;
    schedule(have.no);
    pump();
    return true;
}

void StreamSender::begin()
{
    if (std::exchange(m_begun, true))
        return;
    m_opened = m_opened || m_source.wanted;
    m_scanRunning = true;
    disk(
        [open = m_source.open, names = std::move(m_source.names), excluded = m_source.excludedSuffixes] {
            std::pair<FileResult, std::pair<SafeFolder, std::shared_ptr<TreeScan>>> opened;
            opened.first = open(opened.second.first);
            if (opened.first.ok())
                opened.second.second = std::make_shared<TreeScan>(opened.second.first, names, excluded);
            return opened;
        },
        [this](auto opened) {
            m_scanRunning = false;
            if (m_ended)
                return;
            if (!opened.first.ok())
                return stop(errorOf(opened.first), "cannot open the folder: " + opened.first.message(), false);
            m_root = opened.second.first;
            m_scan = opened.second.second;
            pump();
        });
}

void StreamSender::scan()
{
    if (m_scanRunning || m_scanDone || !m_scan || m_entries.size() + m_largeEntries.size() > kMostEntries)
        return;
    m_scanRunning = true;
    disk(
        [scan = m_scan] {
            std::pair<bool, std::vector<ScanEntry>> found;
            found.first = scan->step(kScanStep, found.second);
            return found;
        },
        [this](std::pair<bool, std::vector<ScanEntry>> found) {
            m_scanRunning = false;
            if (m_ended)
                return;
            m_scanDone = !found.first;
            for (ScanEntry &entry : found.second) {
                if (entry.error == Error::None && entry.info.kind == ItemKind::File) {
                    ++m_totals.files;
                    m_totals.bytes += entry.info.size;
                }
                m_entries.push_back(std::move(entry));
            }
            m_totals.complete = m_scanDone;
            if (m_scanDone) {
                m_scan.reset();
                tick();
            }
            pump();
        });
}

void StreamSender::tick()
{
    if (m_ended)
        return;
    // A tenth of a second without need for more.
    if (!std::exchange(m_taken, false))
        m_ahead = kLeastAhead;
    if (!m_opened)
        return pump();
    if (m_totals.files != m_toldTotals.files || m_totals.bytes != m_toldTotals.bytes ||
        m_totals.complete != m_toldTotals.complete) {
        m_toldTotals = m_totals;
        ScanMessage scan;
        scan.totals = m_totals;
        send(scan);
        if (m_callbacks.onTotals)
            m_callbacks.onTotals(m_totals);
    }
    reportProgress(false);
    pump();
}

bool StreamSender::mayRead() const
{
    if (m_jobs >= kMostJobs)
        return false;
    const std::size_t held = m_readyBytes + m_reserved;
    return held == 0 || (held < m_ahead && !m_context.budget().usedUp());
}

void StreamSender::pump()
{
    if (m_ended || !m_session)
        return;
    scan();
    // Turn by turn, so that neither large files nor new ones wait for the end of the others.
    while (mayRead()) {
        m_newTurn = !m_newTurn;
        if ((m_newTurn || m_work.empty()) && startNew())
            continue;
        if (m_work.empty())
            break;
        const std::uint32_t no = m_work.front();
        m_work.pop_front();
        readMore(no);
    }
    finishIfDone();
}

bool StreamSender::startNew()
{
    return startLarge() || startBatch();
}

bool StreamSender::startLarge()
{
    if (m_largeEntries.empty() || m_largeItems >= kMostLarge || m_items.size() >= kMostInFlight)
        return false;
    ScanEntry entry = std::move(m_largeEntries.front());
    m_largeEntries.pop_front();
    const std::uint32_t no = m_nextNo++;
    ++m_largeItems;
    ++m_jobs;
    ++m_starting;
    disk(
        [root = m_root, info = entry.info, stream = m_id, no]() mutable {
            std::vector<PreparedFile> one(1);
            one[0].announce(root, info, stream, no);
            return one;
        },
        [this](std::vector<PreparedFile> one) {
            --m_jobs;
            --m_starting;
            --m_largeItems;
            prepared(std::move(one), 0);
        });
    return true;
}

bool StreamSender::startBatch()
{
    if (m_entries.empty() || m_items.size() + m_starting >= kMostInFlight)
        return false;
    std::vector<std::pair<std::uint32_t, ItemInfo>> batch;
    std::size_t bytes = 0;
    for (std::size_t looked = 0; looked < 2 * kBatchFiles; ++looked) {
        if (m_entries.empty() || batch.size() == kBatchFiles || bytes >= kBatchBytes)
            break;
        ScanEntry entry = std::move(m_entries.front());
        m_entries.pop_front();
        if (entry.error != Error::None) {
            reportUnsendable(entry.info, entry.error, entry.text);
        } else if (entry.info.kind == ItemKind::Folder) {
            // In front of the files in it, which the batch so far is not.
            sendFolder(std::move(entry));
        } else if (entry.info.size > kSmallFile) {
            m_largeEntries.push_back(std::move(entry));
        } else {
            bytes += entry.info.size + 256;
            batch.emplace_back(m_nextNo++, std::move(entry.info));
        }
    }
    if (batch.empty())
        return true;
    const std::size_t count = batch.size();
    m_starting += count;
    m_reserved += bytes;
    ++m_jobs;
    disk(
        [root = m_root, batch = std::move(batch), stream = m_id, resumed = m_source.resumed] {
            std::vector<PreparedFile> items(batch.size());
            for (std::size_t i = 0; i < batch.size(); ++i)
                items[i].readSmall(root, batch[i].second, stream, batch[i].first, resumed);
            return items;
        },
        [this, count, bytes](std::vector<PreparedFile> items) {
            --m_jobs;
            m_starting -= count;
            prepared(std::move(items), bytes);
        });
    return true;
}

void StreamSender::sendFolder(ScanEntry entry)
{
    Item item;
    item.message.no = m_nextNo++;
    item.message.info = std::move(entry.info);
    item.answered = item.sent = true;
    queue(frame(m_id, item.message));
    const std::uint32_t no = item.message.no;
    m_items.emplace(no, std::move(item));
}

void StreamSender::prepared(std::vector<PreparedFile> items, std::size_t reserved)
{
    m_reserved -= reserved;
    if (m_ended)
        return;
    for (PreparedFile &one : items) {
        if (one.error != Error::None) {
            reportUnsendable(one.message.info, one.error, one.text);
            continue;
        }
        const std::uint32_t no = one.message.no;
        Item item;
        item.large = one.message.info.size > kSmallFile;
        item.message = std::move(one.message);
        item.answered = !item.message.ask;
        WireWriter w;
        w.reserve(one.chunk.frames.size() == 1 ? one.chunk.frames[0].size() + 512 : 256);
        append(w, m_id, item.message);
        if (item.answered) {
            item.sent = true;
            if (one.chunk.frames.size() == 1) {
                w.raw(one.chunk.frames[0].data(), one.chunk.frames[0].size());
                one.chunk.frames.clear();
            }
        } else {
            item.file = std::move(one.file);
        }
        queue(w.take());
        queueChunk(one.chunk);
        m_largeItems += item.large ? 1 : 0;
        m_items.emplace(no, std::move(item));
    }
    pump();
}

void StreamSender::schedule(std::uint32_t no)
{
    Item &item = m_items.at(no);
    if (!item.busy && std::find(m_work.begin(), m_work.end(), no) == m_work.end())
        m_work.push_back(no);
}

void StreamSender::readMore(std::uint32_t no)
{
    const auto found = m_items.find(no);
    if (found == m_items.end() || found->second.busy || !found->second.answered)
        return;
    Item &item = found->second;
    if (item.sent && item.again.empty())
        return;
    if (!item.file)
        return readSmallAgain(no);
    item.busy = true;
    ++m_jobs;
    m_reserved += kReadOnce;
    std::vector<std::uint32_t> again = std::move(item.again);
    item.again.clear();
    struct Answer
    {
        std::unique_ptr<FileSender> file;
        FileSender::Chunk chunk;
        std::vector<std::uint32_t> again;
    };
    // What is asked for again waits until the block that is under way has been sent.
    const bool sent = item.sent;
    disk(
        [file = std::move(item.file), again = std::move(again), sent]() mutable {
            Answer answer;
            if (sent && !again.empty()) {
                answer.chunk = file->again(again.back());
                again.pop_back();
            } else {
                answer.chunk = file->next();
            }
            answer.again = std::move(again);
            answer.file = std::move(file);
            return answer;
        },
        [this, no](Answer answer) {
            --m_jobs;
            m_reserved -= kReadOnce;
            const auto now = m_items.find(no);
            if (m_ended || now == m_items.end())
                return pump();
            Item &going = now->second;
            going.busy = false;
            going.again.insert(going.again.end(), answer.again.begin(), answer.again.end());
            if (answer.chunk.error != Error::None) {
                giveUp(no, answer.chunk.error, answer.chunk.text);
                return pump();
            }
            queueChunk(answer.chunk);
            going.sent = going.sent || answer.chunk.finished;
            going.file = std::move(answer.file);
            if (going.sent && !going.large)
                going.file.reset();
            if (!going.sent || !going.again.empty())
                schedule(no);
            pump();
        });
}

void StreamSender::readSmallAgain(std::uint32_t no)
{
    // Files that went whole are not kept open: this one is opened anew, and has to be the one that was announced.
    Item &item = m_items.at(no);
    item.again.clear();
    item.busy = true;
    ++m_jobs;
    m_reserved += kBatchBytes;
    disk([root = m_root, announced = item.message, stream = m_id] { return FileSender::once(root, announced, stream); },
         [this, no](FileSender::Chunk chunk) {
             --m_jobs;
             m_reserved -= kBatchBytes;
             const auto now = m_items.find(no);
             if (m_ended || now == m_items.end())
                 return pump();
             now->second.busy = false;
             if (chunk.error != Error::None)
                 giveUp(no, chunk.error, chunk.text);
             else
                 queueChunk(chunk);
             pump();
         });
}

void StreamSender::queue(Bytes data)
{
    m_readyBytes += data.size();
    m_context.budget().add(data.size());
    m_ready.push_back(std::move(data));
    if (m_session)
        m_session->wake();
}

void StreamSender::queueChunk(FileSender::Chunk &chunk)
{
    for (Bytes &data : chunk.frames)
        queue(std::move(data));
    chunk.frames.clear();
}

Bytes StreamSender::takeData()
{
    Bytes data = std::move(m_ready.front());
    m_ready.pop_front();
    m_readyBytes -= data.size();
    m_context.budget().remove(data.size());
    m_taken = true;
    if (m_ready.empty())
        m_ahead = std::min(2 * m_ahead, kMostAhead);
    if (!m_pumpPosted && (m_readyBytes < m_ahead / 2 || m_ready.empty())) {
        // Not from here: the frame is not on the line yet, and nothing may overtake it.
        m_pumpPosted = true;
        asio::post(m_context.io(), [self = shared_from_this(), this] {
            m_pumpPosted = false;
            pump();
        });
    }
    return data;
}

void StreamSender::giveUp(std::uint32_t no, Error error, const std::string &text)
{
    ItemStopMessage abort;
    abort.no = no;
    abort.error = error;
    abort.text = text;
    // In line with the data, so that the receiver knows that nothing of the item follows.
    queue(frame(m_id, abort, Msg::Abort));
    itemFailed(no, error, text);
}

void StreamSender::reportUnsendable(const ItemInfo &info, Error error, const std::string &text)
{
    ItemErrorMessage message;
    message.info = info;
    message.info.size = 0;
    message.info.path = shortText(info.path);
    message.error = error;
    message.text = text;
    queue(frame(m_id, message));
    m_progress.filesFailed += error == Error::Skipped ? 0 : 1;
    tellFailed(info, error, text);
}

void StreamSender::tellFailed(const ItemInfo &info, Error error, const std::string &text)
{
    if (!m_callbacks.onItemFailed)
        return;
    if (m_opened)
        m_callbacks.onItemFailed(info, error, text);
    else
        m_untold.push_back([this, info, error, text] { m_callbacks.onItemFailed(info, error, text); });
}

void StreamSender::itemDone(std::uint32_t no, const ItemOutcome &outcome)
{
    const auto found = m_items.find(no);
    if (found == m_items.end())
        return;
    const Item item = std::move(found->second);
    m_items.erase(found);
    m_largeItems -= item.large ? 1 : 0;
    if (item.message.info.kind == ItemKind::File)
        ++m_progress.filesDone;
    if (m_callbacks.onItemDone)
        m_callbacks.onItemDone(item.message.info, outcome);
    pump();
}

void StreamSender::itemFailed(std::uint32_t no, Error error, const std::string &text)
{
    const auto found = m_items.find(no);
    if (found == m_items.end())
        return;
    const Item item = std::move(found->second);
    m_items.erase(found);
    m_largeItems -= item.large ? 1 : 0;
    ++m_progress.filesFailed;
    tellFailed(item.message.info, error, text);
    pump();
}

void StreamSender::finishIfDone()
{
    if (m_finishSent || !m_scanDone || !m_entries.empty() || !m_largeEntries.empty() || m_starting > 0 ||
        !m_ready.empty() || m_ended)
        return;
    const auto settled = [](const auto &one) {
        return one.second.sent && one.second.again.empty() && !one.second.busy;
    };
    if (!m_items.empty() &&
        (m_session->peerVersion() < kEarlyFinishVersion || !std::all_of(m_items.begin(), m_items.end(), settled)))
        return;
    m_finishSent = true;
    sendEmpty(Msg::Finish);
    m_session->urge();
}

void StreamSender::stop(Error error, const std::string &text, bool discard)
{
    if (m_ended)
        return;
    sendClose(error, text, discard);
    end(error, text);
}

void StreamSender::lost(Error error, const std::string &text)
{
    m_session = nullptr;
    end(error, text);
}

} // namespace zpdt
