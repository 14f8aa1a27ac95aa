#include "Messages.h"
#include "TcpChannel.h"
#include "TestSupport.h"
#include "TransferLoop.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>

using zpdt::ConnectionState;
using zpdt::Direction;
using zpdt::Error;

/// Pausing, cancelling, refusing, stopping, and clients that send rubbish.
class TransferServerTest : public StrictTest
{
    Q_OBJECT

private slots:
    void pausedAndResumed_data();
    void pausedAndResumed();
    void stoppedService();
    void refusedTickets();
    void wrongCertificate();
    void floods();
    void rate_data();
    void rate();
    void quotaAndExcluded();
    void quotaOfParallelStreams();
    void partialFilesCount();
    void discardedPartialFiles();
    void oldPartialFiles();
    void oneFolderTwoPaths();
    void manyFolders();
    void folderTakenAway_data();
    void folderTakenAway();
    void rightTakenAway();
};

namespace {
constexpr int kMiB = 1 << 20;
}

void TransferServerTest::pausedAndResumed_data()
{
    QTest::addColumn<bool>("upload");
    QTest::addColumn<bool>("cancel");
    QTest::newRow("upload, paused") << true << false;
    QTest::newRow("download, paused") << false << false;
    QTest::newRow("upload, cancelled") << true << true;
    QTest::newRow("download, cancelled") << false << true;
}

void TransferServerTest::pausedAndResumed()
{
    QFETCH(bool, upload);
    QFETCH(bool, cancel);
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    const QByteArray bytes = noise(24 * kMiB, 1);
    writeFile((upload ? loop.local() : loop.home() + "/in") + "/f", bytes);
    const QString target = upload ? loop.home() + "/in/f" : loop.local() + "/out/f";
    writeFile(target, "the old one");
    // Slow enough that the middle is not missed.
    loop.connection().setRate(upload ? Direction::Upload : Direction::Download, 40 * kMiB);
    StreamLog log;
    const auto stream =
        upload ? loop.start(loop.uploadRequest({"f"}), log) : loop.start(loop.downloadRequest({"f"}), log);
    QVERIFY(loop.wait([&] { return log.lastProgress.bytes >= 6 * kMiB; }));
    if (cancel)
        stream->cancel();
    else
        stream->pause();
    QVERIFY(loop.wait([&] { return log.ended; }));
    QCOMPARE(log.result.error, Error::Cancelled);
    QFile old(target);
    QVERIFY(old.open(QIODevice::ReadOnly));
    QCOMPARE(old.readAll(), QByteArray("the old one"));
    const QString cache = target + ".ZPDT.cache";
    if (cancel) {
        QTRY_VERIFY(!QFile::exists(cache));
        return;
    }
    QVERIFY(QFile::exists(cache));
    const quint64 confirmed = log.result.progress.bytes;
    loop.connection().setRate(upload ? Direction::Upload : Direction::Download, 0);
    StreamLog first;
    bool seen = false;
    quint64 startedAt = 0;
    loop.onStep = [&] {
        if (!seen && first.lastProgress.bytes > 0) {
            seen = true;
            startedAt = first.lastProgress.bytes;
        }
    };
    auto again = loop.uploadRequest({"f"});
    again.resumed = true;
    auto againDown = loop.downloadRequest({"f"});
    againDown.resumed = true;
    const auto second = upload ? loop.start(again, first) : loop.start(againDown, first);
    QVERIFY(loop.wait([&] { return first.ended; }));
    loop.onStep = nullptr;
    QCOMPARE(first.result.error, Error::None);
    QVERIFY2(startedAt >= confirmed, "confirmed blocks were not kept");
    QFile file(target);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll() == bytes);
    QVERIFY(!QFile::exists(cache));
    QCOMPARE(first.ends, 1);
    // A handle does nothing after the end.
    stream->cancel();
    second->pause();
}

