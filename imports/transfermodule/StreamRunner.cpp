#include "StreamRunner.h"

class StreamRunnerPrivate
{
};

StreamRunner::StreamRunner(bool realNameVerified, QObject *parent)
    : QObject(parent)
    , d(std::make_unique<StreamRunnerPrivate>())
{
    Q_UNUSED(realNameVerified)
}

StreamRunner::~StreamRunner() = default;

void StreamRunner::begin(TaskId, const TaskRecord &, const TaskTable::Config &, TaskTable::Shape, bool) {}

void StreamRunner::settle() {}

void StreamRunner::end(TaskId id, bool)
{
    QMetaObject::invokeMethod(
        this, [this, id] { emit stopped(id); }, Qt::QueuedConnection);
}

void StreamRunner::setParams(const ZpdtTransConfig &) {}

void StreamRunner::setCapacity(const QString &, qint64) {}
