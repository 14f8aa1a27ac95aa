#include "Arguments.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace arkvale::service {

Arguments::Arguments(const std::vector<std::string> &arguments, const std::set<std::string> &flags,
                     const std::set<std::string> &valued)
{
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string &argument = arguments[i];
        if (argument == "--") {
            m_words.insert(m_words.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
            return;
        }
        if (argument.size() < 3 || argument.compare(0, 2, "--") != 0) {
            m_words.push_back(argument);
            continue;
        }
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(2, equals == std::string::npos ? equals : equals - 2);
        if (flags.count(name) > 0 && equals == std::string::npos) {
            m_values[name].push_back("true");
        } else if (valued.count(name) == 0) {
            m_error = "The option --" + name + " is not known here.";
            return;
        } else if (equals != std::string::npos) {
            m_values[name].push_back(argument.substr(equals + 1));
        } else if (i + 1 < arguments.size()) {
            m_values[name].push_back(arguments[++i]);
        } else {
            m_error = "The option --" + name + " needs a value.";
            return;
        }
    }
}

std::string Arguments::value(const std::string &name, const std::string &fallback) const
{
    const auto found = m_values.find(name);
    return found == m_values.end() ? fallback : found->second.back();
}

std::vector<std::string> Arguments::values(const std::string &name) const
{
    const auto found = m_values.find(name);
    return found == m_values.end() ? std::vector<std::string>() : found->second;
}

std::optional<std::int64_t> parseNumber(const std::string &text, std::int64_t least, std::int64_t most)
{
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < least || number > most)
        return std::nullopt;
    return number;
}

std::optional<std::int64_t> parseSize(const std::string &text)
{
    static const std::string units = "BKMGTP";
    char *end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || !(number >= 0))
        return std::nullopt;
    std::string unit = end;
    if (unit.empty())
        unit = "B";
    const std::size_t power = units.find(unit);
    const double bytes =
        unit.size() == 1 && power != std::string::npos ? std::ldexp(number, 10 * static_cast<int>(power)) : -1;
    if (bytes < 0 || bytes >= 9.0e18)
        return std::nullopt;
    return static_cast<std::int64_t>(bytes);
}

std::optional<std::int64_t> parseDuration(const std::string &text)
{
    if (text == "forever")
        return -1;
    static const std::map<char, std::int64_t> units = {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}};
    if (text.empty())
        return std::nullopt;
    const auto unit = units.find(text.back());
    const std::string digits = unit == units.end() ? text : text.substr(0, text.size() - 1);
    const std::int64_t seconds = unit == units.end() ? 1 : unit->second;
    constexpr std::int64_t century = 36500LL * 86400;
    const auto number = parseNumber(digits, 1, century / seconds);
    if (!number)
        return std::nullopt;
    return *number * seconds;
}

} // namespace arkvale::service
