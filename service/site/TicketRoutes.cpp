#include "TicketRoutes.h"

#include "JsonBody.h"
#include "Router.h"
#include "Secrets.h"
#include "SharedItems.h"
#include "Site.h"
#include "TicketStore.h"

#include <algorithm>

namespace arkvale::service {

std::string cleanDrivePath(const std::string &path)
{
    if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos)
        return {};
    std::string clean;
    std::size_t from = 1;
    while (from < path.size()) {
        const std::size_t slash = std::min(path.find('/', from), path.size());
        const std::string name = path.substr(from, slash - from);
        if (name.empty() || name == "." || name == "..")
            return {};
        clean += '/' + name;
        from = slash + 1;
    }
    return clean.empty() ? "/" : clean;
}

namespace {

/// The caller's own drive as the ticket's; the refusal when there is none.
std::optional<Response> findHome(const AccountServices &services, const Request &request, Ticket *ticket)
{
    switch (services.site.findHome(request.user, request.param("id"), &ticket->homeRoot)) {
    case Site::HomeState::None:
        return Response::error(404, "no-home", "The user has no home here.");
    case Site::HomeState::Offline:
        return Response::error(503, "offline", "The sub-center's storage is not available.");
    case Site::HomeState::Ready:
        break;
    }
    return std::nullopt;
}

} // namespace

void registerTicketRoutes(Router &router, const AccountServices &services, TicketStore &tickets, FindShared shared,
                          std::function<TransferListener(const std::string &)> listener)
{
    const Handler handler = [services, &tickets, shared, listener](const Request &request) {
        // Downloads of shared files name no sub-center; any listener serves them.
        const bool forShare = request.param("id") == "share" && !services.site.subCenters().empty();
        const std::string id = forShare ? services.site.subCenters().front().id : request.param("id");
        const auto body = parseJsonObject(request.body);
        const auto direction = body ? jsonText(*body, "direction") : std::nullopt;
        const std::string folder = cleanDrivePath(body ? jsonText(*body, "path").value_or("") : "");
        if (!direction || (*direction != "upload" && *direction != "download") || folder.empty())
            return Response::error(400, "bad-request", "The ticket needs a direction and the path of a folder.");
        const auto center = services.site.subCenter(id);
        if (!center)
            return Response::error(404, "not-found", "There is no such sub-center.");
        Ticket ticket;
        ticket.direction = *direction == "upload" ? Ticket::Direction::Upload : Ticket::Direction::Download;
        ticket.folder = folder;
        const std::string mount = '/' + std::string(SharedItems::mountName) + '/';
        if (forShare || folder.compare(0, mount.size(), mount) == 0) {
            if (const auto refusal = shared(request.user, folder, &ticket))
                return *refusal;
        } else if (const auto refusal = findHome(services, request, &ticket)) {
            return *refusal;
        }
        const TransferListener server = listener(id);
        if (server.port == 0)
            return Response::error(503, "offline", "The sub-center moves no files now.");
        ticket.user = request.user;
        ticket.subCenterId = id;
        const std::int64_t now = nowMs();
        const std::string text = tickets.issue(std::move(ticket), now);
        if (text.empty())
            return Response::error(429, "too-many", "Too many tickets wait for their use.");
        nlohmann::json answer = {
            {"ticket", text},
            {"expires", now + TicketStore::lifetimeMs},
            {"fingerprint", server.fingerprint},
            {"host", center->transferHost.empty() ? services.address.host(request) : center->transferHost},
            {"port", server.port}};
        const std::string key = server.udpPort != 0 ? server.udpKey() : std::string();
        if (!key.empty()) {
            answer["udpPort"] = server.udpPort;
            answer["udpKey"] = key;
        }
        return Response::json(answer);
    };
    router.add("POST", "/sc/{id}/transfer-tickets", handler, Access::Transfer);
}

} // namespace arkvale::service
