#pragma once

#include "PendingRecords.h"
#include "RecordJournal.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSqlDatabase>
#include <QStringList>
#include <QThread>

#include <array>
#include <atomic>
#include <functional>
#include <initializer_list>

class QTimer;

/// The store of transfer records: unfinished and finished tasks in the user's database. Lives on a thread of its own,
/// which it starts and joins; its slots are reached by queued connections. Writes are gathered and paced, one kind a
/// second, and kept in a journal meanwhile; the destructor writes what is pending and blocks until that is done.
/// Answers come as signals; what cannot be written or read is logged.
class TransferManager : public QObject
{
    Q_OBJECT

public:
    /// The owner emits sigInit() once it has made its connections.
    /// @param database file of the user's database; tables that it lacks are made. Without one nothing outlives the
    /// store
    /// @param subCenterIds the sub-centers whose records are counted, loaded and cleared, besides "share"
    TransferManager(const QString &database, const QStringList &subCenterIds);
    ~TransferManager() override;

signals:
    void sigInit();
    void sigInitTaskCount(qint64 upload, qint64 download, qint64 finished);
    void sigLoadUploadTaskRecord(QList<TaskRecord> tasks);
    void sigLoadDownloadTaskRecord(QList<TaskRecord> tasks);
    void sigLoadFinishedTaskRecord(QList<TaskRecord> tasks);
    void sigPushTransferRecordForAdd(ZPDTCMDTYPE type);
    void sigPushTransferRecordForDel(ZPDTCMDTYPE type);
    void sigPushFinishedRecordForAdd();
    void sigPushFinishedRecordForDel();
    void sigClearTransferTaskRecord(ZPDTCMDTYPE type);
    void sigClearFinishedTaskRecord();
    void sigTriggerSignal();
    void sigLoadFailedTaskRecord(QList<TaskRecord> tasks);

public slots:
    void OnAddTransferRecord(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    void OnDelTransferRecord(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    void OnAddFinishedRecord(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    void OnDelFinishedRecord(QList<TaskRecord> tasks);
    void OnClearTransferTaskRecord(ZPDTCMDTYPE type);
    void OnClearFinishedTaskRecord();
    void OnLoadTransferTaskRecord(ZPDTCMDTYPE type);
    /// @param taskStart the last record that the asker has; one that is not in the table asks for the newest
    void OnLoadFinishedTaskRecord(TaskRecord taskStart, int count);
    /// One turn of writing. Between two turns it only makes sure that the next one comes.
    void TriggerSignal();
    void OnPushTransferRecordForAdd(ZPDTCMDTYPE type);
    void OnPushTransferRecordForDel(ZPDTCMDTYPE type);
    void OnPushFinishedRecordForAdd();
    void OnPushFinishedRecordForDel();
    void Init();
    /// Size, progress and status of unfinished tasks; written in the turn of their direction's inserts.
    void OnUpdateTransferRecord(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    /// All records of tasks that ended without success.
    void OnLoadFailedTaskRecord();

private:
    using Binder = void (*)(QSqlQuery &, const TaskRecord &);
    using TakenRecords = std::array<QList<TaskRecord>, 3>; ///< by operation

    void connectSelf();
    void openDatabase();
    void replayJournal();
    Q_INVOKABLE void finish(QThread *home);
    void writeEverything();
    void tidyJournal();

    PendingRecords &bucket(RecordJournal::Bucket which);
    static RecordJournal::Bucket bucketOf(ZPDTCMDTYPE type);
    void enqueue(RecordJournal::Bucket which, PendingRecords::Operation operation, const QList<TaskRecord> &tasks);
    void clear(RecordJournal::Bucket which);
    bool nothingPending();

    bool execute(const QString &statement);
    qint64 count(const QString &statement);
    QList<TaskRecord> load(const QString &statement);
    void pushAdd(RecordJournal::Bucket which);
    void pushDel(RecordJournal::Bucket which);
    void push(RecordJournal::Bucket which, std::initializer_list<PendingRecords::Operation> operations,
              const std::function<bool(const TakenRecords &)> &write);
    bool clearIfDue(RecordJournal::Bucket which);
    bool writeEach(const QString &statement, Binder bind, const QList<TaskRecord> &records);

    const QString m_path;
    const QStringList m_visible; ///< sub-center ids with "share"
    const QString m_centers;
    QThread m_thread;
    QString m_connection; ///< name of the connection below
    QSqlDatabase m_database;
    QTimer *m_timer = nullptr;
    QElapsedTimer m_lastTurn;
    PendingRecords m_downloadData{true};
    PendingRecords m_uploadData{true};
    PendingRecords m_finishedData{false};
    std::array<bool, 3> m_clearDue{}; ///< by bucket: tables that could not be cleared yet
    RecordJournal m_journal;
    qint64 m_tidySize = 0;
    bool m_unwritten = false; ///< the journal holds what the database never took
    static std::atomic<int> s_tick;
};
