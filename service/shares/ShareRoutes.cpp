#include "ShareRoutes.h"

#include "CopyJob.h"
#include "Drive.h"
#include "ItemJson.h"
#include "JsonBody.h"
#include "RangedFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <sys/stat.h>

namespace arkvale::service {

namespace {

using nlohmann::json;

constexpr std::size_t kLongestPassword = 64;
constexpr std::size_t kMostIds = 10000;
constexpr std::size_t kMostPictures = 5 * 1024 * 1024; // bytes of Base64 text, all together
constexpr std::size_t kLongestText = 8 * 1024;
constexpr std::size_t kMostReports = 10000;

Response badRequest(const char *message)
{
    return Response::error(400, "bad-request", message);
}

Response refusal(const Outcome &outcome)
{
    return Response::error(outcome.status, outcome.word, outcome.message);
}

Response done(const StoreResult &result)
{
    return result ? Response::json(json::object()) : Response::error(503, "busy", result.error);
}

/// Handlers of the share routes: one function for each, with the body parsed and the share looked up.
class Routes
{
public:
    explicit Routes(ShareServices services)
        : s(std::move(services))
    {
    }

    Response create(const Request &request, const json &body, int kind) const;
    Response setPassword(const Request &request, const json &body) const;
    Response setUsers(const Request &request, const json &body) const;
    Response remove(const Request &request, const json &body) const;
    Response ignore(const Request &request, const json &body) const;
    Response report(const Request &request, const json &body) const;
    Response save(const Request &request, const json &body) const;
    Response findUsers(const Request &request) const;
    Response mine(const Request &request) const;
    Response toMe(const Request &request) const;
    Response list(const Request &request) const;
    Response realPath(const Request &request) const;
    Response file(const Request &request) const;

private:
    /// The share that the caller owns; its refusal otherwise.
    Outcome ownShare(const Request &request, const json &body, Share *share) const;
    /// The share and its item, opened, with a path in it.
    Outcome reach(const Request &request, const std::string &id, const std::string &path, Share *share,
                  SharedItem *item) const;
    Outcome usersOf(const Request &request, const json &body, std::vector<std::string> *users) const;
    /// For what takes its time: it ends when the share, or the user's part in it, ends.
    Permission permission(const std::string &user, const Share &share) const
    {
        return Permission([this, user, id = share.id] { return s.items.mayGoOn(user, id); });
    }
    std::string link(const Request &request, const Share &share) const;
    json record(const Request &request, const Share &share) const;
    Response records(const Request &request, const std::vector<Share> &shares) const;

