#pragma once

#include "Mailbox.h"
#include "TransferModule.h"

#include "Connection.h"
#include "Context.h"

#include <QMap>
#include <QObject>
#include <QTimer>

#include <map>
#include <memory>

struct LinkAddress
{
    QString subCenterId;
    QString host;
    quint16 port = 0;
    QString fingerprint;
    QString clientVersion;

    QString key() const;
};

/// The engine's transfer connections: one for each server and certificate, made when it is asked for, closed when no
/// stream used it for half a minute. Lives on the engine's worker thread; signals come from the event loop.
class LinkPool : public QObject
{
    Q_OBJECT

public:
    explicit LinkPool(QObject *parent = nullptr);
    ~LinkPool() override;

    /// The connection of that address. It stays open until each acquire() has had its release().
    zpdt::Connection &acquire(const LinkAddress &address);
    void release(const LinkAddress &address);
    /// Speed limits of all connections to a sub-center, those to come too; an empty id stands for every sub-center.
    /// Bytes a second.
    void setRates(const QString &subCenterId, quint64 upload, quint64 download);

signals:
    void connectionsChanged(const QList<ZpdtConnectionInfo> &connections);

private:
    struct Rates
    {
        quint64 upload = 0;
        quint64 download = 0;
    };
    struct Link
    {
        LinkAddress address;
        std::unique_ptr<zpdt::Connection> connection;
        quint64 serial = 0;
        int users = 0;
        int idleTicks = 0;
        Rates rates;
        ZpdtConnectionInfo info;
    };

    static void applyRates(Link &link, const Rates &rates);
    void onState(const QString &key, quint64 serial, zpdt::ConnectionState state, const QString &text);
    void onMetrics(const QString &key, quint64 serial, const zpdt::Metrics &metrics);
    void onTick();
    void announce();

    std::unique_ptr<zpdt::Context> m_context; ///< made with the first connection
    std::shared_ptr<Mailbox> m_mailbox;
    std::map<QString, Link> m_links;
    QMap<QString, Rates> m_rates; ///< by sub-center; the empty one stands for those that are not named
    QTimer m_tick;
    quint64 m_lastSerial = 0;
};
