#include "StreamPair.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QThread>

#include <atomic>
#include <cerrno>
#include <memory>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

using namespace zpdt;
using Verdict = PipeChannel::Verdict;

namespace {
std::atomic<bool> diskFails{false};
std::atomic<bool> diskErrs{false};
} // namespace

/// In place of the C library's: a disk that loses what was written tells of it once.
extern "C" int fdatasync(int fd)
{
    if (diskFails.exchange(false)) {
        errno = EIO;
        return -1;
    }
    return int(syscall(SYS_fdatasync, fd));
}

/// And one that keeps something else than it was given, once.
extern "C" ssize_t pwrite(int fd, const void *data, std::size_t size, off_t offset)
{
    if (size > 64 && diskErrs.exchange(false)) {
        std::vector<char> other(static_cast<const char *>(data), static_cast<const char *>(data) + size);
        other[size / 2] ^= 1;
        return syscall(SYS_pwrite64, fd, other.data(), size, offset);
    }
    return syscall(SYS_pwrite64, fd, data, size, offset);
}

/// What damaged lines, damaged disks and changing sources can and cannot do.
class StreamsTest : public StrictTest
{
    Q_OBJECT

private slots:
    void cutAndResumed_data();
    void cutAndResumed();
    void damageOnTheLine_data();
    void damageOnTheLine();
    void damageOnTheDisk_data();
    void damageOnTheDisk();
    void sameTimeOtherContent();
    void otherVersions_data();
    void otherVersions();
    void changingSource_data();
    void changingSource();
    void unusualTargets();
    void failedSync();
    void readBack();
    void noSpace();
};

namespace {

constexpr int kMiB = 1 << 20;

} // namespace

void StreamsTest::cutAndResumed_data()
{
    QTest::addColumn<bool>("upload");
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 4; ++seed) {
        QTest::addRow("upload %u", seed) << true << seed;
        QTest::addRow("download %u", seed) << false << seed;
    }
}

void StreamsTest::cutAndResumed()
{
    QFETCH(bool, upload);
    QFETCH(quint32, seed);
    QRandomGenerator random(seed);
    StreamPair pair;
    const int bigSize = 9 * kMiB + 12345;
    writeFile(pair.from() + "/t/big", noise(bigSize, seed));
    writeFile(pair.from() + "/t/second", noise(2 * kMiB, seed));
    QDir().mkpath(pair.from() + "/t/empty");
    for (int i = 0; i < 60; ++i)
        writeFile(pair.from() + QString("/t/s/%1").arg(i), noise(i * 100, seed));
    const auto source = contents(pair.from());
    const quint64 total = quint64(bigSize) + 2 * kMiB;
    quint64 sent = 0;
    int cuts = 0;
    for (bool complete = false; !complete;) {
        QVERIFY(cuts < 100);
        // Frames of any kind, either way, until the line breaks.
        auto left = std::make_shared<int>(int(random.bounded(50, 420)));
        pair.filter = [left](Msg, Bytes &) { return --*left < 0 ? Verdict::Cut : Verdict::Pass; };
        const auto result = pair.run({"t"}, upload, cuts > 0);
        sent += result.dataBytes;
        complete = result.sender.error == Error::None && result.receiver.error == Error::None;
        if (!complete) {
            ++cuts;
            QCOMPARE(result.sender.error, Error::Network);
            QVERIFY(result.receiver.error == Error::Network || result.receiver.error == Error::None);
            QVERIFY(!QFile::exists(pair.to() + "/t/big") || contents(pair.to())["t/big"] == source["t/big"]);
        } else {
            QCOMPARE(result.failed, QStringList());
            QCOMPARE(result.receiver.progress.bytes, total + 100 * 59 * 60 / 2);
        }
    }
    QVERIFY(cuts > 0);
    QCOMPARE(contents(pair.to()), source);
    // A cut costs the blocks that were under way, never a confirmed one.
    QVERIFY2(sent <= total + quint64(cuts) * 5 * kMiB, qPrintable(QString("%1 cuts, %2 bytes").arg(cuts).arg(sent)));
}

void StreamsTest::damageOnTheLine_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("always");
    QTest::newRow("large file") << 12 * kMiB + 1 << false;
    QTest::newRow("small file") << 200000 << false;
    QTest::newRow("large file, always") << 3 * kMiB << true;
    QTest::newRow("small file, always") << 70000 << true;
}

