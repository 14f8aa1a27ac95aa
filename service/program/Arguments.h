#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace arkvale::service {

/// A command line taken apart: words, and options as "--name value" or "--name=value". A plain value.
class Arguments
{
public:
    /// @param flags options without a value; @param valued options with one. An option may come several times.
    /// Everything after "--" is a word. error() tells of an unknown option or a missing value.
    Arguments(const std::vector<std::string> &arguments, const std::set<std::string> &flags,
              const std::set<std::string> &valued);

    const std::string &error() const { return m_error; }
    const std::vector<std::string> &words() const { return m_words; }
    bool has(const std::string &name) const { return m_values.count(name) > 0; }
    /// The last value given, or @p fallback.
    std::string value(const std::string &name, const std::string &fallback = {}) const;
    std::vector<std::string> values(const std::string &name) const;

private:
    std::string m_error;
    std::vector<std::string> m_words;
    std::map<std::string, std::vector<std::string>> m_values;
};

/// "500", "20K", "1.5G": bytes in powers of 1024. Empty when it is no such text or too large.
std::optional<std::int64_t> parseSize(const std::string &text);
/// "90" or "90s", "15m", "12h", "7d": seconds. "forever" is -1.
std::optional<std::int64_t> parseDuration(const std::string &text);
/// A whole number within the range.
std::optional<std::int64_t> parseNumber(const std::string &text, std::int64_t least, std::int64_t most);

} // namespace arkvale::service
