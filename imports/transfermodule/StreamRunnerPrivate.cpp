#include "StreamRunnerPrivate.h"

#include "TransferRules.h"

#include "TargetTree.h"

#include <algorithm>

using namespace TransferRules;

namespace {

constexpr int kTick = 250;
/// A fresh ticket is refused when the service was started anew in between; more often means that it is meant so.
constexpr int kRefusals = 3;
/// Links and special files that a task names; of more it gives the number alone.
constexpr qint64 kNamedSkips = 5;

} // namespace

StreamRunnerPrivate::StreamRunnerPrivate(bool realNameVerified, StreamRunner *owner)
    : QObject(owner)
    , mailbox(std::make_shared<Mailbox>(this))
    , links(this)
    , discards(links, mailbox, this)
    , q(owner)
    , m_verified(realNameVerified)
    , m_tickets(this)
    , m_tick(this)
{
    m_clock.start();
    m_tick.setInterval(kTick);
    connect(&m_tick, &QTimer::timeout, this, &StreamRunnerPrivate::onTick);
    connect(&m_tickets, &TicketClient::answered, this, &StreamRunnerPrivate::onTicket);
    connect(&links, &LinkPool::connectionsChanged, q, &StreamRunner::connectionsChanged);
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
                                TaskTable::Shape shape, bool resumed)
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
    JobMember member;
    member.id = id;
    member.name = lastName(task.Path);
    member.size = task.FileSize;
    if (upload)
        job.need += std::max<qint64>(0, task.FileSize - (resumed ? task.Offset : 0));
    m_places.insert(id, {number, job.members.size()});
    job.members.push_back(std::move(member));
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
    links.setRates(config.subCenterId, targetRate(config, ZPDT_UPLOAD), targetRate(config, ZPDT_DOWNLOAD));
}

void StreamRunnerPrivate::ask(Job &job)
{
    ++job.round;
    job.phase = Job::Asking;
    for (JobMember &member : job.members) {
        if (!member.over &&
            (member.name.isEmpty() || member.name == QLatin1String(".") || member.name == QLatin1String("..")))
            failMember(job, member, ZpdtError::BadName, QStringLiteral("a name that cannot be transferred"));
    }
    if (job.left() == 0) {
        dissolve(job);
        return;
    }
    TicketRequest request;
    request.service = job.config->clientTag;
    request.user = job.config->userId;
    request.accessId = job.config->asperaUser;
    request.accessToken = job.config->asperaPassword;
    request.subCenterId = job.subCenterId;
    request.direction = job.type;
    request.path = job.remoteFolder;
    job.ticket = m_tickets.ask(request);
    m_jobOfTicket.insert(job.ticket, job.number);
}

void StreamRunnerPrivate::onTicket(quint64 ticket, const TicketAnswer &answer)
{
    Job *job = find(m_jobOfTicket.take(ticket));
    if (!job || job->phase != Job::Asking || job->ticket != ticket)
        return;
    job->ticket = 0;
    if (answer.error == ZpdtError::None)
        open(*job, answer);
    else if (answer.error == ZpdtError::Network)
        retry(*job, answer.error, answer.errorText);
    else
        failAll(*job, answer.error, answer.errorText);
}

