#include "Service.h"

#include "AccountRoutes.h"
#include "AccountStore.h"
#include "FileRoutes.h"
#include "Icons.h"
#include "LinkPages.h"
#include "Log.h"
#include "PartialCleaner.h"
#include "Secrets.h"
#include "Sessions.h"
#include "ShareRoutes.h"
#include "ShareStore.h"
#include "SharedItems.h"
#include "SignatureCheck.h"
#include "Site.h"
#include "TicketRoutes.h"
#include "TicketStore.h"
#include "TransferServer.h"
#include "UpdateRoutes.h"
#include "WebPage.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace arkvale::service {

namespace {

/// Held by the one service that runs on a data folder; the system lets go of it however the process ends.
class FolderLock
{
public:
    ~FolderLock()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }

    bool take(const std::string &folder, std::string *error)
    {
        m_fd = ::open((folder + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (m_fd >= 0 && ::flock(m_fd, LOCK_EX | LOCK_NB) == 0)
            return true;
        *error = m_fd >= 0 && errno == EWOULDBLOCK ? "Another service runs on " + folder + "."
                                                   : "Cannot write to " + folder + ": " + std::strerror(errno) + ".";
        return false;
    }

private:
    int m_fd = -1;
};

/// Empty when there is no such program.
std::string besideThisProgram(const std::string &name)
{
    std::error_code failure;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", failure).parent_path() / name;
    return !failure && ::access(program.c_str(), X_OK) == 0 ? program.string() : std::string();
}

} // namespace

struct Service::Parts
{
    explicit Parts(const ServiceOptions &options)
        : store(options.passwordCost)
    {
    }

    FolderLock lock;
    AccountStore store;
    std::unique_ptr<Sessions> sessions;
    std::unique_ptr<SignatureCheck> signatures;
    std::unique_ptr<Site> site;
    std::unique_ptr<Icons> icons;
    TicketStore tickets;
    std::map<std::string, TransferListener> listeners; ///< filled before the server starts
    std::unique_ptr<ShareStore> shares;
    std::shared_ptr<FileRoutes> files;
    std::unique_ptr<SharedItems> sharedItems;
    std::shared_ptr<TransferRuntime> runtime;
    std::vector<std::unique_ptr<TransferServer>> transfers;
    std::unique_ptr<PartialCleaner> cleaner;

