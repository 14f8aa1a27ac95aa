#pragma once

#include "TransferModule.h"

/// The operations of the transfer engine that the dispatch uses, apart from the engine so that the dispatch can be
/// looked at without one. Called on the GUI thread.
class EnginePort
{
public:
    virtual ~EnginePort();

    virtual void uploadFiles(const QList<FileInfo> &files, const QString &remoteDir, const ZpdtTransConfig &config) = 0;
    virtual void uploadFolder(const QString &folder, const QString &remoteDir, const ZpdtTransConfig &config) = 0;
    virtual void downloadFiles(const QList<FileInfo> &files, const QString &localDir,
                               const ZpdtTransConfig &config) = 0;
    virtual void downloadFolder(const QString &folder, const QString &localDir, const ZpdtTransConfig &config) = 0;
    virtual void start(const TaskRecord &task, const ZpdtTransConfig &config) = 0;
    virtual void startAll(const QList<TaskRecord> &tasks, ZPDTCMDTYPE type, const ZpdtTransConfig &config) = 0;
    virtual void pause(const TaskRecord &task) = 0;
    virtual void pauseAll(ZPDTCMDTYPE type) = 0;
    virtual void cancel(const TaskRecord &task) = 0;
    virtual void cancelAll(ZPDTCMDTYPE type) = 0;
    virtual void setMaxConcurrence(ZPDTCMDTYPE type, int count) = 0;
    virtual void setZpdtParams(const ZpdtTransConfig &config) = 0;
    virtual void updateStorageCapacity(const QString &subCenterId, qint64 bytes) = 0;
};

/// The port of the real engine, which must outlive it.
class TransferModulePort : public EnginePort
{
public:
    explicit TransferModulePort(TransferModule *engine);

    void uploadFiles(const QList<FileInfo> &files, const QString &remoteDir, const ZpdtTransConfig &config) override;
    void uploadFolder(const QString &folder, const QString &remoteDir, const ZpdtTransConfig &config) override;
    void downloadFiles(const QList<FileInfo> &files, const QString &localDir, const ZpdtTransConfig &config) override;
    void downloadFolder(const QString &folder, const QString &localDir, const ZpdtTransConfig &config) override;
    void start(const TaskRecord &task, const ZpdtTransConfig &config) override;
    void startAll(const QList<TaskRecord> &tasks, ZPDTCMDTYPE type, const ZpdtTransConfig &config) override;
    void pause(const TaskRecord &task) override;
    void pauseAll(ZPDTCMDTYPE type) override;
    void cancel(const TaskRecord &task) override;
    void cancelAll(ZPDTCMDTYPE type) override;
    void setMaxConcurrence(ZPDTCMDTYPE type, int count) override;
    void setZpdtParams(const ZpdtTransConfig &config) override;
    void updateStorageCapacity(const QString &subCenterId, qint64 bytes) override;

private:
    TransferModule *m_engine;
};