void TransferServerTest::stoppedService()
{
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    const quint16 port = loop.server().port();
    writeFile(loop.local() + "/f", noise(20 * kMiB, 1));
    loop.connection().setRate(Direction::Upload, 40 * kMiB);
    StreamLog log;
    const auto stream = loop.start(loop.uploadRequest({"f"}), log);
    QVERIFY(loop.wait([&] { return log.lastProgress.bytes >= 4 * kMiB; }));
    const std::string fingerprint = loop.server().fingerprint();
    loop.stopServer();
    QVERIFY(loop.wait([&] { return log.ended && loop.state == ConnectionState::Closed; }));
    QCOMPARE(log.result.error, Error::Network);
    QCOMPARE(loop.stateError, Error::Network);
    QVERIFY(!QFile::exists(loop.home() + "/in/f"));
    // A stream on the closed connection ends as well, and says so.
    QCOMPARE(loop.upload({"f"}).result.error, Error::Network);
    loop.startServer(port);
    QCOMPARE(loop.server().fingerprint(), fingerprint);
    loop.connect();
    QCOMPARE(loop.upload({"f"}, true).result.error, Error::None);
    QCOMPARE(snapshot(loop.home() + "/in").value("f"), snapshot(loop.local()).value("f"));
}

void TransferServerTest::refusedTickets()
{
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    writeFile(loop.local() + "/f", "bytes");
    zpdt::UploadRequest used = loop.uploadRequest({"f"});
    StreamLog first, second, unknown, otherWay, outside;
    loop.start(used, first);
    QVERIFY(loop.wait([&] { return first.ended; }));
    QCOMPARE(first.result.error, Error::None);
    loop.start(used, second);
    zpdt::UploadRequest request = loop.uploadRequest({"f"});
    request.ticket = "nonsense";
    loop.start(request, unknown);
    zpdt::DownloadRequest down = loop.downloadRequest({"f"});
    down.ticket = loop.ticket(Direction::Upload, "in");
    loop.start(down, otherWay);
    QVERIFY(loop.wait([&] { return second.ended && unknown.ended && otherWay.ended; }));
    for (const StreamLog *log : {&second, &unknown, &otherWay})
        QCOMPARE(log->result.error, Error::Refused);
    // A ticket's folder that leads out of the home is refused however it came about.
    loop.start(loop.uploadRequest({"f"}, "../elsewhere"), outside);
    QVERIFY(loop.wait([&] { return outside.ended; }));
    QCOMPARE(outside.result.error, Error::BadName);
    // The connection is as good as before.
    QCOMPARE(loop.upload({"f"}).result.error, Error::None);
    // Whoever tries tickets is thrown out.
    for (int i = 0; i < 8; ++i) {
        request.ticket = "guess";
        StreamLog guess;
        loop.start(request, guess);
        QVERIFY(loop.wait([&] { return guess.ended; }));
    }
    QVERIFY(loop.wait([&] { return loop.state == ConnectionState::Closed; }));
    QCOMPARE(loop.stateError, Error::Refused);
}

void TransferServerTest::wrongCertificate()
{
    TransferLoop loop;
    loop.startServer();
    loop.connect(0, QString(64, 'a'));
    writeFile(loop.local() + "/f", "bytes");
    const StreamLog log = loop.upload({"f"});
    QCOMPARE(log.result.error, Error::Refused);
    QVERIFY(!log.opened);
    QVERIFY(loop.wait([&] { return loop.stateError != Error::None; }));
    QCOMPARE(loop.stateError, Error::Refused);
    struct stat key;
    QCOMPARE(stat(QFile::encodeName(loop.local() + "/../transfer.pem").constData(), &key), 0);
    QCOMPARE(int(key.st_mode & 0777), 0600);
}

namespace {

/// A connection from an address of its own among those of this machine, -1 when there is none.
int connectFrom(quint32 address, quint16 port)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in here{}, there{};
    here.sin_family = there.sin_family = AF_INET;
    here.sin_addr.s_addr = htonl(address);
    there.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    there.sin_port = htons(port);
    if (::bind(fd, reinterpret_cast<sockaddr *>(&here), sizeof(here)) == 0 &&
        ::connect(fd, reinterpret_cast<sockaddr *>(&there), sizeof(there)) == 0)
        return fd;
    ::close(fd);
    return -1;
}

/// Asks for a file and reads nothing of it.
class SlowReader : public zpdt::Channel::Listener
{
public:
    SlowReader(TransferLoop &loop, std::shared_ptr<zpdt::Channel> channel)
        : m_ticket(loop.ticket(Direction::Download, "in"))
        , m_channel(std::move(channel))
    {
    }
    void start() { m_channel->start(this); }
    void channelReady() override
    {
        zpdt::OpenMessage open;
        open.ticket = m_ticket;
        open.direction = Direction::Download;
        m_channel->send(zpdt::frame(0, zpdt::HelloMessage()));
        m_channel->send(zpdt::frame(1, open));
        m_channel->send(zpdt::frame(1, zpdt::WantMessage()));
        m_channel->setReading(false);
    }
    void channelFrame(std::uint8_t, std::uint32_t, const std::uint8_t *, std::size_t) override {}
    void channelWritable() override {}
    void channelClosed(Error, const std::string &) override {}

private:
    const std::string m_ticket;
    const std::shared_ptr<zpdt::Channel> m_channel;
};

} // namespace

