#include "TestSupport.h"
#include "TransferLoop.h"

#include <QDateTime>
#include <QFile>
#include <QRegularExpression>

#include <fcntl.h>
#include <sys/stat.h>

using zpdt::Error;

/// Transfers over a real line on the loopback, both ways.
class TransferLoopTest : public StrictTest
{
    Q_OBJECT

private slots:
    void bothWays_data();
    void bothWays();
};

namespace {

void makeTree(const QString &folder)
{
    writeFile(folder + "/empty", {});
    writeFile(folder + "/one", "x");
    QDir().mkpath(folder + "/hollow/deeper");
    QString deep = folder + "/deep";
    for (int i = 0; i < 40; ++i)
        deep += "/d" + QString::number(i);
    writeFile(deep + "/leaf", "leaf");
    for (int i = 0; i < 300; ++i)
        writeFile(folder + QString("/many/f%1").arg(i), noise(i * 37, quint32(i)));
    for (int size : {262143, 262144, 262145, 1048575, 1048576, 1048577, 3 * 1048576})
        writeFile(folder + "/edges/" + QString::number(size), noise(size, quint32(size)));
    const QStringList odd = {"a b",
                             "quote'\"`",
                             "%1 %n",
                             "line\nbreak",
                             QString::fromUtf8("\xF0\x9F\x98\x80"),
                             QString::fromUtf8("\xE4\xB8\xAD\xE6\x96\x87.txt"),
                             QString(255, 'n'),
                             QString(85, QChar(0x4E2D)),
                             "-rf",
                             "back\\slash",
                             ".hidden"};
    for (const QString &name : odd)
        writeFile(folder + "/odd/" + name, name.toUtf8() + noise(300000, 7));
}

} // namespace

void TransferLoopTest::bothWays_data()
{
    QTest::addColumn<bool>("large");
    QTest::addColumn<bool>("udp");
    for (const bool udp : {false, true}) {
        QTest::addRow("tree %s", udp ? "UDP" : "TCP") << false << udp;
        QTest::addRow("40 MiB %s", udp ? "UDP" : "TCP") << true << udp;
    }
}

void TransferLoopTest::bothWays()
{
    QFETCH(bool, large);
    QFETCH(bool, udp);
    TransferLoop loop;
    loop.startServer();
    loop.connect(0, {}, udp);
    if (large)
        writeFile(loop.local() + "/src/big", noise(40 << 20, 1));
    else
        makeTree(loop.local() + "/src");
    // Times of long ago, with a fraction.
    struct timespec times[2] = {{1000000000, 123000000}, {1000000000, 123000000}};
    const QMap<QString, QString> made = snapshot(loop.local() + "/src", false);
    for (auto it = made.end(); it != made.begin();) {
        --it;
        utimensat(AT_FDCWD, QFile::encodeName(loop.local() + "/src/" + it.key()).constData(), times, 0);
    }
    const QMap<QString, QString> source = snapshot(loop.local() + "/src");

    const StreamLog up = loop.upload({"src"});
    QCOMPARE(QString::fromStdString(up.result.text), QString());
    QCOMPARE(up.result.error, Error::None);
    QCOMPARE(up.failed, QStringList());
    QCOMPARE(snapshot(loop.home() + "/in/src"), source);
    QVERIFY(up.totals.complete);
    QCOMPARE(up.result.progress.bytes, up.totals.bytes);
    QCOMPARE(up.result.progress.filesDone, up.totals.files);
    QCOMPARE(loop.used.load(), qint64(up.totals.bytes));
    QVERIFY(up.done.contains("+src"));
    QVERIFY(std::all_of(up.done.begin(), up.done.end(), [](const QString &path) { return path.startsWith('+'); }));

    const StreamLog down = loop.download({"src"});
    QCOMPARE(down.result.error, Error::None);
    QCOMPARE(down.failed, QStringList());
    QCOMPARE(down.done, up.done);
    QCOMPARE(snapshot(loop.local() + "/out/src"), source);
    QCOMPARE(down.result.progress.bytes, up.totals.bytes);

    // Once more: everything is replaced; as a resumed one: nothing is sent.
    const StreamLog again = loop.upload({"src"});
    QCOMPARE(again.result.error, Error::None);
    QCOMPARE(loop.used.load(), qint64(up.totals.bytes));
    QCOMPARE(again.done.filter(QRegularExpression("^[+=]")), QStringList());
    const StreamLog resumed = loop.download({"src"}, true);
    QCOMPARE(resumed.result.error, Error::None);
    QCOMPARE(resumed.done.filter(QRegularExpression("^=")).size(), int(up.totals.files));
    QCOMPARE(snapshot(loop.local() + "/out/src"), source);
}

ARKVALE_GUILESS_TEST(TransferLoopTest)
#include "tst_transferloop.moc"
