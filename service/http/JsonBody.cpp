#include "JsonBody.h"

namespace arkvale::service {

namespace {

/// Whether brackets, outside of texts, nest deeper than allowed. Looked at before parsing, so that a hostile body
/// costs one pass and no memory.
bool tooDeep(const std::string &body)
{
    int depth = 0;
    bool inText = false;
    for (std::size_t i = 0; i < body.size(); ++i) {
        const char c = body[i];
        if (inText) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inText = false;
        } else if (c == '"') {
            inText = true;
        } else if (c == '{' || c == '[') {
            if (++depth > maxJsonDepth)
                return true;
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
    return false;
}

} // namespace

std::optional<nlohmann::json> parseJsonObject(const std::string &body)
{
    if (tooDeep(body))
        return std::nullopt;
    nlohmann::json value = nlohmann::json::parse(body, nullptr, false);
    if (!value.is_object())
        return std::nullopt;
    return value;
}

std::optional<std::string> jsonText(const nlohmann::json &object, const std::string &key)
{
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string())
        return std::nullopt;
    return found->get<std::string>();
}

std::optional<std::vector<std::string>> jsonTexts(const nlohmann::json &object, const std::string &key)
{
    const auto found = object.find(key);
    if (found == object.end() || !found->is_array())
        return std::nullopt;
    std::vector<std::string> texts;
    texts.reserve(found->size());
    for (const auto &value : *found) {
        if (!value.is_string())
            return std::nullopt;
        texts.push_back(value.get<std::string>());
    }
    return texts;
}

} // namespace arkvale::service