/// One honest client keeps half of its speed beside readers that do not read, handshakes that are left half open and
/// rubbish by the hundred, from its own address and from others.
void TransferServerTest::floods()
{
    TransferLoop loop;
    loop.startServer();
    writeFile(loop.local() + "/f", noise(48 * kMiB, 1));
    writeFile(loop.home() + "/in/big", noise(16 * kMiB, 2));
    const quint16 port = loop.server().port();
    const auto honest = [&] {
        QElapsedTimer timer;
        timer.start();
        loop.connect();
        const Error error = loop.upload({"f"}).result.error;
        return error == Error::None ? timer.elapsed() : qint64(1) << 40;
    };
    qint64 alone = honest();
    alone = std::max(alone, honest());

    std::vector<std::unique_ptr<SlowReader>> slow;
    for (int i = 0; i < 24; ++i) {
        slow.push_back(std::make_unique<SlowReader>(
            loop, zpdt::TcpChannel::toServer(loop.context(), "127.0.0.1", port, loop.server().fingerprint())));
        loop.context().post([&reader = *slow.back()] { reader.start(); });
    }
    std::vector<int> halfOpen;
    for (quint32 i = 0; i < 600; ++i)
        halfOpen.push_back(connectFrom(0x7f000002 + i % 12, port));
    std::atomic<bool> over{false};
    std::atomic<int> thrown{0};
    std::thread rubbish([&] {
        const QByteArray bytes = noise(2000, 3);
        while (!over) {
            const int fd = connectFrom(0x7f000001 + quint32(thrown) % 40, port);
            if (fd >= 0 && ++thrown % 2)
                (void)::send(fd, bytes.constData(), std::size_t(bytes.size()), MSG_NOSIGNAL);
            ::close(fd);
            std::this_thread::sleep_for(std::chrono::milliseconds(2)); // why: some hundred a second, no more
        }
    });
    // The machine may be busy with something else at one moment.
    qint64 beside = honest();
    for (int i = 0; i < 3 && beside > 2 * alone; ++i)
        beside = honest();
    over = true;
    rubbish.join();
    for (int fd : halfOpen)
        ::close(fd);
    QVERIFY2(beside <= 2 * alone, qPrintable(QString("%1 ms alone, %2 ms beside").arg(alone).arg(beside)));
    QVERIFY(thrown > 20);
    QCOMPARE(snapshot(loop.home() + "/in").value("f"), snapshot(loop.local()).value("f"));
    loop.stopServer();
    // The slow readers' channels end on their thread.
    loop.context().stop();
}

void TransferServerTest::rate_data()
{
    QTest::addColumn<bool>("upload");
    QTest::newRow("upload") << true;
    QTest::newRow("download") << false;
}

void TransferServerTest::rate()
{
    QFETCH(bool, upload);
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    loop.connection().setRate(upload ? Direction::Upload : Direction::Download, 3 * kMiB);
    writeFile((upload ? loop.local() : loop.home() + "/in") + "/f", noise(4 * kMiB, 1));
    QElapsedTimer timer;
    timer.start();
    QCOMPARE((upload ? loop.upload({"f"}) : loop.download({"f"})).result.error, Error::None);
    // At least the time that the rate asks for, and not much more; a busy machine may add to it.
    QVERIFY2(timer.elapsed() > 1200 && timer.elapsed() < 4000, qPrintable(QString::number(timer.elapsed())));
}

