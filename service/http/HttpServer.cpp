#include "HttpServer.h"

#include "Alarm.h"
#include "BodyReader.h"
#include "ConnectionWatch.h"
#include "FairPool.h"
#include "ListenSocket.h"

#include <microhttpd.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace arkvale::service {

namespace {

/// One request on its connection, from its first line to the end of its answer. Touched by the network thread, and
/// by one worker while the connection sleeps.
struct Exchange
{
    enum class Stage
    {
        Head,
        Body,
        Working,
        Answered
    };

    std::string target;
    Stage stage = Stage::Head;
    bool counted = false;
    /// What the request is refused with once its body is over; 0: it goes on to its handler.
    int refused = 0;
    std::size_t received = 0;
    std::size_t bodyLimit = 0;
    Request request;
    Router::Match match;
    std::string client;
    Response answer;
};

std::string lower(std::string text)
{
    for (char &c : text) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

MHD_Result collectHeader(void *cls, MHD_ValueKind, const char *key, const char *value)
{
    static_cast<Request *>(cls)->headers.emplace(lower(key), value ? value : "");
    return MHD_YES;
}

ssize_t readBody(void *cls, std::uint64_t position, char *buffer, std::size_t most)
{
    return (*static_cast<std::shared_ptr<BodyReader> *>(cls))->read(position, buffer, most);
}

void freeBody(void *cls)
{
    delete static_cast<std::shared_ptr<BodyReader> *>(cls);
}

void freeText(void *cls)
{
    delete static_cast<std::string *>(cls);
}

Response refusal(int status)
{
    switch (status) {
    case 400:
        return Response::error(400, "bad-request", "The request cannot be understood.");
    case 404:
        return Response::error(404, "not-found", "There is nothing under this address.");
    case 413:
        return Response::error(413, "too-large", "The request's body is too large.");
    default:
        return Response::error(503, "busy", "The service is busy or stopping.").setHeader("Retry-After", "2");
    }
}

} // namespace

class HttpServer::Private
{
public:
    Private(HttpOptions o, Router r, Gate g)
        : options(std::move(o))
        , router(std::move(r))
        , gate(std::move(g))
    {
    }

    static void *onTarget(void *cls, const char *target, MHD_Connection *connection);
    static MHD_Result onRequest(void *cls, MHD_Connection *connection, const char *url, const char *method,
                                const char *version, const char *data, std::size_t *size, void **requestState);
    static void onCompleted(void *cls, MHD_Connection *connection, void **requestState, MHD_RequestTerminationCode);
    static void onConnection(void *cls, MHD_Connection *connection, void **, MHD_ConnectionNotificationCode code);

    MHD_Result head(MHD_Connection *connection, Exchange &exchange, const char *method);
    MHD_Result body(MHD_Connection *connection, Exchange &exchange, const char *data, std::size_t *size);
    void dispatch(MHD_Connection *connection, Exchange &exchange);
    void work(MHD_Connection *connection, Exchange &exchange);
    void wake(MHD_Connection *connection, Exchange &exchange, Response answer);
    void wait(MHD_Connection *connection, Exchange &exchange, const Response &promise);
    MHD_Result send(MHD_Connection *connection, Exchange &exchange, Response answer);
    void scheduleWatch();

    const HttpOptions options;
    const Router router;
    const Gate gate;

    ListenSocket socket;
    MHD_Daemon *daemon = nullptr;
    ConnectionWatch watch;
    std::unique_ptr<FairPool> workers;
    std::unique_ptr<FairPool> readers;
    std::unique_ptr<Alarm> alarm;
    std::atomic<bool> stopping{false};
    std::atomic<bool> giveUp{false};
    std::atomic<std::size_t> bodyBytes{0}; ///< of all requests that are being received or handled

