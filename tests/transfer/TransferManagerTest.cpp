#include "TransferManager.h"
#include "RecordScript.h"
#include "SmallDisk.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QProcess>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>

namespace {

/// With ARKVALE_LONG_RUNS set in the environment the long forms run: some minutes instead of some seconds.
int longOr(int shortForm, int longForm)
{
    return qEnvironmentVariableIsSet("ARKVALE_LONG_RUNS") ? longForm : shortForm;
}

std::unique_ptr<TransferManager> openStore(const QString &path)
{
    auto store = std::make_unique<TransferManager>(path, RecordScript::centers());
    emit store->sigInit();
    return store;
}

template <typename Work>
void onStore(TransferManager *store, const Work &work)
{
    QMetaObject::invokeMethod(store, work, Qt::BlockingQueuedConnection);
}

/// Runs steps until it is killed, and says after each that it is done.
int beVictim(const QString &path, quint32 seed)
{
    const std::unique_ptr<TransferManager> store = openStore(path);
    RecordScript script(seed);
    for (int done = 1;; ++done) {
        const RecordScript::Step step = script.next();
        onStore(store.get(), [&] { RecordScript::run(store.get(), step); });
        std::printf("%d\n", done);
        std::fflush(stdout);
    }
}

} // namespace

RecordModel RecordModel::read(const QString &path)
{
    RecordModel model;
    const QString name = QStringLiteral("look");
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        database.setDatabaseName(path);
        if (!database.open())
            qFatal("%s", qPrintable(database.lastError().text()));
        for (const bool unfinished : {true, false}) {
            QSqlQuery query(database);
            query.exec(QStringLiteral("select `Path`, `Type`, `Dest`, `From`, `SubCenterId`, `FileSize`, `Offset`, "
                                      "`Status` from ") +
                       (unfinished ? QStringLiteral("tb_transfer_filelist") : QStringLiteral("tb_finished_filelist")));
            Table &table = unfinished ? model.transfers : model.finished;
            while (query.next()) {
                const qint32 type = query.value(1).toInt();
                const Key key{query.value(0).toString(), unfinished ? type : 0, query.value(2).toString(),
                              query.value(3).toString(), query.value(4).toString()};
                table[key] = {type, query.value(5).toLongLong(), query.value(6).toLongLong(), query.value(7).toInt()};
            }
        }
    }
    QSqlDatabase::removeDatabase(name);
    return model;
}

class TransferManagerTest : public StrictTest
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString file(const QString &name) const { return m_folder.filePath(name); }

