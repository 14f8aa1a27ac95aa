#pragma once

#include "TaskTable.h"

#include <QElapsedTimer>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QThreadPool>
#include <QTimer>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

class StreamRunner;

/// One signal of the engine on its way to the GUI thread.
struct EngineMessage
{
    enum Kind
    {
        Report,
        Progress,
        CreateCount,
        PausedCount,
        DirCreated,
        Connections
    };

    Kind kind = Report;
    TaskReport report;
    TaskRecord task;
    ZpdtProgress progress;
    qint64 count = 0;
    ZPDTCMDTYPE type = ZPDT_DOWNLOAD;
    QStringList folders;
    QList<ZpdtConnectionInfo> connections;
};

/// Holds the tasks and hands them to the runner. Lives on the engine's worker thread, where all its functions are
/// called. What is to be told is gathered and delivered at most fifty times a second, each time as one list.
class TransferEngine : public QObject
{
    Q_OBJECT

public:
    /// @param deliver called on the worker thread with messages in their order, never with none
    TransferEngine(bool realNameVerified, std::function<void(std::vector<EngineMessage>)> deliver);
    ~TransferEngine() override;

    void transferFiles(ZPDTCMDTYPE type, const QList<FileInfo> &files, const QString &destination,
                       const ZpdtTransConfig &config);
    void transferFolder(ZPDTCMDTYPE type, const QString &folder, const QString &destination,
                        const ZpdtTransConfig &config);
    void start(const TaskRecord &task, const ZpdtTransConfig &config);
    void startAll(const QList<TaskRecord> &tasks, ZPDTCMDTYPE type, const ZpdtTransConfig &config);
    void pause(const TaskRecord &task);
    void pauseAll(ZPDTCMDTYPE type);
    void cancel(const TaskRecord &task);
    void cancelAll(ZPDTCMDTYPE type);
    void setMaxConcurrence(ZPDTCMDTYPE type, int count);
    void setParams(const ZpdtTransConfig &config);
    void updateCapacity(const QString &subCenterId, qint64 bytes);
    /// @param paths home of the user by sub-center; those without a home are missing
    void updatePaths(const QMap<QString, QString> &paths);
    void registerPaused(const QList<TaskRecord> &tasks);
    void unregisterPaused(const QList<TaskRecord> &tasks);

private:
    static TaskTable::Shape sizedShape(qint64 size);
    static TaskTable::Shape shapeOf(const TaskRecord &task);
    TaskTable::Config adopt(const ZpdtTransConfig &config);
    /// Carries out the orders that the last operation left, and sees to it that its reports are delivered.
    void settle();
    void reportStopping(const TaskRecord &task);
    void removeRemains(const QList<TaskRecord> &tasks);
    void onProgress(TaskId id, const ZpdtProgress &progress, bool statusOnly);
    void scheduleDelivery();
    void deliverNow();

    TaskTable m_table;
    StreamRunner *m_runner;
    QMap<QString, QString> m_paths;
    std::function<void(std::vector<EngineMessage>)> m_deliver;
    QHash<TaskId, ZpdtProgress> m_lastProgress;

    // What is to be delivered besides the reports of the table.
    std::vector<EngineMessage> m_progress;
    QHash<TaskId, std::size_t> m_progressAt; ///< place in m_progress
    QStringList m_folders;
    QList<ZpdtConnectionInfo> m_connections;
    QMap<ZPDTCMDTYPE, qint64> m_created;
    QMap<ZPDTCMDTYPE, qint64> m_held;
    QTimer m_deliverTimer;
    QElapsedTimer m_sinceDelivery;
    QThreadPool m_cleaner; ///< removes the remains of cancelled tasks
    /// Shared with the cleaner's work, which knows nothing else of the engine.
    const std::shared_ptr<std::atomic<bool>> m_stopCleaning = std::make_shared<std::atomic<bool>>(false);
};
