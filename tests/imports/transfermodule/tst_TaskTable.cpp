#include "TaskTable.h"

#include "TestSupport.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

#include <map>
#include <set>

using Shape = TaskTable::Shape;

namespace {

TaskRecord record(int number, ZPDTCMDTYPE type = ZPDT_UPLOAD)
{
    TaskRecord r;
    r.Path = QStringLiteral("/source/file %1").arg(number);
    r.From = QStringLiteral("/source");
    r.Dest = QStringLiteral("/target");
    r.SubCenterId = QStringLiteral("1");
    r.Type = type;
    r.FileSize = 1000 + number;
    return r;
}

QString keyOf(const TaskRecord &r)
{
    return r.Path + QLatin1Char('|') + QString::number(r.Type);
}

QString told(TaskTable &table)
{
    static const char *const names[] = {"created", "retrans", "started", "finished", "paused", "cancelled", "exist"};
    QStringList all;
    for (const TaskReport &report : table.takeReports()) {
        QStringList tasks;
        for (const TaskRecord &task : report.tasks)
            tasks.append(task.Path.section(QLatin1Char(' '), 1) + QLatin1Char(':') + QString::number(task.Status));
        all.append(QLatin1String(names[report.kind]) + QLatin1Char(' ') + tasks.join(QLatin1Char(',')));
    }
    return all.join(QLatin1String("; "));
}

QString ordered(TaskTable &table)
{
    QStringList all;
    for (const TaskOrder &order : table.takeOrders()) {
        const QString name = order.kind == TaskOrder::Run      ? QStringLiteral("run")
                             : order.kind == TaskOrder::Stop   ? QStringLiteral("stop")
                             : order.kind == TaskOrder::Prefer ? QStringLiteral("prefer")
                                                               : QStringLiteral("abandon");
        all.append(name + QString::number(order.id));
    }
    return all.join(QLatin1Char(' '));
}

/// What a list view and a runner know of the table, each by its own messages alone, and what they may rely on.
class Witness
{
public:
    explicit Witness(TaskTable &table)
        : m_table(table)
    {
    }

    /// Reads what the last operation left. Returns what is wrong, empty when nothing is.
    QString look()
    {
        for (const TaskReport &report : m_table.takeReports()) {
            for (const TaskRecord &task : report.tasks) {
                const QString wrong = apply(report.kind, task);
                if (!wrong.isEmpty())
                    return wrong + QLatin1Char(' ') + keyOf(task);
            }
        }
        for (const TaskOrder &order : m_table.takeOrders()) {
            if (order.kind == TaskOrder::Run) {
                if (!working.insert({order.id, false}).second)
                    return QStringLiteral("run twice");
            } else if (order.kind != TaskOrder::Prefer) {
                const auto it = working.find(order.id);
                if (it != working.end())
                    it->second = true;
                else if (ended.count(order.id) == 0)
                    return QStringLiteral("stop of a task that never ran");
            }
        }
        for (const ZPDTCMDTYPE type : {ZPDT_DOWNLOAD, ZPDT_UPLOAD}) {
            // After the limit fell the surplus may only shrink.
            mostRunning[type] = std::max(limit[type], std::min(mostRunning[type], m_table.running(type)));
            if (m_table.running(type) > mostRunning[type])
                return QStringLiteral("too many run");
        }
        for (const auto &[key, status] : rows) {
            if (status == ZPDT_WAITING && idle(key) && !isWorking(key))
                return QStringLiteral("waits although a slot is free: ") + key;
        }
        return {};
    }

    std::map<QString, int> rows;    ///< of the list, with their status
    std::map<TaskId, bool> working; ///< of the runner; true: told to stop
    std::map<int, int> mostRunning = {{ZPDT_DOWNLOAD, 1}, {ZPDT_UPLOAD, 1}};
    std::map<int, int> limit = mostRunning;
    std::set<TaskId> ended;  ///< of the runner
    std::set<QString> asked; ///< pauses and cancels without an answer yet

private:
    bool idle(const QString &key) const
    {
        const int type = key.endsWith(QLatin1Char('2')) ? ZPDT_UPLOAD : ZPDT_DOWNLOAD;
        return m_table.running(static_cast<ZPDTCMDTYPE>(type)) < limit.at(type);
    }

