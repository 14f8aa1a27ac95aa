#pragma once

#include "LinkPool.h"
#include "SpeedMeter.h"
#include "TaskTable.h"
#include "TicketClient.h"

#include <optional>
#include <vector>

/// One task that travels on a stream.
struct JobMember
{
    TaskId id = 0;
    QString name;         ///< of the file or folder in the source folder
    qint64 size = 0;      ///< 0 when not known
    bool over = false;    ///< its end was told
    bool leaving = false; ///< to be stopped
    bool abandon = false;
};

/// What one stream is to do, over as many tries as it takes: one task, or a group of small files between the same
/// folders. A plain record of the runner.
struct StreamJob
{
    enum Phase
    {
        Asking,  ///< for a ticket
        Lining,  ///< with the ticket, for a connection
        Waiting, ///< for the next try
        Open,    ///< the stream is there
        Closing, ///< the stream was told to end
        Moving   ///< the stream was told to end, to go on over another connection
    };

    quint64 number = 0;
    ZPDTCMDTYPE type = ZPDT_DOWNLOAD;
    TaskTable::Config config;
    QString subCenterId;
    QString localFolder;
    QString remoteFolder;
    bool whole = true; ///< one task, whose progress is that of the stream
    bool resumed = false;
    std::vector<JobMember> members;

    Phase phase = Asking;
    quint64 round = 0; ///< number of the try; what belongs to an earlier one is ignored
    quint64 ticket = 0;
    std::shared_ptr<zpdt::Stream> stream;
    TicketAnswer answer; ///< of the stream to come
    qint64 answeredAt = 0;
    qint64 since = 0;               ///< in Lining
    QString line;                   ///< entered, empty when not
    quint64 connection = 0;         ///< number of the line's connection that the stream uses
    int priority = 0;               ///< higher ones go first
    std::vector<std::size_t> roots; ///< members of the present stream in the order of its names
    int failures = 0;               ///< tries without progress
    int refusals = 0;

    qint64 need = 0; ///< bytes of an upload that are still to be stored
    zpdt::Totals totals;
    zpdt::StreamProgress progress;
    qint64 bytesOver = 0; ///< of the present stream, in members that are over
    SpeedMeter meter;
    bool changed = false;
    double lastSpeed = 0.0;
    ZpdtError error = ZpdtError::None; ///< first failure of an item, or why it waits
    QString errorText;
    qint64 skipped = 0; ///< links and special files in the folder
    QString skippedNames;

    /// The stream's own figures, at @p now milliseconds of the clock of the meter.
    ZpdtProgress figures(qint64 now) const;

    std::size_t left() const
    {
        std::size_t count = 0;
        for (const JobMember &member : members)
            count += !member.over;
        return count;
    }
};

/// Where a stream with that ticket goes: the configured server, or else the one that the ticket names.
LinkAddress addressOf(const QString &subCenterId, const ZpdtTransConfig &config, const TicketAnswer &answer);

ZpdtError fromWire(zpdt::Error error);

/// Suffixes of files that folders leave out, as the wire library takes them.
std::vector<std::string> excludedSuffixes(bool verified);
