#include "StreamRunner.h"

#include "StreamRunnerPrivate.h"
#include "TransferRules.h"

StreamRunner::StreamRunner(bool realNameVerified, QObject *parent)
    : QObject(parent)
    , d(new StreamRunnerPrivate(realNameVerified, this))
{
}

StreamRunner::~StreamRunner()
{
    d->mailbox->close();
}

void StreamRunner::begin(TaskId id, const TaskRecord &task, const TaskTable::Config &config, TaskTable::Shape shape,
                         bool resumed, int priority)
{
    d->begin(id, task, config, shape, resumed, priority);
}

void StreamRunner::prefer(TaskId id, int priority)
{
    d->prefer(id, priority);
}

void StreamRunner::settle()
{
    d->settle();
}

void StreamRunner::end(TaskId id, bool abandon)
{
    d->end(id, abandon);
}

void StreamRunner::wake(const QString &subCenterId)
{
    d->wake([&subCenterId](const StreamJob &job) { return job.subCenterId == subCenterId; });
}

void StreamRunner::discard(const TaskRecord &upload)
{
    d->discards.add(upload.SubCenterId, upload.Dest, TransferRules::lastName(upload.Path));
}

void StreamRunner::setParams(const ZpdtTransConfig &config)
{
    d->setParams(config);
}

void StreamRunner::setCapacity(const QString &subCenterId, qint64 bytes)
{
    d->capacity.insert(subCenterId, bytes);
}
