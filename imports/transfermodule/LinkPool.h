#pragma once

#include "PathMemory.h"
#include "TransferLine.h"

#include <QMap>
#include <QTimer>

#include <map>
#include <memory>

/// The engine's transfer connections: a line for each server and certificate, made when it is asked for, its
/// connections closed when nobody used it for half a minute. Lives on the engine's worker thread; signals come from
/// the event loop.
class LinkPool : public QObject
{
    Q_OBJECT

public:
    explicit LinkPool(QObject *parent = nullptr);
    ~LinkPool() override;

    /// The line of that address, which stays until each enter() has had its leave().
    TransferLine &enter(const LinkAddress &address);
    void leave(const QString &key);
    TransferLine *find(const QString &key) const;
    /// Speed limits of all connections to a sub-center together, those to come too; an empty id stands for every
    /// sub-center that is not named otherwise.
    void setGoals(const QString &subCenterId, const zpdt::RateGoal &upload, const zpdt::RateGoal &download);
    void addressesChanged(const QStringList &addresses);

signals:
    void carrierChanged(const QString &key);
    void lineFailed(const QString &key, ZpdtError error, const QString &text);
    void keyWanted(const QString &key);
    void connectionsChanged(const QList<ZpdtConnectionInfo> &connections);

private:
    struct Goals
    {
        zpdt::RateGoal upload, download;
    };
    struct Held
    {
        std::unique_ptr<TransferLine> line;
        quint64 age = 0;
        int idleTicks = 0;
    };

    void applyGoals(const QString &subCenterId);
    void onTick();
    void announce();

    std::unique_ptr<zpdt::Context> m_context; ///< made with the first line
    PathMemory m_memory;
    std::map<QString, Held> m_lines;
    QMap<QString, Goals> m_goals; ///< by sub-center; the empty one stands for those that are not named
    QTimer m_tick;
    quint64 m_lastAge = 0;
};
