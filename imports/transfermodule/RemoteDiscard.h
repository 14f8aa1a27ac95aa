#pragma once

#include "LinkPool.h"
#include "Mailbox.h"
#include "TaskTable.h"
#include "TicketClient.h"

#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QSet>

#include <map>
#include <memory>

/// Has the service remove the partial files of uploads that were cancelled. While the line is down it tries again, for
/// a quarter of an hour; what is left then the service removes by itself when it is old. Lives on the engine's worker
/// thread and tells nobody of its results.
class RemoteDiscard : public QObject
{
    Q_OBJECT

public:
    /// @param mailbox of the owner, which closes it before this object goes
    RemoteDiscard(LinkPool &links, std::shared_ptr<Mailbox> mailbox, QObject *parent = nullptr);

    /// The newest configuration of its sub-center. What waited for one begins.
    void setConfig(const ZpdtTransConfig &config);
    /// @param name file or folder in @p folder of the service
    void add(const QString &subCenterId, const QString &folder, const QString &name);
    /// It is uploaded anew and wants its partial files.
    void forget(const QString &subCenterId, const QString &folder, const QString &name);

private:
    /// All that is to go from one folder.
    struct Batch
    {
        QString subCenterId;
        QString folder;
        QSet<QString> names;
        QSet<QString> sent; ///< names of the present try
        bool busy = false;  ///< asking, open, or waiting for the next try
        quint64 ticket = 0;
        QString line; ///< entered, empty when not
        std::shared_ptr<zpdt::Stream> stream;
        int failures = 0;
        QElapsedTimer since; ///< the first failure
    };

    static QString keyOf(const QString &subCenterId, const QString &folder);
    void beginLater(const QString &key);
    void begin(const QString &key);
    void onTicket(quint64 ticket, const TicketAnswer &answer);
    void onEnd(const QString &key, ZpdtError error);

    LinkPool &m_links;
    const std::shared_ptr<Mailbox> m_mailbox;
    TicketClient m_tickets;
    QHash<QString, TaskTable::Config> m_configs; ///< by sub-center
    std::map<QString, Batch> m_batches;
    QHash<quint64, QString> m_keyOfTicket;
};
