#include "Router.h"

namespace arkvale::service {

namespace {

bool isPlaceholder(const std::string &part)
{
    return part.size() > 2 && part.front() == '{' && part.back() == '}';
}

bool isRest(const std::string &part)
{
    return isPlaceholder(part) && part[part.size() - 2] == '*';
}

} // namespace

void Router::add(const std::string &method, const std::string &pattern, Handler handler, Access access)
{
    Route route{method, {}, std::move(handler), access};
    std::size_t from = 1;
    while (from <= pattern.size()) {
        const std::size_t slash = pattern.find('/', from);
        route.pattern.push_back(pattern.substr(from, slash == std::string::npos ? slash : slash - from));
        if (slash == std::string::npos)
            break;
        from = slash + 1;
    }
    m_routes.push_back(std::move(route));
}

bool Router::fits(const Route &route, const std::vector<std::string> &segments,
                  std::map<std::string, std::string> &params)
{
    params.clear();
    for (std::size_t i = 0; i < route.pattern.size(); ++i) {
        const std::string &part = route.pattern[i];
        if (i >= segments.size())
            return false;
        if (isRest(part)) {
            std::string rest = segments[i];
            for (std::size_t k = i + 1; k < segments.size(); ++k)
                rest += '/' + segments[k];
            params[part.substr(1, part.size() - 3)] = rest;
            return true;
        }
        if (isPlaceholder(part))
            params[part.substr(1, part.size() - 2)] = segments[i];
        else if (part != segments[i])
            return false;
    }
    return route.pattern.size() == segments.size();
}

Router::Match Router::find(Request &request) const
{
    Match match;
    const std::string method = request.method == "HEAD" ? "GET" : request.method;
    std::map<std::string, std::string> params;
    for (const Route &route : m_routes) {
        if (!fits(route, request.segments, params))
            continue;
        if (route.method == method) {
            request.params = std::move(params);
            match.handler = &route.handler;
            match.access = route.access;
            match.allowed.clear();
            return match;
        }
        const std::string name = route.method == "GET" ? "GET, HEAD" : route.method;
        match.allowed += (match.allowed.empty() ? "" : ", ") + name;
    }
    return match;
}

} // namespace arkvale::service