    bool isWorking(const QString &key) const
    {
        TaskRecord task = record(key.section(QLatin1Char('|'), 0, 0).section(QLatin1Char(' '), 1).toInt());
        task.Type = key.section(QLatin1Char('|'), 1).toInt();
        const auto id = m_table.find(task);
        return id && working.count(*id) > 0;
    }

    QString apply(TaskReport::Kind kind, const TaskRecord &task)
    {
        const QString key = keyOf(task);
        const bool there = rows.count(key) > 0;
        switch (kind) {
        case TaskReport::Created:
            if (there)
                return QStringLiteral("created twice");
            rows[key] = task.Status;
            break;
        case TaskReport::Started:
            rows[key] = task.Status;
            break;
        case TaskReport::Retrans:
        case TaskReport::Exist:
            if (!there)
                return QStringLiteral("told of a task that is not there");
            break;
        case TaskReport::PauseEnd:
            if (there)
                rows[key] = task.Status;
            asked.erase(key);
            if (task.Status != ZPDT_PAUSED)
                return QStringLiteral("paused without its status");
            break;
        case TaskReport::Finished:
            if (!there || (rows[key] & (ZPDT_PAUSED)) != 0)
                return QStringLiteral("finished while it was not running");
            if (task.Status != ZPDT_SUCCESS && task.Status != ZPDT_FAILED)
                return QStringLiteral("finished without its status");
            rows.erase(key);
            asked.erase(key);
            break;
        case TaskReport::CancelEnd:
            rows.erase(key);
            asked.erase(key);
            break;
        case TaskReport::KindCount:
            break;
        }
        return {};
    }

    TaskTable &m_table;
};

} // namespace

class TaskTableTest : public StrictTest
{
    Q_OBJECT

private slots:
    void runsInOrderWithinTheLimit();
    void operationsOnRunningTasks_data();
    void operationsOnRunningTasks();
    void smallFilesRunAheadUnseen();
    void largeFilesLeaveTheirGroup();
    void heldFromAnEarlierRun();
    void endedTasksAreSentAgain();
    void limitFollowsLive();
    void allOfManyAtOnce();
    void randomOperations_data();
    void randomOperations();
};

void TaskTableTest::runsInOrderWithinTheLimit()
{
    TaskTable table;
    table.setMaxConcurrence(ZPDT_UPLOAD, 2);
    for (int i = 1; i <= 4; ++i)
        QVERIFY(table.add(record(i), Shape::File, nullptr));
    QCOMPARE(told(table), QStringLiteral("created 1:0,2:0,3:0,4:0; started 1:1,2:1"));
    QCOMPARE(ordered(table), QStringLiteral("run1 run2"));
    // The other direction has slots of its own.
    QVERIFY(table.add(record(1, ZPDT_DOWNLOAD), Shape::File, nullptr));
    QCOMPARE(ordered(table), QStringLiteral("run5"));
    told(table);

    QVERIFY(!table.add(record(2), Shape::File, nullptr));
    QVERIFY(!table.add(record(4), Shape::File, nullptr));
    QCOMPARE(told(table), QStringLiteral("exist 2:1,4:0"));

    // A waiting task that is asked for by name goes first, and the latest one gives way; running ones lead the line.
    table.start(record(4), nullptr);
    table.start(record(1), nullptr);
    QCOMPARE(ordered(table), QStringLiteral("stop2 prefer1"));
    QVERIFY(table.urgency(1) > table.urgency(4) && table.urgency(2) == 0);
    table.finished(1, true);
    QCOMPARE(told(table), QStringLiteral("started 4:0,2:0,1:1; finished 1:4096; started 4:1"));
    table.finished(2, false);
    QCOMPARE(told(table), QStringLiteral("finished 2:8192; started 3:1"));
    QCOMPARE(table.count(ZPDT_UPLOAD), 2);
}

