#pragma once

#include "PathChooser.h"

#include <QDateTime>
#include <QHash>
#include <QString>

/// Which carrier was the better one at which server: kept for hours, a blocked UDP for one, also across restarts of
/// the program, in a small file of the user's cache folder. A file that is missing or damaged is an empty one.
class PathMemory
{
public:
    /// @param file empty: the one of this program
    explicit PathMemory(const QString &file = QString());

    std::optional<PathVerdict> find(const QString &server,
                                    const QDateTime &now = QDateTime::currentDateTimeUtc()) const;
    void store(const QString &server, const PathVerdict &verdict,
               const QDateTime &now = QDateTime::currentDateTimeUtc());

private:
    struct Entry
    {
        PathVerdict verdict;
        QDateTime until;
    };
    void save() const;

    QString m_file;
    QHash<QString, Entry> m_entries;
};
