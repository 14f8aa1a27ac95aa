#include "AccountRoutes.h"

#include "AccountStore.h"
#include "Icons.h"
#include "JsonBody.h"
#include "Log.h"
#include "Router.h"
#include "Sessions.h"
#include "Site.h"

#include <algorithm>
#include <cstdlib>

namespace arkvale::service {

namespace {

using nlohmann::json;

constexpr std::size_t longestPassword = 1024;

Response badRequest(const char *message)
{
    return Response::error(400, "bad-request", message);
}

json violationOf(const Restriction &restriction)
{
    return {{"violation",
             {{"reason", restriction.reason},
              {"effectTime", isoTime(restriction.effectTime)},
              {"duration", std::to_string(restriction.duration < 0 ? -1 : restriction.duration)}}}};
}

Response sessionAnswer(const AccountServices &services, const LoginOutcome &outcome)
{
    // Any transfer listener of this process takes any ticket, so the first one's port does for all sub-centers.
    std::uint16_t port = 0;
    for (const SubCenterInfo &info : services.site.subCenters())
        port = port == 0 ? info.transferPort : port;
    return Response::json({{"username", outcome.session.user},
                           {"access_id", outcome.session.accessId},
                           {"access_token", outcome.session.accessToken},
                           {"asperauser", outcome.session.transferId},
                           {"asperapasswd", base64(outcome.session.transferToken)},
                           {"asperatcpport", std::to_string(port)},
                           {"authentication", outcome.account.verified}});
}

Response loginAnswer(const AccountServices &services, const std::string &name, const std::string &peer,
                     const LoginOutcome &outcome)
{
    switch (outcome.kind) {
    case LoginOutcome::Kind::Ok:
        logLine("login of \"" + outcome.account.name + "\" from " + peer);
        return sessionAnswer(services, outcome);
    case LoginOutcome::Kind::Wrong: {
        logLine("failed login as \"" + name + "\" from " + peer);
        const auto answer = [] { return Response::error(401, "login", "Wrong user name or password."); };
        return outcome.pauseMs == 0 ? answer() : Response::after(outcome.pauseMs, answer);
    }
    case LoginOutcome::Kind::TooMany:
        return Response::error(429, "too-many", "Too many failed logins.").setHeader("Retry-After", "900");
    case LoginOutcome::Kind::Busy:
        return Response::error(429, "busy", "Too many logins at once.").setHeader("Retry-After", "2");
    case LoginOutcome::Kind::Restricted:
        if (outcome.account.restriction.kind == Restriction::Kind::Violation)
            return Response::json(violationOf(outcome.account.restriction));
        return Response::error(403, "restricted", "The account is restricted.");
    case LoginOutcome::Kind::Failed:
        break;
    }
    logLine("the session of \"" + name + "\" cannot be stored");
    return Response::error(503, "busy", "The session cannot be stored.");
}

Response login(const AccountServices &services, const Request &request, const char *secretKey)
{
    const auto body = parseJsonObject(request.body);
    const auto name = body ? jsonText(*body, "username") : std::nullopt;
    const auto secret = body ? jsonText(*body, secretKey) : std::nullopt;
    if (!name || !secret)
        return badRequest("The login names no user or secret.");
    // Nobody can have these, so there is nothing to guess by trying them.
    if (!isUserName(*name) || secret->size() > longestPassword)
        return Response::error(401, "login", "Wrong user name or password.");
    const bool byToken = std::string(secretKey) == "token";
    const LoginOutcome outcome = byToken ? services.sessions.loginWithToken(*name, *secret, request.peer)
                                         : services.sessions.login(*name, *secret, request.peer);
    return loginAnswer(services, *name, request.peer, outcome);
}

Response subCenterList(const AccountServices &services, const Request &request)
{
    const std::string base = services.address.accountBase(request);
    json list = json::array();
    for (const SubCenterInfo &info : services.site.subCenters()) {
        const std::string host = info.transferHost.empty() ? services.address.host(request) : info.transferHost;
        json servers = json::array();
        if (info.transferPort != 0)
            servers.push_back({{"ip", host}, {"port", std::to_string(info.transferPort)}});
        list.push_back({{"id", info.id},
                        {"name", info.name},
                        {"orv", base + "/sc/" + percentEncode(info.id)},
                        {"icon", base + '/' + info.icon},
                        {"udtServer", servers},
                        {"asperaServer", servers}});
    }
    return Response::json({{"subCenters", list}});
}

Response limits(const AccountServices &services)
{
    const auto speed = [&](const char *key) -> std::int64_t {
        return std::strtoll(services.store.setting(key, "131072").c_str(), nullptr, 10);
    };
    return Response::json(
        {{"transferTypes", {{"default", "ZPDT"}, {"ZPDT", "ZPDT"}}},
         {"available", true},
         {"transferRateLimit", {{"upload", speed("limit-upload")}, {"download", speed("limit-download")}}}});
}

Response advertisements(const AccountServices &services, const Request &request)
{
    json list = json::array();
    for (const AdvertisementRecord &record : services.store.advertisements(request.queryValue("lang")))
        list.push_back({{"postTime", record.postTime},
                        {"title", record.title},
                        {"jumpLink", record.jumpLink},
                        {"content", record.content}});
    return Response::json({{"ads", list}});
}

/// A user's own records only: those of other users are nobody's business.
std::optional<Response> refuseStranger(const Request &request)
{
    if (request.param("name") == request.user)
        return std::nullopt;
    return Response::error(403, "forbidden", "This is another user's.");
}

Response profile(const AccountServices &services, const Request &request)
{
    const auto account = services.store.account(request.param("name"));
    if (!account)
        return Response::error(404, "not-found", "There is no such user.");
    const std::string icon =
        account->icon.empty() ? "icons/user/" + percentEncode(account->name) + ".png" : account->icon;
    json told = {{"username", account->name},
                 {"nickname", account->nickname},
                 {"icon", services.address.accountBase(request) + '/' + icon}};
    // Who shares with others is known to them by name and face; the rest is nobody's business.
    if (account->name == request.user) {
        told["mobile"] = account->mobile;
        told["email"] = account->email;
        told["path"] = "/";
    }
    return Response::json(told);
}

Response storage(const AccountServices &services, const Request &request)
{
    if (auto refusal = refuseStranger(request))
        return std::move(*refusal);
    const std::string &wanted = request.param("id");
    StorageUse sum;
    bool any = false;
    for (const SubCenterInfo &info : services.site.subCenters()) {
        if (!wanted.empty() && info.id != wanted)
            continue;
        const bool home = services.store.home(request.user, info.id).has_value();
        const StorageUse use = home ? services.site.storage(request.user, info.id) : StorageUse();
        any = any || home;
        sum.used += use.used;
        sum.quota += use.quota;
    }
    if (!any && !wanted.empty())
        return Response::error(404, "no-home", "The user has no home here.");
    return Response::json({{"storage", {{"used", sum.used}, {"quota", sum.quota}}}});
}

Response homePath(const AccountServices &services, const Request &request)
{
    if (auto refusal = refuseStranger(request))
        return std::move(*refusal);
    std::string path;
    switch (services.site.findHome(request.user, request.param("id"), &path)) {
    case Site::HomeState::Ready:
        return Response::json({{"path", "/"}});
    case Site::HomeState::None:
        return Response::error(404, "no-home", "The user has no home here.");
    case Site::HomeState::Offline:
        break;
    }
    // Not 404: a client takes that as final and would not ask again once the disk is back.
    return Response::error(503, "offline", "The sub-center's storage is not available.").setHeader("Retry-After", "10");
}

Response webToken(const AccountServices &services, const Request &request)
{
    const auto token = services.sessions.makeWebToken(request.user);
    if (!token)
        return Response::error(429, "too-many", "Too many tokens wait for their use.");
    return Response::json({{"token", *token}, {"expires", nowMs() + Sessions::webTokenMs}});
}

Response logout(const AccountServices &services, const Request &request)
{
    if (!services.sessions.logout(request.accessId))
        return Response::error(503, "busy", "The session cannot be ended now.");
    return Response::json(json::object());
}

Response icon(const AccountServices &services, const Request &request)
{
    auto png = services.icons.png(request.param("name"));
    if (!png)
        return Response::error(404, "not-found", "There is no such icon.");
    return Response::bytes(std::move(*png), "image/png").setHeader("Cache-Control", "public, max-age=3600");
}

bool isHostText(const std::string &host)
{
    return !host.empty() && host.size() < 256 && std::all_of(host.begin(), host.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' || c == '-' ||
               c == ':' || c == '[' || c == ']';
    });
}

} // namespace