void TaskTableTest::operationsOnRunningTasks_data()
{
    QTest::addColumn<QString>("operations");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("orders");

    const auto row = [](const char *operations, const char *expected, const char *orders) {
        QTest::newRow(operations) << operations << expected << orders;
    };
    row("pause stopped", "paused 1:32; started 2:1", "stop1 run2");
    row("pause start stopped", "paused 1:32; started 2:1,1:0", "stop1 run2");
    row("pause done stopped", "finished 1:4096; started 2:1", "stop1 run2");
    row("pause failed", "finished 1:8192; started 2:1", "stop1 run2");
    row("pause pause stopped pause", "paused 1:32; started 2:1; paused 1:32", "stop1 run2");
    row("cancel stopped", "cancelled 1:64; started 2:1", "abandon1 run2");
    row("cancel failed", "cancelled 1:64; started 2:1", "abandon1 run2");
    row("cancel done", "finished 1:4096; started 2:1", "abandon1 run2");
    row("pause cancel stopped", "cancelled 1:64; started 2:1", "stop1 abandon1 run2");
    row("cancel pause stopped", "cancelled 1:64; started 2:1", "abandon1 run2");
    row("cancel add stopped", "cancelled 1:64; created 1:0; started 2:1", "abandon1 run2");
    row("cancel add cancel stopped", "cancelled 1:64; started 2:1", "abandon1 run2");
    row("pause stopped cancel", "paused 1:32; started 2:1; cancelled 1:64", "stop1 run2");
    row("pause stopped add", "paused 1:32; started 2:1; started 1:0; retrans 1:0", "stop1 run2");
    row("done done stopped failed", "finished 1:4096; started 2:1", "run2");
}

void TaskTableTest::operationsOnRunningTasks()
{
    QFETCH(QString, operations);
    QFETCH(QString, expected);
    QFETCH(QString, orders);
    TaskTable table;
    table.add(record(1), Shape::File, nullptr);
    table.add(record(2), Shape::File, nullptr);
    told(table);
    ordered(table);
    QStringList seen;
    for (const QString &operation : operations.split(QLatin1Char(' '))) {
        if (operation == QLatin1String("pause"))
            table.pause(record(1));
        else if (operation == QLatin1String("start"))
            table.start(record(1), nullptr);
        else if (operation == QLatin1String("cancel"))
            table.cancel(record(1));
        else if (operation == QLatin1String("add"))
            QVERIFY(table.add(record(1), Shape::File, nullptr));
        else if (operation == QLatin1String("stopped"))
            table.stopped(1);
        else
            table.finished(1, operation == QLatin1String("done"));
        const QString now = told(table);
        if (!now.isEmpty())
            seen.append(now);
    }
    QCOMPARE(seen.join(QLatin1String("; ")), expected);
    QCOMPARE(ordered(table), orders);
}

void TaskTableTest::smallFilesRunAheadUnseen()
{
    TaskTable table;
    for (int i = 1; i <= 3000; ++i)
        table.add(record(i), Shape::SmallFile, nullptr);
    std::size_t runs = table.takeOrders().size();
    QVERIFY2(runs > 500 && runs < 3000, qPrintable(QString::number(runs)));
    QCOMPARE(table.running(ZPDT_UPLOAD), 1);
    told(table);

    // One that ended before its turn is told as started and finished; the one that shows as running stays.
    table.setStatus(2, ZPDT_TRANSFERRING);
    table.finished(3, true);
    QCOMPARE(told(table), QStringLiteral("started 3:4; finished 3:4096"));
    QCOMPARE(table.running(ZPDT_UPLOAD), 1);
    // The next in line shows the state that its transfer has already.
    table.finished(1, true);
    QCOMPARE(told(table), QStringLiteral("finished 1:4096; started 2:4"));
    QCOMPARE(table.running(ZPDT_UPLOAD), 1);

    // Refilled by the group, not one by one.
    std::set<std::size_t> groups = {table.takeOrders().size()};
    for (TaskId id = 4; id <= 1200; ++id) {
        table.finished(id, true);
        groups.insert(table.takeOrders().size());
    }
    QVERIFY(*groups.rbegin() > 400);

    // One pause, and nothing waits any more.
    table.takeReports();
    table.pauseAll(ZPDT_UPLOAD);
    for (const TaskOrder &order : table.takeOrders())
        table.stopped(order.id);
    QVERIFY(table.takeOrders().empty());
    qint64 paused = 0;
    for (const TaskReport &report : table.takeReports()) {
        QCOMPARE(report.kind, TaskReport::PauseEnd);
        paused += report.tasks.size();
    }
    QCOMPARE(paused, table.count(ZPDT_UPLOAD));
}

