#include "StreamPair.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>

#include <memory>
#include <utility>

using namespace zpdt;
using Verdict = PipeChannel::Verdict;

/// What damaged lines, damaged disks, changing sources and peers without rules can and cannot do.
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
    void noSpace();
    void badPaths_data();
    void badPaths();
    void badData_data();
    void badData();
    void badAnswers_data();
    void badAnswers();
};

namespace {

constexpr int kMiB = 1 << 20;

Bytes item(std::uint32_t no, const std::string &path, std::uint64_t size, bool ask, ItemKind kind = ItemKind::File)
{
    ItemMessage message;
    message.no = no;
    message.info.kind = kind;
    message.info.path = path;
    message.info.size = size;
    message.info.modifiedMs = 1000;
    message.ask = ask;
    message.blockSize = kind == ItemKind::File ? blockSizeFor(size) : 0;
    return frame(1, message);
}

Bytes data(std::uint32_t no, std::uint32_t block, std::uint32_t offset, const std::string &bytes, bool last)
{
    DataMessage message;
    message.no = no;
    message.block = block;
    message.offset = offset;
    message.last = last;
    message.data = reinterpret_cast<const std::uint8_t *>(bytes.data());
    message.size = bytes.size();
    message.digest = BlockHash::of(bytes.data(), bytes.size());
    return frame(1, message);
}

Bytes end(std::uint32_t no, const std::string &bytes, bool same = false)
{
    EndMessage message;
    message.no = no;
    message.same = same;
    const Digest block = BlockHash::of(bytes.data(), bytes.size());
    message.digest = bytes.empty() ? BlockHash::of("", 0) : BlockHash::of(block.data(), block.size());
    return frame(1, message);
}

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
    writeFile(pair.from() + "/t/left.ZPDT.cache", "a partial file of another transfer");
    QVERIFY(QFile::link(outside.path(), pair.from() + "/t/link"));
    QDir().mkpath(pair.to() + "/t/a");
    writeFile(pair.to() + "/t/b", "a file");
    QVERIFY(QFile::link(outside.path(), pair.to() + "/t/c"));
    QVERIFY(QFile::link(outside.path() + "/precious", pair.to() + "/t/precious"));
    QVERIFY(QFile::link(outside.path() + "/precious", pair.to() + "/t/big.ZPDT.cache"));
    const auto result = pair.run({"t", "missing", "..", "a/b"}, true);
    QCOMPARE(result.sender.error, Error::None);
    QCOMPARE(contents(outside.path()).size(), 1);
    QCOMPARE(contents(outside.path())["precious"], QByteArray("precious"));
    QCOMPARE(contents(pair.to())["t/b"], QByteArray("a file"));
    QVERIFY(QFileInfo(pair.to() + "/t/a").isDir());
    for (const char *path : {"t/a: ", "t/b: ", "t/b/inner: ", "t/c: ", "t/c/inner: ", "t/link: ", "t/big: ",
                             "missing: not found", "..: bad name", "a/b: bad name"})
        QVERIFY2(!result.sendFailed.filter(path).isEmpty(), path);
    QVERIFY(result.sendFailed.filter("ZPDT").isEmpty());
    QCOMPARE(result.sendFailed.size(), result.failed.size());
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

void StreamsTest::badPaths_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<bool>("folder");
    const QByteArray paths[] = {"",
                                "/",
                                "/etc/x",
                                "..",
                                "../x",
                                "a/../x",
                                "a/./x",
                                ".",
                                "a//x",
                                "a/",
                                "a\xff",
                                QByteArray("a\0b", 3),
                                "a.ZPDT.cache",
                                "A.zpdt.CACHE/x",
                                QByteArray(256, 'x'),
                                QByteArray("a/").repeated(2000) + 'x'};
    for (const QByteArray &path : paths) {
        QTest::addRow("file %s", path.left(20).toPercentEncoding().constData()) << path << false;
        QTest::addRow("folder %s", path.left(20).toPercentEncoding().constData()) << path << true;
    }
}

void StreamsTest::badPaths()
{
    QFETCH(QByteArray, path);
    QFETCH(bool, folder);
    StreamPair pair;
    Error error = Error::None;
    pair.attack(true, [&](const Msg *type, WireReader &body) -> std::vector<Bytes> {
        if (!type && folder)
            return {item(1, path.toStdString(), 0, false, ItemKind::Folder)};
        if (!type)
            return {item(1, path.toStdString(), 3, false), data(1, 0, 0, "abc", true), end(1, "abc")};
        ItemStopMessage stop;
        if (*type == Msg::Fail && stop.decode(body))
            error = stop.error;
        return {};
    });
    QCOMPARE(error, Error::BadName);
    QVERIFY(!pair.connectionLost);
    QCOMPARE(contents(pair.to()), (QMap<QString, QByteArray>()));
}