    std::mutex mutex;
    std::condition_variable idle;
    std::size_t running = 0;
};

HttpServer::HttpServer(HttpOptions options, Router router, Gate gate)
    : d(std::make_unique<Private>(std::move(options), std::move(router), std::move(gate)))
{
}

HttpServer::~HttpServer()
{
    stop();
}

bool HttpServer::start(std::string *error)
{
    const HttpOptions &o = d->options;
    if (!d->socket.open(o.listen, o.port, error))
        return false;
    d->workers = std::make_unique<FairPool>(o.workers, o.maxQueue);
    d->readers = std::make_unique<FairPool>(o.readers, o.maxConnections * 2u);
    d->alarm = std::make_unique<Alarm>();
    d->scheduleWatch();

    unsigned flags = MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_AUTO | MHD_ALLOW_SUSPEND_RESUME;
    if (d->socket.isIpv6())
        flags |= MHD_USE_IPv6;
    const auto callback = [](auto *function) { return reinterpret_cast<std::intptr_t>(function); };
    std::vector<MHD_OptionItem> list = {
        {MHD_OPTION_LISTEN_SOCKET, d->socket.fd(), nullptr},
        {MHD_OPTION_THREAD_POOL_SIZE, static_cast<std::intptr_t>(std::max(o.networkThreads, 1u)), nullptr},
        {MHD_OPTION_CONNECTION_LIMIT, static_cast<std::intptr_t>(o.maxConnections), nullptr},
        {MHD_OPTION_PER_IP_CONNECTION_LIMIT, static_cast<std::intptr_t>(o.maxConnectionsPerPeer), nullptr},
        {MHD_OPTION_CONNECTION_TIMEOUT, static_cast<std::intptr_t>(o.idleTimeout), nullptr},
        {MHD_OPTION_CONNECTION_MEMORY_LIMIT, static_cast<std::intptr_t>(o.maxHeader), nullptr},
        {MHD_OPTION_STRICT_FOR_CLIENT, 1, nullptr},
        {MHD_OPTION_URI_LOG_CALLBACK, callback(&Private::onTarget), d.get()},
        {MHD_OPTION_NOTIFY_COMPLETED, callback(&Private::onCompleted), d.get()},
        {MHD_OPTION_NOTIFY_CONNECTION, callback(&Private::onConnection), d.get()},
    };
    if (!o.tlsCertificate.empty()) {
        flags |= MHD_USE_TLS;
        list.push_back({MHD_OPTION_HTTPS_MEM_CERT, 0, const_cast<char *>(o.tlsCertificate.c_str())});
        list.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, const_cast<char *>(o.tlsKey.c_str())});
        list.push_back({MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char *>("NORMAL:-VERS-TLS1.0:-VERS-TLS1.1")});
    }
    list.push_back({MHD_OPTION_END, 0, nullptr});
    d->daemon = MHD_start_daemon(flags, d->socket.port(), nullptr, nullptr, &Private::onRequest, d.get(),
                                 MHD_OPTION_ARRAY, list.data(), MHD_OPTION_END);
    if (!d->daemon) {
        *error = o.tlsCertificate.empty() ? "The HTTP server cannot be started."
                                          : "The HTTP server cannot be started; is the TLS certificate valid?";
        return false;
    }
    return true;
}

void HttpServer::stop()
{
    if (!d->daemon)
        return;
    d->stopping = true;
    MHD_quiesce_daemon(d->daemon);
    d->socket.refuse();
    // Answers that were to come later come now, with what there is to say.
    d->alarm->rush();
    {
        std::unique_lock lock(d->mutex);
        d->idle.wait_for(lock, std::chrono::seconds(d->options.stopTimeout), [this] { return d->running == 0; });
    }
    // A connection must not sleep any more when the daemon ends: the pools finish what they have, which wakes it.
    d->giveUp = true;
    d->workers->stop();
    d->alarm->finish();
    d->readers->stop();
    MHD_stop_daemon(d->daemon);
    d->daemon = nullptr;
    d->alarm.reset();
}

std::uint16_t HttpServer::port() const
{
    return d->socket.port();
}

std::size_t HttpServer::running() const
{
    const std::lock_guard lock(d->mutex);
    return d->running;
}

void HttpServer::Private::scheduleWatch()
{
    const auto check = [this] {
        watch.cutOverdue();
        if (!stopping)
            scheduleWatch();
    };
    alarm->at(Alarm::Clock::now() + std::chrono::milliseconds(500), check);
}

void *HttpServer::Private::onTarget(void *, const char *target, MHD_Connection *)
{
    auto *exchange = new Exchange;
    exchange->target = target;
    return exchange;
}