/// A large file among them leaves the group, keeps its place, and shows nothing of it.
void TaskTableTest::largeFilesLeaveTheirGroup()
{
    TaskTable table;
    for (int i = 1; i <= 4; ++i)
        table.add(record(i), Shape::SmallFile, nullptr);
    told(table);
    QCOMPARE(ordered(table), QStringLiteral("run1 run2 run3 run4"));
    table.takeOutOfGroup(2, Shape::File);
    table.takeOutOfGroup(3, Shape::File);
    table.takeOutOfGroup(2, Shape::File);
    QCOMPARE(ordered(table), QStringLiteral("stop2 stop3"));
    table.stopped(3);
    table.stopped(2);
    QCOMPARE(told(table), QString());
    QCOMPARE(ordered(table), QString());
    // They run alone, one after the other, before the fourth, which was ahead already.
    table.finished(1, true);
    QCOMPARE(ordered(table), QStringLiteral("run2"));
    table.finished(2, true);
    QCOMPARE(ordered(table), QStringLiteral("run3"));
    QVERIFY(table.resumed(3));
    told(table);
    table.finished(3, true);
    QCOMPARE(told(table), QStringLiteral("finished 3:4096; started 4:1"));
}

void TaskTableTest::heldFromAnEarlierRun()
{
    TaskTable table;
    QCOMPARE(table.registerPaused({record(1), record(2), record(3), record(1)}), 3);
    QCOMPARE(table.registerPaused({record(2), record(4)}), 1);
    QCOMPARE(table.count(ZPDT_UPLOAD), 4);
    QCOMPARE(told(table), QString());
    TaskRecord strange = record(9);
    strange.Type = 7;
    QCOMPARE(table.registerPaused({strange}), 0);

    table.start(record(1), nullptr);
    QCOMPARE(told(table), QStringLiteral("started 1:1"));
    QVERIFY(table.resumed(*table.find(record(1))));
    table.unregisterPaused({record(1), record(2), record(8)});
    QVERIFY(table.find(record(1)));
    QVERIFY(!table.find(record(2)));
    table.cancelAll(ZPDT_UPLOAD);
    QCOMPARE(told(table), QStringLiteral("cancelled 3:64,4:64"));
    QCOMPARE(table.takeAbandoned().size(), 2);

    // Unknown records are answered, so that no row waits for ever.
    table.pause(record(7));
    table.cancel(record(7));
    table.start(record(6), nullptr);
    QCOMPARE(told(table), QStringLiteral("paused 7:32; cancelled 7:64; started 6:0"));
}

void TaskTableTest::endedTasksAreSentAgain()
{
    TaskTable table;
    table.add(record(1), Shape::File, nullptr);
    table.finished(1, true);
    told(table);
    table.add(record(1), Shape::File, nullptr);
    // In one round: its end must not stand behind its new life, nor the other way round.
    table.finished(2, false);
    table.add(record(1), Shape::File, nullptr);
    QCOMPARE(told(table),
             QStringLiteral("created 1:0; retrans 1:0; started 1:1; finished 1:8192; created 1:0; retrans 1:0; "
                            "started 1:1"));
    QVERIFY(!table.resumed(3));
}

void TaskTableTest::limitFollowsLive()
{
    TaskTable table;
    table.setMaxConcurrence(ZPDT_UPLOAD, 3);
    for (int i = 1; i <= 5; ++i)
        table.add(record(i), Shape::File, nullptr);
    told(table);
    ordered(table);
    table.setMaxConcurrence(ZPDT_UPLOAD, 1);
    QCOMPARE(ordered(table), QStringLiteral("stop3 stop2"));
    table.stopped(3);
    table.stopped(2);
    told(table);
    QCOMPARE(table.running(ZPDT_UPLOAD), 1);
    table.setMaxConcurrence(ZPDT_UPLOAD, 0);
    table.finished(1, true);
    // What had to give way comes before what never ran.
    QCOMPARE(ordered(table), QStringLiteral("run2"));
    QVERIFY(table.resumed(2));
    table.setMaxConcurrence(ZPDT_UPLOAD, 10);
    QCOMPARE(ordered(table), QStringLiteral("run3 run4 run5"));
}

