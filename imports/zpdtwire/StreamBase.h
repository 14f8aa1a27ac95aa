#pragma once

#include "Context.h"
#include "Session.h"

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <asio/thread_pool.hpp>

#include <utility>

namespace zpdt {

/// What both directions of a stream share: its place in the session, its callbacks, its one end, and work on the disk
/// threads. Lives on the I/O thread.
class StreamBase : public SessionStream
{
public:
    StreamBase(Session &session, StreamCallbacks callbacks);

    void setId(std::uint32_t id) { m_id = id; }
    std::uint32_t id() const { return m_id; }
    bool hasEnded() const { return m_ended; }
    /// Closes from this side. @p discard: the receiver removes what is not finished.
    virtual void stop(Error error, const std::string &text, bool discard) = 0;
    void changePriority(int priority);
    /// Client: the other side was asked for the stream, which is about to begin.
    virtual void requested() {}
    /// Told once, when the stream has ended, besides the callbacks.
    std::function<void()> onGone;

protected:
    template <typename Message>
    void send(const Message &message, Msg type = Message::kType)
    {
        if (m_session)
            m_session->send(frame(m_id, message, type));
    }
    void sendEmpty(Msg type);
    void sendClose(Error error, const std::string &text, bool discard);
    void reportProgress(bool now);
    /// Leaves the session; nothing is sent any more.
    void detach();
    /// detach(), and the last callbacks.
    void end(Error error, const std::string &text);

    /// Runs @p work on a disk thread and @p done with its answer back here, on the I/O thread.
    template <typename Work, typename Done>
    void disk(Work work, Done done)
    {
        asio::io_context &io = m_context.io();
        asio::post(m_context.disk(),
                   [self = shared_from_this(), &io, work = std::move(work), done = std::move(done)]() mutable {
                       // The last owner of a stream goes on the I/O thread, hence the moves.
                       auto answer = work();
                       asio::post(io, [self = std::move(self), answer = std::move(answer),
                                       done = std::move(done)]() mutable { done(std::move(answer)); });
                   });
    }

    Context &m_context;
    Session *m_session; ///< null once detached
    std::uint32_t m_id = 0;
    StreamCallbacks m_callbacks;
    StreamProgress m_progress;
    bool m_ended = false;

private:
    StreamProgress m_reported;
};

} // namespace zpdt
