#include "StreamRunnerPrivate.h"

#include "TransferRules.h"

#include "TargetTree.h"

#include <QRandomGenerator>

#include <algorithm>
#include <array>

using namespace TransferRules;

namespace {

constexpr int kTick = 250;
/// A line tells within ten seconds what becomes of it; a ticket does not live for ever.
constexpr qint64 kLongestWait = 20000;

} // namespace

StreamRunnerPrivate::StreamRunnerPrivate(bool realNameVerified, StreamRunner *owner)
    : QObject(owner)
    , mailbox(std::make_shared<Mailbox>(this))
    , links(this)
    , discards(links, mailbox, this)
    , q(owner)
    , m_verified(realNameVerified)
    , m_tickets(this)
    , m_watch(this)
    , m_tick(this)
{
    m_clock.start();
    m_tick.setInterval(kTick);
    connect(&m_tick, &QTimer::timeout, this, &StreamRunnerPrivate::onTick);
    connect(&m_tickets, &TicketClient::answered, this, &StreamRunnerPrivate::onTicket);
    connect(&links, &LinkPool::connectionsChanged, q, &StreamRunner::connectionsChanged);
    connect(&links, &LinkPool::carrierChanged, this, &StreamRunnerPrivate::onCarrier);
    connect(&links, &LinkPool::lineFailed, this, &StreamRunnerPrivate::onLineFailed);
    connect(&links, &LinkPool::keyWanted, this, &StreamRunnerPrivate::onKeyWanted);
    connect(&m_watch, &NetworkWatch::changed, this, [this](const QStringList &addresses) {
        m_tickets.forgetConnections();
        links.addressesChanged(addresses);
        wake([](const Job &) { return true; });
    });
}

StreamRunnerPrivate::Job *StreamRunnerPrivate::find(quint64 number)
{
    const auto it = m_jobs.find(number);
    return it == m_jobs.end() ? nullptr : &it->second;
}

StreamRunnerPrivate::Job *StreamRunnerPrivate::current(quint64 number, quint64 round)
{
    Job *job = find(number);
    return job && job->round == round ? job : nullptr;
}

void StreamRunnerPrivate::begin(TaskId id, const TaskRecord &task, const TaskTable::Config &config,
                                TaskTable::Shape shape, bool resumed, int priority)
{
    const bool upload = task.Type == ZPDT_UPLOAD;
    if (upload)
        discards.forget(task.SubCenterId, task.Dest, lastName(task.Path));
    const QString source = task.From.isEmpty() ? parentFolder(task.Path) : task.From;
    const bool group = shape == TaskTable::Shape::SmallFile;
    const QString key = QStringLiteral("%1\n%2\n%3\n%4\n%5\n%6")
                            .arg(QString::number(task.Type), task.SubCenterId, source, task.Dest,
                                 QString::number(reinterpret_cast<quintptr>(config.get())), QString::number(resumed));
    quint64 number = group ? m_gathering.value(key) : 0;
    if (number == 0) {
        number = ++m_lastJob;
        Job &job = m_jobs[number];
        job.number = number;
        job.type = upload ? ZPDT_UPLOAD : ZPDT_DOWNLOAD;
        job.config = config ? config : std::make_shared<const ZpdtTransConfig>();
        job.subCenterId = task.SubCenterId;
        job.localFolder = upload ? source : task.Dest;
        job.remoteFolder = upload ? task.Dest : source;
        job.whole = !group;
        job.resumed = resumed;
        m_begun.append(number);
        if (group)
            m_gathering.insert(key, number);
    }
    Job &job = m_jobs.at(number);
    job.priority = std::max(job.priority, priority);
    JobMember member;
    member.id = id;
    member.name = lastName(task.Path);
    member.size = task.FileSize;
    if (upload)
        job.need += std::max<qint64>(0, task.FileSize - (resumed ? task.Offset : 0));
    m_places.insert(id, {number, job.members.size()});
    job.members.push_back(std::move(member));
}

void StreamRunnerPrivate::prefer(TaskId id, int priority)
{
    const auto place = m_places.constFind(id);
    if (place == m_places.constEnd())
        return;
    Job &job = m_jobs.at(place->job);
    job.priority = priority;
    if (job.stream)
        job.stream->setPriority(priority);
}

