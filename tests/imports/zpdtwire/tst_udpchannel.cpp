#include "Context.h"
#include "TestSupport.h"
#include "TlsIdentity.h"
#include "UdpController.h"
#include "UdpHandshake.h"
#include "UdpInbox.h"
#include "UdpListener.h"
#include "UdpRecovery.h"
#include "UdpRelay.h"

#include <QTemporaryDir>

#include <future>

using namespace zpdt;

namespace {

constexpr std::size_t kMiB = 1 << 20;

std::uint8_t byteAt(std::uint64_t offset)
{
    return std::uint8_t((offset * 2654435761u) >> 13);
}

/// One end: sends so many bytes in frames of changing size and checks that what comes is the other's bytes in order.
/// Its fields belong to the I/O thread.
struct End : Channel::Listener
{
    void start(std::shared_ptr<Channel> c, std::uint64_t bytes)
    {
        channel = std::move(c);
        toSend = bytes;
        channel->start(this);
    }
    void fill()
    {
        while (sent < toSend && channel->queuedBytes() < 256 * 1024) {
            const auto size = std::size_t(std::min<std::uint64_t>(1 + (sent * 7919) % 60000, toSend - sent));
            WireWriter out;
            out.begin(200, 1);
            for (std::size_t i = 0; i < size; ++i)
                out.u8(byteAt(sent + i));
            out.end();
            sent += size;
            channel->send(out.take());
            if (sent == toSend)
                channel->urge();
        }
    }
    void channelReady() override
    {
        ready = true;
        fill();
    }
    void channelFrame(std::uint8_t, std::uint32_t, const std::uint8_t *body, std::size_t size) override
    {
        for (std::size_t i = 0; i < size; ++i)
            good = good && body[i] == byteAt(received + i);
        received += size;
    }
    void channelWritable() override { fill(); }
    void channelClosed(Error e, const std::string &t) override
    {
        closed = true;
        error = e;
        text = t;
    }

    std::shared_ptr<Channel> channel;
    std::uint64_t toSend = 0;
    std::uint64_t sent = 0;
    std::uint64_t received = 0;
    bool good = true;
    bool ready = false;
    bool closed = false;
    Error error = Error::None;
    std::string text;
};

/// A listener, a relay before it, and the ends that met there.
class World
{
public:
    explicit World(unsigned seed = 1)
    {
        std::string problem;
        good = identity.load((folder.path() + "/cert.pem").toStdString(), problem);
        on([&] {
            listen(0);
            relay = std::make_shared<UdpRelay>(context.io(), listener->port(), seed);
            relay->start();
        });
    }
    ~World()
    {
        on([this] {
            relay->stop();
            for (auto &end : ends)
                end->channel->close();
            listener.reset();
        });
        context.stop();
    }
    void listen(std::uint16_t port)
    {
        std::string problem;
        listener = std::make_unique<UdpListener>(context, identity, keys, [this](std::shared_ptr<UdpChannel> channel) {
            ends.push_back(std::make_unique<End>());
            server = ends.back().get();
            server->start(std::move(channel), serverBytes);
        });
        good = listener->listen("127.0.0.1", port, problem) && good;
    }
    /// On the I/O thread, to its end.
    void on(const std::function<void()> &work)
    {
        std::promise<void> done;
        context.post([&] {
            work();
            done.set_value();
        });
        done.get_future().wait();
    }
    bool wait(const std::function<bool()> &test, int ms = 20000)
    {
        QElapsedTimer timer;
        timer.start();
        for (bool met = false; timer.elapsed() < ms; QThread::msleep(5)) { // why: polls a state of the I/O thread
            on([&] { met = test(); });
            if (met)
                return true;
        }
        return false;
    }
    End *connect(std::uint64_t bytes, const std::string &key, const std::string &fingerprint = {})
    {
        End *end = nullptr;
        on([&] {
            ends.push_back(std::make_unique<End>());
            end = ends.back().get();
            end->start(UdpChannel::toServer(context, "127.0.0.1", relay->port(),
                                            fingerprint.empty() ? identity.fingerprint() : fingerprint, key),
                       bytes);
        });
        return end;
    }
    Metrics metricsOf(const End *end)
    {
        Metrics metrics;
        on([&] { metrics = end->channel->metrics(); });
        return metrics;
    }

