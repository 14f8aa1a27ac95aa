#include "TransferServer.h"

#include "AddressLimits.h"
#include "Context.h"
#include "DiscardStream.h"
#include "DiskHints.h"
#include "NameRules.h"
#include "Session.h"
#include "StreamReceiver.h"
#include "StreamSender.h"
#include "TargetTree.h"
#include "TcpChannel.h"
#include "TlsIdentity.h"
#include "UdpListener.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <future>
#include <map>
#include <mutex>
#include <set>
#include <utility>

namespace arkvale::service {

using asio::ip::tcp;

namespace {

/// For a connection that has not shown a single good ticket yet.
constexpr auto kProveTime = std::chrono::seconds(30);
constexpr auto kStopTime = std::chrono::seconds(5);
constexpr auto kAcceptPause = std::chrono::milliseconds(200);
constexpr unsigned kMostBadTickets = 8;
constexpr auto kLookPause = std::chrono::seconds(1);
/// New connections of one address; each costs a handshake.
constexpr double kNewPerSecond = 30;

} // namespace

class TransferRuntime
{
public:
    explicit TransferRuntime(unsigned diskThreads)
        : context(diskThreads)
    {
    }
    /// On the I/O thread.
    std::shared_ptr<zpdt::Reservations> reservationsOf(const std::string &homeRoot)
    {
        for (auto it = reservations.begin(); it != reservations.end();)
            it = it->second.expired() ? reservations.erase(it) : std::next(it);
        auto found = reservations[homeRoot].lock();
        if (!found)
            reservations[homeRoot] = found = std::make_shared<zpdt::Reservations>();
        return found;
    }

    /// By home; a user's streams share theirs, whichever listeners they came
    /// through.
    std::map<std::string, std::weak_ptr<zpdt::Reservations>> reservations;
    const std::shared_ptr<zpdt::UdpKeys> udpKeys = std::make_shared<zpdt::UdpKeys>();
    zpdt::Context context;
};

std::shared_ptr<TransferRuntime> makeTransferRuntime(unsigned diskThreads)
{
    // Every stream has the folders in use open, and its large files.
    zpdt::allowManyFiles();
    return std::make_shared<TransferRuntime>(diskThreads);
}

/// Everything on the I/O thread; the server's functions post to it. Kept alive by what is under way.
struct TransferServer::Private : std::enable_shared_from_this<TransferServer::Private>
{
    struct Peer
    {
        explicit Peer(zpdt::Context &context)
            : proveTimer(context.io())
        {
        }
        std::shared_ptr<zpdt::Session> session;
        std::string address;
        asio::steady_timer proveTimer;
        bool proven = false;
        unsigned badTickets = 0;
    };

    Private(TransferRuntime &sharedRuntime, TransferServerOptions wanted, Redeem redeemTicket, Log logLine)
        : runtime(sharedRuntime)
        , context(runtime.context)
        , options(std::move(wanted))
        , redeem(std::move(redeemTicket))
        , log(std::move(logLine))
        , acceptor(context.io())
        , acceptTimer(context.io())
        , addresses(options.maxConnectionsPerAddress, kNewPerSecond)
        , lookTimer(context.io())
    {
    }

    void say(const std::string &line)
    {
        if (log)
            log(line);
    }

    bool listen(std::string &error);
    void accept();
    void listenUdp();
    void welcome(std::shared_ptr<zpdt::Channel> channel, const std::string &address);
    bool dropUnproven(const std::string &address);
    void gone(std::uint64_t number);
    std::shared_ptr<zpdt::SessionStream> open(std::uint64_t number, std::uint32_t id, const zpdt::OpenMessage &message);
    std::shared_ptr<zpdt::StreamBase> makeStream(zpdt::Session &session, const zpdt::OpenMessage &message,
                                                 const TransferGrant &grant);
    void streamGone(const std::string &user);
    void lookSoon(std::chrono::milliseconds pause);
    void look();
    void looked(const std::vector<std::weak_ptr<zpdt::StreamBase>> &over);
    void shutDown();
    void tellWhenIdle();

    // Not an owner of the runtime: the last owner of this may be its own thread.
    TransferRuntime &runtime;
    zpdt::Context &context;
    const TransferServerOptions options;
    const Redeem redeem;
    const Log log;
    zpdt::TlsIdentity identity;
    tcp::acceptor acceptor;
    asio::steady_timer acceptTimer;
    std::unique_ptr<zpdt::UdpListener> udp;
    std::uint16_t port = 0;
    std::uint16_t udpPort = 0;
    bool stopping = false;
    bool started = false;