void HttpServer::Private::onConnection(void *cls, MHD_Connection *connection, void **,
                                       MHD_ConnectionNotificationCode code)
{
    auto *self = static_cast<Private *>(cls);
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
        const auto *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        if (info)
            self->watch.opened(connection, info->connect_fd, self->options.headTimeout);
    } else {
        self->watch.closed(connection);
    }
}

void HttpServer::Private::onCompleted(void *cls, MHD_Connection *connection, void **requestState,
                                      MHD_RequestTerminationCode)
{
    auto *self = static_cast<Private *>(cls);
    const std::unique_ptr<Exchange> exchange(static_cast<Exchange *>(*requestState));
    *requestState = nullptr;
    self->watch.expect(connection, self->options.headTimeout);
    if (exchange)
        self->bodyBytes -= exchange->request.body.size();
    if (exchange && exchange->counted) {
        const std::lock_guard lock(self->mutex);
        if (--self->running == 0)
            self->idle.notify_all();
    }
}

MHD_Result HttpServer::Private::onRequest(void *cls, MHD_Connection *connection, const char *, const char *method,
                                          const char *, const char *data, std::size_t *size, void **requestState)
{
    auto *self = static_cast<Private *>(cls);
    auto *exchange = static_cast<Exchange *>(*requestState);
    if (!exchange)
        return MHD_NO;
    switch (exchange->stage) {
    case Exchange::Stage::Head:
        return self->head(connection, *exchange, method);
    case Exchange::Stage::Body:
        return self->body(connection, *exchange, data, size);
    case Exchange::Stage::Working:
        return self->send(connection, *exchange, std::move(exchange->answer));
    case Exchange::Stage::Answered:
        break;
    }
    return MHD_YES;
}

MHD_Result HttpServer::Private::head(MHD_Connection *connection, Exchange &exchange, const char *method)
{
    {
        const std::lock_guard lock(mutex);
        ++running;
        exchange.counted = true;
    }
    watch.expect(connection, options.bodyTimeout);
    if (stopping)
        return send(connection, exchange, refusal(503));

    Request &request = exchange.request;
    request.method = method;
    request.tls = !options.tlsCertificate.empty();
    MHD_get_connection_values(connection, MHD_HEADER_KIND, &collectHeader, &request);
    if (const auto *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS))
        request.peer = addressText(info->client_addr);

    if (!parseTarget(exchange.target, options.base, request)) {
        exchange.refused = 404;
    } else {
        exchange.match = router.find(request);
        if (!exchange.match.handler)
            exchange.refused = exchange.match.allowed.empty() ? 404 : 405;
    }
    // Strangers have nothing long to say.
    const bool stranger = exchange.refused != 0 || exchange.match.access == Access::Open;
    exchange.bodyLimit = stranger ? std::min(options.maxBody, options.maxOpenBody) : options.maxBody;

    const std::string &length = request.header("content-length");
    if (!length.empty()) {
        std::uint64_t bytes = 0;
        const auto [end, error] = std::from_chars(length.data(), length.data() + length.size(), bytes);
        if (error != std::errc() || end != length.data() + length.size())
            return send(connection, exchange, refusal(400));
        if (bytes > exchange.bodyLimit)
            return send(connection, exchange, refusal(413));
    }
    exchange.stage = Exchange::Stage::Body;
    return MHD_YES;
}

MHD_Result HttpServer::Private::body(MHD_Connection *connection, Exchange &exchange, const char *data,
                                     std::size_t *size)
{
    Request &request = exchange.request;
    if (*size > 0) {
        exchange.received += *size;
        if (exchange.received > exchange.bodyLimit)
            exchange.refused = 413;
        else if (exchange.refused == 0 && bodyBytes + *size > options.maxBodies)
            exchange.refused = 503;
        // What is refused is swallowed a while, so that its sender gets to read why.
        if (exchange.received > 2 * exchange.bodyLimit)
            return MHD_NO;
        if (exchange.refused == 0) {
            request.body.append(data, *size);
            bodyBytes += *size;
        }
        *size = 0;
        return MHD_YES;
    }
    watch.release(connection);
    if (exchange.refused == 405) {
        Response answer = Response::error(405, "method", "This address does not know that method.");
        answer.setHeader("Allow", exchange.match.allowed);
        return send(connection, exchange, std::move(answer));
    }
    if (exchange.refused != 0)
        return send(connection, exchange, refusal(exchange.refused));
    dispatch(connection, exchange);
    return MHD_YES;
}

