#include "TcpTuning.h"

#include <algorithm>
#include <cstddef>
#include <netinet/in.h>
#ifdef __linux__
#include <linux/tcp.h>
#endif
#include <sys/socket.h>

namespace zpdt {

std::string tuneTcp(NativeSocket socket)
{
#ifdef __linux__
    const int fd = static_cast<int>(socket);
    static const char kWanted[] = "bbr";
    // Refused where the module is not loaded or not allowed; the default is then what there is.
    (void)setsockopt(fd, IPPROTO_TCP, TCP_CONGESTION, kWanted, sizeof(kWanted) - 1);
    const int unsent = 256 * 1024;
    (void)setsockopt(fd, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &unsent, sizeof(unsent));
    char name[32] = {};
    socklen_t size = sizeof(name) - 1;
    if (getsockopt(fd, IPPROTO_TCP, TCP_CONGESTION, name, &size) == 0)
        return name;
#else
    (void)socket;
#endif
    return {};
}

bool tcpFigures(NativeSocket socket, double &roundTripMs, double &retransmitPercent)
{
#ifdef __linux__
    tcp_info info{};
    socklen_t size = sizeof(info);
    if (getsockopt(static_cast<int>(socket), IPPROTO_TCP, TCP_INFO, &info, &size) != 0)
        return false;
    // The mean of a sender that is held back shows how long acknowledgements wait, tens of milliseconds on any line.
    const bool knowsLeast = size >= offsetof(tcp_info, tcpi_min_rtt) + sizeof(info.tcpi_min_rtt);
    roundTripMs = (knowsLeast ? std::min(info.tcpi_min_rtt, info.tcpi_rtt) : info.tcpi_rtt) / 1000.0;
    retransmitPercent = 0.0;
    if (size >= offsetof(tcp_info, tcpi_data_segs_out) + sizeof(info.tcpi_data_segs_out) && info.tcpi_data_segs_out)
        retransmitPercent = 100.0 * info.tcpi_total_retrans / info.tcpi_data_segs_out;
    return true;
#else
    (void)socket;
    (void)roundTripMs;
    (void)retransmitPercent;
    return false;
#endif
}

} // namespace zpdt
