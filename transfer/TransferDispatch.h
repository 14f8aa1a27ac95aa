#pragma once

#include "FileItem.h"
#include "TransConfigBuilder.h"

#include <QObject>
#include <QStringList>

#include <functional>

class EnginePort;

/// Turns requests of pages and lists into calls of the transfer engine, with the parameters of the sub-center
/// concerned. Needs no window: what must be asked goes through the question function. GUI thread only.
class TransferDispatch : public QObject
{
    Q_OBJECT

public:
    /// Shows rich text to the person; true when it was accepted.
    using Question = std::function<bool(const QString &html)>;

    explicit TransferDispatch(EnginePort *engine, QObject *parent = nullptr);

    void setPicker(const TransConfigBuilder::Picker &picker) { m_picker = picker; }
    /// Without a question function every question is declined.
    void setQuestion(const Question &question) { m_question = question; }

    /// Tells the engine how many tasks may run at once, as configured.
    void applyConcurrence();
    /// Tells the engine the parameters of every sub-center anew, once the service's limits are known.
    void applyLimits();
    /// Tells the engine the free space of every sub-center whose figures are known.
    void updateStorageCapacity();
    ZpdtTransConfig configFor(const SubCenter &center) const;

    /// Both return true when the engine was asked for something.
    bool Upload(QStringList files, QStringList folders, const SubCenter &center, const QString &remoteDir);
    bool Download(QList<FileItem> files, QList<FileItem> folders, const SubCenter &center, const QString &localDir);

    void StartTask(const TaskRecord &task);
    void PauseTask(const TaskRecord &task);
    void CancelTask(const TaskRecord &task);
    /// One engine call for each sub-center and direction among the tasks.
    void StartAllTask(const QList<TaskRecord> &tasks);
    /// @param listName object name of the asking list; unknown names are ignored
    void PauseAllTask(const QString &listName);
    void CancelAllTask(const QString &listName);
    void SetZpdtParams(const QString &subCenterId);

    /// The name ends in a suffix of a video file, in exactly this letter case.
    static bool isVideo(const QString &name);

private:
    bool confirm(const QString &text);
    ZpdtTransConfig configForTask(const QString &subCenterId) const;

    EnginePort *m_engine;
    TransConfigBuilder::Picker m_picker;
    Question m_question;
};
