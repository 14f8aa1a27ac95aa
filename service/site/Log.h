#pragma once

#include <cstdint>
#include <string>

namespace arkvale::service {

/// Writes one line with the time (UTC) to standard error. From any thread. Never given passwords, tokens or tickets.
void logLine(const std::string &text);

/// "2024-01-31T12:00:00.000Z"
std::string isoTime(std::int64_t msSinceEpoch);

} // namespace arkvale::service
