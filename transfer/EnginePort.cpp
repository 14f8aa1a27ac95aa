#include "EnginePort.h"

EnginePort::~EnginePort() = default;

TransferModulePort::TransferModulePort(TransferModule *engine)
    : m_engine(engine)
{
}

void TransferModulePort::uploadFiles(const QList<FileInfo> &files, const QString &remoteDir,
                                     const ZpdtTransConfig &config)
{
    m_engine->UploadFiles(files, remoteDir, config);
}

void TransferModulePort::uploadFolder(const QString &folder, const QString &remoteDir, const ZpdtTransConfig &config)
{
    m_engine->UploadFolder(folder, remoteDir, config);
}

void TransferModulePort::downloadFiles(const QList<FileInfo> &files, const QString &localDir,
                                       const ZpdtTransConfig &config)
{
    m_engine->DownloadFiles(files, localDir, config);
}

void TransferModulePort::downloadFolder(const QString &folder, const QString &localDir, const ZpdtTransConfig &config)
{
    m_engine->DownloadFolder(folder, localDir, config);
}

void TransferModulePort::start(const TaskRecord &task, const ZpdtTransConfig &config)
{
    m_engine->Start(task, config);
}

void TransferModulePort::startAll(const QList<TaskRecord> &tasks, ZPDTCMDTYPE type, const ZpdtTransConfig &config)
{
    m_engine->StartAll(tasks, type, config);
}

void TransferModulePort::pause(const TaskRecord &task)
{
    m_engine->Pause(task);
}

void TransferModulePort::pauseAll(ZPDTCMDTYPE type)
{
    m_engine->PauseAll(type);
}

void TransferModulePort::cancel(const TaskRecord &task)
{
    m_engine->Cancel(task);
}

void TransferModulePort::cancelAll(ZPDTCMDTYPE type)
{
    m_engine->CancelAll(type);
}

void TransferModulePort::setMaxConcurrence(ZPDTCMDTYPE type, int count)
{
    m_engine->SetMaxConcurrence(type, count);
}

void TransferModulePort::setZpdtParams(const ZpdtTransConfig &config)
{
    m_engine->SetZpdtParams(config);
}

void TransferModulePort::updateStorageCapacity(const QString &subCenterId, qint64 bytes)
{
    m_engine->UpdateStorageCapacity(subCenterId, bytes);
}
