#pragma once

#include <QString>

#include <memory>
#include <string>

namespace spdlog {
class logger;
}

/// Where log lines go: one rotating file of the process and one named logger per name, all of them thread-safe.
namespace LogFile {

/// Folder of the log files, ends without "/": $XDG_STATE_HOME/ArkvaleTolma/log, by default ~/.local/state, elsewhere
/// than on Linux the user's local application data.
QString folder();

/// The file is kept below this many bytes, and so many older ones beside it.
constexpr int kFileSize = 4 * 1024 * 1024;
constexpr int kOldFiles = 3;

/// A logger that writes to the file, opening it when no other logger of the process holds it. Null when the disk
/// refuses; asking again later may help.
std::shared_ptr<spdlog::logger> makeLogger(const QString &name);

/// @p message as one line of UTF-8: control characters and line separators become escapes such as "\n" or "\x1b", and
/// a message of more than 64 Ki characters is cut with a note of what is missing.
std::string oneLine(const QString &message);

} // namespace LogFile
