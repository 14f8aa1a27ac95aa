#include "Connection.h"

#include "Context.h"
#include "DiscardStream.h"
#include "StreamReceiver.h"
#include "StreamSender.h"
#include "TcpChannel.h"
#include "UdpChannel.h"

#include <algorithm>
#include <filesystem>

namespace zpdt {

namespace {

constexpr std::size_t kWantBytes = 32 * 1024; ///< names in one message

FileResult makeAndOpen(const std::string &path, SafeFolder &folder)
{
    FileResult result = SafeFolder::open(path, folder);
    if (result.error != FileError::NotFound)
        return result;
    std::error_code failed;
    std::filesystem::create_directories(std::filesystem::u8path(path), failed);
    return SafeFolder::open(path, folder);
}

} // namespace

/// Everything behind the handle, on the I/O thread.
class Connection::Core : public std::enable_shared_from_this<Connection::Core>
{
public:
    Core(Context &context, Endpoint endpoint, StateHandler onState)
        : m_context(context)
        , m_endpoint(std::move(endpoint))
        , m_onState(std::move(onState))
    {
    }

    Context &context() { return m_context; }

    void start()
    {
        Session::Handler handler;
        const std::weak_ptr<Core> weak = weak_from_this();
        // Requests do not wait for the server's greeting, nor an upload for its answer: a round trip each.
        handler.onMaySend = [weak] {
            if (const auto self = weak.lock())
                self->sendOpenings();
        };
        handler.onReady = [weak] {
            if (const auto self = weak.lock())
                self->tell(ConnectionState::Connected, Error::None, "");
        };
        handler.onClosed = [weak](Error error, const std::string &text) {
            if (const auto self = weak.lock())
                self->closed(error, text);
        };
        m_session = std::make_shared<Session>(m_context, makeChannel(), Session::Role::Client, m_endpoint.clientVersion,
                                              std::move(handler));
        m_session->setSendGoal(m_sendGoal);
        m_session->setReceiveGoal(m_receiveGoal);
        tell(ConnectionState::Connecting, Error::None, "");
        m_session->start();
    }

    void close(bool silent)
    {
        if (silent)
            m_onState = nullptr;
        if (m_session)
            m_session->close(Error::Cancelled, "closed");
    }

    void open(std::shared_ptr<StreamBase> stream, OpenMessage message, std::vector<std::string> names)
    {
        if (!m_session || m_session->isClosed())
            return stream->lost(m_refused.empty() ? Error::Network : Error::Refused,
                                m_refused.empty() ? "the connection is closed" : m_refused);
        stream->setId(m_session->add(stream));
        stream->setPriority(message.priority);
        Opening opening{stream, std::move(message), std::move(names)};
        if (m_session->maySend())
            send(opening);
        else
            m_opening.push_back(std::move(opening));
    }

    void setGoal(Direction direction, const RateGoal &goal)
    {
        (direction == Direction::Upload ? m_sendGoal : m_receiveGoal) = goal;
        if (!m_session)
            return;
        if (direction == Direction::Upload)
            m_session->setSendGoal(goal);
        else
            m_session->setReceiveGoal(goal);
    }

    Metrics metrics() const { return m_session && !m_session->isClosed() ? m_session->metrics() : Metrics(); }
    Session *session() { return m_session.get(); }

private:
    std::shared_ptr<Channel> makeChannel()
    {
        const Endpoint &to = m_endpoint;
        if (to.carrier == CarrierKind::Udp)
            return UdpChannel::toServer(m_context, to.host, to.port, to.fingerprint, to.udpKey);
        return TcpChannel::toServer(m_context, to.host, to.port, to.fingerprint);
    }

    struct Opening
    {
        std::shared_ptr<StreamBase> stream;
        OpenMessage message;
        std::vector<std::string> names;
    };

    void send(const Opening &opening)
    {
        // Paused or cancelled before the line was there.
        const std::uint32_t id = opening.stream->id();
        if (opening.stream->hasEnded() || !m_session->has(id))
            return;
        m_session->send(frame(id, opening.message));
        opening.stream->requested();
        if (opening.message.direction == Direction::Upload)
            return;
        std::size_t next = 0;
        do {
            WantMessage want;
            for (std::size_t bytes = 0; next < opening.names.size() && bytes < kWantBytes; ++next) {
                bytes += opening.names[next].size() + 2;
                want.names.push_back(opening.names[next]);
            }
            want.last = next == opening.names.size();
            m_session->send(frame(id, want));
        } while (next < opening.names.size());
    }

    void sendOpenings()
    {
        const auto waiting = std::move(m_opening);
        m_opening.clear();
        for (const Opening &opening : waiting)
            send(opening);
    }

    void closed(Error error, const std::string &text)
    {
        m_opening.clear();
        if (error == Error::Refused)
            m_refused = text;
        tell(ConnectionState::Closed, error, text);
    }

    void tell(ConnectionState state, Error error, const std::string &text)
    {
        if (m_onState)
            m_onState(state, error, text);
    }