    QTemporaryDir folder;
    TlsIdentity identity;
    std::shared_ptr<UdpKeys> keys = std::make_shared<UdpKeys>();
    Context context{1};
    std::vector<std::unique_ptr<End>> ends;
    std::unique_ptr<UdpListener> listener;
    std::shared_ptr<UdpRelay> relay;
    std::uint64_t serverBytes = 0;
    End *server = nullptr; ///< the last that was accepted
    bool good = false;
};

/// Datagrams from an address of one's own, and what comes back.
class Stranger
{
public:
    explicit Stranger(std::uint16_t port)
        : m_socket(m_io, asio::ip::udp::endpoint(asio::ip::address_v4::loopback(), 0))
        , m_server(asio::ip::address_v4::loopback(), port)
    {
    }
    void send(const Bytes &datagram)
    {
        m_socket.send_to(asio::buffer(datagram), m_server);
        sent += datagram.size();
    }
    /// Kinds of the answers that came within a while.
    std::vector<UdpKind> answers(int ms)
    {
        std::vector<UdpKind> kinds;
        std::array<std::uint8_t, 2048> buffer;
        m_socket.non_blocking(true);
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < ms) {
            std::error_code failed;
            const std::size_t size = m_socket.receive(asio::buffer(buffer), 0, failed);
            if (failed) {
                QThread::msleep(2); // why: the socket does not block
                continue;
            }
            received += size;
            kinds.push_back(UdpKind(buffer[0]));
            last.assign(buffer.begin(), buffer.begin() + std::ptrdiff_t(size));
        }
        return kinds;
    }

    std::size_t sent = 0;
    std::size_t received = 0;
    Bytes last; ///< of the answers

private:
    asio::io_context m_io;
    asio::ip::udp::socket m_socket;
    asio::ip::udp::endpoint m_server;
};

} // namespace

/// The UDP carrier over a line that loses, reorders, repeats and damages: every byte in order, or a word why not.
class UdpChannelTest : public StrictTest
{
    Q_OBJECT

private slots:
    void bytesArrive_data();
    void bytesArrive();
    void closeBringsTheRest();
    void refused();
    void floods();
    void cookies();
    void addressChanges();
    void forgedAddress();
    void pathShrinks();
    void readerStops();
    void serverForgets();
    void paceFollowsGoal();
    void firstFlight();
    void controllersKnowTheLine();
    void parsersHold();
};

void UdpChannelTest::bytesArrive_data()
{
    QTest::addColumn<double>("lost");
    QTest::addColumn<double>("late");
    QTest::addColumn<double>("twice");
    QTest::addColumn<double>("damaged");
    QTest::addColumn<int>("mebibytes");
    QTest::newRow("clean, through several keys") << 0.0 << 0.0 << 0.0 << 0.0 << 64;
    QTest::newRow("loss") << 0.03 << 0.0 << 0.0 << 0.0 << 8;
    QTest::newRow("much loss") << 0.3 << 0.0 << 0.0 << 0.0 << 1;
    QTest::newRow("out of order") << 0.0 << 0.2 << 0.0 << 0.0 << 24;
    QTest::newRow("twice") << 0.0 << 0.0 << 0.3 << 0.0 << 8;
    QTest::newRow("damaged") << 0.0 << 0.0 << 0.0 << 0.05 << 8;
    QTest::newRow("everything") << 0.05 << 0.1 << 0.1 << 0.05 << 4;
}

void UdpChannelTest::bytesArrive()
{
    QFETCH(double, lost);
    QFETCH(double, late);
    QFETCH(double, twice);
    QFETCH(double, damaged);
    QFETCH(int, mebibytes);
    const std::uint64_t bytes = std::uint64_t(mebibytes) * kMiB;
    World world;
    QVERIFY(world.good);
    world.on([&] {
        world.relay->faults = {lost, late, twice, damaged, 1472};
        world.serverBytes = bytes / 4;
    });
    End *client = world.connect(bytes, world.keys->issue());
    QVERIFY2(
        world.wait([&] { return world.server && world.server->received == bytes && client->received == bytes / 4; },
                   60000),
        client->text.c_str());
    QVERIFY(client->good && world.server->good);
    QVERIFY(!client->closed && !world.server->closed);
    std::uint64_t carried = 0;
    world.on([&] { carried = world.relay->counts.toServer; });
    if (lost + late + twice + damaged == 0.0)
        QVERIFY(carried < 1.05 * double(bytes)); // nothing is sent twice for fear
    const Metrics metrics = world.metricsOf(client);
    QCOMPARE(metrics.carrier, std::string("UDP"));
    if (mebibytes > 16)
        QCOMPARE(metrics.packetBytes, 1472u);
}

