#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace arkvale::service {

/// One HTTP request with its whole body, as a handler gets it. A plain value.
struct Request
{
    std::string method;   ///< upper case
    std::string rawPath;  ///< as sent, without the query
    std::string rawQuery; ///< as sent, without '?'

    /// The names between the slashes below the service's base, each percent-decoded on its own: a name may hold '/'.
    std::vector<std::string> segments;
    /// What the placeholders of the route's pattern stand for in this request, such as "id".
    std::map<std::string, std::string> params;
    /// Percent-decoded; '+' stands for itself; of a repeated key the first value counts.
    std::map<std::string, std::string> query;
    /// Names in lower case; of a repeated header the first value counts.
    std::map<std::string, std::string> headers;
    std::string body;

    std::string peer; ///< the other side's address without the port
    bool tls = false;
    std::string user;     ///< who signed the request; empty on open routes
    std::string accessId; ///< with which access pair; empty on open routes

    /// The value, or an empty text.
    const std::string &param(const std::string &name) const;
    const std::string &queryValue(const std::string &name) const;
    /// @param name in lower case
    const std::string &header(const std::string &name) const;
    /// The query value as a whole number, or @p fallback when it is absent, not a number, or outside the range.
    std::int64_t queryNumber(const std::string &name, std::int64_t least, std::int64_t most,
                             std::int64_t fallback) const;
};

/// Undoes percent-encoding. Empty for a cut or non-hexadecimal escape, a zero byte, or text that is not UTF-8.
std::optional<std::string> percentDecode(std::string_view text);
std::string percentEncode(std::string_view text);

/// Whether @p text is well-formed UTF-8 (no surrogates, no overlong forms).
bool isUtf8(std::string_view text);

/// Fills the path and query members from a request target such as "/api/v1/a%20b?x=1". False when the target is not
/// a path, is not below @p base ("/api/v1"), or cannot be decoded.
bool parseTarget(const std::string &target, const std::string &base, Request &request);

} // namespace arkvale::service
