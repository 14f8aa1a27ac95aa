#include "TransferDispatch.h"

#include "EnginePort.h"
#include "GlobalConfig.h"

#include <QFileInfo>
#include <QMap>
#include <QPointer>

#include <algorithm>

namespace {

/// Files that other users shared with this one stand in no sub-center of their own.
const QLatin1String kShare("share");
const QLatin1String kShareParameters("1");

FileInfo splitPath(const QString &path)
{
    const int slash = path.lastIndexOf(QLatin1Char('/'));
    FileInfo info;
    info.fileName = path.mid(slash + 1);
    info.path = slash < 0 ? QString() : path.left(qMax(1, slash));
    return info;
}

int typeOfList(const QString &listName)
{
    if (listName == QLatin1String("listwid_upload"))
        return ZPDT_UPLOAD;
    if (listName == QLatin1String("listwid_download"))
        return ZPDT_DOWNLOAD;
    return 0;
}

} // namespace

TransferDispatch::TransferDispatch(EnginePort *engine, QObject *parent)
    : QObject(parent)
    , m_engine(engine)
    , m_picker(TransConfigBuilder::randomPick)
{
}

bool TransferDispatch::isVideo(const QString &name)
{
    static const QStringList suffixes{
        QStringLiteral("m4v"), QStringLiteral("mpeg"), QStringLiteral("mov"),  QStringLiteral("rmvb"),
        QStringLiteral("rm"),  QStringLiteral("mkv"),  QStringLiteral("ipod"), QStringLiteral("hls"),
        QStringLiteral("asf"), QStringLiteral("webm"), QStringLiteral("wtv"),  QStringLiteral("flv"),
        QStringLiteral("m4v"), QStringLiteral("a64"),  QStringLiteral("3gp"),  QStringLiteral("3g2"),
        QStringLiteral("wmv"), QStringLiteral("avi"),  QStringLiteral("mp4")};
    return suffixes.contains(QFileInfo(name).suffix());
}

void TransferDispatch::applyConcurrence()
{
    const ZpdtSettings zpdt = GlobalConfig::instance()->zpdt();
    m_engine->setMaxConcurrence(ZPDT_UPLOAD, zpdt.uploadLimitCount);
    m_engine->setMaxConcurrence(ZPDT_DOWNLOAD, zpdt.downloadLimitCount);
}

void TransferDispatch::applyLimits()
{
    const QList<SubCenter> centers = GlobalConfig::instance()->subCenters();
    for (const SubCenter &center : centers) {
        if (center.hasHome())
            SetZpdtParams(center.id);
    }
}

void TransferDispatch::updateStorageCapacity()
{
    const QList<SubCenter> centers = GlobalConfig::instance()->subCenters();
    for (const SubCenter &center : centers) {
        // Without a quota there is no figure yet, and the engine's own unlimited default holds.
        if (center.hasHome() && center.quota > 0)
            m_engine->updateStorageCapacity(center.id, qMax<qint64>(0, center.quota - center.used));
    }
}

ZpdtTransConfig TransferDispatch::configFor(const SubCenter &center) const
{
    return TransConfigBuilder::build(TransConfigBuilder::facts(center.id), center, m_picker);
}

ZpdtTransConfig TransferDispatch::configForTask(const QString &subCenterId) const
{
    const QString parameters = subCenterId == kShare ? QString(kShareParameters) : subCenterId;
    ZpdtTransConfig config = configFor(GlobalConfig::instance()->subCenter(parameters));
    // Also where the service no longer lists that sub-center: the task's answer then names the right one.
    config.subCenterId = subCenterId;
    return config;
}

bool TransferDispatch::confirm(const QString &text)
{
    const QString name = tr("real name authentication");
    const QString address = GlobalConfig::instance()->registerUrl();
    // The account's pages hold the verification too; without their address the words stand alone.
    const QString link =
        address.isEmpty() ? name : QStringLiteral("<a href=\"%1\">%2</a>").arg(address.toHtmlEscaped(), name);
    const QPointer<TransferDispatch> alive(this);
    return m_question && m_question(text.arg(link)) && alive;
}

