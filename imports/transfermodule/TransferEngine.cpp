#include "TransferEngine.h"

#include "StreamRunner.h"
#include "TransferRules.h"

#include "TargetTree.h"

#include <QFileInfo>

#include <iterator>
#include <utility>

using namespace TransferRules;

namespace {

/// Shortest time between two deliveries, so that thousands of short tasks do not flood the GUI thread.
constexpr int kDeliveryPause = 20;
/// Files up to this size may be begun ahead of their turn and share a stream.
constexpr qint64 kSmallFile = 256 * 1024;
/// One that turns out to be larger than this leaves the stream that it shares.
constexpr qint64 kLargeFile = 4 * 1024 * 1024;
/// Downloads are asked for without their sizes. Many at once are taken for small ones.
constexpr int kManyFiles = 16;

} // namespace

TransferEngine::TransferEngine(bool realNameVerified, std::function<void(std::vector<EngineMessage>)> deliver)
    : m_runner(new StreamRunner(realNameVerified, this))
    , m_deliver(std::move(deliver))
    , m_deliverTimer(this)
{
    m_cleaner.setMaxThreadCount(1);
    m_deliverTimer.setSingleShot(true);
    connect(&m_deliverTimer, &QTimer::timeout, this, &TransferEngine::deliverNow);
    connect(m_runner, &StreamRunner::statusChanged, this, [this](TaskId id, ZpdtTaskStatus status) {
        m_table.setStatus(id, status);
        onProgress(id, {}, true);
    });
    connect(m_runner, &StreamRunner::sizeKnown, this, [this](TaskId id, qint64 bytes) {
        const TaskRecord *task = m_table.record(id);
        if (!task)
            return;
        m_table.setProgress(id, task->Offset, bytes);
        if (bytes > kLargeFile)
            m_table.takeOutOfGroup(id, TaskTable::Shape::File);
        settle();
    });
    connect(m_runner, &StreamRunner::folderFound, this, [this](TaskId id) {
        m_table.takeOutOfGroup(id, TaskTable::Shape::Folder);
        settle();
    });
    connect(m_runner, &StreamRunner::progressChanged, this,
            [this](TaskId id, const ZpdtProgress &progress) { onProgress(id, progress, false); });
    connect(m_runner, &StreamRunner::ended, this, [this](TaskId id, bool success, qint64 bytes) {
        if (bytes >= 0)
            m_table.setProgress(id, bytes, bytes);
        m_table.setReason(id, success ? ZpdtError::None : m_lastProgress.value(id).error);
        m_lastProgress.remove(id);
        m_table.finished(id, success);
        settle();
    });
    connect(m_runner, &StreamRunner::stopped, this, [this](TaskId id) {
        m_lastProgress.remove(id);
        m_table.stopped(id);
        settle();
    });
    connect(m_runner, &StreamRunner::halted, this, [this](TaskId id) {
        m_lastProgress.remove(id);
        m_table.halted(id);
        settle();
    });
    connect(m_runner, &StreamRunner::foldersCreated, this, [this](const QStringList &folders) {
        m_folders += folders;
        scheduleDelivery();
    });
    connect(m_runner, &StreamRunner::connectionsChanged, this, [this](const QList<ZpdtConnectionInfo> &connections) {
        m_connections = connections;
        scheduleDelivery();
    });
}

TransferEngine::~TransferEngine()
{
    *m_stopCleaning = true;
    delete m_runner;
    m_cleaner.waitForDone();
}

TaskTable::Config TransferEngine::adopt(const ZpdtTransConfig &config)
{
    m_runner->setParams(config);
    auto adopted = std::make_shared<ZpdtTransConfig>(config);
    if (adopted->subCenterRoot.isEmpty())
        adopted->subCenterRoot = m_paths.value(config.subCenterId);
    return adopted;
}

TaskTable::Shape TransferEngine::sizedShape(qint64 size)
{
    return size <= kSmallFile ? TaskTable::Shape::SmallFile : TaskTable::Shape::File;
}

/// What a task of an earlier run is. That of a download is known at its source alone.
TaskTable::Shape TransferEngine::shapeOf(const TaskRecord &task)
{
    if (task.Type != ZPDT_UPLOAD)
        return TaskTable::Shape::Unknown;
    const QFileInfo info(task.Path);
    return info.isFile() ? sizedShape(info.size()) : TaskTable::Shape::Folder;
}

