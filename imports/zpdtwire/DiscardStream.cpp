#include "DiscardStream.h"

#include "TargetTree.h"
#include "TreeScan.h"

#include <iterator>

namespace zpdt {

namespace {
constexpr std::size_t kMostNames = 1u << 20;
}

DiscardStream::DiscardStream(Session &session, StreamCallbacks callbacks)
    : StreamBase(session, std::move(callbacks))
    , m_serving(false)
{
}

DiscardStream::DiscardStream(Session &session, Target target)
    : StreamBase(session, {})
    , m_serving(true)
    , m_target(std::move(target))
{
}

bool DiscardStream::message(Msg type, WireReader &body)
{
    if (type == Msg::Close) {
        CloseMessage close;
        if (!close.decode(body))
            return false;
        m_stopped = true;
        detach();
        if (!m_working)
            end(close.error, close.text);
        return true;
    }
    if (m_serving)
        return type == Msg::Want && wantMessage(body);
    if (type == Msg::Opened && m_callbacks.onOpened)
        m_callbacks.onOpened();
    return type == Msg::Opened && body.complete();
}

bool DiscardStream::wantMessage(WireReader &body)
{
    WantMessage want;
    if (!want.decode(body) || m_complete || m_names.size() + want.names.size() > kMostNames)
        return false;
    std::move(want.names.begin(), want.names.end(), std::back_inserter(m_names));
    m_complete = want.last;
    if (m_complete)
        carryOut();
    return true;
}

void DiscardStream::carryOut()
{
    m_working = true;
    DiscardRules rules;
    rules.active = &m_context.activeFiles();
    rules.key = m_target.key;
    rules.stop = [this] { return m_stopped.load(); };
    disk(
        [target = m_target, names = std::move(m_names), rules] {
            std::pair<FileResult, Discarded> answer;
            SafeFolder folder;
            answer.first = target.open(folder);
            if (answer.first.ok())
                answer.second = discardPartial(folder, names, rules);
            if (answer.second.bytes > 0 && target.addUsed)
                target.addUsed(-static_cast<std::int64_t>(answer.second.bytes));
            return answer;
        },
        [this](const std::pair<FileResult, Discarded> &answer) {
            m_working = false;
            const FileResult &opened = answer.first;
            // Of a folder that is gone nothing is left either.
            const bool gone = opened.error == FileError::NotFound || opened.error == FileError::NotFolder;
            if (!opened.ok() && !gone)
                return finish(errorOf(opened), opened.message());
            if (answer.second.inUse > 0)
                return finish(Error::Refused, "a transfer is writing a partial file");
            finish(Error::None, "");
        });
}

void DiscardStream::finish(Error error, const std::string &text)
{
    sendClose(error, text, false);
    end(error, text);
}

void DiscardStream::lost(Error error, const std::string &text)
{
    m_session = nullptr;
    m_stopped = true;
    if (!m_working)
        end(error, text);
}

void DiscardStream::stop(Error error, const std::string &text, bool discard)
{
    if (hasEnded())
        return;
    m_stopped = true;
    sendClose(error, text, discard);
    detach();
    if (!m_working)
        end(error, text);
}

} // namespace zpdt
