#include "StreamPair.h"
#include "TestSupport.h"

#include <QDir>

#include <future>
#include <memory>

using namespace zpdt;

/// What peers without rules can and cannot do.
class HostileStreamsTest : public StrictTest
{
    Q_OBJECT

private slots:
    void badPaths_data();
    void badPaths();
    void badData_data();
    void badData();
    void givenUpEarly();
    void answersNobodyReads();
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

void HostileStreamsTest::badPaths_data()
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

void HostileStreamsTest::badPaths()
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
    bool resumed = false;
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
        // The folder is not even open when these come.
        {"data before the answer", {large, data(1, 0, 0, abc, false)}, true},
        {"small data before the answer", {item(1, "f", 3, true), data(1, 0, 0, abc, true)}, true},
        {"same before the answer", {large, end(1, abc, true)}, true},
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
    // Each takes descriptors, of which all users share one supply.
    Attack heavy{"too many large items", {}};
    for (std::uint32_t no = 1; no <= 100; ++no)
        heavy.frames.push_back(item(no, "f" + std::to_string(no), kSmallFile + 1, true));
    list.push_back(heavy);
    return list;
}

} // namespace

void HostileStreamsTest::badData_data()
{
    QTest::addColumn<int>("number");
    int number = 0;
    for (const Attack &attack : attacks())
        QTest::newRow(attack.name) << number++;
}

void HostileStreamsTest::badData()
{
    QFETCH(int, number);
    StreamPair pair;
    pair.resumedAttack = attacks()[std::size_t(number)].resumed;
    const auto result = pair.attack(true, [&](const Msg *type, WireReader &) {
        return type ? std::vector<Bytes>() : attacks()[std::size_t(number)].frames;
    });
    if (!pair.connectionLost) {
        // A folder's answer may come before the next frame is looked at.
        QCOMPARE(result.receiver.error, Error::Cancelled);
        QVERIFY(number == 2);
    }
    const auto left = contents(pair.to());
    for (auto it = left.begin(); it != left.end(); ++it)
        QVERIFY(it.key().endsWith(".ZPDT.cache") || it.value() == "folder");
}

void HostileStreamsTest::givenUpEarly()
{
    // What ends before the receiver has opened its folder leaves its name free for the next stream.
    StreamPair pair;
    pair.attack(true, [&](const Msg *type, WireReader &) -> std::vector<Bytes> {
        if (type)
            return {};
        ItemStopMessage stop;
        stop.no = 1;
        stop.error = Error::ChangedSource;
        return {item(1, "f", kSmallFile + 1, true), frame(1, stop, Msg::Abort), item(2, "g", 3, false),
                data(2, 0, 0, "abc", true), end(2, "abc")};
    });
    writeFile(pair.from() + "/f", noise(kMiB, 1));
    QCOMPARE(pair.run({"f"}, true).failed, QStringList());
    QCOMPARE(contents(pair.to()).keys(), (QStringList{"f", "g"}));
}

namespace {

/// A line whose other end reads nothing.
class StuckChannel : public Channel
{
public:
    void start(Listener *listener) override { listens = listener; }
    void send(Bytes frames) override { queued += frames.size(); }
    std::size_t queuedBytes() const override { return queued; }
    void setReading(bool) override {}
    void close() override { listens = nullptr; }
    Metrics metrics() const override { return {}; }
    std::uint64_t bytesReceived() const override { return 0; }
    std::string peer() const override { return "stuck"; }
    void bring(const Bytes &one)
    {
        if (listens)
            listens->channelFrame(one[4], 0, one.data() + kFrameHeader, one.size() - kFrameHeader);
    }

    Listener *listens = nullptr;
    std::size_t queued = 0;
};

} // namespace

void HostileStreamsTest::answersNobodyReads()
{
    // Who has shown no ticket yet cannot have the server keep answers for him.
    Context context;
    const auto channel = std::make_shared<StuckChannel>();
    const auto session = std::make_shared<Session>(context, channel, Session::Role::Server, "test", Session::Handler());
    context.post([&] {
        session->start();
        channel->listens->channelReady();
        channel->bring(frame(0, HelloMessage()));
    });
    for (int batch = 0; batch < 20; ++batch) {
        std::promise<void> done;
        context.post([&] {
            for (int i = 0; i < 1000; ++i)
                channel->bring(frame(0, PingMessage()));
            done.set_value();
        });
        done.get_future().wait();
    }
    QVERIFY(!channel->listens);
    QVERIFY2(channel->queued < 100 * 1024, qPrintable(QString::number(channel->queued)));
    context.stop();
}

void HostileStreamsTest::badAnswers_data()
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

void HostileStreamsTest::badAnswers()
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

ARKVALE_GUILESS_TEST(HostileStreamsTest)
#include "tst_hostilestreams.moc"
