#include "StreamBase.h"

namespace zpdt {

StreamBase::StreamBase(Session &session, StreamCallbacks callbacks)
    : m_context(session.context())
    , m_session(&session)
    , m_callbacks(std::move(callbacks))
{
}

void StreamBase::changePriority(int priority)
{
    setPriority(priority);
    PriorityMessage message;
    message.priority = priority;
    send(message);
    if (m_session)
        m_session->wake();
}

void StreamBase::sendEmpty(Msg type)
{
    if (m_session)
        m_session->send(emptyFrame(m_id, type));
}

void StreamBase::sendClose(Error error, const std::string &text, bool discard)
{
    CloseMessage close;
    close.error = error;
    close.text = text;
    close.discard = discard;
    send(close);
}

void StreamBase::reportProgress(bool now)
{
    const bool changed = m_progress.bytes != m_reported.bytes || m_progress.filesDone != m_reported.filesDone ||
                         m_progress.filesFailed != m_reported.filesFailed;
    if (!changed && !now)
        return;
    m_reported = m_progress;
    if (m_callbacks.onProgress)
        m_callbacks.onProgress(m_progress);
}

void StreamBase::detach()
{
    if (Session *session = std::exchange(m_session, nullptr))
        session->remove(m_id);
}

void StreamBase::end(Error error, const std::string &text)
{
    if (std::exchange(m_ended, true))
        return;
    const auto self = shared_from_this();
    detach();
    reportProgress(true);
    const StreamCallbacks callbacks = std::move(m_callbacks);
    m_callbacks = {};
    StreamResult result;
    result.error = error;
    result.text = text;
    result.progress = m_progress;
    if (callbacks.onEnd)
        callbacks.onEnd(result);
    if (onGone)
        std::exchange(onGone, nullptr)();
}

} // namespace zpdt
