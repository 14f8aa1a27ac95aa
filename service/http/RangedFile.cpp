#include "RangedFile.h"

#include "ByteRange.h"

#include <unistd.h>

namespace arkvale::service {

Response rangedFile(const Request &request, int fd, std::uint64_t size, const std::string &tag,
                    const std::string &contentType)
{
    const std::string &condition = request.header("if-range");
    // A file that is not the one that was begun is sent whole.
    const bool sameFile = condition.empty() || condition == tag;
    const ByteRange range = ByteRange::parse(sameFile ? request.header("range") : std::string(), size);
    if (range.kind == ByteRange::Kind::Unsatisfiable) {
        ::close(fd);
        return Response::error(416, "range", "The file ends before that range.")
            .setHeader("Content-Range", "bytes */" + std::to_string(size));
    }
    const bool part = range.kind == ByteRange::Kind::Part;
    Response response = Response::file(fd, range.offset, range.length, contentType, part ? 206 : 200);
    if (part) {
        response.setHeader("Content-Range", "bytes " + std::to_string(range.offset) + "-" +
                                                std::to_string(range.offset + range.length - 1) + "/" +
                                                std::to_string(size));
    }
    // What is stored here is never to be taken for a page of the service.
    response.setHeader("X-Content-Type-Options", "nosniff").setHeader("Content-Security-Policy", "sandbox");
    return response.setHeader("Accept-Ranges", "bytes").setHeader("ETag", tag);
}

} // namespace arkvale::service