void UdpChannelTest::closeBringsTheRest()
{
    // What was queued before close() arrives, over a line that loses the very last packets too.
    for (unsigned seed = 1; seed <= 10; ++seed) {
        World world(seed);
        world.on([&] { world.relay->faults.lost = 0.2; });
        End *client = world.connect(100000, world.keys->issue());
        QVERIFY(world.wait([&] { return client->ready; }));
        world.on([&] { client->channel->close(); });
        QVERIFY(world.wait([&] { return world.server && world.server->closed; }));
        QCOMPARE(world.server->received, std::uint64_t(100000));
        QVERIFY(world.server->good && !client->closed);
    }
}

void UdpChannelTest::refused()
{
    World world;
    UdpKeys others;
    const std::string key = world.keys->issue();
    End *first = world.connect(1000, key);
    QVERIFY(world.wait([&] { return world.server && world.server->received == 1000; }));
    // A key of another process, a used one, one that was changed, ones that end at the ends of time, another
    // certificate; all wait at once.
    std::string changed = world.keys->issue();
    changed[100] = changed[100] == '0' ? '1' : '0';
    const auto withEnd = [&](const char *end) { return world.keys->issue().replace(32, 16, end); };
    const std::vector<End *> refused{world.connect(1, others.issue()),
                                     world.connect(1, key),
                                     world.connect(1, changed),
                                     world.connect(1, withEnd("0000000000000080")),
                                     world.connect(1, withEnd("ffffffffffffff7f")),
                                     world.connect(1, world.keys->issue(), std::string(64, 'a'))};
    End *none = world.connect(1, "no key");
    QVERIFY(world.wait([&] { return none->closed; }, 1000));
    QCOMPARE(none->error, Error::Refused);
    for (End *end : refused) {
        QVERIFY(world.wait([&] { return end->closed; }, 7000));
        QVERIFY(!end->ready);
        QCOMPARE(end->error, Error::Network);
    }
    QVERIFY(!first->closed);
    std::size_t accepted = 0;
    world.on([&] { accepted = world.ends.size() - refused.size() - 2; });
    QCOMPARE(accepted, std::size_t(1));
}

void UdpChannelTest::floods()
{
    World world;
    End *client = world.connect(4 * kMiB, world.keys->issue());
    QVERIFY(world.wait([&] { return world.server; }));
    Bytes hello;
    world.on([&] { hello = world.relay->firstToServer; });
    Stranger stranger(world.listener->port());
    // What was overheard, and garbage of every kind and length.
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        Bytes garbage(1 + random() % 1400);
        for (auto &byte : garbage)
            byte = std::uint8_t(random());
        garbage[0] = std::uint8_t(i % 3 == 0 ? random() : i % 3 == 1 ? 0x40 : 1);
        stranger.send(i % 10 == 0 ? hello : garbage);
    }
    for (const UdpKind kind : stranger.answers(300))
        QCOMPARE(kind, UdpKind::Unknown);
    QVERIFY(stranger.received < stranger.sent / 20);
    QVERIFY(world.wait([&] { return world.server->received == 4 * kMiB && world.server->good; }));
    QVERIFY(!client->closed);
    // Nobody gets more bytes than he sent before his address is proven.
    QCOMPARE(hello.size(), kUdpFirst);
}

void UdpChannelTest::cookies()
{
    // Above a number of open handshakes an address has to be proven first; that costs no memory, and works.
    World world;
    Stranger stranger(world.listener->port());
    for (int i = 0; i < 60; ++i) {
        stranger.send(UdpClientHandshake(world.identity.fingerprint(), world.keys->issue()).hello());
        QThread::msleep(1); // why: more at once would be dropped by the socket
    }
    const auto kinds = stranger.answers(300);
    const auto welcomes = std::count(kinds.begin(), kinds.end(), UdpKind::Welcome);
    QVERIFY(welcomes > 0 && welcomes <= 40);
    QVERIFY(std::count(kinds.begin(), kinds.end(), UdpKind::Retry) >= 20);
    QVERIFY(stranger.received <= stranger.sent);
    world.connect(kMiB, world.keys->issue());
    QVERIFY(world.wait([&] { return world.server && world.server->received == kMiB; }, 4000));
}

