#include "TransferManager.h"

#include "RecordSql.h"

#include <QDebug>
#include <QSqlError>
#include <QSqlQuery>
#include <QTime>
#include <QTimer>

#include <algorithm>
#include <iterator>

namespace {

const QString kConnection = QStringLiteral("db_connection_transferManager");
constexpr int kInterval = 1000; // milliseconds
/// Timers may fire a little early; a turn that comes by the timer is always due.
constexpr int kTurnPause = 900;
constexpr int kTurns = 6;
/// The journal is made anew when it has grown to this size, in bytes, and to twice what it was then.
constexpr qint64 kTidyFrom = 4 << 20;

QStringList withShare(QStringList ids)
{
    return ids << QStringLiteral("share");
}

void logFailure(const QSqlError &error)
{
    qWarning() << "transfer records:" << error.text();
}

/// What fails because of the place and not because of the statement: later it may succeed.
bool isPassing(const QSqlError &error)
{
    // Codes of SQLite: busy, locked, read only, interrupted, no memory, I/O, full, cannot open.
    constexpr int kPassing[] = {5, 6, 7, 8, 9, 10, 13, 14};
    const int code = error.nativeErrorCode().toInt() & 0xff;
    return std::find(std::begin(kPassing), std::end(kPassing), code) != std::end(kPassing);
}

} // namespace

std::atomic<int> TransferManager::s_tick{0};

TransferManager::TransferManager(const QString &database, const QStringList &subCenterIds)
    : m_path(database)
    , m_visible(withShare(subCenterIds))
    , m_centers(RecordSql::centerList(subCenterIds))
{
    qRegisterMetaType<ZPDTCMDTYPE>("ZPDTCMDTYPE");
    qRegisterMetaType<TaskRecord>("TaskRecord");
    qRegisterMetaType<QList<TaskRecord>>("QList<TaskRecord>");
    connectSelf();
    m_thread.setObjectName(QStringLiteral("transfer records"));
    moveToThread(&m_thread);
    m_thread.start(QThread::InheritPriority);
}

TransferManager::~TransferManager()
{
    // Queued calls that are under way are carried out before this one.
    QMetaObject::invokeMethod(this, "finish", Qt::BlockingQueuedConnection, Q_ARG(QThread *, QThread::currentThread()));
    m_thread.quit();
    m_thread.wait();
}

void TransferManager::connectSelf()
{
    connect(this, SIGNAL(sigInit()), this, SLOT(Init()), Qt::QueuedConnection);
    connect(this, SIGNAL(sigPushTransferRecordForAdd(ZPDTCMDTYPE)), this, SLOT(OnPushTransferRecordForAdd(ZPDTCMDTYPE)),
            Qt::QueuedConnection);
    connect(this, SIGNAL(sigPushTransferRecordForDel(ZPDTCMDTYPE)), this, SLOT(OnPushTransferRecordForDel(ZPDTCMDTYPE)),
            Qt::QueuedConnection);
    connect(this, SIGNAL(sigPushFinishedRecordForAdd()), this, SLOT(OnPushFinishedRecordForAdd()),
            Qt::QueuedConnection);
    connect(this, SIGNAL(sigPushFinishedRecordForDel()), this, SLOT(OnPushFinishedRecordForDel()),
            Qt::QueuedConnection);
    connect(this, SIGNAL(sigClearTransferTaskRecord(ZPDTCMDTYPE)), this, SLOT(OnClearTransferTaskRecord(ZPDTCMDTYPE)),
            Qt::QueuedConnection);
    connect(this, SIGNAL(sigClearFinishedTaskRecord()), this, SLOT(OnClearFinishedTaskRecord()), Qt::QueuedConnection);
    connect(this, SIGNAL(sigTriggerSignal()), this, SLOT(TriggerSignal()), Qt::QueuedConnection);
}