std::string PublicAddress::accountBase(const Request &request) const
{
    if (!url.empty())
        return url;
    const std::string &named = request.header("host");
    return (request.tls ? "https://" : "http://") + (isHostText(named) ? named : std::string("localhost")) + base;
}

std::string PublicAddress::host(const Request &request) const
{
    const std::string whole = accountBase(request);
    const std::size_t from = whole.find("://") + 3;
    const std::string authority = whole.substr(from, whole.find('/', from) - from);
    if (!authority.empty() && authority.front() == '[')
        return authority.substr(1, authority.find(']') - 1);
    return authority.substr(0, authority.find(':'));
}

void registerAccountRoutes(Router &router, const AccountServices &services)
{
    using Function = Response (*)(const AccountServices &, const Request &);
    const auto add = [&](const char *method, const std::string &pattern, Function function,
                         Access access = Access::Session) {
        const Handler handler = [services, function](const Request &request) {
            if (!request.param("id").empty() && !services.site.subCenter(request.param("id")))
                return Response::error(404, "not-found", "There is no such sub-center.");
            return function(services, request);
        };
        router.add(method, pattern, handler, access);
        router.add(method, "/sc/{id}" + pattern, handler, access);
    };
    add(
        "POST", "/auth/login", [](const auto &s, const Request &r) { return login(s, r, "password"); }, Access::Open);
    add(
        "POST", "/auth/token", [](const auto &s, const Request &r) { return login(s, r, "token"); }, Access::Open);
    add("POST", "/auth/web-token", &webToken);
    add("POST", "/auth/logout", &logout);
    add("GET", "/subcenters", &subCenterList, Access::Open);
    add("GET", "/limits", [](const auto &s, const Request &) { return limits(s); });
    add("GET", "/ads", &advertisements);
    add("GET", "/users/{name}", &profile);
    add("GET", "/users/{name}/storage", &storage);
    add("GET", "/users/{name}/path", &homePath);
    add("GET", "/icons/{name*}", &icon, Access::Open);
}

} // namespace arkvale::service