void UdpChannelTest::addressChanges()
{
    World world;
    world.on([&] { world.serverBytes = 20 * kMiB; });
    End *client = world.connect(20 * kMiB, world.keys->issue());
    for (std::uint64_t mark = 1; mark <= 3; ++mark) {
        QVERIFY(world.wait([&] { return world.server && client->received > mark * 3 * kMiB; }));
        world.on([&] { world.relay->move(); });
    }
    QVERIFY(world.wait([&] { return world.server->received == 20 * kMiB && client->received == 20 * kMiB; }));
    QVERIFY(client->good && world.server->good && !client->closed);
}

void UdpChannelTest::forgedAddress()
{
    // A client that names somebody else as its address brings him one question, whatever its packets ask for.
    World world;
    Stranger client(world.listener->port()), victim(world.listener->port());
    const UdpClientHandshake handshake(world.identity.fingerprint(), world.keys->issue());
    client.send(handshake.hello());
    (void)client.answers(200);
    UdpMet met;
    QVERIFY(handshake.welcome(client.last.data(), client.last.size(), met));
    const auto packet = [&met](std::uint64_t number, int questions) {
        Bytes out(kUdpFirst);
        UdpHeader header;
        header.connection = met.other;
        header.number = number;
        header.write(out.data());
        UdpFrameWriter writer(out.data() + kUdpHeader, out.size() - kUdpHeader - kUdpTag);
        writer.ping();
        for (int i = 0; i < questions; ++i)
            writer.challenge(UdpFrameType::Challenge, std::uint64_t(i));
        const std::size_t size = writer.size();
        (void)met.out.seal(number, out.data(), kUdpHeader, out.data() + kUdpHeader, size);
        out.resize(kUdpHeader + size + kUdpTag);
        return out;
    };
    client.send(packet(0, 0));
    QVERIFY(world.wait([&] { return world.server; }));
    victim.send(packet(1, 100));
    QCOMPARE(victim.answers(300).size(), std::size_t(1));
    QVERIFY(victim.received < 60);
}

void UdpChannelTest::pathShrinks()
{
    World world;
    End *client = world.connect(12 * kMiB, world.keys->issue());
    QVERIFY(world.wait([&] { return world.server && world.server->received > 2 * kMiB; }));
    world.on([&] { world.relay->faults.most = 1250; });
    QVERIFY(world.wait([&] { return world.server->received == 12 * kMiB; }));
    QVERIFY(world.server->good && !client->closed);
    QCOMPARE(world.metricsOf(client).packetBytes, 1200u);
}

void UdpChannelTest::readerStops()
{
    World world;
    End *client = world.connect(100 * kMiB, world.keys->issue());
    QVERIFY(world.wait([&] { return world.server && world.server->received > kMiB; }));
    std::uint64_t stopped = 0;
    world.on([&] {
        world.server->channel->setReading(false);
        stopped = world.server->received;
    });
    QTest::qWait(700); // why: what was under way arrives, and no more
    std::uint64_t ahead = 0;
    world.on([&] {
        QCOMPARE(world.server->received, stopped);
        ahead = client->sent - stopped;
    });
    QVERIFY2(ahead < 36 * kMiB, qPrintable(QString::number(ahead)));
    QVERIFY(!client->closed);
    world.on([&] { world.server->channel->setReading(true); });
    QVERIFY(world.wait([&] { return world.server->received == 100 * kMiB && world.server->good; }, 40000));
}

void UdpChannelTest::serverForgets()
{
    // A service that was killed and started again says so at once; nobody else can say it for it.
    World world;
    End *client = world.connect(kMiB, world.keys->issue());
    QVERIFY(world.wait([&] { return world.server && world.server->received == kMiB; }));
    const std::uint16_t port = world.listener->port();
    world.on([&] {
        // As a kill does it: no good-byes.
        world.relay->faults.lost = 1.0;
        world.server->channel->close();
        world.listener.reset();
    });
    QTest::qWait(1800); // why: longer than a good-bye is repeated
    world.on([&] {
        world.listen(port);
        QVERIFY(world.good);
        world.relay->faults.lost = 0.0;
        client->toSend += 1000;
        client->fill();
    });
    QVERIFY(world.wait([&] { return client->closed; }, 3000));
    QCOMPARE(client->error, Error::Network);
    QVERIFY2(client->text.find("does not know") != std::string::npos, client->text.c_str());
}