PendingRecords &TransferManager::bucket(RecordJournal::Bucket which)
{
    switch (which) {
    case RecordJournal::Downloads:
        return m_downloadData;
    case RecordJournal::Uploads:
        return m_uploadData;
    case RecordJournal::Finished:
        break;
    }
    return m_finishedData;
}

RecordJournal::Bucket TransferManager::bucketOf(ZPDTCMDTYPE type)
{
    return type == ZPDT_UPLOAD ? RecordJournal::Uploads : RecordJournal::Downloads;
}

// The life of the connection.

void TransferManager::openDatabase()
{
    // A window that is about to go may still have its own store open.
    const bool taken = QSqlDatabase::contains(kConnection);
    m_connection = taken ? kConnection + QString::number(quintptr(this), 16) : kConnection;
    m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
    // While another program holds the database its turns are left out; they come every second.
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=500"));
    m_database.setDatabaseName(m_path.isEmpty() ? QStringLiteral(":memory:") : m_path);
    if (!m_database.open()) {
        logFailure(m_database.lastError());
        return;
    }
    if (!m_path.isEmpty())
        QFile::setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner);
    for (const QString &statement : RecordSql::createTables())
        execute(statement);
}

void TransferManager::Init()
{
    if (m_timer)
        return;
    openDatabase();
    replayJournal();
    m_timer = new QTimer(this);
    m_timer->setInterval(kInterval);
    connect(m_timer, SIGNAL(timeout()), this, SIGNAL(sigTriggerSignal()), Qt::QueuedConnection);

    const qint64 uploads = count(RecordSql::countTransfers(ZPDT_UPLOAD, m_centers));
    const qint64 downloads = count(RecordSql::countTransfers(ZPDT_DOWNLOAD, m_centers));
    const qint64 finished = count(RecordSql::countFinished(m_centers));
    emit sigInitTaskCount(uploads, downloads, finished);
}

void TransferManager::replayJournal()
{
    // Tasks that came before Init() are newer than anything in the file.
    QList<RecordJournal::Entry> early;
    for (const RecordJournal::Bucket which :
         {RecordJournal::Downloads, RecordJournal::Uploads, RecordJournal::Finished}) {
        QMutexLocker lock(&bucket(which).mutex());
        for (const auto operation : {PendingRecords::Add, PendingRecords::Del, PendingRecords::Change})
            early << RecordJournal::Entry{which, false, operation, bucket(which).take(operation)};
    }
    if (!m_path.isEmpty() && !m_journal.open(m_path + QStringLiteral(".journal")))
        qWarning() << "transfer records: an end by force will lose the last seconds";
    m_journal.read([this](const RecordJournal::Entry &entry) {
        PendingRecords &pending = bucket(entry.bucket);
        QMutexLocker lock(&pending.mutex());
        if (!entry.clear) {
            pending.put(entry.records, entry.operation);
            return;
        }
        pending.clear(m_visible);
        lock.unlock();
        clear(entry.bucket);
    });
    writeEverything();
    for (const RecordJournal::Entry &entry : qAsConst(early))
        enqueue(entry.bucket, entry.operation, entry.records);
}

void TransferManager::finish(QThread *home)
{
    if (m_timer) {
        writeEverything();
        delete m_timer;
        m_timer = nullptr;
    }
    m_journal.close();
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connection);
    moveToThread(home);
}

void TransferManager::writeEverything()
{
    for (const RecordJournal::Bucket which :
         {RecordJournal::Downloads, RecordJournal::Uploads, RecordJournal::Finished}) {
        pushDel(which);
        pushAdd(which);
    }
}

// Taking in what is to be written.

void TransferManager::enqueue(RecordJournal::Bucket which, PendingRecords::Operation operation,
                              const QList<TaskRecord> &tasks)
{
    if (tasks.isEmpty())
        return;
    {
        PendingRecords &pending = bucket(which);
        QMutexLocker lock(&pending.mutex());
        pending.put(tasks, operation);
        m_journal.append({which, false, operation, tasks});
    }
    emit sigTriggerSignal();
}

