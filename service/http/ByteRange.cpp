#include "ByteRange.h"

#include <algorithm>
#include <limits>

namespace arkvale::service {

namespace {

/// The number in @p text, too large a one as the largest; false when there are other characters than digits.
bool parseNumber(const std::string &text, std::uint64_t &value)
{
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    value = 0;
    for (char c : text) {
        if (c < '0' || c > '9')
            return false;
        const auto digit = static_cast<std::uint64_t>(c - '0');
        value = value > (most - digit) / 10 ? most : value * 10 + digit;
    }
    return true;
}

} // namespace

ByteRange ByteRange::parse(const std::string &header, std::uint64_t fileSize)
{
    const ByteRange whole{Kind::Whole, 0, fileSize};
    const std::string unit = "bytes=";
    const std::size_t dash = header.find('-');
    if (header.compare(0, unit.size(), unit) != 0 || dash == std::string::npos)
        return whole;
    const std::string first = header.substr(unit.size(), dash - unit.size());
    const std::string last = header.substr(dash + 1);
    std::uint64_t from = 0;
    std::uint64_t to = 0;
    if (!parseNumber(first, from) || !parseNumber(last, to) || (first.empty() && last.empty()))
        return whole;
    if (first.empty()) {
        const std::uint64_t length = std::min(to, fileSize);
        return {length == 0 ? Kind::Unsatisfiable : Kind::Part, fileSize - length, length};
    }
    if (!last.empty() && to < from)
        return whole;
    if (from >= fileSize)
        return {Kind::Unsatisfiable, 0, 0};
    const std::uint64_t end = last.empty() ? fileSize - 1 : std::min(to, fileSize - 1);
    return {Kind::Part, from, end - from + 1};
}

} // namespace arkvale::service
