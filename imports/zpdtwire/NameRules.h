#pragma once

#include <string>
#include <vector>

/// Which names may become file names, for every name that comes from outside. Paths are UTF-8 with '/' between names.
namespace zpdt {

/// Longest name, in bytes of UTF-8.
constexpr std::size_t kMaxNameBytes = 255;
/// Deepest path, in names.
constexpr std::size_t kMaxPathDepth = 1024;

/// True for well-formed UTF-8 (no overlong forms, no surrogates).
bool isValidUtf8(const std::string &text);

/// True when @p name is one path component that this machine can hold under exactly that name: not empty, not "." or
/// "..", without '/' and NUL, well-formed UTF-8 and at most kMaxNameBytes long. On Windows also without reserved
/// characters, device names ("CON", "com1.txt") and a dot or blank at the end.
bool validComponent(const std::string &name);

/// validComponent() with the rules of Windows, on every machine. Length is not looked at.
bool validWindowsComponent(const std::string &name);

/// Splits a path such as "a/b" into its names; empty names between, before and after slashes are dropped, so "" and
/// "/" give no names. False, and an empty list, when a name is not a validComponent() or the path is too deep.
bool splitPath(const std::string &path, std::vector<std::string> &names);

/// As splitPath(), for a path of a drive, which has to begin with '/'.
bool splitDrivePath(const std::string &path, std::vector<std::string> &names);

/// The names with '/' between, without one at the front: "" for no names.
std::string joinPath(const std::vector<std::string> &names);

} // namespace zpdt
