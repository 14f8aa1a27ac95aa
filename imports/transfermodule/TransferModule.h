#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QMap>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QStringList>

#include <limits>
#include <memory>

/// Direction of a transfer.
enum ZPDTCMDTYPE
{
    ZPDT_DOWNLOAD = 1, ///< remote drive to local disk
    ZPDT_UPLOAD = 2    ///< local disk to remote drive
};

/// Values of TaskRecord::Status. A task has exactly one of them.
enum ZpdtTaskStatus : qint32
{
    ZPDT_WAITING = 0,
    ZPDT_PREPARING = 1, ///< created, the folder is being scanned or the server asked
    ZPDT_CONNECTING = 2,
    ZPDT_TRANSFERRING = 4,
    ZPDT_PAUSING = 16,
    ZPDT_PAUSED = 32,
    ZPDT_CANCELING = 64,
    ZPDT_SUCCESS = 4096,
    ZPDT_FAILED = 8192 ///< ended without success; the reason came with the last progress report
};

/// Why a task failed or waits.
enum class ZpdtError
{
    None,
    Network, ///< line down, retried with growing pauses
    Refused, ///< the server or the account does not allow it
    NotFound,
    NoSpace,       ///< remote capacity or local disk
    ChangedSource, ///< the source changed while it was sent
    BadName,       ///< a name that cannot be stored at the destination
    Integrity,     ///< the data does not match its digest
    Cancelled,
    LocalFile ///< a local file cannot be read or written
};

/// One single file that a transfer starts with: its name and the folder that holds it.
struct FileInfo
{
    QString fileName;
    QString path;
};

/// One transfer task, the unit of every signal. Identity: (Path, Type, Dest, From, SubCenterId). A plain value.
struct TaskRecord
{
    qint32 taskIndex = 0;
    QString Path;        ///< full path of the file or folder at the source
    qint32 Type = 0;     ///< ZPDTCMDTYPE
    qint64 FileSize = 0; ///< total bytes
    QString taskName;
    qint64 Offset = 0; ///< bytes already transferred
    qint32 Status = 0; ///< ZpdtTaskStatus
    QByteArray Icon;
    QDateTime CreateDate;
    QDateTime FinishDate;
    QString From; ///< folder at the source
    QString Dest; ///< folder at the destination
    QString SubCenterId;
    quint64 taskExtra = 0; ///< of a failed task: its ZpdtError

    bool sameTask(const TaskRecord &o) const
    {
        return Path == o.Path && Type == o.Type && Dest == o.Dest && From == o.From && SubCenterId == o.SubCenterId;
    }
};

/// Pacing of one direction.
struct ZpdtRateControl
{
    QString mode;                  ///< "fair" or "fixed"
    double pacingInterval = 100.0; ///< microseconds between packets of mss bytes
    double pacingLimit = 5000.0;   ///< longest interval, microseconds
    double rateFloor = -1.0;       ///< bytes a second; below zero: none
};

/// Parameters of a transfer.
struct ZpdtTransConfig
{
    bool engineFlagA = false;
    bool engineFlagB = false;
    ZpdtRateControl uploadPacing{QStringLiteral("fair")};
    ZpdtRateControl downloadPacing;
    QString udtHost;
    QString udtPort;
    QString userId;
    qint32 mss = 1024;
    qint64 uploadTargetSpeed = 45000; ///< KB/s
    qint32 uploadMode = 1;
    qint64 downloadTargetSpeed = 45000; ///< KB/s
    qint32 downloadMode = 1;
    qint32 reserved256 = 256;
    QString asperaHost;
    QString asperaPort;
    QString asperaUser;
    QString asperaPassword;
    qint32 tuningA = 4;
    qint32 tuningB = 2;
    qint32 tuningC = 3;
    qint32 tuningD = 3;
    QString subCenterId;
    QString subCenterRoot;
    QString clientVersion;
    QString clientTag; ///< authentication address of the service; transfer tickets are asked for there
    qint32 beVerify = 0;
    bool optionA = false;
    bool optionB = true;
    qint64 capacityLimit = std::numeric_limits<qint64>::max();
};

/// Progress of one task.
struct ZpdtProgress
{
    qint64 total = 0;  ///< bytes; grows while a folder is scanned
    qint64 offset = 0; ///< bytes done
    qint64 filesTotal = 0;
    qint64 filesDone = 0;
    qint64 filesFailed = 0;
    qint64 filesSkipped = 0; ///< links and special files in a folder, left out without making it fail
    double speed = 0.0;      ///< megabits a second over the last few seconds
    qint64 secondsLeft = -1; ///< -1: not known
    bool scanning = false;   ///< totals still grow
    ZpdtError error = ZpdtError::None;
    qint64 held = 0;   ///< bytes of the offset that were at the destination before this run
    QString errorText; ///< English detail for a log or a tool tip, such as the file concerned or what was left out
};

