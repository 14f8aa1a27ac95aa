// A stream of frames from one process to another over one carrier of the transfer engine, without files, for the
// scripts beside it. The client prints its figures as one JSON line.
// usage: bench_channel serve ADDRESS CERTIFICATE-FILE READY-FILE
//        bench_channel udp|tcp READY-FILE HOST fair|fixed TARGET-MBIT BYTES

#include "Context.h"
#include "TcpChannel.h"
#include "TlsIdentity.h"
#include "UdpListener.h"

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <future>
#include <set>
#include <sys/resource.h>

using namespace zpdt;

namespace {

constexpr std::uint8_t kData = 200;
constexpr std::uint8_t kEnd = 201;
constexpr std::uint8_t kAnswer = 202;
constexpr std::size_t kPiece = 65536;
constexpr std::size_t kAhead = 512 * 1024;

double cpuSeconds()
{
    rusage use{};
    getrusage(RUSAGE_SELF, &use);
    const auto seconds = [](const timeval &time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; };
    return seconds(use.ru_utime) + seconds(use.ru_stime);
}

Bytes frame(std::uint8_t type, const std::string &body)
{
    WireWriter out;
    out.begin(type, 1);
    out.raw(body.data(), body.size());
    out.end();
    return out.take();
}

/// Counts what comes and says so at the end.
class Sink : public Channel::Listener, public std::enable_shared_from_this<Sink>
{
public:
    explicit Sink(std::shared_ptr<Channel> channel)
        : m_channel(std::move(channel))
        , m_cpu(cpuSeconds())
    {
    }
    void start()
    {
        m_self = shared_from_this();
        m_channel->start(this);
    }
    void channelReady() override {}
    void channelFrame(std::uint8_t type, std::uint32_t, const std::uint8_t *, std::size_t size) override
    {
        m_bytes += size;
        if (type == kEnd)
            m_channel->send(
                frame(kAnswer, nlohmann::json{{"bytes", m_bytes}, {"receiverCpu", cpuSeconds() - m_cpu}}.dump()));
    }
    void channelWritable() override {}
    void channelClosed(Error, const std::string &) override { m_self.reset(); }

private:
    const std::shared_ptr<Channel> m_channel;
    std::shared_ptr<Sink> m_self;
    std::uint64_t m_bytes = 0;
    const double m_cpu;
};

class Source : public Channel::Listener
{
public:
    Source(Context &context, std::shared_ptr<Channel> channel, std::uint64_t bytes)
        : m_timer(context.io())
        , m_channel(std::move(channel))
        , m_bytes(bytes)
    {
    }
    std::string run(Context &context, const RateGoal &goal)
    {
        context.post([this, goal] {
            m_begin = std::chrono::steady_clock::now();
            m_channel->setGoal(goal);
            m_channel->start(this);
        });
        const std::string answer = m_answer.get_future().get();
        std::promise<void> closed;
        context.post([this, &closed] {
            m_timer.cancel();
            m_channel->close();
            closed.set_value();
        });
        closed.get_future().wait();
        return answer;
    }
    void channelReady() override
    {
        m_ready = seconds();
        fill();
        watch();
    }
    void channelWritable() override { fill(); }
    void channelFrame(std::uint8_t type, std::uint32_t, const std::uint8_t *body, std::size_t size) override
    {
        if (type != kAnswer)
            return;
        auto figures = nlohmann::json::parse(body, body + size);
        const Metrics metrics = m_channel->metrics();
        figures["seconds"] = seconds();
        figures["ready"] = m_ready;
        figures["cpu"] = cpuSeconds();
        figures["carrier"] = metrics.carrier + ' ' + metrics.congestion;
        figures["retransmitPercent"] = metrics.retransmitPercent;
        figures["packetBytes"] = metrics.packetBytes;
        m_answer.set_value(figures.dump());
    }
    void channelClosed(Error error, const std::string &text) override
    {
        m_answer.set_value(nlohmann::json{{"error", errorName(error)}, {"text", text}}.dump());
    }

private:
    double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_begin).count(); }
    void fill()
    {
        static const std::string piece(kPiece, 'x');
        while (m_sent < m_bytes && m_channel->queuedBytes() < kAhead) {
            m_sent += kPiece;
            m_channel->send(frame(m_sent < m_bytes ? kData : kEnd, piece));
        }
    }
    /// With BENCH_WATCH in the environment: how it goes, ten times a second.
    void watch()
    {
        if (!std::getenv("BENCH_WATCH"))
            return;
        m_timer.expires_after(std::chrono::milliseconds(100));
        m_timer.async_wait([this](std::error_code stopped) {
            if (stopped)
                return;
            const Metrics metrics = m_channel->metrics();
            std::fprintf(stderr, "%6.2f s  sent %7.1f Mbit/s  pace %7.1f  rtt %6.1f ms  loss %5.2f %%  size %u  %s\n",
                         seconds(), double(metrics.bytesOut - m_watched) * 8e-5, metrics.paceBytesPerSecond * 8e-6,
                         metrics.roundTripMs, metrics.lossPercent, metrics.packetBytes, metrics.congestion.c_str());
            m_watched = metrics.bytesOut;
            watch();
        });
    }

    asio::steady_timer m_timer;
    const std::shared_ptr<Channel> m_channel;
    const std::uint64_t m_bytes;
    std::uint64_t m_sent = 0;
    std::uint64_t m_watched = 0;
    std::chrono::steady_clock::time_point m_begin;
    double m_ready = 0;
    std::promise<std::string> m_answer;
};

