#include "WebPage.h"

#include "Router.h"
#include "WebFiles.h"

namespace arkvale::service {

namespace {

/// Scripts and styles come from here alone; the page talks to its service and to the client on the same computer.
const char *const policy = "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
                           "connect-src 'self' ws://127.0.0.1:*; form-action 'self'; base-uri 'none'; "
                           "frame-ancestors 'none'";

Response answer(const WebFile &file)
{
    Response response = Response::bytes(file.content, file.type);
    response.setHeader("Content-Security-Policy", policy);
    response.setHeader("Referrer-Policy", "no-referrer");
    response.setHeader("Cache-Control", "no-cache");
    return response;
}

} // namespace

void registerWebPage(Router &router)
{
    for (const WebFile &file : webFiles()) {
        const std::string name = file.name;
        router.add(
            "GET", name == "index.html" ? std::string("/web") : "/web/" + name,
            [&file](const Request &) { return answer(file); }, Access::Open);
    }
}

} // namespace arkvale::service