void TransferManager::OnAddTransferRecord(QList<TaskRecord> tasks, ZPDTCMDTYPE type)
{
    enqueue(bucketOf(type), PendingRecords::Add, tasks);
}

void TransferManager::OnDelTransferRecord(QList<TaskRecord> tasks, ZPDTCMDTYPE type)
{
    enqueue(bucketOf(type), PendingRecords::Del, tasks);
}

void TransferManager::OnUpdateTransferRecord(QList<TaskRecord> tasks, ZPDTCMDTYPE type)
{
    enqueue(bucketOf(type), PendingRecords::Change, tasks);
}

void TransferManager::OnAddFinishedRecord(QList<TaskRecord> tasks, ZPDTCMDTYPE)
{
    enqueue(RecordJournal::Finished, PendingRecords::Add, tasks);
}

void TransferManager::OnDelFinishedRecord(QList<TaskRecord> tasks)
{
    enqueue(RecordJournal::Finished, PendingRecords::Del, tasks);
}

// The turns of writing.

bool TransferManager::nothingPending()
{
    int pending = 0;
    const auto note = [&pending](const char *label, PendingRecords &data) {
        QMutexLocker lock(&data.mutex());
        qDebug() << label << data.size() << "add:" << data.size(PendingRecords::Add)
                 << "del:" << data.size(PendingRecords::Del);
        pending += data.size();
    };
    note("m_downloadData--all:", m_downloadData);
    note("m_uploadData----all:", m_uploadData);
    note("m_finishedData--all:", m_finishedData);
    return pending + std::count(m_clearDue.begin(), m_clearDue.end(), true) == 0;
}

void TransferManager::TriggerSignal()
{
    // Thousands of tasks may end in a second; each is a trigger, and still there is one write a second.
    if (!m_timer || (m_timer->isActive() && m_lastTurn.isValid() && m_lastTurn.elapsed() < kTurnPause))
        return;
    const int turn = s_tick++ % kTurns;
    qDebug() << QTime::currentTime() << "TriggerSignal:" << turn;
    const bool nothing = nothingPending();
    if (!m_timer->isActive())
        m_timer->start();
    if (nothing) {
        m_timer->stop();
        qDebug() << "m_timer quit...";
        return;
    }
    m_lastTurn.start();
    switch (turn) {
    case 0:
        emit sigPushTransferRecordForAdd(ZPDT_DOWNLOAD);
        break;
    case 1:
        emit sigPushTransferRecordForDel(ZPDT_DOWNLOAD);
        break;
    case 2:
        emit sigPushTransferRecordForAdd(ZPDT_UPLOAD);
        break;
    case 3:
        emit sigPushTransferRecordForDel(ZPDT_UPLOAD);
        break;
    case 4:
        emit sigPushFinishedRecordForAdd();
        break;
    default:
        emit sigPushFinishedRecordForDel();
        break;
    }
}

void TransferManager::OnPushTransferRecordForAdd(ZPDTCMDTYPE type)
{
    pushAdd(bucketOf(type));
}

void TransferManager::OnPushTransferRecordForDel(ZPDTCMDTYPE type)
{
    pushDel(bucketOf(type));
}

void TransferManager::OnPushFinishedRecordForAdd()
{
    pushAdd(RecordJournal::Finished);
}

void TransferManager::OnPushFinishedRecordForDel()
{
    pushDel(RecordJournal::Finished);
}

bool TransferManager::writeEach(const QString &statement, Binder bind, const QList<TaskRecord> &records)
{
    QSqlQuery query(m_database);
    if (!records.isEmpty())
        query.prepare(statement);
    for (const TaskRecord &record : records) {
        bind(query, record);
        if (query.exec())
            continue;
        logFailure(query.lastError());
        if (isPassing(query.lastError()))
            return false;
    }
    return true;
}

