#pragma once

#include "NetworkWatch.h"
#include "RemoteDiscard.h"
#include "StreamJob.h"
#include "StreamRunner.h"
#include "TicketClient.h"

#include <QElapsedTimer>
#include <QHash>
#include <QSet>
#include <QTimer>

#include <map>
#include <memory>

/// The jobs of a StreamRunner. On the engine's worker thread; calls from the I/O thread come through the mailbox.
class StreamRunnerPrivate : public QObject
{
    Q_OBJECT

public:
    StreamRunnerPrivate(bool realNameVerified, StreamRunner *owner);

    void begin(TaskId id, const TaskRecord &task, const TaskTable::Config &config, TaskTable::Shape shape, bool resumed,
               int priority);
    void prefer(TaskId id, int priority);
    void settle();
    void end(TaskId id, bool abandon);
    void setParams(const ZpdtTransConfig &config);
    void wake(const std::function<bool(const StreamJob &)> &which);

    const std::shared_ptr<Mailbox> mailbox;
    LinkPool links;
    RemoteDiscard discards;
    QHash<QString, qint64> capacity; ///< free bytes by sub-center, as far as it was told

private:
    using Job = StreamJob;
    struct Place
    {
        quint64 job = 0;
        std::size_t member = 0;
    };

    Job *find(quint64 number);
    Job *current(quint64 number, quint64 round);
    void ask(Job &job);
    void onTicket(quint64 ticket, const TicketAnswer &answer);
    void askTicket(Job &job);
    void dropTicket(Job &job);
    void enterLine(Job &job, const TicketAnswer &answer);
    void tryOpen(Job &job);
    void moveIfWanted(Job &job);
    void onCarrier(const QString &key);
    void onLineFailed(const QString &key, ZpdtError error, const QString &text);
    void onKeyWanted(const QString &key);
    zpdt::StreamCallbacks callbacks(const Job &job);
    void detach(Job &job);
    void release(Job &job);
    void dissolve(Job &job);

    void onOpened(Job &job);
    void onTotals(Job &job, const zpdt::Totals &totals);
    void onProgress(Job &job, const zpdt::StreamProgress &progress);
    void onLargeItem(Job &job, const zpdt::ItemInfo &item);
    void onFolder(Job &job, const zpdt::ItemInfo &item);
    void onItemDone(Job &job, const zpdt::ItemInfo &item);
    void onItemSkipped(Job &job, const QString &path);
    void onItemFailed(Job &job, const zpdt::ItemInfo &item, ZpdtError error, const QString &text);
    void onEnd(Job &job, const zpdt::StreamResult &result);

    void retry(Job &job, ZpdtError error, const QString &text);
    void failAll(Job &job, ZpdtError error, const QString &text);
    void endMember(Job &job, JobMember &member, bool success, qint64 bytes);
    void failMember(Job &job, JobMember &member, ZpdtError error, const QString &text);
    void stopMember(Job &job, JobMember &member);
    void stopLeaving(Job &job);
    void setStatus(const Job &job, ZpdtTaskStatus status);
    void tellProgress(Job &job);
    qint64 available(const Job &job) const;
    bool checkCapacity(Job &job);
    void onTick();
    void tellFolders();

    StreamRunner *const q;
    const bool m_verified;
    TicketClient m_tickets;
    std::map<quint64, Job> m_jobs;
    QHash<TaskId, Place> m_places;
    QHash<quint64, quint64> m_jobOfTicket;
    QHash<QString, quint64> m_gathering; ///< groups of small files of the present round, by their folders
    QList<quint64> m_begun;
    QSet<quint64> m_toStop;
    QStringList m_folders;
    NetworkWatch m_watch;
    QTimer m_tick;
    QElapsedTimer m_clock;
    quint64 m_lastJob = 0;
};
