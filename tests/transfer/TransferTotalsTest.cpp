#include "TransferTotals.h"
#include "ConnectionHealth.h"
#include "TestSupport.h"
#include "TransferSummaryBar.h"
#include "TransferTexts.h"

#include <random>

using Verdict = ConnectionHealth::Verdict;

class TransferTotalsTest : public StrictTest
{
    Q_OBJECT

private:
    static TaskRecord task(int number, qint64 size, int type = ZPDT_UPLOAD, qint32 status = ZPDT_WAITING)
    {
        TaskRecord record;
        record.Path = QStringLiteral("/from/%1").arg(number);
        record.Type = type;
        record.FileSize = size;
        record.Status = status;
        record.SubCenterId = QStringLiteral("1");
        return record;
    }
    static ZpdtProgress progress(qint64 offset, qint64 total)
    {
        ZpdtProgress progress;
        progress.offset = offset;
        progress.total = total;
        return progress;
    }

private slots:
    void costsAreLearned_data()
    {
        QTest::addColumn<double>("perFile");     // seconds
        QTest::addColumn<double>("perMegabyte"); // seconds
        QTest::addColumn<int>("firstSize");      // KB of each file done in the first minute
        QTest::addColumn<int>("nextSize");       // KB, of the second minute
        QTest::addColumn<double>("within");      // share of the truth
        QTest::newRow("small files") << 0.004 << 0.02 << 4 << 4 << 0.15;
        QTest::newRow("large files") << 0.02 << 0.08 << 20480 << 20480 << 0.15;
        QTest::newRow("small, then large") << 0.01 << 0.05 << 16 << 51200 << 0.25;
        QTest::newRow("large, then small") << 0.01 << 0.05 << 51200 << 16 << 0.25;
        QTest::newRow("a slow line") << 0.05 << 4.0 << 100 << 1000 << 0.25;
    }

    /// Two minutes of noisy work; then a thousand files and ten gigabytes are foretold.
    void costsAreLearned()
    {
        QFETCH(double, perFile);
        QFETCH(double, perMegabyte);
        QFETCH(int, firstSize);
        QFETCH(int, nextSize);
        QFETCH(double, within);
        std::mt19937 random(7);
        std::uniform_real_distribution<double> noise(0.7, 1.3);
        TransferCost cost;
        QVERIFY(cost.estimate(1, 1) < 0.0);
        double owed = 0.0;
        for (int second = 0; second < 120; ++second) {
            const qint64 size = (second < 60 ? firstSize : nextSize) * qint64(1024);
            const double each = perFile + perMegabyte * double(size) / 1048576.0;
            owed += noise(random) / each;
            const auto files = qint64(owed);
            owed -= double(files);
            cost.observe(1.0, files, files * size);
        }
        const qint64 size = nextSize * qint64(1024);
        const double truth = 1000 * (perFile + perMegabyte * double(size) / 1048576.0);
        const double told = cost.estimate(1000, 1000 * size);
        QVERIFY2(std::abs(told - truth) < within * truth, qPrintable(QStringLiteral("%1 for %2").arg(told).arg(truth)));
        // Other files than those of the last minute: the right size, if not the right number.
        const qint64 other = firstSize * qint64(1024);
        const double otherTruth = 1000 * (perFile + perMegabyte * double(other) / 1048576.0);
        const double otherTold = cost.estimate(1000, 1000 * other);
        QVERIFY2(otherTold > otherTruth / 2 && otherTold < otherTruth * 2,
                 qPrintable(QStringLiteral("%1 for %2").arg(otherTold).arg(otherTruth)));
        for (int second = 0; second < 20; ++second)
            cost.observe(1.0, 0, 0);
        QVERIFY(cost.estimate(1, 1) < 0.0); // a line that stands still promises nothing
    }

    /// Large and small files side by side on a line of a fixed speed. The large ones are told by the megabyte.
    void lumpsOfBytesAreNoChance()
    {
        TransferCost cost;
        double large = 0.0;
        for (int second = 0; second < 90; ++second) {
            const qint64 before = qint64(large);
            large += 1.83;
            cost.observe(1.0, 9, ((qint64(large) - before) << 20) + 9 * 2100);
        }
        const double told = cost.estimate(2658, qint64(842) << 20);
        QVERIFY2(told > 380 && told < 500, qPrintable(QString::number(told))); // 842 MB at 1.85 MB a second
    }

    /// Somebody sets another target speed: a few seconds later the time left is that of the new one.
    void anotherSpeedIsLearnedAtOnce()
    {
        TransferCost cost;
        for (int second = 0; second < 60; ++second)
            cost.observe(1.0, 9, qint64(2) << 20);
        for (const qint64 megabytes : {80, 2}) {
            for (int second = 0; second < 8; ++second)
                cost.observe(1.0, 9 * megabytes / 2, megabytes << 20);
            const double told = cost.estimate(4500, qint64(1000) << 20);
            const double truth = 1000.0 / double(megabytes);
            QVERIFY2(told > truth / 1.5 && told < truth * 1.5, qPrintable(QString::number(told)));
        }
    }