/// State of one connection of the engine.
struct ZpdtConnectionInfo
{
    enum State
    {
        NotConnected,
        Connecting,
        Connected
    };

    QString subCenterId;
    QString host;
    QString port;
    QString carrier; ///< "TCP" or "UDP"
    qint32 state = NotConnected;
    qint32 connectTimes = 0;   ///< connections made since the engine started
    double roundTripMs = -1.0; ///< -1: not known
    double lossPercent = 0.0;
    double sendRateMbps = 0.0;
    double receiveRateMbps = 0.0;
    double retransmitPercent = 0.0;
    QString reason; ///< why this carrier, or why not connected
};

Q_DECLARE_METATYPE(ZPDTCMDTYPE)
Q_DECLARE_METATYPE(ZpdtError)
Q_DECLARE_METATYPE(TaskRecord)
Q_DECLARE_METATYPE(QList<TaskRecord>)
Q_DECLARE_METATYPE(ZpdtTransConfig)
Q_DECLARE_METATYPE(ZpdtProgress)
Q_DECLARE_METATYPE(ZpdtConnectionInfo)
Q_DECLARE_METATYPE(QList<ZpdtConnectionInfo>)

class TransferModulePrivate;

/// The transfer engine. Lives on the GUI thread, where all its signals fire; the work runs on threads of its own,
/// which the destructor stops and joins. Operations return at once; what becomes of them is told by the signals.
class TransferModule : public QObject
{
    Q_OBJECT

public:
    /// @param realNameVerified false: video files inside folders are skipped
    explicit TransferModule(bool realNameVerified, QObject *parent = nullptr);
    ~TransferModule() override;

    void UploadFiles(const QList<FileInfo> &files, const QString &remoteDir, const ZpdtTransConfig &config);
    void UploadFolder(const QString &localFolder, const QString &remoteDir, const ZpdtTransConfig &config);
    void DownloadFiles(const QList<FileInfo> &files, const QString &localDir, const ZpdtTransConfig &config);
    void DownloadFolder(const QString &remoteFolder, const QString &localDir, const ZpdtTransConfig &config);

    /// Starts or resumes one task; a task that the engine does not hold yet (after a restart) is taken in.
    void Start(const TaskRecord &task, const ZpdtTransConfig &config);
    void StartAll(const QList<TaskRecord> &tasks, ZPDTCMDTYPE type, const ZpdtTransConfig &config);
    void Pause(const TaskRecord &task);
    void PauseAll(ZPDTCMDTYPE type);
    void Cancel(const TaskRecord &task);
    void CancelAll(ZPDTCMDTYPE type);

    /// @param count tasks of that direction that may run at once, at least 1
    void SetMaxConcurrence(ZPDTCMDTYPE type, int count);
    void SetZpdtParams(ZpdtTransConfig config);
    /// @param bytes free capacity of the sub-center
    void UpdateStorageCapacity(const QString &subCenterId, qint64 bytes);

signals:
    void TaskCreated(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    /// The tasks run now (Status ZPDT_PREPARING), or were asked to and wait for their turn (ZPDT_WAITING).
    void TaskStarted(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    /// Status is ZPDT_SUCCESS or ZPDT_FAILED.
    void TaskFinished(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    /// Tasks that ended or were paused, and are sent again because a new request named them.
    void TaskRetrans(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    /// Remote folders that uploads created.
    void TaskDirCreated(QStringList folders);
    /// Also told of tasks that no room is left for: their last progress then says NoSpace, what arrived stays, and they
    /// go on when they are started again.
    void TaskPauseEnd(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    void TaskCancelEnd(QList<TaskRecord> tasks, ZPDTCMDTYPE type);
    /// Requests that were refused because the same tasks are there already.
    void TaskExist(QList<TaskRecord> tasks);
    /// After paused tasks were registered: all tasks of that direction that the engine holds.
    void TaskCreatePausedCount(qint64 count, ZPDTCMDTYPE type);
    /// After upload or download requests: how many tasks they created. Comes after their TaskCreated.
    void TaskCreateCount(qint64 count, ZPDTCMDTYPE type);
    /// A few times a second while a task runs; the last one of a task that fails holds the reason.
    void TaskProgressChanged(TaskRecord task, ZpdtProgress progress);
    void ConnectionInfoChanged(QList<ZpdtConnectionInfo> connections);

    // Inputs, driven by signal-to-signal connections.
    void UpdateSubcenterPath(QMap<QString, QString> paths);
    void SigRegisterPausedTask(QList<TaskRecord> tasks);
    void SigUnRegisterPausedTask(QList<TaskRecord> tasks);

private:
    std::unique_ptr<TransferModulePrivate> d;
};