void UdpChannelTest::paceFollowsGoal()
{
    World world;
    End *client = world.connect(1000 * kMiB, world.keys->issue());
    for (const RateGoal &goal : {RateGoal{8 * kMiB, RateMode::Fixed, 0, 0}, RateGoal{3 * kMiB, RateMode::Fair, 0, 0}}) {
        world.on([&] { client->channel->setGoal(goal); });
        QTest::qWait(700); // why: the new pace settles
        QElapsedTimer timer;
        timer.start();
        std::uint64_t before = 0;
        std::uint64_t after = 0;
        world.on([&] { before = world.server->received; });
        QTest::qWait(800); // why: a stretch to measure
        const double seconds = double(timer.nsecsElapsed()) / 1e9;
        world.on([&] { after = world.server->received; });
        const double share = double(after - before) / seconds / double(goal.bytesPerSecond);
        QVERIFY2(share > 0.85 && share < 1.1, qPrintable(QString::number(share)));
    }
}

void UdpChannelTest::firstFlight()
{
    // A hundred packets at 2 MB/s over 80 ms, acknowledged every 5 ms but for the last twenty. The fortieth is lost.
    constexpr std::uint32_t kSize = 1000;
    UdpOutbox outbox;
    outbox.push(Bytes(100 * kSize));
    UdpRecovery recovery(outbox);
    recovery.firstRoundTrip(0.08);
    const auto start = UdpClock::now();
    const auto send = [&](UdpClock::time_point at) {
        Bytes out(kSize);
        const UdpOutbox::Piece piece = outbox.next(kSize, UINT64_MAX);
        outbox.take(piece, out.data());
        UdpSentPacket packet;
        packet.at = at;
        packet.offset = piece.offset;
        packet.length = std::uint32_t(piece.size);
        packet.wire = kSize;
        packet.elicits = true;
        recovery.onSent(packet);
        return piece.offset / kSize;
    };
    for (int i = 0; i < 100; ++i)
        QCOMPARE(send(start + std::chrono::microseconds(500 * i)), std::uint64_t(i));
    double early = 0.0, usual = 0.0;
    for (int ms = 5; ms <= 40; ms += 5) {
        UdpAck ack;
        ack.ranges = {{41, std::uint64_t(2 * ms)}, {0, 40}};
        if (2 * ms <= 41)
            ack.ranges = {{0, std::uint64_t(std::min(2 * ms, 40))}};
        ack.clockUs = std::uint64_t(1000000 + 1000 * ms);
        UdpSample sample;
        QVERIFY(recovery.onAck(ack, start + std::chrono::milliseconds(80 + ms), sample));
        early = sample.early > 0.0 ? sample.early : early;
        usual = sample.rate;
    }
    QCOMPARE(early, 0.0); // 35 ms say nothing yet
    UdpAck ack;
    ack.ranges = {{41, 90}, {0, 40}};
    ack.clockUs = 1046000;
    UdpSample sample;
    QVERIFY(recovery.onAck(ack, start + std::chrono::milliseconds(126), sample));
    QVERIFY2(sample.early > 1.9e6 && sample.early < 2.05e6, qPrintable(QString::number(sample.early)));
    QVERIFY(usual < 1e6);
    // The lost one goes again, then what is under way, from its end on and once.
    QVERIFY(outbox.hasLost());
    QCOMPARE(send(start + std::chrono::milliseconds(125)), std::uint64_t(40));
    QVERIFY(!outbox.hasLost());
    recovery.restartRepeats();
    for (std::uint64_t left = 95; left > 90; --left) {
        QVERIFY(recovery.repeatNewest(95 * kSize));
        QCOMPARE(send(start + std::chrono::milliseconds(126)), left == 95 ? 40 : left);
    }
    QVERIFY(recovery.repeatNewest(95 * kSize));
    QCOMPARE(send(start + std::chrono::milliseconds(126)), std::uint64_t(90));
    QVERIFY(!recovery.repeatNewest(95 * kSize));
}