bool TransferDispatch::Upload(QStringList files, QStringList folders, const SubCenter &center, const QString &remoteDir)
{
    if (files.isEmpty() && folders.isEmpty())
        return false;
    if (!GlobalConfig::instance()->currentUser().authentication) {
        const int before = files.size();
        files.erase(std::remove_if(files.begin(), files.end(), isVideo), files.end());
        if (files.size() < before &&
            !confirm(tr("Deal user! You do not have the %1, video files will be ignored in your upload requests.If "
                        "you accept, please click OK.")))
            return false;
        if (!folders.isEmpty() &&
            !confirm(tr("Deal user! You do not have the %1, video files will be ignored in your upload folders.If "
                        "you accept, please click OK.")))
            return false;
        if (files.isEmpty() && folders.isEmpty())
            return false;
    }

    const ZpdtTransConfig config = configFor(center);
    QList<FileInfo> infos;
    for (const QString &file : qAsConst(files))
        infos << splitPath(file);
    if (!infos.isEmpty())
        m_engine->uploadFiles(infos, remoteDir, config);
    for (const QString &folder : qAsConst(folders))
        m_engine->uploadFolder(folder, remoteDir, config);
    return true;
}

bool TransferDispatch::Download(QList<FileItem> files, QList<FileItem> folders, const SubCenter &center,
                                const QString &localDir)
{
    if (files.isEmpty() && folders.isEmpty())
        return false;
    if (!GlobalConfig::instance()->currentUser().authentication) {
        const int before = files.size();
        files.erase(std::remove_if(files.begin(), files.end(),
                                   [](const FileItem &file) { return isVideo(splitPath(file.path).fileName); }),
                    files.end());
        if (files.size() < before &&
            !confirm(tr("Deal user! You do not have the %1, video files will be ignored in your download requests.")))
            return false;
        if (!folders.isEmpty() &&
            !confirm(tr("Deal user! You do not have the %1, video files will be ignored in your download folders.If "
                        "you accept, please click OK.")))
            return false;
        if (files.isEmpty() && folders.isEmpty())
            return false;
    }

    SubCenter source = center;
    if (center.id == kShare)
        source.id = kShareParameters;
    ZpdtTransConfig config = configFor(source);
    config.subCenterRoot = center.path;
    config.subCenterId = center.id;

    QList<FileInfo> infos;
    for (const FileItem &file : qAsConst(files))
        infos << splitPath(file.path);
    if (!infos.isEmpty())
        m_engine->downloadFiles(infos, localDir, config);
    for (const FileItem &folder : qAsConst(folders))
        m_engine->downloadFolder(folder.path, localDir, config);
    return true;
}

void TransferDispatch::StartTask(const TaskRecord &task)
{
    m_engine->start(task, configForTask(task.SubCenterId));
}

void TransferDispatch::PauseTask(const TaskRecord &task)
{
    m_engine->pause(task);
}

void TransferDispatch::CancelTask(const TaskRecord &task)
{
    m_engine->cancel(task);
}

void TransferDispatch::StartAllTask(const QList<TaskRecord> &tasks)
{
    QMap<QPair<QString, qint32>, QList<TaskRecord>> groups;
    for (const TaskRecord &task : tasks)
        groups[qMakePair(task.SubCenterId, task.Type)] << task;
    for (auto it = groups.constBegin(); it != groups.constEnd(); ++it)
        m_engine->startAll(it.value(), static_cast<ZPDTCMDTYPE>(it.key().second), configForTask(it.key().first));
}

void TransferDispatch::PauseAllTask(const QString &listName)
{
    if (const int type = typeOfList(listName))
        m_engine->pauseAll(static_cast<ZPDTCMDTYPE>(type));
}

void TransferDispatch::CancelAllTask(const QString &listName)
{
    if (const int type = typeOfList(listName))
        m_engine->cancelAll(static_cast<ZPDTCMDTYPE>(type));
}

void TransferDispatch::SetZpdtParams(const QString &subCenterId)
{
    m_engine->setZpdtParams(configForTask(subCenterId));
    if (subCenterId == kShareParameters)
        m_engine->setZpdtParams(configForTask(kShare));
}
