#pragma once

#include <cstdint>
#include <string>

namespace zpdt {

using NativeSocket = std::uintptr_t;

/// Asks the system for a congestion control that does not take every loss for congestion, and for little unsent data
/// in its buffers, so that what is sent first arrives first. Answers with the congestion control it granted, empty
/// where that cannot be told.
std::string tuneTcp(NativeSocket socket);

/// Round trip in milliseconds and share of segments sent again; false where the system does not tell.
bool tcpFigures(NativeSocket socket, double &roundTripMs, double &retransmitPercent);

} // namespace zpdt
