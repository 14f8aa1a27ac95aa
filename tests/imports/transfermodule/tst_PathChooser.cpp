#include "PathChooser.h"
#include "PathMemory.h"

#include "TestSupport.h"

#include <QTemporaryDir>

namespace {

/// A line as the chooser sees it: how fast each carrier is, when it connects and from when on it is silent.
struct Line
{
    double tcp = 0.0; ///< share of the target; 0: does not pass
    double udp = 0.0;
    double rtt = 80.0;
    double tcpLoss = 0.0;
    double udpLoss = 0.0;
    int slowFrom = -1;   ///< second from which UDP has a hundredth of its speed
    int silentFrom = -1; ///< second from which nothing comes over UDP
    int work = 1000;     ///< seconds of it
    int raisedAt = -1;   ///< second in which the target speed becomes ten times what it was
};

constexpr double kTarget = 1e7;

} // namespace

Q_DECLARE_METATYPE(Line)

/// The choice of carriers against scripted lines.
class PathChooserTest : public StrictTest
{
    Q_OBJECT

private slots:
    void lines_data();
    void lines();
    void connectionsBreak();
    void memoryExpires();
};

void PathChooserTest::lines_data()
{
    QTest::addColumn<Line>("line");
    QTest::addColumn<QString>("earlier");  ///< "", "tcp", "udp" or "blocked"
    QTest::addColumn<QString>("expected"); ///< carriers in their order, with the second of their start
    const auto row = [](const char *name, const Line &line, const char *earlier, const char *expected) {
        QTest::newRow(name) << line << earlier << expected;
    };
    row("short and clean", {1.0, 1.0, 1.0}, "", "tcp0");
    row("short, disk-bound", {0.5, 0.5, 1.0}, "", "tcp0");
    row("no UDP", {0.2, 0.0}, "", "tcp0");
    row("no TCP", {0.0, 0.9}, "", "udp0");
    row("long and lossy: UDP at once, and it stays", {0.1, 0.9, 80.0, 1.0, 1.0}, "", "udp0");
    row("long and clean: TCP costs less", {1.0, 1.0}, "", "udp0 tcp8");
    row("long, clean, TCP window too small", {0.4, 1.0}, "", "udp0 tcp8 udp12");
    row("UDP throttled from the start", {0.8, 0.05}, "", "udp0 tcp3");
    row("both slow, UDP no better", {0.3, 0.31}, "", "udp0 tcp4");
    row("both slow, UDP better", {0.1, 0.4}, "", "udp0 tcp4 udp7");
    row("medium, TCP suffers", {0.3, 0.9, 15.0, 1.0, 1.0}, "", "tcp0 udp4");
    row("little work", {0.3, 0.9, 15.0, 1.0, 1.0, -1, -1, 5}, "", "tcp0");
    row("UDP goes silent", {0.7, 0.95, 80.0, 1.0, 1.0, -1, 20}, "", "udp0 tcp22");
    row("UDP becomes slow", {0.7, 0.9, 80.0, 1.0, 1.0, 20}, "", "udp0 tcp21");
    row("medium, the target is raised", {1.0, 1.0, 15.0, 1.0, 1.0, -1, -1, 1000, 20}, "", "tcp0");
    row("UDP was better", {0.1, 0.9, 15.0, 1.0, 1.0}, "udp", "udp0");
    row("UDP was better and is throttled now", {0.7, 0.05, 80.0}, "udp", "udp0 tcp3");
    row("TCP was better", {0.8, 0.9}, "tcp", "tcp0");
    row("UDP was blocked", {0.1, 0.9, 80.0, 1.0, 1.0}, "blocked", "tcp0");
}