namespace {

struct Attack
{
    const char *name;
    std::vector<Bytes> frames;
};

/// Each breaks a rule; the connection has to end.
std::vector<Attack> attacks()
{
    const std::string abc = "abc", rest(kMaxPiece, 'r');
    const Bytes small = item(1, "f", 3, false);
    const Bytes large = item(1, "f", kSmallFile + 1, true);
    std::vector<Attack> list = {
        {"data without item", {data(1, 0, 0, abc, true)}},
        {"end without item", {end(1, abc)}},
        {"folder with data",
         {item(1, "f", 0, false, ItemKind::Folder), item(2, "g", 0, false, ItemKind::Folder),
          data(2, 0, 0, abc, true)}},
        {"second block of a small file", {small, data(1, 1, 0, abc, true)}},
        {"gap", {small, data(1, 0, 1, "bc", true)}},
        {"too long", {small, data(1, 0, 0, "abcd", true)}},
        {"not marked as last", {small, data(1, 0, 0, abc, false)}},
        {"last too early", {small, data(1, 0, 0, "ab", true)}},
        {"end before data", {small, end(1, abc)}},
        {"item twice", {small, small}},
        {"same without resume", {small, end(1, abc, true)}},
        {"finish before the end", {small, emptyFrame(1, Msg::Finish)}},
        {"sums for a small file", {small, frame(1, SumMessage{1, 0, {Digest{}}})}},
        {"sums before the answer", {large, frame(1, SumMessage{1, 0, {Digest{}}})}},
        {"a message of the other side", {frame(1, NeedMessage{1, 0})}},
        {"unknown message", {emptyFrame(1, Msg(99))}},
        {"greeting in the middle", {frame(0, HelloMessage())}},
        {"stream that was never opened", {item(1, "f", 3, false), frame(77, NeedMessage{1, 0})}},
    };
    // Whoever begins many small files and ends none is not kept in memory.
    Attack flood{"files that never end", {}};
    for (std::uint32_t no = 1; no <= 100; ++no) {
        flood.frames.push_back(item(no, "f" + std::to_string(no), kSmallFile, false));
        flood.frames.push_back(data(no, 0, 0, rest, false));
    }
    list.push_back(flood);
    Attack many{"too many items", {}};
    for (std::uint32_t no = 1; no <= 9000; ++no)
        many.frames.push_back(item(no, "f" + std::to_string(no), 1, false));
    list.push_back(many);
    return list;
}

} // namespace

void StreamsTest::badData_data()
{
    QTest::addColumn<int>("number");
    int number = 0;
    for (const Attack &attack : attacks())
        QTest::newRow(attack.name) << number++;
}

void StreamsTest::badData()
{
    QFETCH(int, number);
    StreamPair pair;
    const auto result = pair.attack(true, [&](const Msg *type, WireReader &) {
        return type ? std::vector<Bytes>() : attacks()[std::size_t(number)].frames;
    });
    if (!pair.connectionLost) {
        // A folder's answer may come before the next frame is looked at.
        QCOMPARE(result.receiver.error, Error::Cancelled);
        QVERIFY(number == 2);
    }
    for (const QByteArray &content : contents(pair.to()))
        QCOMPARE(content, QByteArray("folder"));
}

void StreamsTest::badAnswers_data()
{
    QTest::addColumn<int>("number");
    const char *names[] = {"data of a large file outside", "data out of order", "sums outside", "wrong whole digest"};
    for (int number = 0; number < 4; ++number)
        QTest::newRow(names[number]) << number;
    const char *toSender[] = {"runs beyond the file", "answer twice",       "need beyond the file",
                              "done of the future",   "end without finish", "need of a folder"};
    for (int number = 0; number < 6; ++number)
        QTest::newRow(toSender[number]) << 10 + number;
}

void StreamsTest::badAnswers()
{
    QFETCH(int, number);
    StreamPair pair;
    writeFile(pair.from() + "/f", noise(2 * kMiB, 1));
    writeFile(pair.to() + "/f", "the old one");
    const std::uint32_t size = kSmallFile + 10;
    const std::string piece(kMaxPiece, 'p'), tail(10, 't');
    Error error = Error::None;
    const auto play = [&](const Msg *type, WireReader &body) -> std::vector<Bytes> {
        if (!type)
            return number < 10 ? std::vector<Bytes>{item(1, "f", size, true)} : std::vector<Bytes>();
        ItemStopMessage stop;
        if (*type == Msg::Fail && stop.decode(body))
            error = stop.error;
        if (*type == Msg::Have && number == 0)
            return {data(1, 0, size - 5, tail, false)};
        if (*type == Msg::Have && number == 1)
            return {data(1, 0, kMaxPiece, piece, false)};
        if (*type == Msg::Have && number == 2)
            return {frame(1, SumMessage{1, 0, {Digest{}, Digest{}}})};
        if (*type == Msg::Have && number == 3) {
            std::vector<Bytes> frames;
            BlockHash hash;
            for (std::uint32_t at = 0; at < kSmallFile; at += kMaxPiece) {
                frames.push_back(data(1, 0, at, piece, false));
                hash.add(piece.data(), piece.size());
            }
            hash.add(tail.data(), tail.size());
            DataMessage last;
            last.no = 1;
            last.offset = kSmallFile;
            last.last = true;
            last.digest = hash.digest();
            last.data = reinterpret_cast<const std::uint8_t *>(tail.data());
            last.size = tail.size();
            frames.push_back(frame(1, last));
            frames.push_back(end(1, "something else"));
            return frames;
        }
        if (*type != Msg::Item || number < 10)
            return {};
        HaveMessage have;
        have.no = 1;
        have.runs = {{1, 5}};
        if (number == 10)
            return {frame(1, have)};
        have.runs.clear();
        if (number == 11)
            return {frame(1, have), frame(1, have)};
        if (number == 12)
            return {frame(1, have), frame(1, NeedMessage{1, 2})};
        if (number == 13)
            return {frame(1, DoneMessage{50, {}})};
        if (number == 15)
            return {frame(1, NeedMessage{1, 0})};
        return {frame(1, CloseMessage())};
    };
    if (number == 15)
        QDir().mkpath(pair.from() + "/folder");
    pair.attack(number < 10, play, {number == 15 ? "folder" : "f"});
    if (number < 10)
        QCOMPARE(error, Error::Integrity);
    else
        QVERIFY(pair.connectionLost);
    QCOMPARE(contents(pair.to())["f"], QByteArray("the old one"));
}

ARKVALE_GUILESS_TEST(StreamsTest)
#include "tst_streams.moc"
