// linkemu - a userland point-to-point link emulator on two TUN devices (Linux only, C++17, one file).
//
// Packets that leave TUN device A come out of TUN device B and the other way round, after
//   rate limit (bounded drop-tail queue)  ->  loss on the wire  ->  one-way delay (+ jitter)  ->  delivery
// Each direction has its own settings and its own thread. Nothing else on the machine is touched:
// the caller (wan.sh) moves each TUN device into its own network namespace.
//
// The process always ends: after --time seconds at the latest, or on SIGTERM / SIGINT.
// Counters are written as one JSON object to --stats FILE (default: standard output).
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <queue>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

namespace {

using Ns = int64_t; // nanoseconds of CLOCK_MONOTONIC

Ns now()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return Ns(t.tv_sec) * 1000000000 + t.tv_nsec;
}

std::atomic<bool> g_stop{false};
void onSignal(int)
{
    g_stop.store(true);
}

struct Config
{
    double delayMs = 0;      // one-way delay
    double jitterMs = 0;     // uniform extra delay 0..jitterMs, order kept
    double rateMbit = 0;     // 0: no limit; counts IP packet bytes
    int64_t queueBytes = 0;  // 0: one bandwidth-delay product of this direction's rate and 2*delay, at least 64 KiB
    double loss = 0;         // i.i.d. loss probability 0..1
    double geP = 0, geR = 0; // Gilbert-Elliott: P(good->bad), P(bad->good)
    double geLossBad = 1, geLossGood = 0;
    bool ge = false;
    double reorder = 0; // probability that a packet is held back reorderMs longer (so it is overtaken)
    double reorderMs = 5;
    double dup = 0; // probability that a packet is delivered twice
};

struct Counters
{
    uint64_t inPackets = 0, inBytes = 0;
    uint64_t outPackets = 0, outBytes = 0;
    uint64_t lossDrops = 0, queueDrops = 0, downDrops = 0, writeDrops = 0;
    uint64_t duplicated = 0, reordered = 0;
    int64_t maxQueueBytes = 0;
    double sumQueueMs = 0;      // for the mean queueing delay of forwarded packets
    Ns first = 0, last = 0;     // arrival of the first / last packet
    std::vector<uint32_t> late; // lateness of delivery in microseconds, log-ish histogram: index = min(us,4095)
    Counters()
        : late(4096, 0)
    {
    }
};

struct Packet
{
    Ns due;
    uint64_t seq;
    uint32_t len;
    std::unique_ptr<uint8_t[]> data;
};
struct Later
{
    bool operator()(const Packet *a, const Packet *b) const
    {
        return a->due != b->due ? a->due > b->due : a->seq > b->seq;
    }
};

struct Outage
{
    double at = -1, len = 0;
};

class Direction
{
public:
    Direction(int in, int out, Config config, Outage outage, uint64_t seed, Ns start)
        : m_in(in)
        , m_out(out)
        , m_c(config)
        , m_o(outage)
        , m_rng(seed)
        , m_start(start)
    {
        if (m_c.queueBytes <= 0) {
            m_c.queueBytes = int64_t(m_c.rateMbit * 1e6 / 8 * (2 * m_c.delayMs) / 1000.0);
            if (m_c.queueBytes < 65536)
                m_c.queueBytes = 65536;
        }
    }

    void run(Ns end)
    {
        prctl(PR_SET_TIMERSLACK, 1UL);
        while (!g_stop.load(std::memory_order_relaxed)) {
            Ns t = now();
            if (t >= end)
                break;
            deliver(t);
            Ns wake = std::min<Ns>(end, t + 100000000);
            if (!m_heap.empty())
                wake = std::min(wake, m_heap.top()->due);
            Ns wait = std::max<Ns>(0, wake - now());
            timespec ts{time_t(wait / 1000000000), long(wait % 1000000000)};
            pollfd p{m_in, POLLIN, 0};
            int n = ppoll(&p, 1, &ts, nullptr);
            if (n > 0 && (p.revents & POLLIN))
                receive();
        }
        while (!m_heap.empty()) {
            delete m_heap.top();
            m_heap.pop();
        }
    }

    Counters c;

private:
    double uniform() { return std::uniform_real_distribution<double>(0, 1)(m_rng); }

    bool lost()
    {
        if (m_c.ge) {
            if (m_bad) {
                if (uniform() < m_c.geR)
                    m_bad = false;
            } else {
                if (uniform() < m_c.geP)
                    m_bad = true;
            }
            return uniform() < (m_bad ? m_c.geLossBad : m_c.geLossGood);
        }
        return m_c.loss > 0 && uniform() < m_c.loss;
    }

    bool down(Ns t) const
    {
        if (m_o.at < 0)
            return false;
        double s = double(t - m_start) / 1e9;
        return s >= m_o.at && s < m_o.at + m_o.len;
    }

