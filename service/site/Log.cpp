#include "Log.h"

#include "Secrets.h"

#include <cstdio>
#include <ctime>

namespace arkvale::service {

void logLine(const std::string &text)
{
    std::string line = isoTime(nowMs()) + ' ';
    // What other people typed must not look like lines of its own.
    for (const char c : text)
        line += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
    line += '\n';
    std::fputs(line.c_str(), stderr);
}

std::string isoTime(std::int64_t msSinceEpoch)
{
    const std::time_t seconds = msSinceEpoch / 1000;
    std::tm parts = {};
    ::gmtime_r(&seconds, &parts);
    char text[64];
    const std::size_t size = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    char millis[8];
    std::snprintf(millis, sizeof millis, ".%03dZ", static_cast<int>(msSinceEpoch % 1000));
    return std::string(text, size) + millis;
}

} // namespace arkvale::service