private slots:
    void anySequenceEndsInTheTruth()
    {
        const QString path = file("sequence");
        RecordScript script(longOr(7, 8));
        RecordModel model;
        std::unique_ptr<TransferManager> store = openStore(path);
        const int steps = longOr(1500, 120000);
        for (int i = 1; i <= steps; ++i) {
            const RecordScript::Step step = script.next();
            model.apply(step);
            QMetaObject::invokeMethod(store.get(), [kept = store.get(), step] { RecordScript::run(kept, step); });
            if (i % 500 == 0) {
                store.reset();
                QVERIFY2(RecordModel::read(path) == model, qPrintable(QString("after %1 steps").arg(i)));
                QCOMPARE(QFileInfo(path + ".journal").size(), 0);
                store = openStore(path);
            }
        }
    }

    void killedAtAnyPointNothingIsLost()
    {
        const QString path = file("killed");
        std::mt19937 random(1);
        RecordModel model;
        int acknowledged = 0;
        const int kills = longOr(8, 220);
        for (int round = 0; round < kills; ++round) {
            QProcess victim;
            victim.start(QCoreApplication::applicationFilePath(), {"--victim", path, QString::number(round)});
            QVERIFY(victim.waitForReadyRead(20000));        // the first step is done
            QTest::qWait(static_cast<int>(random() % 120)); // why: the kill comes at any point
            victim.kill();
            QVERIFY(victim.waitForFinished(10000));
            const int done = victim.readAllStandardOutput().trimmed().split('\n').last().toInt();
            QVERIFY(done > 0);
            acknowledged += done;
            openStore(path).reset();
            const RecordModel found = RecordModel::read(path);

            // The last step may have been taken in without having been acknowledged.
            RecordScript script(static_cast<quint32>(round));
            for (int i = 0; i < done; ++i)
                model.apply(script.next());
            if (!(found == model))
                model.apply(script.next());
            QVERIFY2(found == model, qPrintable(QString("round %1 after %2 steps").arg(round).arg(done)));
        }
        qInfo("%d kills, %d steps", kills, acknowledged);
    }

    /// Another program holds the database, or the disk is full: writing and clearing wait until that is over.
    void obstaclesDelayAndLoseNothing_data()
    {
        QTest::addColumn<bool>("locked");
        QTest::newRow("a locked database") << true;
        QTest::newRow("a full disk") << false;
    }

    void obstaclesDelayAndLoseNothing()
    {
        QFETCH(bool, locked);
        SmallDisk disk(file("disk"), 2);
        if (!disk.isMounted() && !locked)
            QSKIP("only root may mount a small disk");
        allowMessage("transfer records:");
        allowMessage("transfer journal:");
        const QString path = locked ? file("locked") : file("disk/records");
        RecordScript script(11);
        RecordModel model;
        std::unique_ptr<TransferManager> store = openStore(path);
        const auto run = [&](const RecordScript::Step &step) {
            model.apply(step);
            QMetaObject::invokeMethod(store.get(), [kept = store.get(), step] { RecordScript::run(kept, step); });
        };
        const auto runSome = [&](int steps) {
            for (int i = 0; i < steps; ++i)
                run(script.next());
            onStore(store.get(), [] {});
        };
        runSome(60);
        QFile filler(file("disk/filler"));
        if (locked) {
            QSqlDatabase other = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("other"));
            other.setDatabaseName(path);
            QVERIFY(other.open() && QSqlQuery(other).exec(QStringLiteral("begin immediate")));
        } else {
            QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
            for (const int piece : {65536, 4096, 512}) {
                while (filler.write(QByteArray(piece, 'x')) == piece)
                    continue;
            }
        }
        const int before = messages().size();
        for (const RecordScript::Kind kind : {RecordScript::ClearTransfers, RecordScript::ClearFinished}) {
            runSome(locked ? 5 : 100);
            run({kind, ZPDT_UPLOAD, {}, 0});
            runSome(locked ? 5 : 100);
        }
        for (const int push : {0, 1, 2, 3})
            run({RecordScript::Push, ZPDT_DOWNLOAD, {}, push});
        onStore(store.get(), [] {});
        QVERIFY(messages().size() > before);
        if (locked)
            QSqlDatabase::database(QStringLiteral("other")).close();
        QSqlDatabase::removeDatabase(QStringLiteral("other"));
        filler.remove();
        runSome(20);
        store.reset();
        QVERIFY(RecordModel::read(path) == model);
    }

    void brokenJournalsAreReadAsFarAsTheyGo_data()
    {
        QTest::addColumn<int>("cut");
        QTest::addColumn<QByteArray>("tail");
        QTest::addColumn<int>("uploads");
        QTest::newRow("half an entry") << 7 << QByteArray() << 1;
        QTest::newRow("garbage behind it") << 0 << QByteArray("\0\x01garbage", 9) << 2;
        QTest::newRow("garbage alone") << -1 << QByteArray(100, 'x') << 0;
    }

    void brokenJournalsAreReadAsFarAsTheyGo()
    {
        QFETCH(int, cut);
        QFETCH(QByteArray, tail);
        const QString path = file(QString("journal %1").arg(cut));
        {
            RecordJournal journal;
            QVERIFY(journal.open(path + ".journal"));
            TaskRecord task;
            task.Type = ZPDT_UPLOAD;
            task.SubCenterId = "1";
            for (const char *name : {"/a", "/b"}) {
                task.Path = name;
                journal.append({RecordJournal::Uploads, false, PendingRecords::Add, {task}});
            }
        }
        QFile journal(path + ".journal");
        QVERIFY(journal.open(QIODevice::ReadWrite));
        journal.resize(cut < 0 ? 0 : journal.size() - cut);
        journal.seek(journal.size());
        journal.write(tail);
        journal.close();
        QCOMPARE(QFileInfo(journal).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());

        TransferManager store(path, RecordScript::centers());
        int counted = -1;
        connect(&store, &TransferManager::sigInitTaskCount, this, [&counted](qint64 n) { counted = int(n); });
        emit store.sigInit();
        QTRY_VERIFY(counted >= 0);
        QTEST(counted, "uploads");
    }

    void finishedRecordsComeInPages()
    {
        const std::unique_ptr<TransferManager> store = openStore(file("pages"));
        QList<TaskRecord> tasks;
        for (int i = 0; i < 45; ++i) {
            TaskRecord task;
            task.Path = QString("/l/%1").arg(i);
            task.From = "/l";
            task.Dest = "/it's";
            task.SubCenterId = i == 44 ? "foreign" : "1";
            task.Type = ZPDT_UPLOAD;
            task.Status = ZPDT_SUCCESS;
            tasks << task;
        }
        // Answers come to this thread: a spy would take them down on the store's.
        QList<QList<TaskRecord>> pages;
        connect(store.get(), &TransferManager::sigLoadFinishedTaskRecord, this,
                [&pages](const QList<TaskRecord> &rows) { pages << rows; });
        const auto page = [&](const TaskRecord &start) {
            pages.clear();
            onStore(store.get(), [&] { store->OnLoadFinishedTaskRecord(start, 20); });
            QStringList names;
            if (!QTest::qWaitFor([&] { return !pages.isEmpty(); }))
                return names;
            for (const TaskRecord &task : qAsConst(pages.first()))
                names << task.Path.mid(3);
            return names;
        };
        onStore(store.get(), [&] {
            store->OnAddFinishedRecord(tasks, ZPDT_UPLOAD);
            store->OnPushFinishedRecordForAdd();
            store->OnDelFinishedRecord(tasks.mid(10, 20)); // still in the table, but gone for everybody
        });
        TaskRecord halfNamed = tasks.at(30);
        halfNamed.Dest.clear();
        const QStringList newest = page(TaskRecord());
        QCOMPARE(newest.size(), 20);
        QCOMPARE(newest.first(), QString("43"));
        QCOMPARE(newest.last(), QString("4"));
        QCOMPARE(page(halfNamed), newest);
        QCOMPARE(page(tasks.at(4)), (QStringList{"3", "2", "1", "0"}));
        QVERIFY(page(tasks.at(0)).isEmpty());
    }
};

int main(int argc, char **argv)
{
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    if (argc == 4 && QByteArray(argv[1]) == "--victim") {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
        QCoreApplication app(argc, argv);
        return beVictim(QString::fromLocal8Bit(argv[2]), QByteArray(argv[3]).toUInt());
    }
    TestHome home;
    QCoreApplication app(argc, argv);
    TransferManagerTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "TransferManagerTest.moc"