    void receive()
    {
        for (int i = 0; i < 64; ++i) {
            ssize_t n = read(m_in, m_buf, sizeof m_buf);
            if (n <= 0)
                return;
            Ns t = now();
            ++c.inPackets;
            c.inBytes += uint64_t(n);
            if (!c.first)
                c.first = t;
            c.last = t;
            Ns depart = t;
            if (m_c.rateMbit > 0) {
                double perByte = 8e3 / m_c.rateMbit; // ns per byte
                if (m_free < t)
                    m_free = t;
                int64_t queued = int64_t(double(m_free - t) / perByte);
                if (queued + n > m_c.queueBytes) {
                    ++c.queueDrops;
                    continue;
                }
                c.maxQueueBytes = std::max<int64_t>(c.maxQueueBytes, queued + n);
                c.sumQueueMs += double(m_free - t) / 1e6;
                m_free += Ns(double(n) * perByte);
                depart = m_free;
            }
            if (down(t)) {
                ++c.downDrops;
                continue;
            }
            if (lost()) {
                ++c.lossDrops;
                continue;
            } // lost on the wire: it has used its share of the rate
            Ns due = depart + Ns(m_c.delayMs * 1e6);
            if (m_c.jitterMs > 0) {
                due += Ns(uniform() * m_c.jitterMs * 1e6);
                if (due < m_lastDue)
                    due = m_lastDue; // order kept
            }
            m_lastDue = std::max(m_lastDue, due);
            if (m_c.reorder > 0 && uniform() < m_c.reorder) {
                due += Ns(m_c.reorderMs * 1e6);
                ++c.reordered;
            }
            push(due, m_buf, size_t(n));
            if (m_c.dup > 0 && uniform() < m_c.dup) {
                push(due, m_buf, size_t(n));
                ++c.duplicated;
            }
        }
    }

    void push(Ns due, const uint8_t *d, size_t n)
    {
        auto *p = new Packet{due, m_seq++, uint32_t(n), std::unique_ptr<uint8_t[]>(new uint8_t[n])};
        memcpy(p->data.get(), d, n);
        m_heap.push(p);
    }

    void deliver(Ns t)
    {
        while (!m_heap.empty() && m_heap.top()->due <= t) {
            Packet *p = m_heap.top();
            m_heap.pop();
            ssize_t w = write(m_out, p->data.get(), p->len);
            if (w == ssize_t(p->len)) {
                ++c.outPackets;
                c.outBytes += p->len;
            } else
                ++c.writeDrops;
            int64_t us = (now() - p->due) / 1000;
            ++c.late[size_t(std::min<int64_t>(std::max<int64_t>(us, 0), 4095))];
            delete p;
        }
    }

    int m_in, m_out;
    Config m_c;
    Outage m_o;
    std::mt19937_64 m_rng;
    Ns m_start, m_free = 0, m_lastDue = 0;
    uint64_t m_seq = 0;
    bool m_bad = false;
    std::priority_queue<Packet *, std::vector<Packet *>, Later> m_heap;
    uint8_t m_buf[65536];
};

int openTun(const std::string &name)
{
    int fd = open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        perror("open /dev/net/tun");
        exit(2);
    }
    ifreq r{};
    r.ifr_flags = IFF_TUN | IFF_NO_PI;
    strncpy(r.ifr_name, name.c_str(), IFNAMSIZ - 1);
    if (ioctl(fd, TUNSETIFF, &r) < 0) {
        perror("TUNSETIFF");
        exit(2);
    }
    return fd;
}

void usage()
{
    fputs("linkemu --dev-a NAME --dev-b NAME [options]\n"
          "  --time S         end after S seconds (default 120, at most 3600)\n"
          "  --stats FILE     counters as JSON (default: standard output)\n"
          "  --seed N         random seed (default 1)\n"
          "  --no-rt          do not ask for real-time scheduling\n"
          "  --down AT,LEN    the link loses everything in both directions from AT s for LEN s\n"
          " per direction; plain = both, prefix a- = packets sent by side A, b- = sent by side B:\n"
          "  --delay MS       one-way delay           --jitter MS     uniform extra delay, order kept\n"
          "  --rate MBIT      rate limit (IP bytes)   --queue BYTES   drop-tail queue in front of the rate limit\n"
          "  --loss P         i.i.d. loss 0..1        --ge P,R[,LB[,LG]]  Gilbert-Elliott chain per packet\n"
          "  --reorder P[,MS] hold back a share P     --dup P         deliver a share P twice\n",
          stderr);
    exit(2);
}

uint32_t quantile(const std::vector<uint32_t> &h, double q)
{
    uint64_t total = 0, seen = 0;
    for (auto v : h)
        total += v;
    for (size_t i = 0; i < h.size(); ++i) {
        seen += h[i];
        if (total && double(seen) >= q * double(total))
            return uint32_t(i);
    }
    return 0;
}

