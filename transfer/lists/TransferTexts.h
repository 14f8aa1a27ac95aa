#pragma once

#include "TransferModule.h"

#include <QCoreApplication>

/// What the lists write about a task. Pure functions of their arguments, usable from any thread.
class TransferTexts
{
    Q_DECLARE_TR_FUNCTIONS(TransferTexts)

public:
    /// Bytes done of the total, in the unit that suits the total. A negative total is not yet known.
    static QString progress(qint64 done, qint64 total);
    /// @param megabits a second; nothing above 0 reads as standing still
    static QString speed(double megabits);
    static QString status(qint32 status);
    /// Tool tip of a row's start and pause button.
    static QString toggleTip(qint32 status);
    /// Why a task failed, in words for a person.
    static QString reason(ZpdtError error);
    /// What a person can do about it; empty where there is nothing to do.
    static QString advice(ZpdtError error, const TaskRecord &task);

    /// How much of the task is done, in @p steps. The last step is reached by success alone.
    static int share(const TaskRecord &task, int steps);

    /// Identity of a task as one text.
    static QString taskKey(const TaskRecord &task);
    /// Hash of that text, made without the text.
    static quint64 keyHash(const TaskRecord &task);
    /// A time that is left, in its two largest units; empty when it is not known.
    static QString duration(qint64 seconds);
    /// Last component of the source path.
    static QString taskName(const TaskRecord &task);
    /// The local end of the task: its source for an upload, what it became in the target folder for a download.
    static QString localPath(const TaskRecord &task);
    /// The remote end of the task.
    static QString remotePath(const TaskRecord &task);
};