void StreamRunnerPrivate::open(Job &job, const TicketAnswer &answer)
{
    const auto own = configuredServer(*job.config);
    LinkAddress address;
    address.subCenterId = job.subCenterId;
    address.host = own.first.isEmpty() ? answer.host : own.first;
    address.port = own.first.isEmpty() ? answer.port : own.second;
    address.fingerprint = answer.fingerprint;
    address.clientVersion = job.config->clientVersion;
    if (address.host.isEmpty() || address.port == 0) {
        retry(job, ZpdtError::Network, QStringLiteral("no transfer server is known"));
        return;
    }
    job.phase = Job::Open;
    job.totals = {};
    job.progress = {};
    job.bytesOver = 0;
    job.skipped = 0;
    job.skippedNames.clear();
    job.meter.reset();
    job.error = ZpdtError::None;
    job.errorText.clear();
    job.roots.clear();
    std::vector<std::string> names;
    for (std::size_t i = 0; i < job.members.size(); ++i) {
        if (job.members[i].over || job.members[i].leaving)
            continue;
        job.roots.push_back(i);
        names.push_back(job.members[i].name.toStdString());
    }
    job.link = address;
    zpdt::Connection &connection = links.acquire(address);
    const bool upload = job.type == ZPDT_UPLOAD;
    if (upload) {
        zpdt::UploadRequest request;
        request.ticket = answer.ticket.toStdString();
        request.localFolder = job.localFolder.toStdString();
        request.names = std::move(names);
        request.excludedSuffixes = excludedSuffixes(m_verified);
        request.resumed = job.resumed;
        request.verify = job.config->beVerify != 0;
        job.stream = connection.openUpload(std::move(request), callbacks(job));
    } else {
        zpdt::DownloadRequest request;
        request.ticket = answer.ticket.toStdString();
        request.localFolder = job.localFolder.toStdString();
        request.names = std::move(names);
        request.excludedSuffixes = excludedSuffixes(m_verified);
        request.resumed = job.resumed;
        request.verify = job.config->beVerify != 0;
        job.stream = connection.openDownload(std::move(request), callbacks(job));
    }
    // Whatever becomes of this try, the next one finds something of it at the destination.
    job.resumed = true;
    setStatus(job, ZPDT_CONNECTING);
    m_tick.start();
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

void StreamRunnerPrivate::release(Job &job)
{
    if (job.link)
        links.release(*job.link);
    job.link.reset();
    job.stream.reset();
}

void StreamRunnerPrivate::dissolve(Job &job)
{
    release(job);
    if (job.ticket != 0) {
        m_tickets.drop(job.ticket);
        m_jobOfTicket.remove(job.ticket);
    }
    m_jobs.erase(job.number);
}

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
        wakeOthers(job);
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

void StreamRunnerPrivate::onItemDone(Job &job, const zpdt::ItemInfo &item)
{
    if (item.root >= job.roots.size())
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
    if (item.root < job.roots.size()) {
        JobMember &member = job.members[job.roots[item.root]];
        if (!member.over)
            failMember(job, member, error, detail);
    }
}

void StreamRunnerPrivate::onEnd(Job &job, const zpdt::StreamResult &result)
{
    const bool asked = job.phase == Job::Closing;
    release(job);
    tellFolders();
    ZpdtError error = fromWire(result.error);
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
    if (asked && error == ZpdtError::Cancelled) {
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

void StreamRunnerPrivate::retry(Job &job, ZpdtError error, const QString &text)
{
    release(job);
    ++job.round;
    job.phase = Job::Waiting;
    job.error = error;
    job.errorText = text;
    job.lastSpeed = 0.0;
    job.meter.reset();
    setStatus(job, ZPDT_CONNECTING);
    tellProgress(job);
    QTimer::singleShot(retryPause(job.failures++), this, [this, number = job.number, round = job.round] {
        if (Job *now = current(number, round))
            ask(*now);
    });
}

/// A job that gets on shows that the line is there again.
void StreamRunnerPrivate::wakeOthers(const Job &job)
{
    for (auto &[number, other] : m_jobs) {
        if (other.phase != Job::Waiting || other.subCenterId != job.subCenterId || other.error != ZpdtError::Network)
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
    if (error != ZpdtError::NoSpace) {
        endMember(job, member, false, -1);
        return;
    }
    // Room can be made: what arrived stays, and the task waits for it.
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
    if (job.phase == Job::Closing)
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
    bool active = false;
    for (auto &entry : m_jobs) {
        Job &job = entry.second;
        active = active || job.phase == Job::Open || job.phase == Job::Closing;
        // A line that stands still is told until its speed has fallen to nothing.
        if (job.phase == Job::Open && (job.changed || job.lastSpeed > 0.0))
            tellProgress(job);
    }
    tellFolders();
    if (!active)
        m_tick.stop();
}

void StreamRunnerPrivate::tellFolders()
{
    if (!m_folders.isEmpty())
        emit q->foldersCreated(std::exchange(m_folders, {}));
}