void StreamsTest::damageOnTheLine()
{
    QFETCH(int, size);
    QFETCH(bool, always);
    StreamPair pair;
    writeFile(pair.from() + "/f", noise(size, 3));
    writeFile(pair.to() + "/f", "the old one");
    auto random = std::make_shared<QRandomGenerator>(5);
    auto flips = std::make_shared<int>(0);
    pair.filter = [=](Msg type, Bytes &frame) {
        if (type == Msg::Data && (always || (*flips < 12 && random->bounded(20) == 0) || *flips == 0)) {
            // Somewhere in the bytes of the file.
            frame[frame.size() - 1 - std::size_t(random->bounded(int(frame.size()) - 40))] ^= 0x10;
            ++*flips;
        }
        return Verdict::Pass;
    };
    const auto result = pair.run({"f"}, true);
    QVERIFY(*flips > 0);
    if (always) {
        QCOMPARE(result.failed, QStringList{"f: integrity"});
        QCOMPARE(result.sendFailed, QStringList{"f: integrity"});
        QCOMPARE(contents(pair.to())["f"], QByteArray("the old one"));
        return;
    }
    QCOMPARE(result.failed, QStringList());
    QCOMPARE(contents(pair.to()), contents(pair.from()));
    QVERIFY(result.frames[int(Msg::Need)] > 0);
    // Damaged blocks alone came again.
    QVERIFY(result.dataBytes <= quint64(size) + quint64(result.frames[int(Msg::Need)]) * (kMiB + 8192) + 100000);
}

void StreamsTest::damageOnTheDisk_data()
{
    QTest::addColumn<QString>("what");
    for (const char *what :
         {"data", "journal header", "journal slot", "cut short", "only data", "zeroes", "noise", "longer"})
        QTest::newRow(what) << QString(what);
}

void StreamsTest::damageOnTheDisk()
{
    QFETCH(QString, what);
    StreamPair pair;
    const int size = 6 * kMiB + 100;
    writeFile(pair.from() + "/f", noise(size, 3));
    auto left = std::make_shared<int>(90);
    pair.filter = [left](Msg, Bytes &) { return --*left < 0 ? Verdict::Cut : Verdict::Pass; };
    (void)pair.run({"f"}, true);
    pair.filter = nullptr;
    QFile cache(pair.to() + "/f.ZPDT.cache");
    QVERIFY(cache.open(QIODevice::ReadWrite));
    const qint64 journal = (size + 4095) / 4096 * 4096;
    const auto flip = [&](qint64 at) {
        cache.seek(at);
        char byte = 0;
        QVERIFY(cache.getChar(&byte));
        cache.seek(at);
        cache.putChar(char(byte ^ 1));
    };
    if (what == "data")
        flip(kMiB + 77);
    else if (what == "journal header")
        flip(journal + 20);
    else if (what == "journal slot")
        flip(journal + 4096 + 3);
    else if (what == "cut short")
        cache.resize(3 * kMiB);
    else if (what == "only data")
        cache.resize(size);
    else if (what == "zeroes")
        cache.write(QByteArray(int(cache.size()), '\0'));
    else if (what == "noise")
        cache.write(noise(int(cache.size()), 99));
    else
        cache.resize(cache.size() + 5 * kMiB);
    cache.close();
    if (what == "only data") {
        // As after a kill in the last moment: the time is the source's already, but here the data is not.
        QFile source(pair.from() + "/f"), again(cache.fileName());
        QVERIFY(source.open(QIODevice::ReadOnly) && again.open(QIODevice::ReadWrite));
        QVERIFY(
            again.setFileTime(source.fileTime(QFileDevice::FileModificationTime), QFileDevice::FileModificationTime));
    }
    QList<Msg> order;
    pair.filter = [&order](Msg type, Bytes &) {
        if (type == Msg::Data || type == Msg::Sum)
            order.append(type);
        return Verdict::Pass;
    };
    const auto result = pair.run({"f"}, true, true);
    QCOMPARE(result.failed, QStringList());
    QCOMPARE(contents(pair.to()), contents(pair.from()));
    // What is missing does not wait for the check of what is there.
    if (what == "data")
        QVERIFY(order.contains(Msg::Sum) && order.first() == Msg::Data);
    if (what == "data" || what == "journal slot" || what == "longer")
        QVERIFY2(result.dataBytes < quint64(size) - kMiB / 2, "confirmed blocks were sent again");
}

