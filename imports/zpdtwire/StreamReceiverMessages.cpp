#include "StreamReceiver.h"

#include "FramePool.h"
#include "NameRules.h"
#include "TreeScan.h"

#include <algorithm>

// What the receiver does with each message of the sender.

namespace zpdt {

namespace {

constexpr std::size_t kMostItems = 8192; ///< in flight; the sender keeps to half of it
constexpr std::size_t kMostLarge = 64;   ///< of them; each takes descriptors
constexpr std::size_t kMostWholeBytes = 1u << 20;
constexpr std::size_t kHoldFrom = 48 * 1024;

} // namespace

bool StreamReceiver::message(Msg type, WireReader &body)
{
    if (m_closing && type != Msg::Close)
        return true;
    switch (type) {
    case Msg::Opened:
        if (m_callbacks.onOpened)
            m_callbacks.onOpened();
        return body.complete();
    case Msg::Scan: {
        ScanMessage scan;
        if (!scan.decode(body))
            return false;
        if (m_callbacks.onTotals)
            m_callbacks.onTotals(scan.totals);
        return true;
    }
    case Msg::Item:
        return itemMessage(body);
    case Msg::ItemError:
        return itemErrorMessage(body);
    case Msg::Data:
        return dataMessage(body);
    case Msg::Sum:
        return sumMessage(body);
    case Msg::End:
        return endMessage(body);
    case Msg::Abort:
        return abortMessage(body);
    case Msg::Finish:
        return finishMessage(body);
    case Msg::Close:
        return closeMessage(body);
    default:
        return false;
    }
}

const char *StreamReceiver::objection(const ItemInfo &info) const
{
    std::vector<std::string> names;
    if (!splitPath(info.path, names) || names.empty() || joinPath(names) != info.path)
        return "the name cannot be stored here";
    if (std::any_of(names.begin(), names.end(), isCacheName))
        return "the name is the one of a partial file";
    if (!m_target.names.empty() && (info.root >= m_target.names.size() || m_target.names[info.root] != names[0]))
        return "nobody asked for this name";
    return nullptr;
}

bool StreamReceiver::itemMessage(WireReader &body)
{
    auto item = std::make_shared<Item>();
    if (!item->message.decode(body) || m_items.count(item->message.no) > 0 || m_items.size() >= kMostItems ||
        item->message.no == UINT32_MAX || m_finishing)
        return false;
    item->whole = item->message.info.size <= kSmallFile && item->message.info.kind == ItemKind::File;
    if (isLarge(*item) && m_largeItems >= kMostLarge)
        return false;
    m_largeItems += isLarge(*item) ? 1 : 0;
    // The sender looks at several files at once, so the numbers do not come in their order.
    m_nextNo = std::max(m_nextNo, item->message.no + 1);
    m_items[item->message.no] = item;
    if (const char *reason = objection(item->message.info)) {
        fail(item, Error::BadName, reason);
        return true;
    }
    if (isLarge(*item) && m_callbacks.onLargeItem)
        m_callbacks.onLargeItem(item->message.info);
    if (m_tree)
        startItem(item);
    else
        m_beforeOpen.push_back(item);
    return true;
}

bool StreamReceiver::itemErrorMessage(WireReader &body)
{
    ItemErrorMessage message;
    if (!message.decode(body))
        return false;
    m_progress.filesFailed += message.error == Error::Skipped ? 0 : 1;
    if (m_callbacks.onItemFailed)
        m_callbacks.onItemFailed(message.info, message.error, message.text);
    return true;
}

StreamReceiver::ItemPtr StreamReceiver::find(std::uint32_t no, bool &known) const
{
    // What was sent before the sender heard of a failure is known and goes nowhere.
    known = no < m_nextNo;
    const auto found = m_items.find(no);
    return found == m_items.end() ? nullptr : found->second;
}

bool StreamReceiver::isCurrent(const ItemPtr &item) const
{
    const auto found = m_items.find(item->message.no);
    return found != m_items.end() && found->second == item;
}

bool StreamReceiver::dataMessage(WireReader &body)
{
    DataMessage data;
    if (!data.decode(body))
        return false;
    bool known = false;
    const ItemPtr item = find(data.no, known);
    if (!item)
        return known;
    if (item->message.info.kind == ItemKind::Folder || (item->message.ask && !item->haveSent))
        return false;
    if (item->whole) {
        Bytes &bytes = item->small.data;
        if (item->stored || item->blockSeen || data.block != 0 || data.offset != bytes.size() ||
            bytes.size() + data.size > item->message.info.size ||
            data.last != (bytes.size() + data.size == item->message.info.size) ||
            m_wholeBytes + data.size > kMostWholeBytes)
            return false;
        bytes.insert(bytes.end(), data.data, data.data + data.size);
        m_wholeBytes += data.size;
        m_held += data.size;
        m_session->addPending(data.size);
        item->blockSeen = data.last;
        if (data.last)
            item->small.block = data.digest;
        return true;
    }
    // The existing file was not the one; now the partial file is needed after all.
    if (!item->cache)
        prepareCache(item);
    CacheFile::Op op;
    op.block = data.block;
    op.offset = data.offset;
    op.last = data.last;
    op.digest = data.digest;
    op.size = data.size;
    op.data = data.data;
    // Held where it lies when it fills most of what is held with it.
    if (data.size >= kHoldFrom)
        op.owner = m_session->holdFrame();
    if (!op.owner) {
        auto copy = FramePool::share(data.size);
        std::copy(data.data, data.data + data.size, copy->begin());
        op.data = copy->data();
        op.owner = std::move(copy);
    }
    item->ops.push_back(std::move(op));
    item->opBytes += data.size;
    m_held += data.size;
    m_session->addPending(data.size);
    process(item);
    return true;
}

bool StreamReceiver::sumMessage(WireReader &body)
{
    SumMessage sum;
    if (!sum.decode(body))
        return false;
    bool known = false;
    const ItemPtr item = find(sum.no, known);
    if (!item)
        return known;
    if (!item->prepared)
        return false;
    CacheFile::Op op;
    op.kind = CacheFile::Op::Sum;
    op.block = sum.block;
    op.sums = std::move(sum.digests);
    item->ops.push_back(std::move(op));
    process(item);
    return true;
}

bool StreamReceiver::endMessage(WireReader &body)
{
    EndMessage end;
    if (!end.decode(body))
        return false;
    bool known = false;
    const ItemPtr item = find(end.no, known);
    if (!item)
        return known;
    if (item->message.info.kind == ItemKind::Folder || (item->message.ask && !item->haveSent))
        return false;
    item->ended = true;
    if (end.same) {
        if (!item->existing || item->cache || item->stored)
            return false;
        m_progress.bytes += item->message.info.size;
        m_progress.held += item->message.info.size;
        ItemOutcome outcome;
        outcome.same = true;
        done(item, outcome);
        return true;
    }
    if (item->whole) {
        if (item->stored || item->blockSeen != (item->message.info.size > 0))
            return false;
        item->stored = true;
        item->small.no = end.no;
        item->small.path = item->message.info.path;
        item->small.modifiedMs = item->message.info.modifiedMs;
        item->small.whole = end.digest;
        m_wholeBytes -= item->small.data.size();
        m_smallReady.push_back(std::move(item->small));
        storeSmall();
        return true;
    }
    if (!item->cache)
        return false;
    CacheFile::Op op;
    op.kind = CacheFile::Op::End;
    op.digest = end.digest;
    item->ops.push_back(std::move(op));
    process(item);
    return true;
}

bool StreamReceiver::abortMessage(WireReader &body)
{
    ItemStopMessage message;
    if (!message.decode(body))
        return false;
    bool known = false;
    const ItemPtr item = find(message.no, known);
    if (!item)
        return known;
    if (item->stored)
        return true;
    const auto cache = item->cache;
    // Nobody else may have the partial file before this one is done with it.
    std::string key;
    if (cache)
        key = std::exchange(item->activeKey, {});
    forget(item);
    ++m_progress.filesFailed;
    if (m_callbacks.onItemFailed)
        m_callbacks.onItemFailed(item->message.info, message.error, message.text);
    // Of a source that became another file nothing can be used again.
    if (cache)
        job(
            [cache, discard = message.error == Error::ChangedSource] {
                discard ? cache->discard() : cache->leave();
                return true;
            },
            [this, key](bool) { m_context.activeFiles().release(key); });
    return true;
}

bool StreamReceiver::finishMessage(WireReader &body)
{
    const auto open = [](const auto &one) {
        return !one.second->ended && one.second->message.info.kind != ItemKind::Folder;
    };
    if (!body.complete() || m_finishing || std::any_of(m_items.begin(), m_items.end(), open))
        return false;
    m_finishing = true;
    finishIfDone();
    return true;
}

bool StreamReceiver::closeMessage(WireReader &body)
{
    CloseMessage message;
    if (!message.decode(body) || message.error == Error::None)
        return false;
    close(message.error, message.text, message.discard);
    return true;
}

} // namespace zpdt
