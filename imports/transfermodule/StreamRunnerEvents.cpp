#include "StreamRunnerPrivate.h"

#include "TransferRules.h"

#include <algorithm>

// What the runner does with each word of a stream.

using namespace TransferRules;

namespace {

/// A fresh ticket is refused when the service was started anew in between; more often means that it is meant so.
constexpr int kRefusals = 3;
/// Links and special files that a task names; of more it gives the number alone.
constexpr qint64 kNamedSkips = 5;

/// In a folder that was asked for, not asked for itself.
bool isBelow(const zpdt::ItemInfo &item)
{
    return item.path.find('/') != std::string::npos;
}

} // namespace

void StreamRunnerPrivate::onOpened(Job &job)
{
    setStatus(job, ZPDT_TRANSFERRING);
    job.meter.sample(m_clock.elapsed(), 0);
    job.changed = true;
}

void StreamRunnerPrivate::onTotals(Job &job, const zpdt::Totals &totals)
{
    job.totals = totals;
    job.changed = true;
    if (job.type == ZPDT_UPLOAD && job.phase == Job::Open) {
        job.need = static_cast<qint64>(totals.bytes) - static_cast<qint64>(job.progress.bytes);
        checkCapacity(job);
    }
}

void StreamRunnerPrivate::onProgress(Job &job, const zpdt::StreamProgress &progress)
{
    const qint64 moved = static_cast<qint64>(progress.bytes) - static_cast<qint64>(job.progress.bytes);
    if (moved > 0 || progress.filesDone > job.progress.filesDone) {
        job.failures = 0;
        job.refusals = 0;
        // A job that gets on shows that the line is there again.
        wake([&job](const Job &other) { return other.subCenterId == job.subCenterId; });
    }
    job.progress = progress;
    // What an earlier stream brought is no speed.
    job.meter.sample(m_clock.elapsed(), static_cast<qint64>(progress.bytes) - static_cast<qint64>(progress.held));
    job.changed = true;
    if (job.type == ZPDT_UPLOAD && moved > 0) {
        // Until the service tells the new figure, what arrived there is taken off the old one.
        job.need = std::max<qint64>(0, job.need - moved);
        const auto free = capacity.find(job.subCenterId);
        if (free != capacity.end())
            free.value() = std::max<qint64>(0, free.value() - moved);
    }
}

void StreamRunnerPrivate::onLargeItem(Job &job, const zpdt::ItemInfo &item)
{
    if (item.root >= job.roots.size())
        return;
    JobMember &member = job.members[job.roots[item.root]];
    if (member.over || member.leaving)
        return;
    member.size = static_cast<qint64>(item.size);
    emit q->sizeKnown(member.id, member.size);
}

/// Asked for among small files, as downloads of an earlier run are.
void StreamRunnerPrivate::onFolder(Job &job, const zpdt::ItemInfo &item)
{
    if (item.root >= job.roots.size())
        return;
    JobMember &member = job.members[job.roots[item.root]];
    if (!member.over && !member.leaving)
        emit q->folderFound(member.id);
}

void StreamRunnerPrivate::onItemDone(Job &job, const zpdt::ItemInfo &item)
{
    if (item.root >= job.roots.size() || isBelow(item))
        return;
    JobMember &member = job.members[job.roots[item.root]];
    if (member.over)
        return;
    job.failures = 0;
    job.bytesOver += static_cast<qint64>(item.size);
    endMember(job, member, true, static_cast<qint64>(item.size));
}

void StreamRunnerPrivate::onItemSkipped(Job &job, const QString &path)
{
    if (++job.skipped <= kNamedSkips)
        job.skippedNames += (job.skipped > 1 ? QStringLiteral(", ") : QString()) + path;
    else if (job.skipped == kNamedSkips + 1)
        job.skippedNames += QStringLiteral(" ...");
    job.changed = true;
}

void StreamRunnerPrivate::onItemFailed(Job &job, const zpdt::ItemInfo &item, ZpdtError error, const QString &text)
{
    const QString path = QString::fromStdString(item.path);
    const QString detail = text.isEmpty() ? path : QStringLiteral("%1: %2").arg(path, text);
    if (job.whole) {
        if (job.error == ZpdtError::None) {
            job.error = error;
            job.errorText = detail;
        }
        job.changed = true;
        return;
    }
    if (item.root < job.roots.size() && !isBelow(item)) {
        JobMember &member = job.members[job.roots[item.root]];
        if (!member.over)
            failMember(job, member, error, detail);
    }
}

void StreamRunnerPrivate::onEnd(Job &job, const zpdt::StreamResult &result)
{
    const bool asked = job.phase == Job::Closing;
    tellFolders();
    ZpdtError error = fromWire(result.error);
    const bool moves = job.phase == Job::Moving && error == ZpdtError::Cancelled &&
                       std::none_of(job.members.begin(), job.members.end(),
                                    [](const JobMember &member) { return member.leaving && !member.over; });
    if (moves) {
        detach(job);
        job.phase = Job::Lining;
        job.since = m_clock.elapsed();
        tryOpen(job);
        return;
    }
    const bool moved = job.phase == Job::Moving;
    release(job);
    QString text = QString::fromStdString(result.text);
    if (error == ZpdtError::None) {
        const bool clean = job.error == ZpdtError::None && result.progress.filesFailed == 0;
        if (clean) {
            if (job.skipped > 0)
                tellProgress(job);
            for (JobMember &member : job.members) {
                if (!member.over)
                    endMember(job, member, true, job.whole ? static_cast<qint64>(result.progress.bytes) : -1);
            }
            dissolve(job);
            return;
        }
        if (job.error != ZpdtError::Network) {
            job.progress = result.progress;
            failAll(job, job.error == ZpdtError::None ? ZpdtError::LocalFile : job.error, job.errorText);
            return;
        }
        error = ZpdtError::Network;
        text = job.errorText;
    }
    for (JobMember &member : job.members) {
        if (member.leaving && !member.over)
            stopMember(job, member);
    }
    if (job.left() == 0) {
        dissolve(job);
        return;
    }
    if ((asked || moved) && error == ZpdtError::Cancelled) {
        // Some of the group were stopped; the others go on.
        if (job.error == ZpdtError::NoSpace)
            failAll(job, job.error, job.errorText);
        else
            ask(job);
        return;
    }
    switch (error) {
    case ZpdtError::Network:
    case ZpdtError::Cancelled: // the service is being stopped
        retry(job, ZpdtError::Network, text);
        return;
    case ZpdtError::Refused:
    case ZpdtError::Integrity:
        if (++job.refusals < kRefusals) {
            retry(job, error, text);
            return;
        }
        break;
    default:
        break;
    }
    failAll(job, error, text);
}