void TransferServerTest::quotaAndExcluded()
{
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    writeFile(loop.local() + "/d/film.mp4", "film");
    writeFile(loop.local() + "/d/text.txt", "text");
    writeFile(loop.local() + "/alone.mp4", "film");
    zpdt::UploadRequest request = loop.uploadRequest({"d", "alone.mp4"});
    request.excludedSuffixes = {".mp4"};
    StreamLog log;
    loop.start(request, log);
    QVERIFY(loop.wait([&] { return log.ended; }));
    QCOMPARE(log.result.error, Error::None);
    // Inside folders alone.
    QCOMPARE(snapshot(loop.home() + "/in").keys(), (QStringList{"alone.mp4", "d", "d/text.txt"}));
    QCOMPARE(log.totals.files, std::uint64_t(2));
    loop.quotaFree = [] { return quint64(kMiB); };
    writeFile(loop.local() + "/big", noise(2 * kMiB, 1));
    QCOMPARE(loop.upload({"big"}).result.error, Error::NoSpace);
    QCOMPARE(snapshot(loop.home() + "/in").keys(), (QStringList{"alone.mp4", "d", "d/text.txt"}));
}

void TransferServerTest::quotaOfParallelStreams()
{
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    loop.quotaFree = [&loop] { return quint64(10 * kMiB - loop.used); };
    loop.connection().setRate(Direction::Upload, 40 * kMiB);
    writeFile(loop.local() + "/a", noise(6 * kMiB, 1));
    writeFile(loop.local() + "/b", noise(6 * kMiB, 2));
    StreamLog a, b;
    // Into different folders of one home.
    loop.start(loop.uploadRequest({"a"}, "one"), a);
    loop.start(loop.uploadRequest({"b"}, "two"), b);
    QVERIFY(loop.wait([&] { return a.ended && b.ended; }));
    const bool first = a.result.error == Error::None;
    QCOMPARE(first ? b.result.error : a.result.error, Error::NoSpace);
    QCOMPARE(first ? a.result.error : b.result.error, Error::None);
    QCOMPARE(loop.used.load(), qint64(6 * kMiB));
    // What was set aside is free again, to the last byte.
    writeFile(loop.local() + "/c", noise(4 * kMiB, 3));
    QCOMPARE(loop.upload({"c"}).result.error, Error::None);
    writeFile(loop.local() + "/d", "x");
    QCOMPARE(loop.upload({"d"}).result.error, Error::NoSpace);
    QCOMPARE(loop.used.load(), qint64(10 * kMiB));
}

void TransferServerTest::partialFilesCount()
{
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    writeFile(loop.local() + "/f", noise(12 * kMiB, 1));
    // Enough for the file, not for the file beside its partial file.
    loop.quotaFree = [&loop] { return quint64(14 * kMiB - loop.used); };
    const auto interrupted = [&] {
        loop.connection().setRate(Direction::Upload, 12 * kMiB);
        StreamLog log;
        auto request = loop.uploadRequest({"f"});
        request.resumed = true;
        const auto stream = loop.start(request, log);
        if (!loop.wait([&] { return log.lastProgress.bytes >= 3 * kMiB; }))
            return false;
        stream->pause();
        return loop.wait([&] { return log.ended; });
    };
    const QString cache = loop.home() + "/in/f.ZPDT.cache";
    QVERIFY(interrupted());
    QTRY_COMPARE(loop.used.load(), QFileInfo(cache).size());
    QVERIFY(loop.used > 12 * kMiB);
    QVERIFY(interrupted());
    QTRY_COMPARE(loop.used.load(), QFileInfo(cache).size());
    loop.connection().setRate(Direction::Upload, 0);
    QCOMPARE(loop.upload({"f"}, true).result.error, Error::None);
    QCOMPARE(loop.used.load(), qint64(12 * kMiB));
    // Replacing it needs room for both until it is done; discarding what is left gives the room back.
    loop.quotaFree = nullptr;
    writeFile(loop.local() + "/f", noise(12 * kMiB, 2));
    QVERIFY(interrupted());
    QTRY_VERIFY(loop.used > 24 * kMiB);
    QTRY_COMPARE(loop.discard({"f"}).result.error, Error::None);
    QCOMPARE(loop.used.load(), qint64(12 * kMiB));
}