void TransferEngine::transferFiles(ZPDTCMDTYPE type, const QList<FileInfo> &files, const QString &destination,
                                   const ZpdtTransConfig &config)
{
    const TaskTable::Config shared = adopt(config);
    const bool upload = type == ZPDT_UPLOAD;
    qint64 created = 0;
    for (const FileInfo &file : files) {
        TaskRecord task;
        task.Type = type;
        task.From = folderPath(file.path);
        task.Path = joined(task.From, file.fileName);
        task.taskName = file.fileName;
        task.Dest = folderPath(destination);
        task.SubCenterId = config.subCenterId;
        auto shape = files.size() > kManyFiles ? TaskTable::Shape::SmallFile : TaskTable::Shape::File;
        if (upload) {
            task.FileSize = QFileInfo(task.Path).size();
            shape = sizedShape(task.FileSize);
        }
        created += m_table.add(std::move(task), shape, shared);
    }
    m_created[type] += created;
    settle();
}

void TransferEngine::transferFolder(ZPDTCMDTYPE type, const QString &folder, const QString &destination,
                                    const ZpdtTransConfig &config)
{
    TaskRecord task;
    task.Type = type;
    task.Path = folderPath(folder);
    task.From = parentFolder(task.Path);
    task.taskName = lastName(task.Path);
    task.Dest = folderPath(destination);
    task.SubCenterId = config.subCenterId;
    const qint64 created = m_table.add(std::move(task), TaskTable::Shape::Folder, adopt(config));
    m_created[type] += created;
    settle();
}

void TransferEngine::start(const TaskRecord &task, const ZpdtTransConfig &config)
{
    m_table.start(task, adopt(config), shapeOf(task));
    settle();
}

void TransferEngine::startAll(const QList<TaskRecord> &tasks, ZPDTCMDTYPE type, const ZpdtTransConfig &config)
{
    const bool many = tasks.size() > kManyFiles;
    m_table.startAll(tasks, type, adopt(config), [many](const TaskRecord &task) {
        const TaskTable::Shape shape = shapeOf(task);
        const bool mayShare = many && shape == TaskTable::Shape::Unknown && task.FileSize <= kLargeFile;
        return mayShare ? TaskTable::Shape::SmallFile : shape;
    });
    settle();
}

void TransferEngine::pause(const TaskRecord &task)
{
    m_table.pause(task);
    reportStopping(task);
    settle();
}

void TransferEngine::pauseAll(ZPDTCMDTYPE type)
{
    m_table.pauseAll(type);
    settle();
}

void TransferEngine::cancel(const TaskRecord &task)
{
    m_table.cancel(task);
    reportStopping(task);
    settle();
}

void TransferEngine::cancelAll(ZPDTCMDTYPE type)
{
    m_table.cancelAll(type);
    settle();
}

void TransferEngine::setMaxConcurrence(ZPDTCMDTYPE type, int count)
{
    m_table.setMaxConcurrence(type, count);
    settle();
}

void TransferEngine::setParams(const ZpdtTransConfig &config)
{
    m_runner->setParams(config);
}

void TransferEngine::updateCapacity(const QString &subCenterId, qint64 bytes)
{
    m_runner->setCapacity(subCenterId, bytes);
}

void TransferEngine::updatePaths(const QMap<QString, QString> &paths)
{
    // A home that is there now, or elsewhere: what waits for the sub-center need not wait any longer.
    for (auto it = paths.constBegin(); it != paths.constEnd(); ++it) {
        if (m_paths.value(it.key()) != it.value())
            m_runner->wake(it.key());
    }
    m_paths = paths;
}

void TransferEngine::registerPaused(const QList<TaskRecord> &tasks)
{
    if (m_table.registerPaused(tasks) == 0)
        return;
    for (const ZPDTCMDTYPE type : {ZPDT_UPLOAD, ZPDT_DOWNLOAD}) {
        if (m_table.count(type) > 0)
            m_held[type] = m_table.count(type);
    }
    scheduleDelivery();
}

void TransferEngine::unregisterPaused(const QList<TaskRecord> &tasks)
{
    m_table.unregisterPaused(tasks);
}

void TransferEngine::settle()
{
    for (const TaskOrder &order : m_table.takeOrders()) {
        if (order.kind == TaskOrder::Run) {
            const TaskRecord *task = m_table.record(order.id);
            if (!task)
                continue;
            // One that is asked for anew must not lose its new partial file to the removal of the old one.
            if (task->Type == ZPDT_DOWNLOAD)
                m_cleaner.waitForDone();
            m_runner->begin(order.id, *task, m_table.config(order.id), m_table.shape(order.id),
                            m_table.resumed(order.id), m_table.urgency(order.id));
        } else if (order.kind == TaskOrder::Prefer) {
            m_runner->prefer(order.id, m_table.urgency(order.id));
        } else {
            m_runner->end(order.id, order.kind == TaskOrder::Abandon);
        }
    }
    m_runner->settle();
    removeRemains(m_table.takeAbandoned());
    scheduleDelivery();
}