int serve(const std::string &address, const std::string &certificate, const std::string &ready)
{
    TlsIdentity identity;
    std::string error;
    if (!identity.load(certificate, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    Context context;
    const auto keys = std::make_shared<UdpKeys>();
    asio::ip::tcp::acceptor acceptor(context.io(), {asio::ip::make_address(address), 0});
    std::function<void()> accept = [&] {
        acceptor.async_accept([&](std::error_code failed, asio::ip::tcp::socket socket) {
            if (failed)
                return;
            std::make_shared<Sink>(TcpChannel::accepted(context, std::move(socket), identity.serverContext()))->start();
            accept();
        });
    };
    std::unique_ptr<UdpListener> listener;
    std::promise<bool> listening;
    context.post([&] {
        listener = std::make_unique<UdpListener>(context, identity, keys, [](std::shared_ptr<UdpChannel> channel) {
            std::make_shared<Sink>(std::move(channel))->start();
        });
        accept();
        listening.set_value(listener->listen(address, 0, error));
    });
    if (!listening.get_future().get()) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    std::ofstream(ready + ".part") << nlohmann::json{
        {"udp", listener->port()},
        {"tcp", acceptor.local_endpoint().port()},
        {"fingerprint", identity.fingerprint()},
        {"key", keys->issue()}}.dump();
    std::rename((ready + ".part").c_str(), ready.c_str());
    // Until it is killed.
    std::promise<void>().get_future().wait();
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 4 && arguments[0] == "serve")
        return serve(arguments[1], arguments[2], arguments[3]);
    if (arguments.size() != 6) {
        std::fputs("usage: bench_channel serve ADDRESS CERTIFICATE-FILE READY-FILE\n"
                   "       bench_channel udp|tcp READY-FILE HOST fair|fixed TARGET-MBIT BYTES\n",
                   stderr);
        return 2;
    }
    std::ifstream file(arguments[1]);
    const auto server = nlohmann::json::parse(file);
    Context context;
    const std::string fingerprint = server["fingerprint"];
    std::shared_ptr<Channel> channel;
    if (arguments[0] == "udp")
        channel = UdpChannel::toServer(context, arguments[2], server["udp"], fingerprint, server["key"]);
    else
        channel = TcpChannel::toServer(context, arguments[2], server["tcp"], fingerprint);
    RateGoal goal;
    goal.bytesPerSecond = std::uint64_t(std::atof(arguments[4].c_str()) * 125000);
    goal.mode = arguments[3] == "fixed" ? RateMode::Fixed : RateMode::Fair;
    goal.floorBytesPerSecond = goal.mode == RateMode::Fixed ? goal.bytesPerSecond * 92 / 100 : 0;
    Source source(context, std::move(channel), std::strtoull(arguments[5].c_str(), nullptr, 10));
    const std::string answer = source.run(context, goal);
    std::puts(answer.c_str());
    context.stop();
    return answer.find("\"error\"") == std::string::npos ? 0 : 1;
}
