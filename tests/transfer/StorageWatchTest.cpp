#include "StorageWatch.h"
#include "SmallDisk.h"
#include "TestFiles.h"
#include "TestSupport.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <atomic>

constexpr qint64 kMiB = 1024 * 1024;

class StorageWatchTest : public StrictTest
{
    Q_OBJECT

private:
    std::atomic<qint64> m_free{0};

    static TaskRecord task(const QString &name, int type, const QString &dest = QStringLiteral("/to"))
    {
        TaskRecord record;
        record.Path = QStringLiteral("/from/") + name;
        record.Dest = dest;
        record.Type = type;
        record.SubCenterId = QStringLiteral("1");
        return record;
    }
    /// The engine's two words about a task that finds no room.
    static int rest(StorageWatch &watch, const TaskRecord &task, qint64 need)
    {
        ZpdtProgress progress;
        progress.total = need;
        progress.error = ZpdtError::NoSpace;
        watch.progress(task, progress);
        return watch.paused({task}).size();
    }
    void prepare(StorageWatch &watch)
    {
        watch.setPauses({10, 150, 600, 30});
        watch.setFreeSpace([this](const QString &) { return m_free.load(); });
    }

private slots:
    void downloadsGoOnAsTheyFit()
    {
        StorageWatch watch;
        prepare(watch);
        QSignalSpy room(&watch, SIGNAL(roomFound(QList<TaskRecord>)));
        m_free = 0;
        QCOMPARE(rest(watch, task("big", ZPDT_DOWNLOAD), 50 * kMiB), 1);
        rest(watch, task("small", ZPDT_DOWNLOAD), kMiB);
        rest(watch, task("gone", ZPDT_DOWNLOAD), kMiB);
        QVERIFY(watch.paused({task("by hand", ZPDT_DOWNLOAD)}).isEmpty());
        watch.release({task("gone", ZPDT_DOWNLOAD)});
        QVERIFY(!room.wait(80));
        m_free = 5 * kMiB;
        QVERIFY(room.wait());
        const auto first = room.takeFirst().first().value<QList<TaskRecord>>();
        QCOMPARE(first.size(), 1);
        QVERIFY(first.first().Path.endsWith(QLatin1String("small")));
        m_free = 100 * kMiB;
        QVERIFY(room.wait());
        QVERIFY(room.last().first().value<QList<TaskRecord>>().first().Path.endsWith(QLatin1String("big")));
        QVERIFY(watch.isEmpty());
    }

    /// The account's figures promise room that the disk behind it does not have.
    void neverInATightLoop()
    {
        StorageWatch watch;
        prepare(watch);
        QSignalSpy wishes(&watch, SIGNAL(capacityWanted()));
        QSignalSpy room(&watch, SIGNAL(roomFound(QList<TaskRecord>)));
        connect(&watch, &StorageWatch::capacityWanted, &watch,
                [&] { watch.setCapacity(QStringLiteral("1"), kMiB * 99); });
        connect(&watch, &StorageWatch::roomFound, &watch,
                [&](const QList<TaskRecord> &tasks) { rest(watch, tasks.first(), kMiB); });
        rest(watch, task("up", ZPDT_UPLOAD), kMiB);
        QElapsedTimer clock;
        clock.start();
        QTRY_COMPARE(room.size(), 4); // after 0, 150, 300 and 600 ms
        QVERIFY2(clock.elapsed() >= 1000, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(wishes.size() >= 4);
        QCOMPARE(watch.releaseAll(ZPDT_DOWNLOAD).size(), 0);
        QCOMPARE(watch.releaseAll(ZPDT_UPLOAD).size(), 1);
        QVERIFY(watch.isEmpty());
    }

    void aRealDisk()
    {
        const QTemporaryDir folder;
        SmallDisk disk(folder.path() + QStringLiteral("/disk"), 4);
        if (!disk.isMounted())
            QSKIP("only root may mount a small disk");
        const QString below = folder.path() + QStringLiteral("/disk/not/there/yet");
        QCOMPARE(StorageWatch::ofDisk(below), 4 * kMiB);
        StorageWatch watch;
        watch.setPauses({10, 10, 10, 10});
        QSignalSpy room(&watch, SIGNAL(roomFound(QList<TaskRecord>)));
        rest(watch, task("file", ZPDT_DOWNLOAD, below), 6 * kMiB);
        QVERIFY(!room.wait(60));
        QVERIFY(disk.grow(8));
        QVERIFY(room.wait());
    }
};

ARKVALE_GUILESS_TEST(StorageWatchTest)
#include "StorageWatchTest.moc"
