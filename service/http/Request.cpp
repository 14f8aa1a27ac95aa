#include "Request.h"

#include <charconv>

namespace arkvale::service {

namespace {

const std::string &lookUp(const std::map<std::string, std::string> &map, const std::string &key)
{
    static const std::string none;
    const auto found = map.find(key);
    return found == map.end() ? none : found->second;
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool parseQuery(std::string_view query, std::map<std::string, std::string> &values)
{
    while (!query.empty()) {
        const std::size_t end = query.find('&');
        const std::string_view pair = query.substr(0, end);
        query = end == std::string_view::npos ? std::string_view() : query.substr(end + 1);
        if (pair.empty())
            continue;
        const std::size_t equals = pair.find('=');
        auto key = percentDecode(pair.substr(0, equals));
        auto value = equals == std::string_view::npos ? std::string() : percentDecode(pair.substr(equals + 1));
        if (!key || !value)
            return false;
        values.emplace(std::move(*key), std::move(*value));
    }
    return true;
}

} // namespace

const std::string &Request::param(const std::string &name) const
{
    return lookUp(params, name);
}

const std::string &Request::queryValue(const std::string &name) const
{
    return lookUp(query, name);
}

const std::string &Request::header(const std::string &name) const
{
    return lookUp(headers, name);
}

std::int64_t Request::queryNumber(const std::string &name, std::int64_t least, std::int64_t most,
                                  std::int64_t fallback) const
{
    const std::string &text = queryValue(name);
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < least || number > most)
        return fallback;
    return number;
}

bool isUtf8(std::string_view text)
{
    std::size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<unsigned char>(text[i]);
        std::size_t more = 0;
        std::uint32_t code = 0;
        std::uint32_t least = 0;
        if (lead < 0x80) {
            ++i;
            continue;
        }
        if ((lead & 0xE0) == 0xC0) {
            more = 1;
            code = lead & 0x1F;
            least = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            more = 2;
            code = lead & 0x0F;
            least = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            more = 3;
            code = lead & 0x07;
            least = 0x10000;
        } else {
            return false;
        }
        if (text.size() - i <= more)
            return false;
        for (std::size_t k = 1; k <= more; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80)
                return false;
            code = (code << 6) | (next & 0x3F);
        }
        if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return false;
        i += more + 1;
    }
    return true;
}

std::optional<std::string> percentDecode(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out.push_back(text[i]);
            continue;
        }
        if (text.size() - i < 3)
            return std::nullopt;
        const int high = hexValue(text[i + 1]);
        const int low = hexValue(text[i + 2]);
        if (high < 0 || low < 0)
            return std::nullopt;
        out.push_back(static_cast<char>(high * 16 + low));
        i += 2;
    }
    if (out.find('\0') != std::string::npos || !isUtf8(out))
        return std::nullopt;
    return out;
}

std::string percentEncode(std::string_view text)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string out;
    for (const char c : text) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
                           c == '.' || c == '_' || c == '~';
        if (plain) {
            out.push_back(c);
        } else {
            const auto byte = static_cast<unsigned char>(c);
            out += {'%', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return out;
}

bool parseTarget(const std::string &target, const std::string &base, Request &request)
{
    const std::size_t mark = target.find('?');
    request.rawPath = target.substr(0, mark);
    request.rawQuery = mark == std::string::npos ? std::string() : target.substr(mark + 1);
    request.segments.clear();

    const bool below = request.rawPath.compare(0, base.size(), base) == 0 && request.rawPath.size() > base.size() &&
                       request.rawPath[base.size()] == '/';
    if (!below)
        return false;
    std::string_view rest = std::string_view(request.rawPath).substr(base.size() + 1);
    // A slash at the end does not make another name.
    if (!rest.empty() && rest.back() == '/')
        rest.remove_suffix(1);
    while (true) {
        const std::size_t slash = rest.find('/');
        auto name = percentDecode(rest.substr(0, slash));
        if (!name || name->empty())
            return false;
        request.segments.push_back(std::move(*name));
        if (slash == std::string_view::npos)
            break;
        rest = rest.substr(slash + 1);
    }
    return parseQuery(request.rawQuery, request.query);
}

} // namespace arkvale::service
