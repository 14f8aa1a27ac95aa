#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace arkvale::service {

/// The deepest nesting of a request body.
constexpr int maxJsonDepth = 32;

/// The JSON object of a request body. Empty when it is not JSON, not an object, not UTF-8, or nested too deeply.
std::optional<nlohmann::json> parseJsonObject(const std::string &body);

/// The text under @p key; empty when it is absent or not a text.
std::optional<std::string> jsonText(const nlohmann::json &object, const std::string &key);
/// The list of texts under @p key; empty when it is absent or holds anything else.
std::optional<std::vector<std::string>> jsonTexts(const nlohmann::json &object, const std::string &key);

} // namespace arkvale::service
