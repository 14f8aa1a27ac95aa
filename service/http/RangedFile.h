#pragma once

#include "Request.h"
#include "Response.h"

#include <cstdint>
#include <string>

namespace arkvale::service {

/// The open file @p fd of @p size bytes, or the piece that the request's Range header asks for while @p tag, the
/// file's entity tag with its quotes, is that of If-Range. Owns and closes @p fd.
Response rangedFile(const Request &request, int fd, std::uint64_t size, const std::string &tag,
                    const std::string &contentType);

} // namespace arkvale::service