void StreamsTest::sameTimeOtherContent()
{
    // What is there has the size and the time of the source, and not its bytes.
    StreamPair pair;
    for (const char *name : {"small", "large"}) {
        const int size = *name == 's' ? 1000 : 3 * kMiB;
        writeFile(pair.from() + '/' + name, noise(size, 1));
        writeFile(pair.to() + '/' + name, noise(size, 2));
        QFile source(pair.from() + '/' + name), target(pair.to() + '/' + name);
        QVERIFY(source.open(QIODevice::ReadOnly) && target.open(QIODevice::ReadWrite));
        const QDateTime time = source.fileTime(QFileDevice::FileModificationTime);
        QVERIFY(target.setFileTime(time, QFileDevice::FileModificationTime));
    }
    QCOMPARE(pair.run({"small", "large"}, false, true).failed, QStringList());
    QCOMPARE(contents(pair.to()), contents(pair.from()));
    const auto again = pair.run({"small", "large"}, false, true);
    QCOMPARE(again.done, (QStringList{"=large", "=small"}));
    QCOMPARE(again.dataBytes, quint64(0));
}

void StreamsTest::otherVersions_data()
{
    QTest::addColumn<bool>("upload");
    QTest::addColumn<int>("version");
    QTest::addColumn<bool>("early");
    for (const bool upload : {true, false}) {
        const char *way = upload ? "upload" : "download";
        QTest::addRow("%s, old", way) << upload << 1 << false;
        QTest::addRow("%s, equal", way) << upload << int(kProtocolVersion) << true;
        QTest::addRow("%s, newer", way) << upload << kProtocolVersion + 1 << true;
    }
}

/// Either end takes the other for one of another version.
void StreamsTest::otherVersions()
{
    QFETCH(bool, upload);
    QFETCH(int, version);
    QFETCH(bool, early);
    StreamPair pair;
    writeFile(pair.from() + "/t/large", noise(3 * kMiB, 1));
    writeFile(pair.from() + "/t/blocked", noise(2 * kMiB, 2));
    QDir().mkpath(pair.from() + "/t/empty");
    for (int i = 0; i < 20; ++i)
        writeFile(pair.from() + QString("/t/%1").arg(i), noise(i * 100, 3));
    QDir().mkpath(pair.to() + "/t/blocked/by a folder");
    QList<Msg> order;
    bool damaged = false;
    pair.filter = [&](Msg type, Bytes &bytes) {
        if (type == Msg::Hello) {
            HelloMessage hello;
            hello.version = std::uint16_t(version);
            bytes = frame(0, hello);
        } else if (type == Msg::Data && bytes.size() > 5000 && !std::exchange(damaged, true)) {
            bytes.back() ^= 1;
        } else if (type == Msg::Done || type == Msg::Fail || type == Msg::Finish) {
            order.append(type);
        }
        return Verdict::Pass;
    };
    const auto result = pair.run({"t"}, upload);
    QCOMPARE(result.sender.error, Error::None);
    QCOMPARE(result.receiver.error, Error::None);
    QCOMPARE(result.failed.size(), 1);
    QVERIFY(result.frames[int(Msg::Need)] > 0);
    auto expected = contents(pair.from());
    expected["t/blocked"] = "folder";
    expected["t/blocked/by a folder"] = "folder";
    QCOMPARE(contents(pair.to()), expected);
    // An old receiver takes an end before the last answer for a broken rule.
    QCOMPARE(order.count(Msg::Finish), 1);
    QCOMPARE(order.last() != Msg::Finish, early);
}

void StreamsTest::changingSource_data()
{
    QTest::addColumn<QString>("how");
    for (const char *how : {"appended", "overwritten", "replaced", "removed", "cut"})
        QTest::newRow(how) << QString(how);
}

void StreamsTest::changingSource()
{
    QFETCH(QString, how);
    StreamPair pair;
    const QByteArray before = noise(20 * kMiB, 1);
    writeFile(pair.from() + "/f", before);
    writeFile(pair.to() + "/f", "the old one");
    pair.onFirstData = [how](StreamPair &p) {
        const QString path = p.from() + "/f";
        QFile file(path);
        if (how == "appended" && file.open(QIODevice::Append))
            file.write("more");
        else if (how == "overwritten" && file.open(QIODevice::ReadWrite) && file.seek(19 * kMiB))
            file.write("other");
        else if (how == "cut")
            file.resize(kMiB);
        else if (how == "removed" || how == "replaced")
            file.remove();
        if (how == "replaced")
            writeFile(path, noise(20 * kMiB, 2));
    };
    const auto result = pair.run({"f"}, true);
    QCOMPARE(result.sendFailed, QStringList{"f: source changed"});
    QCOMPARE(result.failed, QStringList{"f: source changed"});
    QCOMPARE(contents(pair.to())["f"], QByteArray("the old one"));
    QCOMPARE(result.sender.error, Error::None);
}