void UdpChannelTest::controllersKnowTheLine()
{
    // A line of 20 MB/s and 80 ms with a deep queue, round trip by round trip. Before the data begins only a few small
    // messages cross it, which say nothing of its rate.
    constexpr double kRate = 20e6, kLeast = 0.08;
    for (const RateMode mode : {RateMode::Fixed, RateMode::Fair}) {
        const auto controller = UdpController::make(mode, kLeast, 1472);
        controller->setTarget(1.1 * kRate, 1.02 * kRate, kRate);
        const double first = controller->pace();
        UdpSample sample;
        sample.now = UdpClock::now();
        double longest = 0.0;
        for (int round = 0; round < 1000; ++round) {
            const bool waiting = round < 5;
            const double rate =
                waiting ? 1e4 : std::min({controller->pace(), double(controller->window()) / kLeast, kRate});
            const double queued = waiting ? 0.0 : std::max(0.0, double(controller->window()) - kLeast * rate);
            sample.roundTrip = kLeast + (controller->pace() > kRate ? queued / kRate : 0.0);
            sample.now += std::chrono::microseconds(std::int64_t(sample.roundTrip * 1e6));
            sample.rate = rate;
            sample.limited = waiting;
            sample.deliveredBefore = sample.delivered;
            sample.inFlight = controller->window();
            sample.acked[0] = std::uint64_t(rate * sample.roundTrip);
            sample.delivered += sample.acked[0];
            controller->onSample(sample);
            if (waiting)
                QVERIFY(controller->pace() >= first);
            if (round < 50)
                continue; // the start may fill the queue
            QVERIFY2(controller->pace() >= 0.7 * kRate, qPrintable(QString::number(round)));
            longest = std::max(longest, sample.roundTrip);
        }
        // The queue that they make themselves does not become part of what they take for the line.
        QVERIFY2(longest < 1.8 * kLeast, qPrintable(QString::number(longest)));
    }
}

void UdpChannelTest::parsersHold()
{
    // A stream in countless pieces is no stream.
    UdpInbox inbox;
    const std::uint8_t byte = 0;
    std::uint64_t left = 100000;
    while (left > 0 && inbox.add(2 * left, &byte, 1))
        --left;
    QVERIFY(left > 80000);
    // Whatever comes, reading stays within it and gives values within bounds; what is written is read again.
    std::mt19937 random(11);
    UdpFrame frame;
    for (int i = 0; i < 20000; ++i) {
        std::array<std::uint8_t, 1200> packet;
        const std::size_t size = 60 + random() % (packet.size() - 60);
        UdpFrameWriter writer(packet.data(), size);
        UdpAck ack;
        std::uint64_t at = 1 + random() % 1000000;
        for (std::size_t n = 1 + random() % 200; n > 0; --n) {
            const std::uint64_t length = 1 + random() % 300;
            ack.ranges.insert(ack.ranges.begin(), {at, at + length});
            at += length + 1 + random() % 100000;
        }
        writer.ping();
        writer.ack(ack);
        UdpFrameReader whole(packet.data(), writer.size());
        QVERIFY(whole.next(frame) && frame.type == UdpFrameType::Ping);
        QVERIFY(whole.next(frame) && frame.type == UdpFrameType::Ack && !whole.next(frame) && whole.ok());
        QVERIFY(frame.ack.largest() == ack.largest() && frame.ack.ranges.size() <= ack.ranges.size());
        for (std::size_t n = 0; n < frame.ack.ranges.size(); ++n)
            QVERIFY(frame.ack.ranges[n].first == ack.ranges[n].first && frame.ack.ranges[n].end == ack.ranges[n].end);

        for (int flips = int(random() % 4); flips >= 0; --flips)
            packet[random() % writer.size()] = std::uint8_t(random());
        const std::vector<std::uint8_t> cut(packet.begin(), packet.begin() + std::ptrdiff_t(random() % writer.size()));
        UdpFrameReader reader(cut.data(), cut.size());
        while (reader.next(frame)) {
            if (frame.type == UdpFrameType::Ack)
                for (const auto &range : frame.ack.ranges)
                    QVERIFY(range.first < range.end && range.end <= kUdpMaxNumber + 1);
            if (frame.type == UdpFrameType::Data)
                QVERIFY(frame.size > 0 && frame.data + frame.size <= cut.data() + cut.size());
        }
        UdpHeader header;
        (void)UdpHeader::read(cut.data(), cut.size(), header);
    }
}

ARKVALE_GUILESS_TEST(UdpChannelTest)

#include "tst_udpchannel.moc"