    ShareServices s;
};

Outcome Routes::ownShare(const Request &request, const json &body, Share *share) const
{
    Outcome outcome = s.items.find(request.user, jsonText(body, "shareId").value_or(""), share);
    if (outcome.ok() && share->owner != request.user)
        outcome = Outcome::failure(404, "no-share", "There is no such share.");
    return outcome;
}

Outcome Routes::reach(const Request &request, const std::string &id, const std::string &path, Share *share,
                      SharedItem *item) const
{
    Outcome outcome = s.items.find(request.user, id, share);
    if (outcome.ok())
        outcome = s.items.open(*share, item);
    if (outcome.ok() && !item->reaches(path))
        outcome = Outcome::failure(404, "not-found", "The share holds no such file or folder.");
    return outcome;
}

Outcome Routes::usersOf(const Request &request, const json &body, std::vector<std::string> *users) const
{
    const auto named = jsonTexts(body, "shareTo");
    if (!named || named->empty() || named->size() > ShareStore::mostUsers)
        return Outcome::failure(400, "bad-request", "The request names no users, or too many.");
    for (const std::string &name : *named) {
        const auto account = s.accounts.account(name);
        if (!account || account->name == request.user)
            return Outcome::failure(404, "no-user", "There is no user \"" + name + "\" to share with.");
        users->push_back(account->name);
    }
    return {};
}

std::string Routes::link(const Request &request, const Share &share) const
{
    return share.isLink() ? s.accountBase(request) + "/s/" + share.token : std::string();
}

json Routes::record(const Request &request, const Share &share) const
{
    SharedItem item;
    if (!s.items.open(share, &item).ok())
        return nullptr;
    ContentTypes types;
    const auto type = share.isFolder ? ContentTypes::ofFolder() : types.ofFile(item.name);
    const bool own = share.owner == request.user;
    return {{"shareId", share.id},
            {"owner", share.owner},
            {"name", item.name},
            // Where it lies on the owner's drive is nobody else's business.
            {"path", own ? share.path : '/' + item.name},
            {"shareType", share.kind},
            {"isDir", share.isFolder ? 1 : 0},
            {"shareTime", share.time},
            {"contentType", type.contentType},
            {"icon", type.icon},
            {"size", item.stat.size},
            {"link", own ? link(request, share) : std::string()},
            {"password", own ? share.password : std::string()},
            {"shareTo", own ? share.users : std::vector<std::string>{request.user}},
            {"permission", share.permission},
            {"subCenterId", own ? share.subCenter : std::string()},
            {"authentification", true}};
}

Response Routes::records(const Request &request, const std::vector<Share> &shares) const
{
    json list = json::array();
    for (const Share &share : shares) {
        json told = record(request, share);
        if (!told.is_null())
            list.push_back(std::move(told));
    }
    return Response::json({{"share", list}});
}

Response Routes::create(const Request &request, const json &body, int kind) const
{
    const std::string &center = request.param("id");
    const auto path = jsonText(body, "path");
    if (!path || center.empty())
        return badRequest("The request names no path, or no sub-center.");
    const auto account = s.accounts.account(request.user);
    if (!account || !account->verified)
        return Response::error(403, "not-verified", "Only verified users share.");
    Share share;
    share.owner = account->name;
    share.subCenter = center;
    share.kind = kind;
    share.permission = jsonText(body, "permission").value_or("") == "save" ? "save" : "read";
    if (kind == Share::PasswordLink) {
        share.password = jsonText(body, "password").value_or("");
        if (share.password.empty() || share.password.size() > kLongestPassword)
            return badRequest("A password has 1 to 64 bytes.");
    }
    if (kind == Share::Users) {
        share.permission = "save";
        if (const Outcome users = usersOf(request, body, &share.users); !users.ok())
            return refusal(users);
    }
    UserHome home;
    std::vector<std::string> names;
    zpdt::FileStat stat;
    Outcome outcome = s.files.openHome(request.user, center, home);
    if (outcome.ok())
        outcome = findEntry(home, *path, names, stat);
    if (!outcome.ok())
        return refusal(outcome);
    if (names.empty())
        return Response::error(403, "home", "The whole drive cannot be shared.");
    share.path = drivePath(names);
    share.isFolder = stat.isFolder();
    share.fileId = stat.id;
    if (const StoreResult added = s.shares.add(&share); !added)
        return Response::error(429, "too-many", added.error);
    json answer = {{"shareId", share.id}};
    if (share.isLink())
        answer["link"] = link(request, share);
    return Response::json(answer);
}

Response Routes::setPassword(const Request &request, const json &body) const
{
    Share share;
    if (const Outcome outcome = ownShare(request, body, &share); !outcome.ok())
        return refusal(outcome);
    const std::string password = jsonText(body, "password").value_or("");
    if (share.kind != Share::PasswordLink || password.empty() || password.size() > kLongestPassword)
        return badRequest("This share takes no password, or the password has not 1 to 64 bytes.");
    return done(s.shares.setPassword(share.id, password));
}

Response Routes::setUsers(const Request &request, const json &body) const
{
    Share share;
    std::vector<std::string> users;
    Outcome outcome = ownShare(request, body, &share);
    if (outcome.ok() && share.isLink())
        outcome = Outcome::failure(400, "bad-request", "A link has no users.");
    if (outcome.ok())
        outcome = usersOf(request, body, &users);
    return outcome.ok() ? done(s.shares.setUsers(share.id, users)) : refusal(outcome);
}

Response Routes::remove(const Request &request, const json &body) const
{
    const auto ids = jsonTexts(body, "shareIds");
    if (!ids || ids->size() > kMostIds)
        return badRequest("The request names no shares, or too many.");
    std::vector<std::string> own;
    for (const std::string &id : *ids) {
        const auto share = s.shares.find(id);
        if (!share)
            continue;
        // All or none: half a list would leave the caller with a wrong picture.
        if (share->owner != request.user)
            return Response::error(404, "no-share", "There is no such share.");
        own.push_back(id);
    }
    return done(s.shares.remove(own));
}

Response Routes::ignore(const Request &request, const json &body) const
{
    Share share;
    const Outcome outcome = s.items.find(request.user, jsonText(body, "shareId").value_or(""), &share);
    return outcome.ok() ? done(s.shares.ignore(share.id, request.user)) : refusal(outcome);
}

Response Routes::report(const Request &request, const json &body) const
{
    Share share;
    const Outcome outcome = s.items.find(request.user, jsonText(body, "shareId").value_or(""), &share);
    if (!outcome.ok())
        return refusal(outcome);
    const auto reason = jsonText(body, "reason");
    const auto text = jsonText(body, "text");
    const auto pictures = jsonTexts(body, "pictures");
    std::size_t bytes = 0;
    for (const std::string &picture : pictures.value_or(std::vector<std::string>()))
        bytes += picture.size();
    if (!reason || reason->empty() || !text || !pictures || text->size() + reason->size() > kLongestText)
        return badRequest("A report has a reason, a text and pictures.");
    if (bytes > kMostPictures)
        return Response::error(413, "too-large", "The pictures are larger than 5 MiB.");

    namespace fs = std::filesystem;
    std::error_code failure;
    if (fs::create_directories(s.reportFolder, failure))
        ::chmod(s.reportFolder.c_str(), 0700);
    if (std::distance(fs::directory_iterator(s.reportFolder, failure), fs::directory_iterator()) >=
        static_cast<std::ptrdiff_t>(kMostReports))
        return Response::error(429, "too-many", "Nobody has read the reports so far.");
    const json told = {{"time", nowMs()},
                       {"reporter", request.user},
                       {"shareId", share.id},
                       {"owner", share.owner},
                       {"subCenter", share.subCenter},
                       {"path", share.path},
                       {"reason", *reason},
                       {"text", *text},
                       {"pictures", *pictures}};
    const std::string name = std::to_string(nowMs()) + '-' + randomHex(4);
    std::ofstream file(s.reportFolder + '/' + name + ".part", std::ios::binary);
    file << told.dump(1, ' ', false, json::error_handler_t::replace);
    file.close();
    if (!file.good())
        return Response::error(507, "no-space", "The report cannot be stored.");
    fs::rename(s.reportFolder + '/' + name + ".part", s.reportFolder + '/' + name + ".json", failure);
    return Response::json(json::object());
}

Response Routes::save(const Request &request, const json &body) const
{
    const auto path = jsonText(body, "path");
    const auto target = jsonText(body, "dest");
    Share share;
    SharedItem item;
    if (!path || !target)
        return badRequest("The request lacks a path, or one is not a text.");
    Outcome outcome = reach(request, jsonText(body, "shareId").value_or(""), *path, &share, &item);
    if (outcome.ok() && (*path == "/" || share.permission != "save" || share.owner == request.user))
        outcome = Outcome::failure(403, "denied", "This cannot be saved.");
    UserHome home;
    const std::string &center = request.param("id");
    if (outcome.ok())
        outcome = s.files.openHome(request.user, center.empty() ? share.subCenter : center, home);
    if (!outcome.ok())
        return refusal(outcome);
    return s.files.startJob(request.user, std::make_shared<CopyJob>(home, std::vector<std::string>{*path}, *target,
                                                                    item.parent, permission(request.user, share)));
}

Response Routes::findUsers(const Request &request) const
{
    const std::string &text = request.queryValue("text");
    const auto limit = static_cast<std::size_t>(request.queryNumber("limit", 1, 50, 20));
    json users = json::array();
    for (const Account &account : s.shares.findUsers(text, limit + 1)) {
        if (account.name == request.user || users.size() >= limit || account.restriction.holds(nowMs()))
            continue;
        users.push_back({{"username", account.name},
                         {"nickname", account.nickname},
                         {"icon", s.accountBase(request) + '/' +
                                      (account.icon.empty() ? "icons/user/" + percentEncode(account.name) + ".png"
                                                            : account.icon)}});
    }
    return Response::json({{"users", users}});
}

Response Routes::mine(const Request &request) const
{
    return records(request, s.shares.ofOwner(request.user, request.param("id")));
}

Response Routes::toMe(const Request &request) const
{
    return records(request, s.shares.toUser(request.user, request.param("id")));
}

Response Routes::list(const Request &request) const
{
    const std::string &path = request.queryValue("path");
    Share share;
    SharedItem item;
    Outcome outcome = reach(request, request.queryValue("shareId"), path, &share, &item);
    ContentTypes types;
    std::string body;
    if (outcome.ok() && path == "/") {
        ItemList list(types);
        list.add(item.name, '/' + item.name, item.stat);
        body = list.take();
    } else if (outcome.ok()) {
        outcome = Drive(item.parent, types).list(path, false, body);
    }
    return outcome.ok() ? Response::bytes(std::move(body), "application/json") : refusal(outcome);
}

Response Routes::realPath(const Request &request) const
{
    const std::string &path = request.queryValue("path");
    Share share;
    SharedItem item;
    const Outcome outcome = reach(request, request.queryValue("shareId"), path, &share, &item);
    if (!outcome.ok())
        return refusal(outcome);
    return Response::json(
        {{"userPath", '/' + std::string(SharedItems::mountName) + '/' + share.id}, {"filePath", path}});
}

Response Routes::file(const Request &request) const
{
    const std::string &path = request.queryValue("path");
    Share share;
    SharedItem item;
    const Outcome outcome = reach(request, request.queryValue("shareId"), path, &share, &item);
    if (!outcome.ok())
        return refusal(outcome);
    return sharedFile(request, item, path, false).onlyWhile(permission(request.user, share));
}

} // namespace

Response sharedFile(const Request &request, const SharedItem &item, const std::string &path, bool attach)
{
    ContentTypes types;
    zpdt::SafeFile file;
    zpdt::FileStat stat;
    const Outcome outcome = Drive(item.parent, types).openFile(path, file, stat);
    if (!outcome.ok())
        return refusal(outcome);
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::string tag = '"' + std::to_string(stat.modifiedNs) + '-' + std::to_string(stat.size) + '"';
    Response response = rangedFile(request, static_cast<int>(file.release()), stat.size, tag,
                                   attach ? "application/octet-stream" : types.ofFile(name).contentType);
    if (attach)
        response.setHeader("Content-Disposition", "attachment; filename*=UTF-8''" + percentEncode(name));
    return response;
}

void registerShareRoutes(Router &router, const ShareServices &services)
{
    const auto routes = std::make_shared<Routes>(services);
    const auto add = [&](const char *method, const std::string &name, const Handler &handler) {
        const Handler checked = [handler, context = &services.context](const Request &request) {
            if (!request.param("id").empty() && !context->subCenter(request.param("id")))
                return Response::error(404, "not-found", "There is no such sub-center.");
            return handler(request);
        };
        router.add(method, "/shares/" + name, checked);
        router.add(method, "/sc/{id}/shares/" + name, checked);
    };
    const auto post = [&](const std::string &name,
                          const std::function<Response(const Request &, const json &)> &handler) {
        add("POST", name, [handler](const Request &request) {
            const auto body = parseJsonObject(request.body);
            return body ? handler(request, *body) : badRequest("The body is not a JSON object.");
        });
    };
    const auto get = [&](const std::string &name, Response (Routes::*handler)(const Request &) const) {
        add("GET", name, [routes, handler](const Request &request) { return ((*routes).*handler)(request); });
    };
    const auto member = [&](Response (Routes::*handler)(const Request &, const json &) const) {
        return
            [routes, handler](const Request &request, const json &body) { return ((*routes).*handler)(request, body); };
    };
    const auto make = [&](int kind) {
        return [routes, kind](const Request &request, const json &body) { return routes->create(request, body, kind); };
    };
    post("public", make(Share::PublicLink));
    post("private", make(Share::PasswordLink));
    post("friends", make(Share::Users));
    post("password", member(&Routes::setPassword));
    post("users", member(&Routes::setUsers));
    post("remove", member(&Routes::remove));
    post("ignore", member(&Routes::ignore));
    post("report", member(&Routes::report));
    post("save", member(&Routes::save));
    get("find-users", &Routes::findUsers);
    get("mine", &Routes::mine);
    get("to-me", &Routes::toMe);
    get("list", &Routes::list);
    get("real-path", &Routes::realPath);
    get("file", &Routes::file);
}

} // namespace arkvale::service