void TransferServerTest::discardedPartialFiles()
{
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    const QString in = loop.home() + "/in/";
    for (const char *name : {"f", "f.ZPDT.cache", "other.ZPDT.cache", "d/x/a.ZPDT.cache", "d/x/a", "d.ZPDT.cache"})
        writeFile(in + name, "12345");
    writeFile(loop.home() + "/f.ZPDT.cache", "12345");
    QDir().mkpath(loop.home() + "/elsewhere");
    writeFile(loop.home() + "/elsewhere/p.ZPDT.cache", "12345");
    QVERIFY(QFile::link(loop.home() + "/elsewhere", in + "d/link"));
    QCOMPARE(loop.discard({"f", "d", "gone", "..", "../f", ""}).result.error, Error::None);
    QStringList left = snapshot(loop.home()).keys();
    left.removeAll("in/d/link");
    QCOMPARE(left, (QStringList{"elsewhere", "elsewhere/p.ZPDT.cache", "f.ZPDT.cache", "in", "in/d", "in/d/x",
                                "in/d/x/a", "in/f", "in/other.ZPDT.cache"}));
    QCOMPARE(loop.used.load(), qint64(-15));
    // A folder that is gone has nothing left, and is not made.
    QCOMPARE(loop.discard({"f"}, "never/was").result.error, Error::None);
    QVERIFY(!QFile::exists(loop.home() + "/never"));
    // What is being written stays, and whoever asked gets to know.
    writeFile(loop.local() + "/busy", noise(8 * kMiB, 1));
    loop.connection().setRate(Direction::Upload, 4 * kMiB);
    StreamLog log;
    const auto stream = loop.start(loop.uploadRequest({"busy"}), log);
    QVERIFY(loop.wait([&] { return log.lastProgress.bytes >= kMiB; }));
    QCOMPARE(loop.discard({"busy"}).result.error, Error::Refused);
    QVERIFY(QFile::exists(in + "busy.ZPDT.cache"));
    loop.connection().setRate(Direction::Upload, 0);
    QVERIFY(loop.wait([&] { return log.ended; }));
    QCOMPARE(log.result.error, Error::None);
    QCOMPARE(log.failed, QStringList());
}

void TransferServerTest::oldPartialFiles()
{
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    writeFile(loop.home() + "/a/b/left.ZPDT.cache", "12345");
    writeFile(loop.home() + "/top.ZPDT.cache", "123");
    writeFile(loop.home() + "/a/finished", "12345");
    // A time of the source that lies far back does not make it old.
    struct timespec times[2] = {{1000000000, 0}, {1000000000, 0}};
    utimensat(AT_FDCWD, QFile::encodeName(loop.home() + "/top.ZPDT.cache").constData(), times, 0);
    writeFile(loop.local() + "/busy", noise(8 * kMiB, 1));
    loop.connection().setRate(Direction::Upload, 4 * kMiB);
    StreamLog log;
    const auto stream = loop.start(loop.uploadRequest({"busy"}), log);
    QVERIFY(loop.wait([&] { return log.lastProgress.bytes >= kMiB; }));
    const auto sweep = [&](int seconds, bool stopped) {
        return arkvale::service::removeOldPartials(loop.runtime(), loop.home().toStdString(),
                                                   (QDateTime::currentMSecsSinceEpoch() + seconds * 1000) * 1000000,
                                                   [stopped] { return stopped; });
    };
    QCOMPARE(sweep(-60, false), std::uint64_t(0));
    QCOMPARE(sweep(60, true), std::uint64_t(0));
    QCOMPARE(sweep(60, false), std::uint64_t(8));
    QVERIFY(QFile::exists(loop.home() + "/in/busy.ZPDT.cache"));
    QVERIFY(QFile::exists(loop.home() + "/a/finished"));
    loop.connection().setRate(Direction::Upload, 0);
    QVERIFY(loop.wait([&] { return log.ended; }));
    QCOMPARE(log.failed, QStringList());
}

void TransferServerTest::oneFolderTwoPaths()
{
    // Two downloads of one name into one folder that they know by different paths: never a mixture.
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    const QByteArray shorter = noise(6 * kMiB, 1), longer = noise(9 * kMiB, 2);
    writeFile(loop.home() + "/one/f", shorter);
    writeFile(loop.home() + "/two/f", longer);
    const QString out = loop.local() + "/out", alias = loop.local() + "/alias";
    QVERIFY(QDir().mkpath(out) && QFile::link(out, alias));
    loop.connection().setRate(Direction::Download, 16 * kMiB);
    StreamLog one, two;
    auto request = loop.downloadRequest({"f"}, "one");
    request.localFolder = out.toStdString();
    loop.start(request, one);
    request = loop.downloadRequest({"f"}, "two");
    request.localFolder = alias.toStdString();
    loop.start(request, two);
    QVERIFY(loop.wait([&] { return one.ended && two.ended; }));
    QFile file(out + "/f");
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QCOMPARE(one.done.size() + two.done.size(), 1);
    QVERIFY(bytes == (two.done.isEmpty() ? shorter : longer));
    QCOMPARE(one.failed + two.failed, QStringList{"f: refused"});
}