void StreamRunnerPrivate::settle()
{
    m_gathering.clear();
    for (const quint64 number : std::exchange(m_begun, {})) {
        // Answered from the event loop, also when it fails at once.
        QMetaObject::invokeMethod(
            this,
            [this, number] {
                Job *job = find(number);
                if (job && job->round == 0 && checkCapacity(*job))
                    ask(*job);
            },
            Qt::QueuedConnection);
    }
    if (!m_toStop.isEmpty()) {
        QMetaObject::invokeMethod(
            this,
            [this] {
                for (const quint64 number : std::exchange(m_toStop, {})) {
                    if (Job *job = find(number))
                        stopLeaving(*job);
                }
            },
            Qt::QueuedConnection);
    }
}

void StreamRunnerPrivate::end(TaskId id, bool abandon)
{
    const auto place = m_places.constFind(id);
    if (place == m_places.constEnd()) {
        // Its end is on the way, or it never began: the answer to a task that is over is ignored.
        QMetaObject::invokeMethod(
            this, [this, id] { emit q->stopped(id); }, Qt::QueuedConnection);
        return;
    }
    Job &job = m_jobs.at(place->job);
    JobMember &member = job.members[place->member];
    member.leaving = true;
    member.abandon = member.abandon || abandon;
    m_toStop.insert(job.number);
}

void StreamRunnerPrivate::setParams(const ZpdtTransConfig &config)
{
    discards.setConfig(config);
    const auto goal = [&config](ZPDTCMDTYPE type, const ZpdtRateControl &pacing) {
        return zpdt::rateGoal(pacing.mode.toStdString(), pacing.pacingInterval, pacing.pacingLimit, pacing.rateFloor,
                              static_cast<quint32>(std::max(config.mss, 1)), targetRate(config, type));
    };
    links.setGoals(config.subCenterId, goal(ZPDT_UPLOAD, config.uploadPacing),
                   goal(ZPDT_DOWNLOAD, config.downloadPacing));
}

zpdt::StreamCallbacks StreamRunnerPrivate::callbacks(const Job &job)
{
    const auto post = [this, box = mailbox, number = job.number, round = job.round](auto call) {
        box->post([this, number, round, call = std::move(call)] {
            if (Job *now = current(number, round))
                call(*now);
        });
    };
    // Of a folder only what is new or wrong matters here: thousands of files a second stay on the I/O thread.
    const bool eachFile = !job.whole;
    const bool upload = job.type == ZPDT_UPLOAD;
    zpdt::StreamCallbacks all;
    all.onOpened = [this, post] { post([this](Job &now) { onOpened(now); }); };
    all.onTotals = [this, post](const zpdt::Totals &totals) {
        post([this, totals](Job &now) { onTotals(now, totals); });
    };
    all.onProgress = [this, post](const zpdt::StreamProgress &progress) {
        post([this, progress](Job &now) { onProgress(now, progress); });
    };
    all.onItemDone = [this, post, eachFile, upload](const zpdt::ItemInfo &item, const zpdt::ItemOutcome &outcome) {
        if (item.kind == zpdt::ItemKind::File && eachFile) {
            post([this, item](Job &now) { onItemDone(now, item); });
        } else if (item.kind == zpdt::ItemKind::Folder && eachFile && item.path.find('/') == std::string::npos) {
            post([this, item](Job &now) { onFolder(now, item); });
        } else if (item.kind == zpdt::ItemKind::Folder && upload && outcome.created) {
            post([this, path = item.path](Job &now) {
                m_folders.append(joined(now.remoteFolder, QString::fromStdString(path)));
            });
        }
    };
    if (eachFile)
        all.onLargeItem = [this, post](const zpdt::ItemInfo &item) {
            post([this, item](Job &now) { onLargeItem(now, item); });
        };
    all.onItemFailed = [this, post](const zpdt::ItemInfo &item, zpdt::Error error, const std::string &text) {
        // Asked for by its own name a link is a failure; in a folder it is left out.
        if (error == zpdt::Error::Skipped && item.path.find('/') != std::string::npos)
            return post([this, path = item.path](Job &now) { onItemSkipped(now, QString::fromStdString(path)); });
        post([this, item, error, text](Job &now) {
            onItemFailed(now, item, fromWire(error), QString::fromStdString(text));
        });
    };
    all.onEnd = [this, post](const zpdt::StreamResult &result) {
        post([this, result](Job &now) { onEnd(now, result); });
    };
    return all;
}