void TransferManager::pushAdd(RecordJournal::Bucket which)
{
    push(which, {PendingRecords::Change, PendingRecords::Add}, [&](const TakenRecords &taken) {
        if (which == RecordJournal::Finished)
            return writeEach(RecordSql::insertFinished(), RecordSql::bindFinished, taken[PendingRecords::Add]);
        return writeEach(RecordSql::insertTransfer(), RecordSql::bindTransfer, taken[PendingRecords::Add]) &&
               writeEach(RecordSql::updateTransfer(), RecordSql::bindUpdate, taken[PendingRecords::Change]);
    });
}

void TransferManager::pushDel(RecordJournal::Bucket which)
{
    push(which, {PendingRecords::Del}, [&](const TakenRecords &taken) {
        const QList<TaskRecord> &gone = taken[PendingRecords::Del];
        for (int first = 0; first < gone.size(); first += RecordSql::kMostConditions) {
            if (!execute(which == RecordJournal::Finished ? RecordSql::deleteFinished(gone, first)
                                                          : RecordSql::deleteTransfers(gone, first)))
                return false;
        }
        return true;
    });
}

/// Writes what waits for these operations as a whole, or leaves it in the bucket.
void TransferManager::push(RecordJournal::Bucket which, std::initializer_list<PendingRecords::Operation> operations,
                           const std::function<bool(const TakenRecords &)> &write)
{
    if (!clearIfDue(which))
        return;
    PendingRecords &pending = bucket(which);
    TakenRecords taken;
    bool any = false;
    QMutexLocker lock(&pending.mutex());
    for (const PendingRecords::Operation operation : operations) {
        taken[operation] = pending.take(operation);
        any = any || !taken[operation].isEmpty();
    }
    lock.unlock();
    if (any) {
        m_unwritten = m_unwritten || !m_database.isOpen();
        if (!m_database.transaction() || !write(taken) || !m_database.commit()) {
            logFailure(m_database.lastError());
            m_database.rollback();
            if (m_database.isOpen()) {
                lock.relock();
                for (const PendingRecords::Operation operation : operations)
                    pending.putBack(taken[operation], operation);
                lock.unlock();
            }
        }
    }
    tidyJournal();
}

void TransferManager::tidyJournal()
{
    QMutexLocker downloads(&m_downloadData.mutex());
    QMutexLocker uploads(&m_uploadData.mutex());
    QMutexLocker finished(&m_finishedData.mutex());
    if (m_unwritten)
        return;
    const bool empty = m_downloadData.size() + m_uploadData.size() + m_finishedData.size() == 0;
    const bool cleared = std::count(m_clearDue.begin(), m_clearDue.end(), true) == 0;
    if ((!empty || !cleared) && m_journal.size() < qMax(kTidyFrom, 2 * m_tidySize))
        return;
    QList<RecordJournal::Entry> entries;
    for (const RecordJournal::Bucket which :
         {RecordJournal::Downloads, RecordJournal::Uploads, RecordJournal::Finished}) {
        if (m_clearDue[which])
            entries << RecordJournal::Entry{which, true, PendingRecords::Del, {}};
        for (const auto operation : {PendingRecords::Add, PendingRecords::Del, PendingRecords::Change}) {
            if (bucket(which).size(operation) > 0)
                entries << RecordJournal::Entry{which, false, operation, bucket(which).waiting(operation)};
        }
    }
    m_journal.replace(entries);
    m_tidySize = m_journal.size();
}

// What is done at once.

/// False when it failed and may succeed later. A statement that never will is logged and left.
bool TransferManager::execute(const QString &statement)
{
    QSqlQuery query(m_database);
    if (query.exec(statement))
        return true;
    logFailure(query.lastError());
    return !isPassing(query.lastError());
}