void TaskTableTest::allOfManyAtOnce()
{
    constexpr int kMany = 20000;
    TaskTable table;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < kMany; ++i)
        table.add(record(i), Shape::File, nullptr);
    table.pauseAll(ZPDT_UPLOAD);
    table.stopped(1);
    QList<TaskRecord> all;
    for (int i = 0; i < kMany; ++i)
        all.append(record(i));
    table.startAll(all, ZPDT_UPLOAD, nullptr);
    table.cancelAll(ZPDT_UPLOAD);
    for (const TaskOrder &order : table.takeOrders())
        table.stopped(order.id);
    QCOMPARE(table.count(ZPDT_UPLOAD), 0);
    // A handful of signals, each with a list.
    const auto reports = table.takeReports();
    QVERIFY2(reports.size() < 20, qPrintable(QString::number(reports.size())));
    QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
}

void TaskTableTest::randomOperations_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<int>("reportEvery");
    for (quint32 seed = 1; seed <= 4; ++seed)
        QTest::addRow("seed %u", seed) << seed << (seed % 2 ? 1 : 7);
}

/// Any order of operations and answers keeps what views and runner rely on, and all work comes to its end.
void TaskTableTest::randomOperations()
{
    QFETCH(quint32, seed);
    QFETCH(int, reportEvery);
    QRandomGenerator random(seed);
    TaskTable table;
    Witness witness(table);
    const auto any = [&random] { return record(random.bounded(40), random.bounded(2) ? ZPDT_UPLOAD : ZPDT_DOWNLOAD); };
    for (int step = 0; step < 6000; ++step) {
        const TaskRecord task = any();
        const auto type = static_cast<ZPDTCMDTYPE>(task.Type);
        switch (random.bounded(16)) {
        case 0:
        case 1:
        case 2:
        case 3:
            table.add(task, random.bounded(2) ? Shape::File : Shape::SmallFile, nullptr);
            break;
        case 4:
            table.start(task, nullptr);
            break;
        case 5:
            witness.asked.insert(keyOf(task));
            table.pause(task);
            break;
        case 6:
            witness.asked.insert(keyOf(task));
            table.cancel(task);
            break;
        case 7:
            if (random.bounded(20) == 0)
                table.pauseAll(type);
            else if (random.bounded(20) == 0)
                table.cancelAll(type);
            break;
        case 8:
            if (random.bounded(4) == 0) {
                const int count = 1 + random.bounded(5);
                witness.mostRunning[type] = std::max(count, witness.mostRunning[type]);
                witness.limit[type] = count;
                table.setMaxConcurrence(type, count);
            }
            break;
        case 9:
            if (!witness.working.empty() && random.bounded(2))
                table.takeOutOfGroup(witness.working.begin()->first, Shape::File);
            table.startAll({any(), any(), any()}, type, nullptr);
            break;
        default:
            if (!witness.working.empty()) {
                auto it = witness.working.begin();
                std::advance(it, random.bounded(static_cast<int>(witness.working.size())));
                const TaskId id = it->first;
                const bool stop = it->second && random.bounded(3) > 0;
                const bool halt = random.bounded(8) == 0;
                witness.working.erase(it);
                witness.ended.insert(id);
                if (halt)
                    table.halted(id);
                else if (stop)
                    table.stopped(id);
                else
                    table.finished(id, random.bounded(4) > 0);
            }
            break;
        }
        if (step % reportEvery == 0 || random.bounded(3) == 0) {
            const QString wrong = witness.look();
            QVERIFY2(wrong.isEmpty(), qPrintable(QStringLiteral("step %1: %2").arg(step).arg(wrong)));
        }
    }
    for (int round = 0; round < 1000; ++round) {
        QVERIFY2(witness.look().isEmpty(), "while it ran dry");
        if (witness.working.empty())
            break;
        const auto [id, stop] = *witness.working.begin();
        witness.working.erase(witness.working.begin());
        stop ? table.stopped(id) : table.finished(id, true);
    }
    QVERIFY(witness.working.empty());
    QVERIFY2(witness.asked.empty(), qPrintable(witness.asked.empty() ? QString() : *witness.asked.begin()));
    for (const auto &[key, status] : witness.rows)
        QVERIFY2(status == ZPDT_PAUSED, qPrintable(key + QLatin1Char(' ') + QString::number(status)));
    QCOMPARE(table.count(ZPDT_UPLOAD) + table.count(ZPDT_DOWNLOAD), static_cast<int>(witness.rows.size()));
}

ARKVALE_GUILESS_TEST(TaskTableTest)
#include "tst_TaskTable.moc"