void TransferServerTest::manyFolders()
{
    // Begun with few descriptors, as systems do, a service has enough for trees of many folders all the same.
    rlimit limit{};
    QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 150);
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    for (int i = 0; i < 300; ++i)
        writeFile(loop.local() + QString("/d/%1/f").arg(i), "x");
    const StreamLog log = loop.upload({"d"});
    QCOMPARE(log.failed, QStringList());
    QCOMPARE(snapshot(loop.home() + "/in"), snapshot(loop.local()));
}

void TransferServerTest::folderTakenAway_data()
{
    QTest::addColumn<bool>("small");
    QTest::addColumn<bool>("another");
    QTest::newRow("large file") << false << false;
    QTest::newRow("large file, another folder in its place") << false << true;
    QTest::newRow("small files") << true << false;
    QTest::newRow("small files, another folder in its place") << true << true;
}

void TransferServerTest::folderTakenAway()
{
    QFETCH(bool, small);
    QFETCH(bool, another);
    TransferLoop loop;
    loop.startServer();
    loop.connect();
    if (small) {
        for (int i = 0; i < 400; ++i)
            writeFile(loop.local() + QString("/src/%1").arg(i), noise(6000, quint32(i)));
    } else {
        writeFile(loop.local() + "/src/f", noise(12 * kMiB, 1));
    }
    loop.connection().setRate(Direction::Upload, small ? 2 * kMiB : 8 * kMiB);
    StreamLog log;
    const auto stream = loop.start(loop.uploadRequest({"src"}), log);
    QVERIFY(loop.wait([&] { return log.lastProgress.bytes >= kMiB / 2; }));
    const QString trash = loop.local() + "/trash";
    QVERIFY(QDir().rename(loop.home() + "/in", trash));
    if (another)
        QDir().mkpath(loop.home() + "/in/src");
    loop.connection().setRate(Direction::Upload, 0);
    QVERIFY(loop.wait([&] { return log.ended; }));
    QVERIFY(!log.failed.isEmpty());
    for (const QString &failed : log.failed)
        QVERIFY2(failed.endsWith(": not found"), qPrintable(failed));
    // Told as done is what was there before the folder went, and nothing else.
    QStringList done = log.done.filter("src/");
    QStringList there;
    for (const QString &name : QDir(trash + "/src").entryList(QDir::Files))
        there << "+src/" + name;
    done.sort();
    there.sort();
    QCOMPARE(there, done);
    QCOMPARE(loop.used.load(), qint64(done.size()) * 6000);
    QCOMPARE(QDir(loop.home() + "/in/src").entryList(QDir::Files), QStringList());
}

void TransferServerTest::rightTakenAway()
{
    TransferLoop loop;
    std::atomic<bool> allowed{true};
    std::atomic<int> asked{0};
    loop.allowed = [&] {
        ++asked;
        return allowed.load();
    };
    loop.startServer();
    loop.connect();
    writeFile(loop.home() + "/in/small", noise(1000, 1));
    writeFile(loop.home() + "/in/large", noise(16 * kMiB, 1));
    QCOMPARE(loop.download({"small"}).result.error, Error::None);
    loop.connection().setRate(Direction::Download, 2 * kMiB);
    StreamLog log;
    auto stream = loop.start(loop.downloadRequest({"large"}), log);
    QVERIFY(loop.wait([&] { return log.lastProgress.bytes > 0; }));
    QElapsedTimer timer;
    timer.start();
    allowed = false;
    QVERIFY(loop.wait([&] { return log.ended; }));
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(log.result.error, Error::Refused);
    QVERIFY(log.result.text.find("shared") != std::string::npos);
    QVERIFY(!QFile::exists(loop.local() + "/large"));
    // A stream that begins without the right ends before it has sent much.
    QCOMPARE(loop.download({"large"}).result.error, Error::Refused);
    // Nothing is asked for streams that have ended.
    const int before = asked;
    QTest::qWait(1500); // why: two rounds of questions
    QCOMPARE(asked.load(), before);
}

ARKVALE_GUILESS_TEST(TransferServerTest)
#include "tst_transferserver.moc"