void StreamsTest::unusualTargets()
{
    // Files where folders are to be and the other way round, links that lead out, and everything that cannot be sent.
    StreamPair pair;
    QTemporaryDir outside;
    writeFile(outside.path() + "/precious", "precious");
    writeFile(pair.from() + "/t/a", "new");
    writeFile(pair.from() + "/t/b/inner", "new");
    writeFile(pair.from() + "/t/c/inner", "new");
    writeFile(pair.from() + "/t/precious", "new");
    writeFile(pair.from() + "/t/big", noise(kMiB, 1));
    writeFile(pair.from() + "/t/twoNames", "new");
    writeFile(pair.from() + "/t/twoNamesBig", noise(kMiB, 2));
    writeFile(pair.from() + "/t/left.ZPDT.cache", "a partial file of another transfer");
    QVERIFY(QFile::link(outside.path(), pair.from() + "/t/link"));
    QDir().mkpath(pair.to() + "/t/a");
    writeFile(pair.to() + "/t/b", "a file");
    QVERIFY(QFile::link(outside.path(), pair.to() + "/t/c"));
    QVERIFY(QFile::link(outside.path() + "/precious", pair.to() + "/t/precious"));
    QVERIFY(QFile::link(outside.path() + "/precious", pair.to() + "/t/big.ZPDT.cache"));
    for (const char *name : {"twoNames", "twoNamesBig"}) {
        const QString cache = pair.to() + "/t/" + name + ".ZPDT.cache";
        QCOMPARE(
            ::link(QFile::encodeName(outside.path() + "/precious").constData(), QFile::encodeName(cache).constData()),
            0);
    }
    const auto result = pair.run({"t", "missing", "..", "a/b"}, true);
    QCOMPARE(result.sender.error, Error::None);
    QCOMPARE(contents(outside.path()).size(), 1);
    QCOMPARE(contents(outside.path())["precious"], QByteArray("precious"));
    QCOMPARE(contents(pair.to())["t/b"], QByteArray("a file"));
    for (const char *path : {"t/twoNames", "t/twoNamesBig"})
        QCOMPARE(contents(pair.to())[path], contents(pair.from())[path]);
    QVERIFY(QFileInfo(pair.to() + "/t/a").isDir());
    for (const char *path : {"t/a: ", "t/b: ", "t/b/inner: ", "t/c: ", "t/c/inner: ", "t/link: ", "t/big: ",
                             "missing: not found", "..: bad name", "a/b: bad name"})
        QVERIFY2(!result.sendFailed.filter(path).isEmpty(), path);
    QVERIFY(result.sendFailed.filter("ZPDT").isEmpty());
    QCOMPARE(result.sendFailed.size(), result.failed.size());
}

void StreamsTest::failedSync()
{
    // Whichever of the syncs of a file is told that something was lost, the file does not get its name.
    for (const int size : {kMiB, 24 * kMiB}) {
        StreamPair pair;
        writeFile(pair.from() + "/f", noise(size, 1));
        writeFile(pair.to() + "/f", "the old one");
        // Longer than the time between two syncs.
        pair.filter = [size](Msg type, Bytes &) {
            if (type == Msg::Data && size > kMiB)
                QThread::msleep(4); // why: a slow line
            return Verdict::Pass;
        };
        diskFails = true;
        const auto result = pair.run({"f"}, true);
        QVERIFY(!diskFails);
        QCOMPARE(result.sendFailed, QStringList{"f: file access"});
        QCOMPARE(contents(pair.to()), (QMap<QString, QByteArray>{{"f", "the old one"}}));
    }
}

void StreamsTest::readBack()
{
    // Asked to read files back, the receiver finds what the disk made of them, and fetches it again. Two threads share
    // the work on the last one.
    for (const int size : {1000, 3 * kMiB, 70 * kMiB}) {
        StreamPair pair;
        pair.verify = true;
        writeFile(pair.from() + "/f", noise(size, 1));
        diskErrs = true;
        const auto result = pair.run({"f"}, true);
        QVERIFY(!diskErrs);
        QCOMPARE(result.failed, QStringList());
        QCOMPARE(contents(pair.to()), contents(pair.from()));
        QVERIFY(result.frames[int(Msg::Need)] == 1);
    }
}

void StreamsTest::noSpace()
{
    StreamPair pair;
    writeFile(pair.from() + "/a", noise(kMiB, 1));
    writeFile(pair.from() + "/b", noise(1000, 1));
    for (bool small : {true, false}) {
        pair.freeBytes = [small] { return small ? 999 : kMiB - 1; };
        const auto result = pair.run({small ? "b" : "a"}, true);
        QCOMPARE(result.sender.error, Error::NoSpace);
        QCOMPARE(result.receiver.error, Error::NoSpace);
        QCOMPARE(contents(pair.to()), (QMap<QString, QByteArray>()));
    }
}

ARKVALE_GUILESS_TEST(StreamsTest)
#include "tst_streams.moc"