    void registerShares(Router &router, const AccountServices &services, const std::string &dataFolder);
    std::optional<Response> ticketForShare(const std::string &user, const std::string &path, Ticket *ticket) const;
    bool startTransfers(const ServiceOptions &options, std::string *error);
    void startCleaner(std::chrono::seconds age);
    std::unique_ptr<HttpServer> http;
};

bool Service::Parts::startTransfers(const ServiceOptions &options, std::string *error)
{
    runtime = makeTransferRuntime();
    for (const SubCenterRecord &record : store.subCenters()) {
        TransferServerOptions transfer;
        transfer.host = options.transferListen.empty() ? options.http.listen : options.transferListen;
        transfer.port = record.transferPort;
        transfer.udp = options.udp;
        transfer.subCenterId = record.id;
        transfer.certificateFile = options.dataFolder + "/transfer.pem";
        // Clients may come with a port that holds for all sub-centers, so each listener serves the tickets of all:
        // what a ticket reaches stands in the ticket, whichever door it is shown at.
        const auto redeem = [this, id = record.id](const std::string &text) -> std::optional<TransferGrant> {
            const auto ticket = tickets.redeem(text, nowMs());
            if (!ticket)
                return std::nullopt;
            TransferGrant grant;
            grant.user = ticket->user;
            grant.subCenterId = id;
            grant.homeRoot = ticket->homeRoot;
            grant.folder = ticket->folder.substr(1);
            grant.onlyName = ticket->onlyName;
            grant.direction = ticket->direction == Ticket::Direction::Upload ? TransferGrant::Direction::Upload
                                                                             : TransferGrant::Direction::Download;
            if (!ticket->shareId.empty()) {
                grant.allowed = [this, user = ticket->user, share = ticket->shareId] {
                    return sharedItems->mayGoOn(user, share);
                };
            }
            grant.quotaFree = [this, user = ticket->user, center = ticket->subCenterId] {
                return static_cast<std::uint64_t>(site->storage(user, center).left());
            };
            grant.addUsed = [this, user = ticket->user, center = ticket->subCenterId](std::int64_t delta) {
                site->addUsed(user, center, delta);
            };
            return grant;
        };
        // A listener without a port of its own keeps the one that it had: clients that were logged in before a restart
        // go on with what they were told.
        const std::string portKey = "transfer-port-" + record.id;
        if (transfer.port == 0)
            transfer.port = static_cast<std::uint16_t>(std::strtoul(store.setting(portKey, "0").c_str(), nullptr, 10));
        auto server = std::make_unique<TransferServer>(runtime, transfer, redeem, &logLine);
        std::string why;
        bool started = server->start(why);
        if (!started && record.transferPort == 0 && transfer.port != 0) {
            transfer.port = 0;
            server = std::make_unique<TransferServer>(runtime, transfer, redeem, &logLine);
            started = server->start(why);
        }
        if (!started) {
            *error = "The transfer listener of sub-center \"" + record.id + "\" cannot be started: " + why;
            return false;
        }
        if (record.transferPort == 0)
            store.setSetting(portKey, std::to_string(server->port()));
        listeners[record.id] = {server->fingerprint(), server->port(), server->udpPort(),
                                [transfers = server.get()] { return transfers->issueUdpKey(); }};
        site->setTransferPort(record.id, server->port());
        transfers.push_back(std::move(server));
    }
    return true;
}

void Service::Parts::registerShares(Router &router, const AccountServices &services, const std::string &dataFolder)
{
    sharedItems = std::make_unique<SharedItems>(store, *shares, *site, *files);
    const auto accountBase = [address = services.address](const Request &request) {
        return address.accountBase(request);
    };
    registerShareRoutes(router, {store, *shares, *sharedItems, *files, *site, dataFolder + "/reports", accountBase});
    std::string key = store.setting("share-link-key", "");
    if (key.empty()) {
        key = randomHex(32);
        store.setSetting("share-link-key", key);
    }
    LinkPages::registerRoutes(router, std::make_shared<LinkPages>(*shares, *sharedItems, key));
}

std::optional<Response> Service::Parts::ticketForShare(const std::string &user, const std::string &path,
                                                       Ticket *ticket) const
{
    // "/MOUNT/ID" is the folder that holds the item, whatever else lies there; "/MOUNT/ID/NAME..." is in the item.
    const std::string mount = '/' + std::string(SharedItems::mountName) + '/';
    const std::string rest = path.compare(0, mount.size(), mount) == 0 ? path.substr(mount.size()) : std::string();
    const std::size_t slash = rest.find('/');
    const std::string inner = slash == std::string::npos ? "/" : rest.substr(slash);
    Share share;
    SharedItem item;
    Outcome outcome = sharedItems->find(user, rest.substr(0, slash), &share);
    if (outcome.ok())
        outcome = sharedItems->open(share, &item);
    if (outcome.ok() && (!item.reaches(inner) || ticket->direction != Ticket::Direction::Download))
        outcome = Outcome::failure(404, "no-share", "The share holds no such folder, or it is not to be changed.");
    // For a transfer that was under way the right to the files is what is missing, not the files.
    if (outcome.status == 404)
        return Response::error(403, outcome.word, "The files are not shared with this user any more.");
    if (!outcome.ok())
        return Response::error(outcome.status, outcome.word, outcome.message);
    ticket->shareId = share.id;
    ticket->homeRoot = item.homeRoot;
    ticket->folder = inner == "/" ? item.parentPath : (item.parentPath == "/" ? "" : item.parentPath) + inner;
    ticket->onlyName = inner == "/" ? item.name : std::string();
    return std::nullopt;
}

void Service::Parts::startCleaner(std::chrono::seconds age)
{
    const auto homes = [this] {
        std::vector<PartialCleaner::Home> list;
        for (const Home &home : store.homes()) {
            if (const auto root = site->userHome(home.user, home.subCenterId))
                list.push_back({*root, [this, home] { site->recount(home.user, home.subCenterId); }});
        }
        return list;
    };
    cleaner = std::make_unique<PartialCleaner>(runtime, homes, age);
}

Service::Service(ServiceOptions options)
    : m_options(std::move(options))
{
}

Service::~Service()
{
    stop();
}

bool Service::start(std::string *error)
{
    if (!initSecrets()) {
        *error = "The system has no source of random numbers.";
        return false;
    }
    std::error_code failure;
    if (std::filesystem::create_directories(m_options.dataFolder, failure))
        ::chmod(m_options.dataFolder.c_str(), 0700);
    auto parts = std::make_unique<Parts>(m_options);
    if (!parts->lock.take(m_options.dataFolder, error))
        return false;
    if (const StoreResult opened = parts->store.open(databaseFile(m_options.dataFolder)); !opened) {
        *error = opened.error;
        return false;
    }
    parts->sessions = std::make_unique<Sessions>(parts->store);
    parts->signatures = std::make_unique<SignatureCheck>(*parts->sessions);
    parts->site = std::make_unique<Site>(parts->store);
    parts->shares = std::make_unique<ShareStore>(parts->store);
    if (const StoreResult opened = parts->shares->open(); !opened) {
        *error = opened.error;
        return false;
    }
    parts->icons = std::make_unique<Icons>(m_options.dataFolder + "/icons");
    if (!parts->startTransfers(m_options, error))
        return false;

    Router router;
    const AccountServices services = {
        parts->store, *parts->sessions, *parts->site, *parts->icons, {m_options.publicUrl, m_options.http.base}};
    registerAccountRoutes(router, services);
    const auto findShared = [p = parts.get()](const std::string &user, const std::string &path, Ticket *ticket) {
        return p->ticketForShare(user, path, ticket);
    };
    registerTicketRoutes(router, services, parts->tickets, findShared, [p = parts.get()](const std::string &id) {
        const auto found = p->listeners.find(id);
        return found == p->listeners.end() ? TransferListener() : found->second;
    });
    registerUpdateRoutes(router, UpdateStore(updatesFolder(m_options.dataFolder)));
    registerWebPage(router);
    FileRoutes::Options files;
    files.thumbnailer = besideThisProgram("arkvale-thumbnailer");
    files.moved = [shares = parts->shares.get()](const UserHome &home, const std::string &from, const std::string &to) {
        shares->moved(home.user, home.subCenter, from, to);
    };
    files.gone = [shares = parts->shares.get()](const UserHome &home, const std::string &path) {
        shares->gone(home.user, home.subCenter, path);
    };
    parts->files = registerFileRoutes(router, *parts->site, files);
    parts->registerShares(router, services, m_options.dataFolder);
    parts->http = std::make_unique<HttpServer>(
        m_options.http, std::move(router),
        [p = parts.get()](Request &request, Access access) { return p->signatures->check(request, access); });
    if (!parts->http->start(error))
        return false;
    parts->site->recountAll();
    if (m_options.partialAge.count() > 0)
        parts->startCleaner(m_options.partialAge);
    m_parts = std::move(parts);
    return true;
}

void Service::stop()
{
    if (!m_parts)
        return;
    m_parts->files->stop();
    // No request can ask for a ticket any more when the transfers end.
    m_parts->http->stop();
    m_parts->cleaner.reset();
    for (const auto &transfer : m_parts->transfers)
        transfer->stop();
    m_parts->signatures->save();
    m_parts.reset();
}

std::uint16_t Service::port() const
{
    return m_parts->http->port();
}

nlohmann::json Service::addresses() const
{
    const std::string scheme = m_options.http.tlsCertificate.empty() ? "http://" : "https://";
    std::string host = m_options.http.listen;
    // What listens everywhere is reached here.
    if (host == "0.0.0.0" || host == "::")
        host = host == "::" ? "::1" : "127.0.0.1";
    if (host.find(':') != std::string::npos)
        host = '[' + host + ']';
    std::string base = m_options.publicUrl;
    if (base.empty())
        base = scheme + host + ':' + std::to_string(m_parts->http->port()) + m_options.http.base;
    nlohmann::json list = nlohmann::json::array();
    for (const SubCenterInfo &info : m_parts->site->subCenters())
        list.push_back({{"id", info.id},
                        {"name", info.name},
                        {"orv", base + "/sc/" + percentEncode(info.id)},
                        {"transferPort", info.transferPort},
                        {"udpPort", m_parts->listeners[info.id].udpPort}});
    return {{"http", base}, {"subCenters", list}};
}

} // namespace arkvale::service
