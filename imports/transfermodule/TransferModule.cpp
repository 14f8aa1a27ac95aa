#include "TransferModule.h"

#include "Mailbox.h"
#include "TransferEngine.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QThread>
#include <QTimer>

#include <deque>

namespace {

/// How long signals are emitted before the window has its turn, in milliseconds.
constexpr qint64 kTurn = 8;
/// Tasks that one signal names; what is done with them must fit into a turn.
constexpr int kMostTasks = 500;

} // namespace

/// The worker thread with the engine on it, and the road back to the GUI thread.
class TransferModulePrivate
{
public:
    TransferModulePrivate(bool realNameVerified, TransferModule *module)
        : owner(module)
        , toOwner(std::make_shared<Mailbox>(module))
    {
        nextTurn.setSingleShot(true);
        QObject::connect(&nextTurn, &QTimer::timeout, owner, [this] { emitSome(); });
        thread.setObjectName(QStringLiteral("transfer engine"));
        auto deliver = [this, box = toOwner](std::vector<EngineMessage> messages) {
            box->post([this, list = std::move(messages)] { take(list); });
        };
        engine = new TransferEngine(realNameVerified, std::move(deliver));
        toEngine = std::make_unique<Mailbox>(engine);
        engine->moveToThread(&thread);
        QObject::connect(&thread, &QThread::finished, engine, &QObject::deleteLater);
        thread.start();
    }

    ~TransferModulePrivate()
    {
        toOwner->close();
        thread.quit();
        thread.wait();
    }

    template <typename Call>
    void call(Call &&work)
    {
        toEngine->post([target = engine, todo = std::forward<Call>(work)] { todo(*target); });
    }

    void take(const std::vector<EngineMessage> &messages)
    {
        for (const EngineMessage &message : messages) {
            const QList<TaskRecord> &tasks = message.report.tasks;
            // One dialog names all the tasks that are there already.
            if (message.kind != EngineMessage::Report || message.report.kind == TaskReport::Exist ||
                tasks.size() <= kMostTasks) {
                waiting.push_back(message);
                continue;
            }
            for (int first = 0; first < tasks.size(); first += kMostTasks) {
                waiting.emplace_back();
                waiting.back().report = {message.report.kind, message.report.type, tasks.mid(first, kMostTasks)};
            }
        }
        if (!nextTurn.isActive())
            emitSome();
    }

    /// Emits what waits, for one turn; the rest follows when the window had its own.
    void emitSome()
    {
        // A slot may destroy the module; the rest of the messages then has nobody to go to. One that runs a loop of its
        // own sees the later messages meanwhile.
        const QPointer<TransferModule> alive(owner);
        QElapsedTimer turn;
        turn.start();
        while (!waiting.empty()) {
            const EngineMessage message = std::move(waiting.front());
            waiting.pop_front();
            emitOne(owner, message);
            if (!alive)
                return;
            if (turn.elapsed() >= kTurn && !waiting.empty()) {
                nextTurn.start(0);
                return;
            }
        }
    }

    static void emitOne(TransferModule *owner, const EngineMessage &message)
    {
        const TaskReport &report = message.report;
        switch (message.kind) {
        case EngineMessage::Progress:
            emit owner->TaskProgressChanged(message.task, message.progress);
            return;
        case EngineMessage::CreateCount:
            emit owner->TaskCreateCount(message.count, message.type);
            return;
        case EngineMessage::PausedCount:
            emit owner->TaskCreatePausedCount(message.count, message.type);
            return;
        case EngineMessage::DirCreated:
            emit owner->TaskDirCreated(message.folders);
            return;
        case EngineMessage::Connections:
            emit owner->ConnectionInfoChanged(message.connections);
            return;
        case EngineMessage::Report:
            break;
        }
        switch (report.kind) {
        case TaskReport::Created:
            emit owner->TaskCreated(report.tasks, report.type);
            return;
        case TaskReport::Retrans:
            emit owner->TaskRetrans(report.tasks, report.type);
            return;
        case TaskReport::Started:
            emit owner->TaskStarted(report.tasks, report.type);
            return;
        case TaskReport::Finished:
            emit owner->TaskFinished(report.tasks, report.type);
            return;
        case TaskReport::PauseEnd:
            emit owner->TaskPauseEnd(report.tasks, report.type);
            return;
        case TaskReport::CancelEnd:
            emit owner->TaskCancelEnd(report.tasks, report.type);
            return;
        case TaskReport::Exist:
            emit owner->TaskExist(report.tasks);
            return;
        case TaskReport::KindCount:
            return;
        }
    }

