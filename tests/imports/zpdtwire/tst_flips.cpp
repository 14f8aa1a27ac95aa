#include "StreamPair.h"
#include "TestSupport.h"
#include "TlsCodec.h"
#include "TlsIdentity.h"

#include <QDir>
#include <QFile>

#include <random>

using namespace zpdt;

/// Random damage on the line and on the disk: a file is never wrong, and what was damaged comes again.
/// ARKVALE_FLIPS is the number of faults of each kind, ARKVALE_FLIPS_SEED the first random seed.
class FlipsTest : public StrictTest
{
    Q_OBJECT

private slots:
    void line_data() { kinds({"flip in data", "flip in control", "cut"}); }
    void line();
    void disk_data() { kinds({"flip in data", "flip in journal", "cut short"}); }
    void disk();
    void belowTls();

private:
    static void kinds(const QStringList &names)
    {
        QTest::addColumn<int>("kind");
        for (int i = 0; i < names.size(); ++i)
            QTest::newRow(qPrintable(names.at(i))) << i;
    }
    static int count()
    {
        return qEnvironmentVariableIsSet("ARKVALE_FLIPS") ? qEnvironmentVariableIntValue("ARKVALE_FLIPS") : 25;
    }
    static unsigned seed() { return unsigned(qEnvironmentVariableIntValue("ARKVALE_FLIPS_SEED")); }
};

namespace {

const QByteArray &large()
{
    static const QByteArray bytes = noise((2 << 20) + 77777, 1);
    return bytes;
}

const QByteArray &small()
{
    static const QByteArray bytes = noise(20000, 2);
    return bytes;
}

void prepare(StreamPair &pair, bool oldFiles)
{
    QDir(pair.to()).removeRecursively();
    QDir().mkpath(pair.to());
    if (!QFile::exists(pair.from() + "/large")) {
        writeFile(pair.from() + "/large", large());
        writeFile(pair.from() + "/small", small());
    }
    if (oldFiles) {
        writeFile(pair.to() + "/large", "old and large");
        writeFile(pair.to() + "/small", "old and small");
    }
}

/// What is there under the files' names is old and whole, or new and whole; new where it was said to be done.
QString wrong(const StreamPair &pair, const StreamPair::Result &result, bool oldFiles)
{
    const QMap<QString, QByteArray> there = contents(pair.to());
    for (const QString &name : {QStringLiteral("large"), QStringLiteral("small")}) {
        const QByteArray &right = name == "large" ? large() : small();
        const bool isNew = there.value(name) == right;
        const bool isOld = oldFiles ? there.value(name) == "old and " + name.toUtf8() : !there.contains(name);
        if (!isNew && !isOld)
            return name + " is wrong";
        if (!isNew && (result.done.contains(name) || result.done.contains('=' + name)))
            return name + " was said to be done";
        if (!isNew && result.sender.error == Error::None && result.failed.isEmpty() && result.sendFailed.isEmpty())
            return name + " is not there, and nobody said so";
    }
    return {};
}

QString notWhole(StreamPair &pair)
{
    pair.filter = nullptr;
    pair.patienceMs = 60000;
    const StreamPair::Result again = pair.run({"large", "small"}, true, true);
    const QMap<QString, QByteArray> there = contents(pair.to());
    if (again.sender.error != Error::None || again.receiver.error != Error::None || !again.failed.isEmpty())
        return "the second stream failed: " + QString::fromStdString(again.receiver.text) + again.failed.join(", ");
    return there.value("large") == large() && there.value("small") == small() && there.size() == 2
               ? QString()
               : QString("wrong after the second stream");
}

} // namespace

void FlipsTest::line()
{
    QFETCH(int, kind);
    StreamPair pair;
    int seen = 0;
    for (int i = 0; i < count(); ++i) {
        std::mt19937 random(seed() + unsigned(i));
        const bool oldFiles = random() & 1;
        prepare(pair, oldFiles);
        int left = int(random() % (kind == 1 ? 4 : 36));
        bool done = false, counts = false;
        pair.filter = [&](Msg type, Bytes &frame) {
            const bool control = type == Msg::End || type == Msg::Have || type == Msg::Need || type == Msg::Sum;
            if (done || (kind == 1 ? !control : type != Msg::Data) || left-- > 0)
                return PipeChannel::Verdict::Pass;
            done = true;
            if (kind == 2)
                return PipeChannel::Verdict::Cut;
            const std::size_t bit = random() % (frame.size() * 8);
            frame[bit / 8] = std::uint8_t(frame[bit / 8] ^ (1u << bit % 8));
            // The line of this test does not look at the length.
            counts = bit / 8 >= 4;
            return PipeChannel::Verdict::Pass;
        };
        // A message that became another one may leave both sides waiting.
        pair.patienceMs = kind == 1 ? 500 : 60000;
        const StreamPair::Result result = pair.run({"large", "small"}, true);
        const QString which = QStringLiteral("seed %1: ").arg(seed() + unsigned(i));
        const QString fault = wrong(pair, result, oldFiles);
        QVERIFY2(fault.isEmpty(), qPrintable(which + fault));
        const bool noticed = result.frames.value(int(Msg::Need)) > 0 || result.sender.error != Error::None ||
                             result.receiver.error != Error::None || !result.failed.isEmpty();
        QVERIFY2(kind != 0 || !counts || noticed, qPrintable(which + "nobody noticed"));
        seen += counts || kind == 2;
        const QString rest = notWhole(pair);
        QVERIFY2(rest.isEmpty(), qPrintable(which + rest));
    }
    QVERIFY(seen * 2 > count());
}

