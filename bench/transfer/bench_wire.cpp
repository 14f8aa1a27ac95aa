// One upload or download over the transfer protocol, for the scripts beside it: prints its figures as one JSON line.
// usage: bench_wire up|down HOST PORT FINGERPRINT TICKET LOCAL-FOLDER NAME...
// BENCH_UDP_KEY in the environment has it go over UDP with that key, BENCH_GOAL holds to a mode and Mbit/s such as
// "fixed 200".

#include "Connection.h"
#include "Context.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <sys/resource.h>

using namespace zpdt;

namespace {

double seconds(const timeval &time)
{
    return double(time.tv_sec) + double(time.tv_usec) / 1e6;
}

class Run
{
public:
    StreamCallbacks callbacks()
    {
        StreamCallbacks calls;
        calls.onOpened = [this] { m_opened = now(); };
        calls.onTotals = [this](const Totals &totals) { m_totals = totals; };
        calls.onProgress = [this](const StreamProgress &progress) {
            if (m_firstBytes < 0 && progress.bytes > 0)
                m_firstBytes = now();
        };
        calls.onItemFailed = [this](const ItemInfo &info, Error error, const std::string &text) {
            if (++m_failed <= 5)
                std::fprintf(stderr, "%s: %s: %s\n", info.path.c_str(), errorName(error), text.c_str());
        };
        calls.onEnd = [this](const StreamResult &result) { m_end.set_value(result); };
        return calls;
    }

    bool report()
    {
        const StreamResult result = m_end.get_future().get();
        const double took = now();
        rusage use{};
        getrusage(RUSAGE_SELF, &use);
        const nlohmann::json figures{{"error", errorName(result.error)},
                                     {"text", result.text},
                                     {"seconds", took},
                                     {"opened", m_opened},
                                     {"firstBytes", m_firstBytes},
                                     {"bytes", result.progress.bytes},
                                     {"files", result.progress.filesDone},
                                     {"failed", m_failed},
                                     {"cpu", seconds(use.ru_utime) + seconds(use.ru_stime)},
                                     {"peakKiB", use.ru_maxrss}};
        std::puts(figures.dump().c_str());
        return result.error == Error::None && m_failed == 0;
    }

private:
    using Clock = std::chrono::steady_clock;
    double now() const { return std::chrono::duration<double>(Clock::now() - m_begin).count(); }

    const Clock::time_point m_begin = Clock::now();
    double m_opened = -1;
    double m_firstBytes = -1;
    Totals m_totals;
    std::uint64_t m_failed = 0;
    std::promise<StreamResult> m_end;
};

} // namespace

int main(int argc, char **argv)
{
    if (argc < 8) {
        std::fputs("usage: bench_wire up|down HOST PORT FINGERPRINT TICKET LOCAL-FOLDER NAME...\n", stderr);
        return 2;
    }
    const bool up = std::string(argv[1]) == "up";
    Endpoint endpoint;
    endpoint.host = argv[2];
    endpoint.port = static_cast<std::uint16_t>(std::atoi(argv[3]));
    endpoint.fingerprint = argv[4];
    endpoint.clientVersion = "bench";
    if (const char *key = std::getenv("BENCH_UDP_KEY")) {
        endpoint.carrier = CarrierKind::Udp;
        endpoint.udpKey = key;
    }
    const std::vector<std::string> names(argv + 7, argv + argc);
    Context context;
    Run run;
    Connection connection(context, endpoint, [](ConnectionState, Error, const std::string &) {});
    if (const char *text = std::getenv("BENCH_GOAL")) {
        const std::string goal(text);
        const auto blank = goal.find(' ');
        const double target = std::atof(goal.substr(blank + 1).c_str()) * 125000;
        connection.setGoal(
            up ? Direction::Upload : Direction::Download,
            rateGoal(goal.substr(0, blank), 1024 * 1.08e6 / target, 30000, target * 0.92, 1024, std::uint64_t(target)));
    }
    std::shared_ptr<Stream> stream;
    if (up) {
        UploadRequest request;
        request.ticket = argv[5];
        request.localFolder = argv[6];
        request.names = names;
        stream = connection.openUpload(std::move(request), run.callbacks());
    } else {
        DownloadRequest request;
        request.ticket = argv[5];
        request.localFolder = argv[6];
        request.names = names;
        stream = connection.openDownload(std::move(request), run.callbacks());
    }
    const bool good = run.report();
    connection.close();
    return good ? 0 : 1;
}