void HttpServer::Private::dispatch(MHD_Connection *connection, Exchange &exchange)
{
    exchange.stage = Exchange::Stage::Working;
    exchange.client = exchange.request.peer + ' ' + exchange.request.header("arkvale-access");
    // Asleep first: a worker may be done before post() returns.
    MHD_suspend_connection(connection);
    if (!workers->post(exchange.client, [this, connection, &exchange] { work(connection, exchange); }))
        wake(connection, exchange, refusal(503));
}

void HttpServer::Private::work(MHD_Connection *connection, Exchange &exchange)
{
    Response answer;
    // Handlers report errors as values. What is thrown nevertheless, such as a failed allocation, ends this request
    // and no other.
    try {
        auto refused = gate ? gate(exchange.request, exchange.match.access) : std::nullopt;
        answer = refused ? std::move(*refused) : (*exchange.match.handler)(exchange.request);
    } catch (const std::exception &) {
        answer = Response::error(500, "internal", "The service failed to handle the request.");
    }
    if (answer.pending())
        wait(connection, exchange, answer);
    else
        wake(connection, exchange, std::move(answer));
}

void HttpServer::Private::wake(MHD_Connection *connection, Exchange &exchange, Response answer)
{
    exchange.answer = std::move(answer);
    MHD_resume_connection(connection);
}

void HttpServer::Private::wait(MHD_Connection *connection, Exchange &exchange, const Response &promise)
{
    // Whoever completes the promise and the alarm may both answer. The promise takes the first answer only, so the
    // alarm answers through it too.
    auto pending = promise.pending();
    auto otherwise = promise.otherwise();
    const std::string client = exchange.client;
    pending->whenComplete(
        [this, connection, &exchange](Response answer) { wake(connection, exchange, std::move(answer)); });
    const auto due = Alarm::Clock::now() + std::chrono::milliseconds(std::max(promise.pendingMilliseconds(), 0));
    alarm->at(due, [this, client, pending = std::move(pending), otherwise = std::move(otherwise)] {
        const auto answer = [pending, otherwise] { pending->complete(otherwise ? otherwise() : refusal(503)); };
        if (!workers->post(client, answer))
            pending->complete(refusal(503));
    });
}

MHD_Result HttpServer::Private::send(MHD_Connection *connection, Exchange &exchange, Response answer)
{
    watch.release(connection);
    exchange.stage = Exchange::Stage::Answered;
    MHD_Response *response = nullptr;
    if (answer.bodyProvider()) {
        auto reader = std::make_shared<BodyReader>(answer.bodyProvider(), answer.length(), *readers, exchange.client,
                                                   connection, giveUp);
        response = MHD_create_response_from_callback(answer.length(), BodyReader::pieceSize, &readBody,
                                                     new std::shared_ptr<BodyReader>(std::move(reader)), &freeBody);
    } else {
        auto *text = new std::string(answer.takeBody());
        response = MHD_create_response_from_buffer_with_free_callback_cls(text->size(), text->data(), &freeText, text);
    }
    if (!response)
        return MHD_NO;
    MHD_add_response_header(response, "Arkvale-Protocol", "1");
    MHD_add_response_header(response, "X-Content-Type-Options", "nosniff");
    bool cached = false;
    for (const auto &[name, value] : answer.headers()) {
        cached = cached || name == "Cache-Control";
        // A value that would break the head, such as one with a line feed, is refused by the library and left out.
        MHD_add_response_header(response, name.c_str(), value.c_str());
    }
    if (!cached)
        MHD_add_response_header(response, "Cache-Control", "no-store");
    if (stopping)
        MHD_add_response_header(response, "Connection", "close");
    const MHD_Result queued = MHD_queue_response(connection, static_cast<unsigned>(answer.status()), response);
    MHD_destroy_response(response);
    return queued;
}

} // namespace arkvale::service