void print(FILE *f, const char *name, const Counters &c, bool comma)
{
    double s = c.last > c.first ? double(c.last - c.first) / 1e9 : 0;
    uint64_t forwarded = c.inPackets - c.queueDrops;
    fprintf(f,
            "  \"%s\": {\"in_packets\": %" PRIu64 ", \"in_bytes\": %" PRIu64 ", \"out_packets\": %" PRIu64
            ", \"out_bytes\": %" PRIu64 ", \"loss_drops\": %" PRIu64 ", \"queue_drops\": %" PRIu64
            ", \"down_drops\": %" PRIu64 ", \"write_drops\": %" PRIu64 ", \"duplicated\": %" PRIu64
            ", \"reordered\": %" PRIu64 ", \"max_queue_bytes\": %" PRId64 ", \"mean_queue_ms\": %.2f"
            ", \"active_s\": %.2f, \"in_mbit\": %.2f, \"out_mbit\": %.2f"
            ", \"late_us_p50\": %u, \"late_us_p99\": %u, \"late_us_max\": %u}%s\n",
            name, c.inPackets, c.inBytes, c.outPackets, c.outBytes, c.lossDrops, c.queueDrops, c.downDrops,
            c.writeDrops, c.duplicated, c.reordered, c.maxQueueBytes, forwarded ? c.sumQueueMs / double(forwarded) : 0,
            s, s > 0 ? double(c.inBytes) * 8 / s / 1e6 : 0, s > 0 ? double(c.outBytes) * 8 / s / 1e6 : 0,
            quantile(c.late, 0.5), quantile(c.late, 0.99), quantile(c.late, 1.0), comma ? "," : "");
}

} // namespace

int main(int argc, char **argv)
{
    std::string devA, devB, stats;
    double seconds = 120;
    uint64_t seed = 1;
    bool rt = true;
    Outage outage;
    Config cfg[2];
    for (int i = 1; i < argc; ++i) {
        std::string k = argv[i];
        if (k == "--no-rt") {
            rt = false;
            continue;
        }
        if (i + 1 >= argc)
            usage();
        std::string v = argv[++i];
        if (k == "--dev-a")
            devA = v;
        else if (k == "--dev-b")
            devB = v;
        else if (k == "--time")
            seconds = std::min(3600.0, atof(v.c_str()));
        else if (k == "--stats")
            stats = v;
        else if (k == "--seed")
            seed = strtoull(v.c_str(), nullptr, 10);
        else if (k == "--down") {
            if (sscanf(v.c_str(), "%lf,%lf", &outage.at, &outage.len) != 2)
                usage();
        } else {
            if (k.compare(0, 2, "--") != 0)
                usage();
            std::string n = k.substr(2);
            int from = 0, to = 2;
            if (n.compare(0, 2, "a-") == 0) {
                to = 1;
                n = n.substr(2);
            } else if (n.compare(0, 2, "b-") == 0) {
                from = 1;
                n = n.substr(2);
            }
            for (int d = from; d < to; ++d) {
                Config &c = cfg[d];
                if (n == "delay")
                    c.delayMs = atof(v.c_str());
                else if (n == "jitter")
                    c.jitterMs = atof(v.c_str());
                else if (n == "rate")
                    c.rateMbit = atof(v.c_str());
                else if (n == "queue")
                    c.queueBytes = atoll(v.c_str());
                else if (n == "loss")
                    c.loss = atof(v.c_str());
                else if (n == "dup")
                    c.dup = atof(v.c_str());
                else if (n == "reorder")
                    sscanf(v.c_str(), "%lf,%lf", &c.reorder, &c.reorderMs);
                else if (n == "ge") {
                    c.ge = true;
                    if (sscanf(v.c_str(), "%lf,%lf,%lf,%lf", &c.geP, &c.geR, &c.geLossBad, &c.geLossGood) < 2)
                        usage();
                } else
                    usage();
            }
        }
    }
    if (devA.empty() || devB.empty())
        usage();
    struct sigaction sa
    {
    };
    sa.sa_handler = onSignal;
    sigaction(SIGTERM, &sa, nullptr);
    sigaction(SIGINT, &sa, nullptr);
    mlockall(MCL_CURRENT);
    int a = openTun(devA), b = openTun(devB);
    Ns start = now();
    Direction ab(a, b, cfg[0], outage, seed * 2 + 1, start), ba(b, a, cfg[1], outage, seed * 2 + 2, start);
    Ns end = start + Ns(seconds * 1e9);
    std::thread t1([&] { ab.run(end); }), t2([&] { ba.run(end); });
    if (rt) {
        sched_param sp{};
        sp.sched_priority = 10;
        pthread_setschedparam(t1.native_handle(), SCHED_RR, &sp);
        pthread_setschedparam(t2.native_handle(), SCHED_RR, &sp);
    }
    t1.join();
    t2.join();
    FILE *f = stats.empty() ? stdout : fopen(stats.c_str(), "w");
    if (!f) {
        perror("stats");
        return 1;
    }
    fputs("{\n", f);
    print(f, "a_to_b", ab.c, true);
    print(f, "b_to_a", ba.c, false);
    fputs("}\n", f);
    if (f != stdout)
        fclose(f);
    return 0;
}