    /// Random reports; after each the sums are what a plain recount gives.
    void sumsAreExact()
    {
        struct Plain
        {
            bool active;
            qint64 size, done;
        };
        std::mt19937 random(11);
        TransferTotals totals;
        QMap<int, Plain> plain;
        TransferFigures ended;
        for (int step = 0; step < 20000; ++step) {
            const int number = int(random() % 60);
            const bool held = plain.contains(number);
            const qint64 size = held ? plain[number].size : qint64(random() % 100000);
            switch (random() % 6) {
            case 0:
            case 1:
                if (plain.isEmpty())
                    ended = TransferFigures();
                totals.put({task(number, size)});
                plain.insert(number, {true, size, held ? plain[number].done : 0});
                break;
            case 2: {
                const qint64 done = size > 0 ? qint64(random()) % size : 0;
                totals.progress(task(number, size), progress(done, size));
                if (held)
                    plain[number].done = done;
                break;
            }
            case 3:
                totals.pause({task(number, size)});
                if (held)
                    plain[number].active = false;
                break;
            case 4: {
                const bool success = random() % 4 > 0;
                totals.finish({task(number, size, ZPDT_UPLOAD, success ? ZPDT_SUCCESS : ZPDT_FAILED)});
                if (held) {
                    ended.filesDone += success;
                    ended.filesFailed += !success;
                    ended.bytesDone += success ? size : plain[number].done;
                    ended.bytesTotal += success ? size : plain[number].done;
                }
                plain.remove(number);
                break;
            }
            case 5:
                totals.cancel({task(number, size)});
                plain.remove(number);
                break;
            }
            TransferFigures wanted = ended;
            wanted.filesTotal = ended.filesDone + ended.filesFailed;
            for (const Plain &one : qAsConst(plain)) {
                wanted.tasks += one.active;
                wanted.paused += !one.active;
                wanted.filesTotal += one.active;
                wanted.bytesTotal += one.active ? one.size : 0;
                wanted.bytesDone += one.active ? one.done : 0;
            }
            const TransferFigures told = totals.figures(ZPDT_UPLOAD);
            const auto all = [](const TransferFigures &f) {
                return QList<qint64>{f.tasks,       f.paused,    f.filesDone, f.filesTotal,
                                     f.filesFailed, f.bytesDone, f.bytesTotal};
            };
            QCOMPARE(all(told), all(wanted));
            QCOMPARE(totals.tasksOf(QStringLiteral("1")), wanted.tasks);
        }
    }

    void whatWasThereBeforeTookNoTime()
    {
        TransferTotals totals;
        totals.put({task(1, 100 << 20), task(2, 1 << 20, ZPDT_DOWNLOAD)});
        qint64 now = 0;
        totals.tick(now);
        totals.progress(task(1, 0), progress(0, 100 << 20));
        for (int i = 1; i <= 5; ++i) {
            totals.tick(now += 1000);
            ZpdtProgress found = progress((90 + i) << 20, 100 << 20);
            found.held = 90 << 20;
            totals.progress(task(1, 0), found);
        }
        totals.tick(now += 1000);
        const TransferFigures up = totals.figures(ZPDT_UPLOAD);
        QCOMPARE(up.bytesDone, qint64(95) << 20);
        QVERIFY2(up.secondsLeft >= 2 && up.secondsLeft <= 10, qPrintable(QString::number(up.secondsLeft)));
        QCOMPARE(totals.figures(ZPDT_DOWNLOAD).secondsLeft, qint64(-1));
        QCOMPARE(totals.figures().secondsLeft, qint64(-1)); // as long as one direction is unknown

        ZpdtProgress folder = progress(96 << 20, 100 << 20);
        folder.scanning = true;
        totals.progress(task(1, 0), folder);
        QVERIFY(totals.figures(ZPDT_UPLOAD).counting);
        QCOMPARE(totals.figures(ZPDT_UPLOAD).secondsLeft, qint64(-1));
    }

    void verdicts()
    {
        ConnectionHealth health;
        ZpdtConnectionInfo line;
        line.state = ZpdtConnectionInfo::Connected;
        qint64 now = 0;
        const auto judge = [&](double loss, double roundTrip) {
            line.lossPercent = loss;
            line.roundTripMs = roundTrip;
            return health.judge(line, true, now += 1000);
        };
        QCOMPARE(judge(9, 20), ConnectionHealth::Good); // one report is an accident
        QCOMPARE(judge(9, 20), ConnectionHealth::Good);
        QCOMPARE(judge(0, 600), ConnectionHealth::Bad);
        QCOMPARE(judge(4, 20), ConnectionHealth::Bad); // neither bad nor good: it stays
        for (int i = 0; i < 2; ++i)
            QCOMPARE(judge(1, 20), ConnectionHealth::Bad);
        QCOMPARE(judge(1, 20), ConnectionHealth::Good);

        line.state = ZpdtConnectionInfo::Connecting;
        QCOMPARE(health.judge(line, false, now += 60000), ConnectionHealth::Good); // nobody waits for it
        QCOMPARE(health.judge(line, true, now), ConnectionHealth::Good);
        QCOMPARE(health.judge(line, true, now += ConnectionHealth::kPatience), ConnectionHealth::OutOfReach);
        line.state = ZpdtConnectionInfo::Connected;
        QCOMPARE(judge(0, 1), ConnectionHealth::Good);
    }

    void durations_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("unknown") << qint64(-1) << "";
        QTest::newRow("now") << qint64(0) << "1 s";
        QTest::newRow("seconds") << qint64(59) << "59 s";
        QTest::newRow("minutes") << qint64(338) << "5 min 30 s";
        QTest::newRow("many minutes") << qint64(3599) << "59 min";
        QTest::newRow("hours") << qint64(86399) << "23 h 59 min";
        QTest::newRow("days") << qint64(200000) << "2 d 7 h";
    }

    void durations()
    {
        QFETCH(qint64, seconds);
        QTEST(TransferTexts::duration(seconds), "text");
    }
};

ARKVALE_WIDGET_TEST(TransferTotalsTest)
#include "TransferTotalsTest.moc"