void TransferManager::clear(RecordJournal::Bucket which)
{
    PendingRecords &pending = bucket(which);
    {
        QMutexLocker lock(&pending.mutex());
        pending.clear(m_visible);
    }
    m_clearDue[which] = true;
    if (!clearIfDue(which))
        emit sigTriggerSignal();
}

/// False as long as the table cannot be cleared: what came after the clearing must not be written before it.
bool TransferManager::clearIfDue(RecordJournal::Bucket which)
{
    if (!m_clearDue[which])
        return true;
    m_unwritten = m_unwritten || !m_database.isOpen();
    const qint32 type = which == RecordJournal::Uploads ? ZPDT_UPLOAD : ZPDT_DOWNLOAD;
    m_clearDue[which] = !execute(which == RecordJournal::Finished ? RecordSql::clearFinished(m_centers)
                                                                  : RecordSql::clearTransfers(type, m_centers));
    return !m_clearDue[which];
}

void TransferManager::OnClearTransferTaskRecord(ZPDTCMDTYPE type)
{
    m_journal.append({bucketOf(type), true, PendingRecords::Del, {}});
    clear(bucketOf(type));
}

void TransferManager::OnClearFinishedTaskRecord()
{
    m_journal.append({RecordJournal::Finished, true, PendingRecords::Del, {}});
    clear(RecordJournal::Finished);
}

qint64 TransferManager::count(const QString &statement)
{
    QSqlQuery query(m_database);
    if (!query.exec(statement) || !query.next()) {
        logFailure(query.lastError());
        return 0;
    }
    return query.value(QStringLiteral("countNum")).toLongLong();
}

QList<TaskRecord> TransferManager::load(const QString &statement)
{
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    if (query.exec(statement))
        return RecordSql::read(query);
    logFailure(query.lastError());
    return {};
}

void TransferManager::OnLoadTransferTaskRecord(ZPDTCMDTYPE type)
{
    const QList<TaskRecord> tasks = load(RecordSql::loadTransfers(type, m_centers));
    if (type == ZPDT_UPLOAD)
        emit sigLoadUploadTaskRecord(tasks);
    else
        emit sigLoadDownloadTaskRecord(tasks);
}

void TransferManager::OnLoadFinishedTaskRecord(TaskRecord taskStart, int count)
{
    QList<TaskRecord> page;
    QList<TaskRecord> part;
    // Rows whose removal is still pending are gone for the person who asked: the page is filled up with older ones.
    do {
        qint64 row = -1;
        if (count >= 1 && !taskStart.Path.isEmpty() && !taskStart.Dest.isEmpty() && !taskStart.From.isEmpty() &&
            !taskStart.SubCenterId.isEmpty()) {
            QSqlQuery query(m_database);
            if (query.exec(RecordSql::pageStart(taskStart)) && query.next())
                row = query.value(QStringLiteral("rowid")).toLongLong();
        }
        part = load(row >= 0 ? RecordSql::nextPage(row, count, m_centers) : RecordSql::firstPage(count, m_centers));
        QMutexLocker lock(&m_finishedData.mutex());
        for (const TaskRecord &task : qAsConst(part)) {
            if (!m_finishedData.holds(task, PendingRecords::Del))
                page << task;
        }
        if (!part.isEmpty())
            taskStart = part.last();
    } while (count >= 1 && page.size() < count && part.size() == count);
    emit sigLoadFinishedTaskRecord(page);
}

void TransferManager::OnLoadFailedTaskRecord()
{
    const QList<TaskRecord> all = load(RecordSql::loadFailed(m_centers));
    QList<TaskRecord> kept;
    {
        QMutexLocker lock(&m_finishedData.mutex());
        std::copy_if(all.begin(), all.end(), std::back_inserter(kept),
                     [this](const TaskRecord &task) { return !m_finishedData.holds(task, PendingRecords::Del); });
    }
    emit sigLoadFailedTaskRecord(kept);
}