    TransferModule *const owner;
    const std::shared_ptr<Mailbox> toOwner;
    std::deque<EngineMessage> waiting; ///< signals that are to be emitted, in their order
    QTimer nextTurn;
    std::unique_ptr<Mailbox> toEngine;
    QThread thread;
    TransferEngine *engine = nullptr;
};

TransferModule::TransferModule(bool realNameVerified, QObject *parent)
    : QObject(parent)
{
    qRegisterMetaType<ZPDTCMDTYPE>("ZPDTCMDTYPE");
    qRegisterMetaType<TaskRecord>("TaskRecord");
    qRegisterMetaType<QList<TaskRecord>>("QList<TaskRecord>");
    qRegisterMetaType<ZpdtProgress>("ZpdtProgress");
    qRegisterMetaType<QList<ZpdtConnectionInfo>>("QList<ZpdtConnectionInfo>");
    d = std::make_unique<TransferModulePrivate>(realNameVerified, this);
    connect(this, &TransferModule::SigRegisterPausedTask, this, [this](const QList<TaskRecord> &tasks) {
        d->call([tasks](TransferEngine &engine) { engine.registerPaused(tasks); });
    });
    connect(this, &TransferModule::UpdateSubcenterPath, this, [this](const QMap<QString, QString> &paths) {
        d->call([paths](TransferEngine &engine) { engine.updatePaths(paths); });
    });
    connect(this, &TransferModule::SigUnRegisterPausedTask, this, [this](const QList<TaskRecord> &tasks) {
        d->call([tasks](TransferEngine &engine) { engine.unregisterPaused(tasks); });
    });
}

TransferModule::~TransferModule() = default;

void TransferModule::UploadFiles(const QList<FileInfo> &files, const QString &remoteDir, const ZpdtTransConfig &config)
{
    d->call([=](TransferEngine &engine) { engine.transferFiles(ZPDT_UPLOAD, files, remoteDir, config); });
}

void TransferModule::UploadFolder(const QString &localFolder, const QString &remoteDir, const ZpdtTransConfig &config)
{
    d->call([=](TransferEngine &engine) { engine.transferFolder(ZPDT_UPLOAD, localFolder, remoteDir, config); });
}

void TransferModule::DownloadFiles(const QList<FileInfo> &files, const QString &localDir, const ZpdtTransConfig &config)
{
    d->call([=](TransferEngine &engine) { engine.transferFiles(ZPDT_DOWNLOAD, files, localDir, config); });
}

void TransferModule::DownloadFolder(const QString &remoteFolder, const QString &localDir, const ZpdtTransConfig &config)
{
    d->call([=](TransferEngine &engine) { engine.transferFolder(ZPDT_DOWNLOAD, remoteFolder, localDir, config); });
}

void TransferModule::Start(const TaskRecord &task, const ZpdtTransConfig &config)
{
    d->call([=](TransferEngine &engine) { engine.start(task, config); });
}

void TransferModule::StartAll(const QList<TaskRecord> &tasks, ZPDTCMDTYPE type, const ZpdtTransConfig &config)
{
    d->call([=](TransferEngine &engine) { engine.startAll(tasks, type, config); });
}

void TransferModule::Pause(const TaskRecord &task)
{
    d->call([=](TransferEngine &engine) { engine.pause(task); });
}

void TransferModule::PauseAll(ZPDTCMDTYPE type)
{
    d->call([=](TransferEngine &engine) { engine.pauseAll(type); });
}

void TransferModule::Cancel(const TaskRecord &task)
{
    d->call([=](TransferEngine &engine) { engine.cancel(task); });
}

void TransferModule::CancelAll(ZPDTCMDTYPE type)
{
    d->call([=](TransferEngine &engine) { engine.cancelAll(type); });
}

void TransferModule::SetMaxConcurrence(ZPDTCMDTYPE type, int count)
{
    d->call([=](TransferEngine &engine) { engine.setMaxConcurrence(type, count); });
}

void TransferModule::SetZpdtParams(ZpdtTransConfig config)
{
    d->call([=](TransferEngine &engine) { engine.setParams(config); });
}

void TransferModule::UpdateStorageCapacity(const QString &subCenterId, qint64 bytes)
{
    d->call([=](TransferEngine &engine) { engine.updateCapacity(subCenterId, bytes); });
}