void StreamRunnerPrivate::dissolve(Job &job)
{
    release(job);
    dropTicket(job);
    m_jobs.erase(job.number);
}

void StreamRunnerPrivate::retry(Job &job, ZpdtError error, const QString &text)
{
    release(job);
    dropTicket(job);
    ++job.round;
    job.phase = Job::Waiting;
    job.error = error;
    job.errorText = text;
    job.lastSpeed = 0.0;
    job.meter.reset();
    setStatus(job, ZPDT_CONNECTING);
    tellProgress(job);
    // Not all clients of a service that comes back at the same moment.
    const int pause = retryPause(job.failures++);
    const int spread = QRandomGenerator::global()->bounded(pause / 5 + 1);
    QTimer::singleShot(pause + spread, this, [this, number = job.number, round = job.round] {
        if (Job *now = current(number, round))
            ask(*now);
    });
}

/// Has those that wait for the network ask at once.
void StreamRunnerPrivate::wake(const std::function<bool(const Job &)> &which)
{
    for (auto &[number, other] : m_jobs) {
        if (other.phase != Job::Waiting || other.error != ZpdtError::Network || !which(other))
            continue;
        ++other.round;
        QMetaObject::invokeMethod(
            this,
            [this, n = number, round = other.round] {
                Job *now = current(n, round);
                if (now && now->phase == Job::Waiting)
                    ask(*now);
            },
            Qt::QueuedConnection);
    }
}

void StreamRunnerPrivate::failAll(Job &job, ZpdtError error, const QString &text)
{
    for (JobMember &member : job.members) {
        if (member.over)
            continue;
        if (member.leaving)
            stopMember(job, member);
        else
            failMember(job, member, error, text);
    }
    dissolve(job);
}

void StreamRunnerPrivate::endMember(Job &job, JobMember &member, bool success, qint64 bytes)
{
    Q_UNUSED(job)
    member.over = true;
    m_places.remove(member.id);
    emit q->ended(member.id, success, bytes);
}

void StreamRunnerPrivate::failMember(Job &job, JobMember &member, ZpdtError error, const QString &text)
{
    ZpdtProgress progress;
    if (job.whole)
        progress = job.figures(m_clock.elapsed());
    else
        progress.total = member.size;
    progress.speed = 0.0;
    progress.secondsLeft = -1;
    progress.error = error;
    progress.errorText = text;
    emit q->progressChanged(member.id, progress);
    if (error != ZpdtError::NoSpace)
        return endMember(job, member, false, -1);
    // Room may come back: the task waits for it, and what is there stays.
    member.over = true;
    m_places.remove(member.id);
    emit q->halted(member.id);
}

void StreamRunnerPrivate::stopMember(Job &job, JobMember &member)
{
    // The stream of a group was closed so that the others find their partial files again.
    if (member.abandon && !job.whole && job.type == ZPDT_DOWNLOAD) {
        zpdt::SafeFolder folder;
        if (zpdt::SafeFolder::open(job.localFolder.toStdString(), folder).ok())
            (void)folder.removeFile(zpdt::cacheNameOf(member.name.toStdString()));
    }
    // The stream's own end takes only what it had in hand, and there may have been none.
    if (member.abandon && job.whole && job.type == ZPDT_UPLOAD)
        discards.add(job.subCenterId, job.remoteFolder, member.name);
    member.over = true;
    m_places.remove(member.id);
    emit q->stopped(member.id);
}

void StreamRunnerPrivate::stopLeaving(Job &job)
{
    if (job.phase == Job::Closing || job.phase == Job::Moving)
        return;
    if (job.phase != Job::Open) {
        for (JobMember &member : job.members) {
            if (member.leaving && !member.over)
                stopMember(job, member);
        }
        if (job.left() == 0)
            dissolve(job);
        return;
    }
    bool leaving = false;
    bool abandon = job.whole;
    for (const JobMember &member : job.members) {
        if (member.over)
            continue;
        leaving = leaving || member.leaving;
        abandon = abandon && member.abandon;
    }
    if (!leaving)
        return;
    job.phase = Job::Closing;
    if (abandon)
        job.stream->cancel();
    else
        job.stream->pause();
}

