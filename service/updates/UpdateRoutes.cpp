#include "UpdateRoutes.h"

#include "RangedFile.h"

namespace arkvale::service {

void registerUpdateRoutes(Router &router, const UpdateStore &store)
{
    const auto latest = [store](const Request &request) {
        const auto text = store.manifest(request.queryValue("platform"));
        return (text ? Response::bytes(*text, "application/json") : Response(204))
            .setHeader("Cache-Control", "no-cache");
    };
    router.add("GET", "/updates/latest", latest, Access::Open);
    const auto package = [store](const Request &request) {
        const std::string &version = request.param("version");
        const auto found = store.package(request.param("platform"), version, request.param("name"));
        if (!found)
            return Response::error(404, "not-found", "There is no such package.");
        const std::string tag = '"' + version + '-' + std::to_string(found->size) + '"';
        return rangedFile(request, found->fd, found->size, tag, "application/octet-stream");
    };
    router.add("GET", "/updates/packages/{platform}/{version}/{name}", package, Access::Open);
}

} // namespace arkvale::service