void FlipsTest::disk()
{
    QFETCH(int, kind);
    StreamPair pair;
    for (int i = 0; i < count(); ++i) {
        std::mt19937 random(seed() + unsigned(i));
        prepare(pair, random() & 1);
        // Two blocks were sent when the line breaks, or nearly.
        int left = 34 + int(random() % 4);
        pair.filter = [&](Msg type, Bytes &) {
            return type == Msg::Data && left-- == 0 ? PipeChannel::Verdict::Cut : PipeChannel::Verdict::Pass;
        };
        const qint64 held = qint64(pair.run({"large"}, true).receiver.progress.bytes);
        QFile partial(pair.to() + "/large.ZPDT.cache");
        QVERIFY(partial.open(QIODevice::ReadWrite));
        const qint64 journal = (large().size() + 4095) / 4096 * 4096;
        qint64 touched = -1;
        if (kind == 2) {
            QVERIFY(partial.resize(qint64(random() % quint64(partial.size()))));
        } else {
            const bool header = random() & 1;
            touched = kind == 0 ? qint64(random() % quint64(large().size()))
                                : journal + (header ? qint64(random() % 64) : 4096 + qint64(random() % 96));
            char byte = 0;
            QVERIFY(partial.seek(touched) && partial.getChar(&byte) && partial.seek(touched));
            partial.putChar(char(byte ^ (1 << random() % 8)));
        }
        partial.close();
        pair.filter = nullptr;
        const StreamPair::Result result = pair.run({"large"}, true, true);
        const QString which = QStringLiteral("seed %1: ").arg(seed() + unsigned(i));
        QVERIFY2(result.receiver.error == Error::None && result.failed.isEmpty(),
                 qPrintable(which + QString::fromStdString(result.receiver.text) + result.failed.join(' ')));
        QVERIFY2(contents(pair.to()).value("large") == large(), qPrintable(which + "the file is wrong"));
        // Of what was there at most the damaged block came again.
        if (kind == 0)
            QVERIFY2(qint64(result.dataBytes) < large().size() - held + (1 << 20) + 8192,
                     qPrintable(which + "too much came again"));
    }
}

void FlipsTest::belowTls()
{
    QTemporaryDir folder;
    TlsIdentity identity;
    std::string error;
    QVERIFY(identity.load((folder.path() + "/pem").toStdString(), error));
    for (int i = 0; i < count(); ++i) {
        std::mt19937 random(seed() + unsigned(i));
        TlsCodec client(TlsIdentity::clientContext(), false), server(identity.serverContext(), true);
        const auto carry = [](TlsCodec &from, TlsCodec &to) {
            Bytes bytes;
            bytes.swap(from.output());
            for (std::size_t at = 0; at < bytes.size();) {
                std::size_t size = 0;
                std::uint8_t *space = to.space(size);
                size = std::min(size, bytes.size() - at);
                std::memcpy(space, bytes.data() + at, size);
                to.received(size);
                at += size;
            }
        };
        for (int round = 0; round < 4; ++round) {
            (void)client.handshake();
            carry(client, server);
            (void)server.handshake();
            carry(server, client);
        }
        QVERIFY(client.handshake() == TlsCodec::Step::Done);
        const Bytes plain(1000, 'x');
        QVERIFY(client.write(plain.data(), plain.size()));
        Bytes &cipher = client.output();
        const std::size_t bit = random() % (cipher.size() * 8);
        cipher[bit / 8] = std::uint8_t(cipher[bit / 8] ^ (1u << bit % 8));
        carry(client, server);
        Bytes read(2000);
        std::size_t got = 0;
        (void)server.read(read.data(), read.size(), got);
        QCOMPARE(got, std::size_t(0));
    }
}

ARKVALE_GUILESS_TEST(FlipsTest)
#include "tst_flips.moc"
