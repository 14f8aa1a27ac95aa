#include "StreamRunnerPrivate.h"

#include "TransferRules.h"

// How a job comes to a connection: its ticket, its line, and the way from one carrier to the other.

using namespace TransferRules;

namespace {

/// A ticket lives for a minute, of which opening a stream may take some.
constexpr qint64 kTicketLife = 45000;
constexpr quint64 kManyDone = 20000;
/// A certificate that is not the expected one may be that of a service that was started anew in between.
constexpr int kRefusals = 3;

} // namespace

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
    askTicket(job);
}

void StreamRunnerPrivate::askTicket(Job &job)
{
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

void StreamRunnerPrivate::dropTicket(Job &job)
{
    if (job.ticket == 0)
        return;
    m_tickets.drop(job.ticket);
    m_jobOfTicket.remove(job.ticket);
    job.ticket = 0;
}

void StreamRunnerPrivate::onTicket(quint64 ticket, const TicketAnswer &answer)
{
    Job *job = find(m_jobOfTicket.take(ticket));
    if (!job || job->ticket != ticket)
        return;
    job->ticket = 0;
    if (job->phase == Job::Open) {
        // For a stream that may move. Without one it stays where it is.
        TransferLine *line = links.find(job->line);
        if (answer.error != ZpdtError::None || !line)
            return;
        job->answer = answer;
        job->answeredAt = m_clock.elapsed();
        line->refresh(addressOf(job->subCenterId, *job->config, answer));
        moveIfWanted(*job);
        return;
    }
    if (job->phase != Job::Asking)
        return;
    if (answer.error == ZpdtError::None)
        enterLine(*job, answer);
    else if (answer.error == ZpdtError::Network || (answer.loginOver && ++job->refusals < kRefusals))
        // A login that is over ends the program's session soon, and the task goes on in the next one.
        retry(*job, answer.error, answer.errorText);
    else
        failAll(*job, answer.error, answer.errorText);
}

void StreamRunnerPrivate::enterLine(Job &job, const TicketAnswer &answer)
{
    const LinkAddress address = addressOf(job.subCenterId, *job.config, answer);
    if (address.host.isEmpty() || address.port == 0) {
        retry(job, ZpdtError::Network, QStringLiteral("no transfer server is known"));
        return;
    }
    release(job);
    job.answer = answer;
    job.answeredAt = job.since = m_clock.elapsed();
    job.line = address.key();
    job.phase = Job::Lining;
    links.enter(address);
    setStatus(job, ZPDT_CONNECTING);
    m_tick.start();
    tryOpen(job);
}

/// Begins the stream when its line has a connection; otherwise the line's word is waited for.
void StreamRunnerPrivate::tryOpen(Job &job)
{
    TransferLine *line = links.find(job.line);
    quint64 serial = 0;
    zpdt::Connection *connection = line ? line->current(serial) : nullptr;
    if (!connection)
        return;
    ++job.round;
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
    job.connection = serial;
    line->attach(serial);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < job.members.size(); ++i) {
        if (job.members[i].over || job.members[i].leaving)
            continue;
        job.roots.push_back(i);
        names.push_back(job.members[i].name.toStdString());
    }
    const auto fill = [&](auto &request) {
        request.ticket = job.answer.ticket.toStdString();
        request.localFolder = job.localFolder.toStdString();
        request.names = std::move(names);
        request.excludedSuffixes = excludedSuffixes(m_verified);
        request.resumed = job.resumed;
        request.verify = job.config->beVerify != 0;
        request.priority = job.priority;
    };
    if (job.type == ZPDT_UPLOAD) {
        zpdt::UploadRequest request;
        fill(request);
        job.stream = connection->openUpload(std::move(request), callbacks(job));
    } else {
        zpdt::DownloadRequest request;
        fill(request);
        job.stream = connection->openDownload(std::move(request), callbacks(job));
    }
    job.answer = {};
    // Whatever becomes of this try, the next one finds something of it at the destination.
    job.resumed = true;
    setStatus(job, ZPDT_CONNECTING);
}

void StreamRunnerPrivate::onCarrier(const QString &key)
{
    std::vector<quint64> waiting;
    for (auto &[number, job] : m_jobs) {
        if (job.line == key)
            waiting.push_back(number);
    }
    for (const quint64 number : waiting) {
        Job &job = m_jobs.at(number);
        if (job.phase == Job::Lining)
            tryOpen(job);
        else if (job.phase == Job::Open)
            moveIfWanted(job);
    }
}

void StreamRunnerPrivate::onLineFailed(const QString &key, ZpdtError error, const QString &text)
{
    std::vector<quint64> waiting;
    for (auto &[number, job] : m_jobs) {
        if (job.line == key && job.phase == Job::Lining)
            waiting.push_back(number);
    }
    for (const quint64 number : waiting) {
        Job &job = m_jobs.at(number);
        if (error != ZpdtError::Network && ++job.refusals >= kRefusals)
            failAll(job, error, text);
        else
            retry(job, error, text);
    }
}

void StreamRunnerPrivate::onKeyWanted(const QString &key)
{
    for (auto &[number, job] : m_jobs) {
        if (job.line == key && job.phase == Job::Open && job.ticket == 0) {
            askTicket(job);
            return;
        }
    }
}

/// Puts a stream on the connection that its line has chosen since. The next ticket is fetched first, so that the pause
/// between the two streams is short.
void StreamRunnerPrivate::moveIfWanted(Job &job)
{
    TransferLine *line = links.find(job.line);
    quint64 serial = 0;
    if (!line || !line->current(serial) || serial == job.connection || job.ticket != 0)
        return;
    // Each file that is there already costs a question: for very many of them the old connection is the better one,
    // as long as it works.
    if (job.progress.filesDone > kManyDone && line->works(job.connection))
        return;
    if (job.answer.ticket.isEmpty() || m_clock.elapsed() - job.answeredAt > kTicketLife) {
        askTicket(job);
        return;
    }
    job.phase = Job::Moving;
    job.stream->pause();
}

void StreamRunnerPrivate::detach(Job &job)
{
    TransferLine *line = links.find(job.line);
    if (line && job.connection != 0)
        line->detach(job.connection);
    job.connection = 0;
    job.stream.reset();
}

void StreamRunnerPrivate::release(Job &job)
{
    detach(job);
    if (!job.line.isEmpty())
        links.leave(job.line);
    job.line.clear();
}
