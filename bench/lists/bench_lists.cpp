// Prints how long lists of transfers behave: 100,000 unfinished and 1,000,000 finished ones, first paint, memory,
// stalls under a thousand reports a second and while scrolling, beside a tree of items; and the record store behind
// them. Run it at high priority, with QT_QPA_PLATFORM=offscreen where there is no display.

#include "FinishedListWidget.h"
#include "FinishedTaskModel.h"
#include "TransferListWidget.h"
#include "TransferManager.h"
#include "TransferTaskModel.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QScrollBar>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QThread>
#include <QTreeWidget>

#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

qint64 heap()
{
#ifdef __GLIBC__
    const struct mallinfo2 info = mallinfo2();
    return static_cast<qint64>(info.uordblks) + static_cast<qint64>(info.hblkhd);
#else
    return 0;
#endif
}

double milliseconds(const QElapsedTimer &timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

TaskRecord task(int number, qint32 type, qint32 status)
{
    static const QString from = QStringLiteral("/home/artist/projects/feature/shots/sq010/textures");
    static const QString dest = QStringLiteral("/projects/feature/shots/sq010/textures");
    static const QString center = QStringLiteral("1");
    TaskRecord record;
    record.Path = from + QStringLiteral("/rock_surface_displacement.%1.exr").arg(number, 7, 10, QLatin1Char('0'));
    record.From = from;
    record.Dest = dest;
    record.SubCenterId = center;
    record.Type = type;
    record.Status = status;
    record.FileSize = 4 << 20;
    record.CreateDate = QDateTime::fromMSecsSinceEpoch(1700000000000 + number);
    record.FinishDate = record.CreateDate;
    return record;
}

QList<TaskRecord> tasks(int count, qint32 type, qint32 status)
{
    QList<TaskRecord> list;
    list.reserve(count);
    for (int i = 0; i < count; ++i)
        list << task(i, type, status);
    return list;
}

/// Milliseconds that this thread has used a core: what other programs on the machine do not lengthen.
double usedByThread()
{
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

/// Lets others run for a moment. A real-time process that never rests is stopped by the kernel for 50 ms each second,
/// which would pass for a stall.
void rest()
{
    QThread::usleep(1500); // why: see above
}

/// Runs the event loop until the condition holds, and gives the longest time in which it did not come round.
double longestStall(const std::function<bool()> &over)
{
    double longest = 0.0;
    while (!over()) {
        QElapsedTimer timer;
        timer.start();
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        longest = qMax(longest, milliseconds(timer));
        rest();
    }
    return longest;
}

void settle()
{
    QElapsedTimer timer;
    timer.start();
    longestStall([&] { return timer.elapsed() > 300; });
}

void show(QWidget *list)
{
    list->resize(1100, 700);
    list->show();
    settle();
}

/// Scrolls through the whole list in steps as a wheel and a drag make them.
void scroll(const char *what, QAbstractItemView *view)
{
    double longest = 0.0, sum = 0.0, work = 0.0;
    constexpr int kSteps = 400;
    const auto step = [&](int value) {
        QElapsedTimer timer;
        timer.start();
        const double before = usedByThread();
        view->verticalScrollBar()->setValue(value);
        view->viewport()->repaint();
        longest = qMax(longest, milliseconds(timer));
        sum += milliseconds(timer);
        work = qMax(work, usedByThread() - before);
        rest();
    };
    for (int i = 0; i < kSteps / 2; ++i)
        step(i * 27);
    const int end = view->verticalScrollBar()->maximum();
    for (int i = 0; i < kSteps / 2; ++i)
        step(static_cast<int>(qint64(end) * i / (kSteps / 2)));
    std::printf("  %-34s %6.2f ms a step, longest %.2f ms, most work %.2f ms\n", what, sum / kSteps, longest, work);
}

void transferList(int count)
{
    std::printf("%d unfinished transfers\n", count);
    const QList<TaskRecord> records = tasks(count, ZPDT_UPLOAD, ZPDT_WAITING);
    auto list = std::make_unique<TransferListWidget>(ZPDT_UPLOAD);
    show(list.get());
    const qint64 before = heap();
    QElapsedTimer timer;
    timer.start();
    list->HandlerLoadTransferTaskRecord(records);
    list->view()->viewport()->repaint();
    std::printf("  first paint                        %6.1f ms\n", milliseconds(timer));
    const double slices = longestStall([&] { return list->model()->rowCount() == count; });
    std::printf("  all of them in                     %6.0f ms, longest stall %.1f ms\n", milliseconds(timer), slices);
    std::printf("  memory                             %6.0f bytes a row beside the records' texts\n",
                double(heap() - before) / count);
    timer.start();
    list->StartEnd(records);
    std::printf("  all of them are told as started    %6.1f ms\n", milliseconds(timer));

    // A thousand reports a second for five seconds, from all over the list, in bundles of twenty milliseconds.
    QElapsedTimer clock;
    clock.start();
    int sent = 0;
    ZpdtProgress progress;
    progress.total = 4 << 20;
    progress.speed = 97.0;
    progress.secondsLeft = 61;
    const double stall = longestStall([&] {
        for (; sent < clock.elapsed() / 20 * 20; ++sent) {
            const int row = sent % 4 ? sent % 20 : sent * 7919 % count;
            progress.offset = (qint64(sent) * 4099) % progress.total;
            list->OnProgressChanged(task(row, ZPDT_UPLOAD, ZPDT_TRANSFERRING), progress);
        }
        return clock.elapsed() > 5000;
    });
    std::printf("  %d reports in 5 s               longest stall %.1f ms\n", sent, stall);
    scroll("scrolling", list->view());

    timer.start();
    list->Finish(records.mid(0, count / 2));
    list->view()->viewport()->repaint();
    std::printf("  half of them end at once           %6.1f ms\n", milliseconds(timer));

    // The peer: an item for each row.
    QTreeWidget tree;
    tree.setColumnCount(5);
    tree.setUniformRowHeights(true);
    show(&tree);
    const qint64 treeBefore = heap();
    timer.start();
    QList<QTreeWidgetItem *> items;
    for (const TaskRecord &record : records)
        items << new QTreeWidgetItem({record.Path, QStringLiteral("0.00(MB)/4.00(MB)"), QStringLiteral("--"), QString(),
                                      QStringLiteral("waiting...")});
    tree.addTopLevelItems(items);
    tree.viewport()->repaint();
    std::printf("  a tree of items                    %6.1f ms to the first paint, %.0f bytes a row\n",
                milliseconds(timer), double(heap() - treeBefore) / count);
}

void finishedList(int count)
{
    std::printf("%d finished transfers\n", count);
    const QList<TaskRecord> records = tasks(count, ZPDT_UPLOAD, ZPDT_SUCCESS);
    FinishedListWidget list;
    show(&list);
    const qint64 before = heap();
    QElapsedTimer timer;
    timer.start();
    list.HandlerLoadFinishedTaskRecord(records);
    list.view()->viewport()->repaint();
    std::printf("  first paint                        %6.1f ms\n", milliseconds(timer));
    const double stall = longestStall([&] { return list.model()->rowCount() == count; });
    std::printf("  all of them in                     %6.0f ms, longest stall %.1f ms\n", milliseconds(timer), stall);
    std::printf("  memory                             %6.0f bytes a row beside the records' texts\n",
                double(heap() - before) / count);
    scroll("scrolling", list.view());
    timer.start();
    for (int i = 0; i < 1000; ++i)
        list.add(task(count + i, ZPDT_UPLOAD, ZPDT_SUCCESS), ZpdtError::None, QString());
    list.view()->viewport()->repaint();
    std::printf("  a thousand more end                %6.1f ms\n", milliseconds(timer));
}

void store(int unfinished, int finished)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("records"));
    std::printf("record store with %d unfinished and %d finished records\n", unfinished, finished);
    {
        TransferManager maker(path, {QStringLiteral("1")});
        emit maker.sigInit();
    }
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("fill"));
        database.setDatabaseName(path);
        database.open();
        database.transaction();
        QSqlQuery query(database);
        query.prepare(QStringLiteral("insert into tb_finished_filelist (`Path`, `Type`, `FileSize`, `Status`, "
                                     "`FinishDate`, `From`, `Dest`, `SubCenterId`) values (?, ?, ?, ?, ?, ?, ?, ?)"));
        for (int i = 0; i < finished; ++i) {
            const TaskRecord record = task(i, ZPDT_UPLOAD, ZPDT_SUCCESS);
            const QVariantList values{record.Path,       record.Type, record.FileSize, record.Status,
                                      record.FinishDate, record.From, record.Dest,     record.SubCenterId};
            for (int at = 0; at < values.size(); ++at)
                query.bindValue(at, values.at(at));
            query.exec();
        }
        database.commit();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("fill"));

    QElapsedTimer timer;
    const auto onStore = [&](TransferManager *manager, const char *what, const auto &work) {
        timer.start();
        QMetaObject::invokeMethod(manager, work, Qt::BlockingQueuedConnection);
        std::printf("  %-34s %6.1f ms\n", what, milliseconds(timer));
    };
    auto manager = std::make_unique<TransferManager>(path, QStringList{QStringLiteral("1")});
    QList<TaskRecord> page;
    QObject::connect(
        manager.get(), &TransferManager::sigLoadFinishedTaskRecord, manager.get(),
        [&page](const QList<TaskRecord> &rows) { page = rows; }, Qt::DirectConnection);
    const QList<TaskRecord> records = tasks(unfinished, ZPDT_UPLOAD, ZPDT_WAITING);
    onStore(manager.get(), "start with counts", [&] { manager->Init(); });
    onStore(manager.get(), "unfinished ones are accepted", [&] { manager->OnAddTransferRecord(records, ZPDT_UPLOAD); });
    onStore(manager.get(), "and written", [&] { manager->OnPushTransferRecordForAdd(ZPDT_UPLOAD); });
    onStore(manager.get(), "and read", [&] { manager->OnLoadTransferTaskRecord(ZPDT_UPLOAD); });
    onStore(manager.get(), "first page of finished ones", [&] { manager->OnLoadFinishedTaskRecord(TaskRecord(), 20); });
    onStore(manager.get(), "500 more pages", [&] {
        for (int i = 0; i < 500; ++i)
            manager->OnLoadFinishedTaskRecord(page.last(), 20);
    });
    onStore(manager.get(), "unfinished ones are deleted", [&] {
        manager->OnDelTransferRecord(records, ZPDT_UPLOAD);
        manager->OnPushTransferRecordForDel(ZPDT_UPLOAD);
    });
    manager->OnAddTransferRecord(records, ZPDT_UPLOAD);
    manager->OnAddFinishedRecord(records, ZPDT_UPLOAD);
    timer.start();
    manager.reset();
    std::printf("  %-34s %6.1f ms\n", "closing with all of them unwritten", milliseconds(timer));
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QFile style(QStringLiteral(":/ArkvaleTolmaMain/style.qss"));
    if (style.open(QIODevice::ReadOnly))
        app.setStyleSheet(QString::fromUtf8(style.readAll()));
    const int scale = argc > 1 ? QByteArray(argv[1]).toInt() : 100; // percent
    transferList(1000 * scale);
    finishedList(10000 * scale);
    store(1000 * scale, 10000 * scale);
    return 0;
}
