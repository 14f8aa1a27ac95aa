#pragma once

#include "Request.h"
#include "Response.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace arkvale::service {

/// Runs on a worker thread, several at once. May block on disks and databases; waits for nothing longer than that
/// (see Response::later).
using Handler = std::function<Response(const Request &)>;

/// Who may call a route.
enum class Access
{
    Open,    ///< everyone
    Session, ///< requests signed with a session's access pair
    Transfer ///< requests signed with the transfer credentials of a login
};

/// Finds the handler of a request. Filled before the server starts and only read from then on.
class Router
{
public:
    struct Match
    {
        const Handler *handler = nullptr;
        Access access = Access::Session;
        /// The methods that the path knows, when it knows some and not this one.
        std::string allowed;
    };

    /// @param pattern below the service's base, such as "/sc/{id}/files/list"; a name in braces stands for one name
    /// of the path, and "{rest*}" at the end for all that are left (one at least), joined by '/'.
    void add(const std::string &method, const std::string &pattern, Handler handler, Access access = Access::Session);

    /// Fills the request's params when there is a match. HEAD finds the handler of GET.
    Match find(Request &request) const;

private:
    struct Route
    {
        std::string method;
        std::vector<std::string> pattern;
        Handler handler;
        Access access;
    };

    static bool fits(const Route &route, const std::vector<std::string> &segments,
                     std::map<std::string, std::string> &params);

    std::vector<Route> m_routes;
};

} // namespace arkvale::service
