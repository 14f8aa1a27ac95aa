#pragma once

#include <QString>

#include <nlohmann/json.hpp>

#include <optional>

/// Reading and writing of the client's JSON files, in which keys keep their order. Errors are values; no exception
/// leaves these functions. Usable from any thread.
namespace ConfigFile {

using Json = nlohmann::ordered_json;

/// The object that the file holds. Nothing when it cannot be read, is over 4 MiB, is no JSON object, or nests more
/// than 32 levels.
std::optional<Json> read(const QString &path);

/// Writes @p object indented, through a temporary file that replaces the old one at once. A file that is there but
/// cannot be read as JSON is kept beside it under the name with ".unreadable" added. False when the disk refused; the
/// old file is then as it was.
/// @param isPrivate the file gets the permissions 0600
bool write(const QString &path, const Json &object, bool isPrivate);

/// The text of @p key; @p fallback when it is absent or no text.
QString text(const Json &object, const char *key, const QString &fallback = QString());
bool boolean(const Json &object, const char *key, bool fallback);
/// The whole number of @p key when it lies within the bounds; @p fallback when it is absent, anything else, or outside.
int integer(const Json &object, const char *key, int fallback, int least, int most);

Json fromText(const QString &text);

} // namespace ConfigFile