void StreamRunnerPrivate::setStatus(const Job &job, ZpdtTaskStatus status)
{
    for (const JobMember &member : job.members) {
        if (!member.over && !member.leaving)
            emit q->statusChanged(member.id, status);
    }
}

/// The first task of a group that is not over is the one that shows as running.
void StreamRunnerPrivate::tellProgress(Job &job)
{
    job.changed = false;
    const auto first =
        std::find_if(job.members.begin(), job.members.end(), [](const JobMember &member) { return !member.over; });
    if (first == job.members.end())
        return;
    ZpdtProgress progress = job.figures(m_clock.elapsed());
    job.lastSpeed = progress.speed;
    if (!job.whole) {
        progress.offset = std::max<qint64>(0, progress.offset - job.bytesOver);
        if (first->size > 0)
            progress.offset = std::min(progress.offset, first->size);
        progress.total = first->size;
        progress.filesTotal = 1;
        progress.filesDone = 0;
        progress.filesFailed = 0;
        progress.scanning = false;
        progress.secondsLeft = -1;
    }
    emit q->progressChanged(first->id, progress);
}

qint64 StreamRunnerPrivate::available(const Job &job) const
{
    const auto known = capacity.constFind(job.subCenterId);
    qint64 bytes = std::min(job.config->capacityLimit,
                            known == capacity.constEnd() ? std::numeric_limits<qint64>::max() : known.value());
    for (const auto &[number, other] : m_jobs) {
        const bool begun = other.round > 0;
        if (number != job.number && begun && other.type == ZPDT_UPLOAD && other.subCenterId == job.subCenterId)
            bytes -= std::min(bytes, other.need);
    }
    return bytes;
}

/// Ends what does not fit. Returns false when nothing is left of the job.
bool StreamRunnerPrivate::checkCapacity(Job &job)
{
    if (job.type != ZPDT_UPLOAD)
        return true;
    const qint64 free = available(job);
    if (job.need <= free)
        return true;
    const QString text = QStringLiteral("not enough storage");
    if (job.phase == Job::Open) {
        job.error = ZpdtError::NoSpace;
        job.errorText = text;
        job.phase = Job::Closing;
        job.stream->pause();
        return true;
    }
    qint64 taken = 0;
    for (JobMember &member : job.members) {
        const qint64 need = job.whole ? job.need : member.size;
        if (!member.over && need > 0 && need > free - taken) {
            failMember(job, member, ZpdtError::NoSpace, text);
            job.need -= need;
        } else {
            taken += need;
        }
    }
    if (job.left() > 0)
        return true;
    dissolve(job);
    return false;
}

void StreamRunnerPrivate::onTick()
{
    std::map<QString, std::array<qint64, 2>> work;
    std::vector<quint64> stuck;
    for (auto &entry : m_jobs) {
        Job &job = entry.second;
        if (job.phase == Job::Lining && m_clock.elapsed() - job.since > kLongestWait)
            stuck.push_back(job.number);
        if (job.phase == Job::Open)
            work[job.line][job.type == ZPDT_UPLOAD ? 0 : 1] +=
                static_cast<qint64>(job.totals.bytes) - static_cast<qint64>(job.progress.bytes);
        // A line that stands still is told until its speed has fallen to nothing.
        if (job.phase == Job::Open && (job.changed || job.lastSpeed > 0.0))
            tellProgress(job);
    }
    for (const auto &[key, left] : work) {
        if (TransferLine *line = links.find(key))
            line->setWork(left[0], left[1]);
    }
    for (const quint64 number : stuck)
        retry(m_jobs.at(number), ZpdtError::Network, QStringLiteral("no connection"));
    tellFolders();
    m_watch.setAwake(!m_jobs.empty());
    if (m_jobs.empty())
        m_tick.stop();
}

void StreamRunnerPrivate::tellFolders()
{
    if (!m_folders.isEmpty())
        emit q->foldersCreated(std::exchange(m_folders, {}));
}