void PathChooserTest::lines()
{
    QFETCH(Line, line);
    QFETCH(QString, earlier);
    QFETCH(QString, expected);
    PathChooser chooser;
    chooser.setUdp(true, true);
    if (!earlier.isEmpty())
        chooser.remember(PathVerdict{earlier == QLatin1String("udp") ? Carrier::Udp : Carrier::Tcp,
                                     earlier == QLatin1String("blocked"),
                                     earlier == QLatin1String("udp") ? 0.9 * kTarget : 0.0});
    chooser.begin(0);
    QStringList seen;
    std::optional<Carrier> last;
    std::array<int, 2> connecting = {-1, -1}; ///< tenths
    std::array<bool, 2> connected = {false, false};
    qint64 since = 0;
    for (int tenth = 0; tenth < 600; ++tenth) {
        const qint64 now = tenth * 100;
        for (const Carrier carrier : {Carrier::Tcp, Carrier::Udp}) {
            const auto i = static_cast<std::size_t>(carrier);
            if (!chooser.wanted(carrier))
                continue;
            if (connecting[i] < 0)
                connecting[i] = tenth;
            const bool passes = (carrier == Carrier::Tcp ? line.tcp : line.udp) > 0.0;
            if (!connected[i] && passes && tenth >= connecting[i] + 2) {
                connected[i] = true;
                chooser.ready(carrier, now, line.rtt);
            } else if (!passes && tenth == connecting[i] + 50) {
                chooser.gone(carrier, now);
            }
        }
        if (line.raisedAt * 10 == tenth)
            chooser.targetChanged(now);
        const auto carrier = chooser.current();
        const bool udp = carrier == Carrier::Udp;
        const int silentFrom = udp ? line.silentFrom : -1;
        chooser.tick(now, silentFrom >= 0 && tenth > silentFrom * 10 ? now - silentFrom * 1000 : 0);
        if (chooser.current() != last) {
            last = chooser.current();
            since = now;
            QVERIFY(!chooser.reason().isEmpty());
            seen.append((*last == Carrier::Udp ? "udp" : "tcp") + QString::number(now / 1000));
        } else if (last && tenth % 10 == 5) {
            const bool slow = udp && line.slowFrom >= 0 && tenth > line.slowFrom * 10;
            PathChooser::Second second;
            second.targetShare = (udp ? line.udp : line.tcp) * (slow ? 0.01 : 1.0);
            // A carrier needs a moment to fill the line.
            if (now - since < 1000)
                second.targetShare *= 0.5;
            // The figures of a second lag behind.
            if (line.raisedAt >= 0 && tenth >= line.raisedAt * 10 && tenth < line.raisedAt * 10 + 12)
                second.targetShare *= 0.1;
            second.bytesPerSecond = second.targetShare * kTarget;
            second.lossPercent = udp ? line.udpLoss : line.tcpLoss;
            second.roundTripMs = line.rtt;
            second.secondsLeft = line.work;
            chooser.second(second, now);
        }
    }
    QCOMPARE(seen.join(QLatin1Char(' ')), expected);
}

void PathChooserTest::connectionsBreak()
{
    PathChooser chooser;
    chooser.setUdp(true, true);
    chooser.begin(0);
    chooser.ready(Carrier::Tcp, 100, 80.0);
    chooser.ready(Carrier::Udp, 150, 80.0);
    QVERIFY(chooser.current() == Carrier::Udp);
    // TCP still stands: at once. Then nothing does, and UDP is wanted no more.
    chooser.gone(Carrier::Udp, 9000);
    QVERIFY(chooser.current() == Carrier::Tcp);
    chooser.gone(Carrier::Tcp, 9500);
    QVERIFY(!chooser.current() && !chooser.wanted(Carrier::Tcp));
    // A transfer type without UDP.
    chooser.end();
    chooser.setUdp(false, true);
    chooser.begin(10000);
    QVERIFY(chooser.wanted(Carrier::Tcp) && !chooser.wanted(Carrier::Udp));
    chooser.gone(Carrier::Tcp, 10100);
    QVERIFY(!chooser.wanted(Carrier::Udp));
}

void PathChooserTest::memoryExpires()
{
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("sub/paths"));
    const QDateTime now = QDateTime::currentDateTimeUtc();
    PathMemory(file).store(QStringLiteral("a"), {Carrier::Udp, false, 5e6}, now);
    PathMemory memory(file);
    memory.store(QStringLiteral("b"), {Carrier::Tcp, true, 0.0}, now);
    const auto found = PathMemory(file).find(QStringLiteral("a"), now.addSecs(3600));
    QVERIFY(found && found->better == Carrier::Udp && !found->udpBlocked && found->rate == 5e6);
    QVERIFY(PathMemory(file).find(QStringLiteral("b"), now.addSecs(60))->udpBlocked);
    QVERIFY(!memory.find(QStringLiteral("b"), now.addSecs(3601)));
    QVERIFY(!memory.find(QStringLiteral("a"), now.addSecs(5 * 3600)));
    QVERIFY(!memory.find(QStringLiteral("a"), now.addDays(-2)));
    for (const char *damaged : {"", "{", "[1]", R"({"a":{"path":5,"until":"soon"}})"}) {
        QFile out(file);
        QVERIFY(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
        out.write(damaged);
        out.close();
        QVERIFY(!PathMemory(file).find(QStringLiteral("a"), now));
    }
}

ARKVALE_GUILESS_TEST(PathChooserTest)
#include "tst_PathChooser.moc"