    Context &m_context;
    const Endpoint m_endpoint;
    StateHandler m_onState;
    std::shared_ptr<Session> m_session;
    std::vector<Opening> m_opening;
    std::string m_refused; ///< why the server, or its certificate, was turned down
    RateGoal m_sendGoal;
    RateGoal m_receiveGoal;
};

namespace {

/// Handle of a stream; carries every call over to the I/O thread. The stream is made there.
class StreamHandle : public Stream, public std::enable_shared_from_this<StreamHandle>
{
public:
    explicit StreamHandle(Context &context)
        : m_context(context)
    {
    }

    void pause() override { stop(false); }
    void cancel() override { stop(true); }
    void setPriority(int priority) override
    {
        m_context.post([self = shared_from_this(), priority] {
            if (const auto stream = self->m_stream.lock())
                stream->changePriority(priority);
        });
    }
    /// On the I/O thread, before anything else.
    void attach(const std::shared_ptr<StreamBase> &stream) { m_stream = stream; }

private:
    void stop(bool discard)
    {
        m_context.post([self = shared_from_this(), discard] {
            if (const auto stream = self->m_stream.lock())
                stream->stop(Error::Cancelled, discard ? "cancelled" : "paused", discard);
        });
    }

    Context &m_context;
    std::weak_ptr<StreamBase> m_stream;
};

} // namespace

Connection::Connection(Context &context, const Endpoint &endpoint, StateHandler onState)
    : m_core(std::make_shared<Core>(context, endpoint, std::move(onState)))
{
    context.post([core = m_core] { core->start(); });
}

Connection::~Connection()
{
    Context &context = m_core->context();
    context.post([core = std::move(m_core)] { core->close(true); });
}

void Connection::close()
{
    m_core->context().post([core = m_core] { core->close(false); });
}

std::shared_ptr<Stream> Connection::openUpload(UploadRequest request, StreamCallbacks callbacks)
{
    auto handle = std::make_shared<StreamHandle>(m_core->context());
    m_core->context().post(
        [core = m_core, handle, request = std::move(request), callbacks = std::move(callbacks)]() mutable {
            OpenMessage message;
            message.ticket = std::move(request.ticket);
            message.direction = Direction::Upload;
            message.resumed = request.resumed;
            message.verify = request.verify;
            message.priority = request.priority;
            StreamSender::Source source;
            source.open = [path = std::move(request.localFolder)](SafeFolder &folder) {
                return SafeFolder::open(path, folder);
            };
            source.names = std::move(request.names);
            source.excludedSuffixes = std::move(request.excludedSuffixes);
            source.resumed = request.resumed;
            auto stream = std::make_shared<StreamSender>(*core->session(), std::move(source), std::move(callbacks));
            handle->attach(stream);
            core->open(std::move(stream), std::move(message), {});
        });
    return handle;
}

std::shared_ptr<Stream> Connection::openDownload(DownloadRequest request, StreamCallbacks callbacks)
{
    auto handle = std::make_shared<StreamHandle>(m_core->context());
    m_core->context().post([core = m_core, handle, request = std::move(request),
                            callbacks = std::move(callbacks)]() mutable {
        OpenMessage message;
        message.ticket = std::move(request.ticket);
        message.direction = Direction::Download;
        message.resumed = request.resumed;
        message.verify = request.verify;
        message.priority = request.priority;
        message.excludedSuffixes = std::move(request.excludedSuffixes);
        StreamReceiver::Target target;
        target.key = request.localFolder;
        target.open = [path = std::move(request.localFolder)](SafeFolder &folder) { return makeAndOpen(path, folder); };
        target.names = request.names;
        target.limits.freeBytes = std::move(request.freeBytes);
        target.resumed = request.resumed;
        target.verify = request.verify;
        auto stream = std::make_shared<StreamReceiver>(*core->session(), std::move(target), std::move(callbacks));
        handle->attach(stream);
        core->open(stream, std::move(message), std::move(request.names));
        if (!stream->hasEnded())
            stream->begin();
    });
    return handle;
}

std::shared_ptr<Stream> Connection::openDiscard(DiscardRequest request, StreamCallbacks callbacks)
{
    auto handle = std::make_shared<StreamHandle>(m_core->context());
    m_core->context().post(
        [core = m_core, handle, request = std::move(request), callbacks = std::move(callbacks)]() mutable {
            OpenMessage message;
            message.ticket = std::move(request.ticket);
            message.direction = Direction::Discard;
            auto stream = std::make_shared<DiscardStream>(*core->session(), std::move(callbacks));
            handle->attach(stream);
            core->open(std::move(stream), std::move(message), std::move(request.names));
        });
    return handle;
}

void Connection::setGoal(Direction direction, const RateGoal &goal)
{
    m_core->context().post([core = m_core, direction, goal] { core->setGoal(direction, goal); });
}

void Connection::metrics(std::function<void(const Metrics &)> answer)
{
    m_core->context().post([core = m_core, answer = std::move(answer)] { answer(core->metrics()); });
}

} // namespace zpdt
