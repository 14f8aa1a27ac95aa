#include "Messages.h"
#include "RateLimiter.h"
#include "TestSupport.h"

#include <functional>

using namespace zpdt;

/// The codec: what is written is read again, and nothing that is cut, padded or out of bounds is taken.
class MessagesTest : public StrictTest
{
    Q_OBJECT

private slots:
    void roundTrip_data();
    void roundTrip();
    void outOfBounds_data();
    void outOfBounds();
    void blockSizes();
    void rateIsHeld();
};

namespace {

using Reader = std::function<bool(const Bytes &body, Bytes &again)>;

template <typename Message>
Reader reader()
{
    return [](const Bytes &body, Bytes &again) {
        WireReader r(body.data(), body.size());
        Message message;
        if (!message.decode(r))
            return false;
        WireWriter w;
        message.encode(w);
        again = w.take();
        return true;
    };
}

template <typename Message>
Bytes body(const Message &message)
{
    WireWriter w;
    message.encode(w);
    return w.take();
}

template <typename Message>
void row(const char *name, const Message &message)
{
    QTest::newRow(name) << QByteArray(reinterpret_cast<const char *>(body(message).data()), int(body(message).size()))
                        << QVariant::fromValue(static_cast<void *>(new Reader(reader<Message>())));
}

const Digest kDigest{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

ItemMessage item()
{
    ItemMessage message;
    message.no = 7;
    message.info.path = "a/\xE4\xB8\xAD\n";
    message.info.root = 3;
    message.info.size = (5ull << 30) + 1;
    message.info.modifiedMs = -1;
    message.ask = true;
    message.identity = UINT64_MAX;
    message.blockSize = blockSizeFor(message.info.size);
    return message;
}

} // namespace

void MessagesTest::roundTrip_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QVariant>("read");
    row("ping", PingMessage{UINT64_MAX});
    row("bye", ByeMessage{Error::Refused, "no"});
    row("rate", RateMessage{{1234567890123, RateMode::Fixed, 34, 12}});
    row("open", OpenMessage{"ticket", Direction::Download, true, true, -5, {".mp4", ".mov"}});
    row("close", CloseMessage{Error::Cancelled, true, "gone"});
    row("priority", PriorityMessage{INT32_MIN});
    row("want", WantMessage{false, {"a", std::string(255, 'x')}});
    row("scan", ScanMessage{{1, 2, true}});
    row("item", item());
    ItemErrorMessage error;
    error.info.path = "b";
    error.error = Error::LocalFile;
    error.text = "why";
    row("item error", error);
    row("sum", SumMessage{1, 2, {kDigest, kDigest}});
    row("end", EndMessage{9, true, kDigest});
    row("abort", ItemStopMessage{9, Error::ChangedSource, "changed"});
    row("have", HaveMessage{9, true, false, {}, {{0, 3}, {3, 1}, {9, 100}}});
    row("existing", HaveMessage{9, false, true, kDigest, {}});
    row("need", NeedMessage{9, 8});
    row("done", DoneMessage{9, {true, false}});
    row("progress", ProgressMessage{{1, 4, 2, 3}});
}

void MessagesTest::roundTrip()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QVariant, read);
    const std::unique_ptr<Reader> reader(static_cast<Reader *>(read.value<void *>()));
    const Bytes whole(bytes.begin(), bytes.end());
    Bytes again;
    QVERIFY((*reader)(whole, again));
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(again.data()), int(again.size())), bytes);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        // Memory of its own, so that a read beyond the end is seen.
        const Bytes cut(whole.begin(), whole.begin() + std::ptrdiff_t(size));
        QVERIFY2(!(*reader)(cut, again), qPrintable(QString::number(size)));
    }
    Bytes longer = whole;
    longer.push_back(0);
    QVERIFY(!(*reader)(longer, again));
    // Whatever one damaged byte makes of it, it is refused or written back as it was read.
    for (std::size_t at = 0; at < whole.size(); ++at) {
        Bytes damaged = whole;
        damaged[at] ^= 0xff;
        if ((*reader)(damaged, again))
            QCOMPARE(again, damaged);
    }
}

void MessagesTest::outOfBounds_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QVariant>("read");
    ItemMessage message = item();
    message.info.size = kMaxFileSize + 1;
    message.blockSize = blockSizeFor(message.info.size);
    row("item too large", message);
    message = item();
    message.info.modifiedMs = INT64_MAX;
    row("item of the far future", message);
    message = item();
    message.blockSize = 1;
    row("item with tiny blocks", message);
    message = item();
    message.ask = false;
    row("large item without asking", message);
    message = item();
    message.info.kind = ItemKind::Folder;
    row("folder with a size", message);
    row("open without ticket", OpenMessage());
    row("runs that overlap", HaveMessage{1, false, false, {}, {{0, 3}, {2, 2}}});
    row("runs that fall", HaveMessage{1, false, false, {}, {{5, 1}, {0, 1}}});
    row("empty run", HaveMessage{1, false, false, {}, {{5, 0}}});
    row("run beyond all numbers", HaveMessage{1, false, false, {}, {{UINT32_MAX, 2}}});
    row("no sums", SumMessage{1, 0, {}});
    row("failure without reason", ItemStopMessage{1, Error::None, ""});
    row("data beyond any block", DataMessage{1, 0, kMaxBlock, false, {}, kDigest.data(), 1});
    row("empty data", DataMessage{1, 0, 0, false, {}, kDigest.data(), 0});
    const Bytes much(kMaxPiece + 1);
    row("data too long", DataMessage{1, 0, 0, false, {}, much.data(), much.size()});
}

void MessagesTest::outOfBounds()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QVariant, read);
    const std::unique_ptr<Reader> reader(static_cast<Reader *>(read.value<void *>()));
    Bytes again;
    QVERIFY(!(*reader)(Bytes(bytes.begin(), bytes.end()), again));
}

void MessagesTest::blockSizes()
{
    for (std::uint64_t size : {0ull, 1ull, 1ull << 20, (4ull << 30) - 1, 4ull << 30, 1ull << 40, 1ull << 44}) {
        const std::uint32_t block = blockSizeFor(size);
        QVERIFY(block >= kMinBlock && block <= kMaxBlock && (block & (block - 1)) == 0);
        const std::uint64_t blocks = blockCount(size, block);
        QVERIFY(blocks * block >= size && (blocks == 0 || (blocks - 1) * block < size));
    }
}

void MessagesTest::rateIsHeld()
{
    // Time is given, not waited for: pieces of any size, asked for a little late each time.
    RateLimiter limiter;
    limiter.setRate(1000000);
    auto now = RateLimiter::Clock::time_point(std::chrono::seconds(100));
    const auto begin = now;
    std::uint64_t sent = 0;
    for (int i = 0; now - begin < std::chrono::seconds(10); ++i) {
        if (limiter.ready(now)) {
            const std::size_t piece = 1000 + std::size_t(i) * 977 % 60000;
            limiter.take(piece, now);
            sent += piece;
        }
        now = std::max(now, limiter.next()) + std::chrono::milliseconds(i % 3);
    }
    const double rate = double(sent) / std::chrono::duration<double>(now - begin).count();
    QVERIFY2(rate > 970000 && rate < 1030000, qPrintable(QString::number(rate)));
    // A pause is not made up for.
    now += std::chrono::seconds(60);
    std::size_t flood = 0;
    while (limiter.ready(now)) {
        limiter.take(10000, now);
        flood += 10000;
    }
    QVERIFY(flood <= 120000);
}

ARKVALE_GUILESS_TEST(MessagesTest)
#include "tst_messages.moc"