    std::map<std::uint64_t, std::shared_ptr<Peer>> peers;
    std::uint64_t lastNumber = 0;
    AddressLimits addresses;
    std::map<std::string, unsigned> streamsPerUser;
    std::size_t streams = 0;

    /// What may be taken back from a stream while it runs.
    struct Watched
    {
        std::weak_ptr<zpdt::StreamBase> stream;
        std::function<bool()> allowed;
    };
    std::vector<Watched> watched;
    asio::steady_timer lookTimer;
    bool looking = false; ///< a disk thread is asking

    std::mutex idleMutex;
    std::condition_variable idleChanged;
    bool idle = false; ///< guarded by idleMutex
};

bool TransferServer::Private::listen(std::string &error)
{
    std::error_code failed;
    const auto address = asio::ip::make_address(options.host, failed);
    if (failed) {
        error = "not an address: " + options.host;
        return false;
    }
    const tcp::endpoint endpoint(address, options.port);
    acceptor.open(endpoint.protocol(), failed);
    if (!failed) {
        std::error_code ignored;
        acceptor.set_option(tcp::acceptor::reuse_address(true), ignored);
        acceptor.bind(endpoint, failed);
    }
    if (!failed)
        acceptor.listen(256, failed);
    if (failed) {
        error = "cannot listen on " + options.host + ":" + std::to_string(options.port) + ": " + failed.message();
        std::error_code ignored;
        acceptor.close(ignored);
        return false;
    }
    port = acceptor.local_endpoint(failed).port();
    return true;
}

void TransferServer::Private::listenUdp()
{
    udp = std::make_unique<zpdt::UdpListener>(context, identity, runtime.udpKeys,
                                              [weak = weak_from_this()](std::shared_ptr<zpdt::UdpChannel> channel) {
                                                  const auto self = weak.lock();
                                                  if (!self || self->stopping)
                                                      return;
                                                  const std::string address = channel->peer();
                                                  self->welcome(std::move(channel), address);
                                              });
    // Without UDP the service is slower over long lines, and works.
    std::string why;
    if (udp->listen(options.host, port, why) || udp->listen(options.host, 0, why))
        udpPort = udp->port();
    else
        say("transfer: no UDP: " + why);
}

void TransferServer::Private::accept()
{
    acceptor.async_accept([self = shared_from_this()](std::error_code failed, tcp::socket socket) {
        if (self->stopping)
            return;
        if (!failed) {
            const auto remote = socket.remote_endpoint(failed);
            if (!failed)
                self->welcome(
                    zpdt::TcpChannel::accepted(self->context, std::move(socket), self->identity.serverContext()),
                    remote.address().to_string());
            return self->accept();
        }
        // Out of descriptors, most likely. The ones in use go on.
        self->acceptTimer.expires_after(kAcceptPause);
        self->acceptTimer.async_wait([self](std::error_code stopped) {
            if (!stopped && !self->stopping)
                self->accept();
        });
    });
}

void TransferServer::Private::welcome(std::shared_ptr<zpdt::Channel> channel, const std::string &address)
{
    if (!addresses.enter(address))
        return;
    // Whoever has shown a ticket stays; of the others the oldest makes room, so that nobody is locked out by
    // connections that are opened and left.
    if ((addresses.tooMany(address) && !dropUnproven(address)) ||
        (peers.size() >= options.maxConnections && !dropUnproven({})))
        return addresses.leave(address);
    const std::uint64_t number = ++lastNumber;
    auto peer = std::make_shared<Peer>(context);
    peer->address = address;
    const std::weak_ptr<Private> weak = weak_from_this();
    zpdt::Session::Handler handler;
    handler.onClosed = [weak, number](zpdt::Error, const std::string &) {
        if (const auto self = weak.lock())
            self->gone(number);
    };
    handler.onOpen = [weak, number](std::uint32_t id,
                                    const zpdt::OpenMessage &message) -> std::shared_ptr<zpdt::SessionStream> {
        const auto self = weak.lock();
        return self ? self->open(number, id, message) : nullptr;
    };
    peer->session = std::make_shared<zpdt::Session>(context, std::move(channel), zpdt::Session::Role::Server,
                                                    "arkvale-service", std::move(handler));
    peer->session->setSendGoal({options.maxSendBytesPerSecond});
    peer->session->setReceiveGoal({options.maxReceiveBytesPerSecond});
    peers[number] = peer;
    peer->proveTimer.expires_after(kProveTime);
    peer->proveTimer.async_wait([weak, number](std::error_code stopped) {
        const auto self = weak.lock();
        if (!self || stopped)
            return;
        const auto found = self->peers.find(number);
        if (found != self->peers.end() && !found->second->proven)
            found->second->session->close(zpdt::Error::Refused, "no ticket was shown");
    });
    peer->session->start();
}

/// @param address empty: of any
bool TransferServer::Private::dropUnproven(const std::string &address)
{
    for (const auto &peer : peers) {
        if (peer.second->proven || (!address.empty() && peer.second->address != address))
            continue;
        const auto session = peer.second->session;
        session->close(zpdt::Error::Refused, "too many connections");
        return true;
    }
    return false;
}

void TransferServer::Private::gone(std::uint64_t number)
{
    const auto found = peers.find(number);
    if (found == peers.end())
        return;
    found->second->proveTimer.cancel();
    addresses.leave(found->second->address);
    peers.erase(found);
    tellWhenIdle();
}

std::shared_ptr<zpdt::SessionStream> TransferServer::Private::open(std::uint64_t number, std::uint32_t id,
                                                                   const zpdt::OpenMessage &message)
{
    const auto peer = peers.at(number);
    zpdt::Session &session = *peer->session;
    const auto refuse = [&](const std::string &reason) {
        session.refuse(id, zpdt::Error::Refused, reason);
        return nullptr;
    };
    if (stopping)
        return refuse("the service is stopping");
    const std::optional<TransferGrant> grant = redeem(message.ticket);
    if (!grant) {
        say("transfer: a ticket that is not valid, from " + peer->address);
        refuse("the ticket is not valid");
        if (++peer->badTickets >= kMostBadTickets)
            session.close(zpdt::Error::Refused, "too many tickets that are not valid");
        return nullptr;
    }
    const bool upload = grant->direction == TransferGrant::Direction::Upload;
    if (grant->subCenterId != options.subCenterId || upload == (message.direction == zpdt::Direction::Download))
        return refuse("the ticket is for something else");
    if (streamsPerUser[grant->user] >= options.maxStreamsPerUser)
        return refuse("too many transfers at once");
    peer->proven = true;
    auto stream = makeStream(session, message, *grant);
    stream->setId(id);
    ++streamsPerUser[grant->user];
    ++streams;
    // This object lives as long as a stream does, so that stop() can wait for it.
    stream->onGone = [self = shared_from_this(), user = grant->user] { self->streamGone(user); };
    session.send(zpdt::emptyFrame(id, zpdt::Msg::Opened));
    if (grant->allowed) {
        watched.push_back({stream, grant->allowed});
        lookSoon(std::chrono::milliseconds(0));
    }
    return stream;
}

std::shared_ptr<zpdt::StreamBase> TransferServer::Private::makeStream(zpdt::Session &session,
                                                                      const zpdt::OpenMessage &message,
                                                                      const TransferGrant &grant)
{
    const bool upload = grant.direction == TransferGrant::Direction::Upload;
    const auto opener = [home = grant.homeRoot, path = grant.folder](bool make, zpdt::SafeFolder &folder) {
        zpdt::SafeFolder root;
        std::vector<std::string> names;
        if (!zpdt::splitPath(path, names))
            return zpdt::FileResult{zpdt::FileError::BadName, 0};
        const std::string below = zpdt::joinPath(names);
        zpdt::FileResult result = zpdt::SafeFolder::open(home, root);
        if (result.ok() && make)
            result = root.mkdirs(below);
        return result.ok() ? root.openFolder(below, folder) : result;
    };
    const auto lookUp = [opener](zpdt::SafeFolder &folder) { return opener(false, folder); };
    if (!upload) {
        zpdt::StreamSender::Source source;
        source.open = lookUp;
        source.excludedSuffixes = message.excludedSuffixes;
        source.resumed = message.resumed;
        source.wanted = true;
        source.only = grant.onlyName;
        return std::make_shared<zpdt::StreamSender>(session, std::move(source), zpdt::StreamCallbacks());
    }
    std::vector<std::string> names;
    (void)zpdt::splitPath(grant.folder, names);
    const std::string key = names.empty() ? grant.homeRoot : grant.homeRoot + '/' + zpdt::joinPath(names);
    if (message.direction == zpdt::Direction::Discard)
        return std::make_shared<zpdt::DiscardStream>(session, zpdt::DiscardStream::Target{lookUp, key, grant.addUsed});
    zpdt::StreamReceiver::Target target;
    target.open = [opener](zpdt::SafeFolder &folder) { return opener(true, folder); };
    target.key = key;
    target.limits.freeBytes = grant.quotaFree;
    target.limits.addUsed = grant.addUsed;
    target.limits.reservations = runtime.reservationsOf(grant.homeRoot);
    target.limits.lookUp = lookUp;
    target.resumed = message.resumed;
    target.verify = message.verify;
    auto receiver = std::make_shared<zpdt::StreamReceiver>(session, std::move(target), zpdt::StreamCallbacks());
    receiver->begin();
    return receiver;
}

void TransferServer::Private::streamGone(const std::string &user)
{
    --streams;
    if (--streamsPerUser[user] == 0)
        streamsPerUser.erase(user);
    tellWhenIdle();
}

void TransferServer::Private::lookSoon(std::chrono::milliseconds pause)
{
    if (looking || stopping)
        return;
    lookTimer.expires_after(pause);
    lookTimer.async_wait([weak = weak_from_this()](std::error_code stopped) {
        const auto self = weak.lock();
        if (self && !stopped && !self->looking)
            self->look();
    });
}

void TransferServer::Private::look()
{
    const auto isOver = [](const Watched &one) {
        const auto stream = one.stream.lock();
        return !stream || stream->hasEnded();
    };
    watched.erase(std::remove_if(watched.begin(), watched.end(), isOver), watched.end());
    if (watched.empty() || stopping)
        return;
    looking = true;
    asio::post(context.disk(), [self = shared_from_this(), list = watched]() mutable {
        std::vector<std::weak_ptr<zpdt::StreamBase>> over;
        for (const Watched &one : list) {
            if (!one.allowed())
                over.push_back(one.stream);
        }
        // The last owner of this goes on the I/O thread, hence the move.
        asio::io_context &io = self->context.io();
        asio::post(io, [self = std::move(self), over = std::move(over)] { self->looked(over); });
    });
}

void TransferServer::Private::looked(const std::vector<std::weak_ptr<zpdt::StreamBase>> &over)
{
    looking = false;
    for (const auto &weak : over) {
        if (const auto stream = weak.lock())
            stream->stop(zpdt::Error::Refused, "the files are not shared with this user any more", false);
    }
    if (!watched.empty())
        lookSoon(kLookPause);
}

void TransferServer::Private::shutDown()
{
    stopping = true;
    lookTimer.cancel();
    std::error_code ignored;
    acceptor.close(ignored);
    acceptTimer.cancel();
    if (udp)
        udp->close();
    const auto open = peers;
    for (const auto &peer : open)
        peer.second->session->close(zpdt::Error::Network, "the service is stopping");
    tellWhenIdle();
}

void TransferServer::Private::tellWhenIdle()
{
    if (!stopping || streams > 0 || !peers.empty())
        return;
    std::lock_guard<std::mutex> lock(idleMutex);
    idle = true;
    idleChanged.notify_all();
}

std::uint64_t removeOldPartials(TransferRuntime &runtime, const std::string &homeRoot, std::int64_t unchangedSinceNs,
                                const std::function<bool()> &stop)
{
    zpdt::SafeFolder home;
    if (!zpdt::SafeFolder::open(homeRoot, home).ok())
        return 0;
    zpdt::DiscardRules rules;
    rules.active = &runtime.context.activeFiles();
    rules.key = homeRoot;
    rules.unchangedSinceNs = unchangedSinceNs;
    rules.stop = stop;
    return zpdt::discardAllPartial(home, rules).bytes;
}

TransferServer::TransferServer(std::shared_ptr<TransferRuntime> runtime, TransferServerOptions options, Redeem redeem,
                               Log log)
    : m_runtime(std::move(runtime))
    , d(std::make_shared<Private>(*m_runtime, std::move(options), std::move(redeem), std::move(log)))
{
}

TransferServer::~TransferServer()
{
    stop();
}

bool TransferServer::start(std::string &error)
{
    if (d->started || !d->identity.load(d->options.certificateFile, error))
        return false;
    std::promise<bool> listening;
    d->context.post([&] {
        const bool good = d->listen(error);
        if (good)
            d->accept();
        if (good && d->options.udp)
            d->listenUdp();
        listening.set_value(good);
    });
    d->started = listening.get_future().get();
    return d->started;
}

void TransferServer::stop()
{
    if (!d->started)
        return;
    d->started = false;
    d->context.post([self = d] { self->shutDown(); });
    std::unique_lock<std::mutex> lock(d->idleMutex);
    d->idleChanged.wait_for(lock, kStopTime, [this] { return d->idle; });
}

std::uint16_t TransferServer::port() const
{
    return d->port;
}

std::uint16_t TransferServer::udpPort() const
{
    return d->udpPort;
}

std::string TransferServer::issueUdpKey() const
{
    return d->udpPort == 0 ? std::string() : m_runtime->udpKeys->issue();
}

std::string TransferServer::fingerprint() const
{
    return d->identity.fingerprint();
}

} // namespace arkvale::service
