#pragma once

#include "EnginePort.h"

#include <QStringList>

/// Writes down what the engine is asked for, one line a call, and keeps the last parameters.
class FakeEngine : public EnginePort
{
public:
    QStringList calls;
    ZpdtTransConfig config;

    void uploadFiles(const QList<FileInfo> &files, const QString &dir, const ZpdtTransConfig &c) override
    {
        note(QStringLiteral("uploadFiles ") + text(files) + QStringLiteral(" > ") + dir, c);
    }
    void uploadFolder(const QString &folder, const QString &dir, const ZpdtTransConfig &c) override
    {
        note(QStringLiteral("uploadFolder ") + folder + QStringLiteral(" > ") + dir, c);
    }
    void downloadFiles(const QList<FileInfo> &files, const QString &dir, const ZpdtTransConfig &c) override
    {
        note(QStringLiteral("downloadFiles ") + text(files) + QStringLiteral(" > ") + dir, c);
    }
    void downloadFolder(const QString &folder, const QString &dir, const ZpdtTransConfig &c) override
    {
        note(QStringLiteral("downloadFolder ") + folder + QStringLiteral(" > ") + dir, c);
    }
    void start(const TaskRecord &task, const ZpdtTransConfig &c) override
    {
        note(QStringLiteral("start ") + task.Path + QStringLiteral(" in ") + c.subCenterId, c);
    }
    void startAll(const QList<TaskRecord> &tasks, ZPDTCMDTYPE type, const ZpdtTransConfig &c) override
    {
        QStringList paths;
        for (const TaskRecord &task : tasks)
            paths << task.Path;
        note(QStringLiteral("startAll %1 ").arg(type) + paths.join(QLatin1Char(',')) + QStringLiteral(" in ") +
                 c.subCenterId,
             c);
    }
    void pause(const TaskRecord &task) override { calls << QStringLiteral("pause ") + task.Path; }
    void pauseAll(ZPDTCMDTYPE type) override { calls << QStringLiteral("pauseAll %1").arg(type); }
    void cancel(const TaskRecord &task) override { calls << QStringLiteral("cancel ") + task.Path; }
    void cancelAll(ZPDTCMDTYPE type) override { calls << QStringLiteral("cancelAll %1").arg(type); }
    void setMaxConcurrence(ZPDTCMDTYPE type, int count) override
    {
        calls << QStringLiteral("concurrence %1 %2").arg(type).arg(count);
    }
    void setZpdtParams(const ZpdtTransConfig &c) override { note(QStringLiteral("params ") + c.subCenterId, c); }
    void updateStorageCapacity(const QString &id, qint64 bytes) override
    {
        calls << QStringLiteral("capacity %1 %2").arg(id).arg(bytes);
    }

private:
    static QString text(const QList<FileInfo> &files)
    {
        QStringList parts;
        for (const FileInfo &file : files)
            parts << file.path + QLatin1Char('|') + file.fileName;
        return parts.join(QLatin1Char(','));
    }
    void note(const QString &call, const ZpdtTransConfig &c)
    {
        calls << call;
        config = c;
    }
};