/// A task that is being stopped shows it at once; its end may take the time of a file operation.
void TransferEngine::reportStopping(const TaskRecord &task)
{
    if (const auto id = m_table.find(task))
        onProgress(*id, {}, true);
}

/// Partial files of tasks that were cancelled while they did not run. The finished files of a folder stay.
void TransferEngine::removeRemains(const QList<TaskRecord> &tasks)
{
    QHash<QString, std::vector<std::string>> namesIn;
    for (const TaskRecord &task : tasks) {
        if (task.Type == ZPDT_DOWNLOAD && !task.Dest.isEmpty())
            namesIn[task.Dest].push_back(lastName(task.Path).toStdString());
        else if (task.Type == ZPDT_UPLOAD)
            m_runner->discard(task);
    }
    for (auto it = namesIn.constBegin(); it != namesIn.constEnd(); ++it) {
        m_cleaner.start([stop = m_stopCleaning, folder = it.key().toStdString(), names = it.value()] {
            zpdt::SafeFolder root;
            if (!zpdt::SafeFolder::open(folder, root).ok())
                return;
            for (const std::string &name : names) {
                if (*stop)
                    return;
                zpdt::discardPartial(root, {name});
            }
        });
    }
}

/// @param statusOnly the figures did not change
void TransferEngine::onProgress(TaskId id, const ZpdtProgress &progress, bool statusOnly)
{
    const TaskRecord *task = m_table.record(id);
    if (!task)
        return;
    if (!statusOnly) {
        m_table.setProgress(id, progress.offset, progress.total);
        m_lastProgress.insert(id, progress);
    }
    // One that runs ahead of its turn shows as waiting, without figures.
    if (task->Status == ZPDT_WAITING && progress.error == ZpdtError::None)
        return;
    // The newest figures of a task stand for the older ones that were not delivered yet.
    const auto known = m_progressAt.constFind(id);
    if (known == m_progressAt.constEnd()) {
        m_progressAt.insert(id, m_progress.size());
        m_progress.emplace_back();
        m_progress.back().kind = EngineMessage::Progress;
    }
    EngineMessage &message = m_progress[m_progressAt.value(id)];
    message.task = *task;
    message.progress = m_lastProgress.value(id);
    if (statusOnly && !m_lastProgress.contains(id)) {
        message.progress.total = task->FileSize;
        message.progress.offset = task->Offset;
    }
    scheduleDelivery();
}

void TransferEngine::scheduleDelivery()
{
    if (m_deliverTimer.isActive())
        return;
    const qint64 since = m_sinceDelivery.isValid() ? m_sinceDelivery.elapsed() : kDeliveryPause;
    m_deliverTimer.start(since >= kDeliveryPause ? 0 : static_cast<int>(kDeliveryPause - since));
}

void TransferEngine::deliverNow()
{
    m_sinceDelivery.start();
    std::vector<EngineMessage> messages;
    // Figures and folders come when their tasks are known and before they end: the reason of a failure is the last
    // thing that is told of a running task.
    const auto addFigures = [this, &messages] {
        std::move(m_progress.begin(), m_progress.end(), std::back_inserter(messages));
        m_progress.clear();
        m_progressAt.clear();
        if (!m_folders.isEmpty()) {
            messages.emplace_back();
            messages.back().kind = EngineMessage::DirCreated;
            messages.back().folders = std::exchange(m_folders, {});
        }
    };
    for (TaskReport &report : m_table.takeReports()) {
        if (report.kind == TaskReport::Finished || report.kind == TaskReport::PauseEnd ||
            report.kind == TaskReport::CancelEnd)
            addFigures();
        messages.emplace_back();
        messages.back().report = std::move(report);
    }
    addFigures();
    const auto addCounts = [&messages](EngineMessage::Kind kind, QMap<ZPDTCMDTYPE, qint64> &counts) {
        for (auto it = counts.constBegin(); it != counts.constEnd(); ++it) {
            messages.emplace_back();
            messages.back().kind = kind;
            messages.back().type = it.key();
            messages.back().count = it.value();
        }
        counts.clear();
    };
    addCounts(EngineMessage::CreateCount, m_created);
    addCounts(EngineMessage::PausedCount, m_held);
    if (!m_connections.isEmpty()) {
        messages.emplace_back();
        messages.back().kind = EngineMessage::Connections;
        messages.back().connections = std::exchange(m_connections, {});
    }
    if (!messages.empty())
        m_deliver(std::move(messages));
}
