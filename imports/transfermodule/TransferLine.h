#pragma once

#include "Mailbox.h"
#include "PathChooser.h"
#include "TransferModule.h"

#include "Connection.h"
#include "Context.h"

#include <QElapsedTimer>
#include <QObject>

#include <array>
#include <memory>

struct LinkAddress
{
    QString subCenterId;
    QString host;
    quint16 port = 0;
    QString fingerprint;
    QString clientVersion;
    bool udpAllowed = true; ///< by the transfer type
    quint16 udpPort = 0;    ///< 0: the service offers no UDP
    QString udpKey;         ///< opens one UDP connection within a minute

    QString key() const;
    /// Without the certificate, which a server may change.
    QString place() const;
};

/// The connections to one server, one for each carrier that is in use or being tried, and the choice between them.
/// Lives on the engine's worker thread; signals come from the event loop.
class TransferLine : public QObject
{
    Q_OBJECT

public:
    TransferLine(zpdt::Context &context, const LinkAddress &address, const std::optional<PathVerdict> &earlier,
                 QObject *parent);
    ~TransferLine() override;

    const LinkAddress &address() const { return m_address; }
    /// Takes the newest UDP key.
    void refresh(const LinkAddress &address);
    /// Somebody wants the line; it is kept while there is somebody.
    void enter();
    void leave();
    bool idle() const { return m_users == 0; }

    /// The connection for new streams and its number; null while none is chosen.
    zpdt::Connection *current(quint64 &serial);
    /// Some connection, for what moves nothing: the chosen one, or else TCP, made when it is missing.
    zpdt::Connection &any();
    void attach(quint64 serial) { count(serial, 1); }
    void detach(quint64 serial) { count(serial, -1); }
    /// Something came over that connection lately.
    bool works(quint64 serial) const;

    void setGoals(const zpdt::RateGoal &upload, const zpdt::RateGoal &download);
    /// Bytes that the streams of each direction still have to move.
    void setWork(qint64 upload, qint64 download);
    /// Twice a second.
    void tick();
    /// The addresses of this machine changed: a connection from one that is gone ends at once.
    void addressesChanged(const QStringList &addresses);
    /// Closes everything; the line may be used again afterwards.
    void close(const QString &reason);
    bool connected() const;
    std::optional<PathVerdict> takeVerdict() { return m_chooser.takeVerdict(); }
    const ZpdtConnectionInfo &info() const { return m_info; }

signals:
    /// Another connection than before is the one for new streams.
    void carrierChanged();
    /// No carrier came about; whoever waits has to try again later.
    void failed(ZpdtError error, const QString &text);
    /// A UDP connection is to be made and the key is used or too old.
    void keyWanted();

private:
    struct Way
    {
        std::unique_ptr<zpdt::Connection> connection;
        quint64 serial = 0;
        int streams = 0;
        bool linked = false; ///< connected
        bool ready = false;  ///< and its first figures are known
        qint64 unusedSince = 0;
        qint64 heardAt = 0;
        quint64 heardBytes = 0;
        bool fresh = false; ///< metrics came since the last look
        zpdt::Metrics metrics;
    };

    Way &way(Carrier carrier) { return m_ways[static_cast<std::size_t>(carrier)]; }
    bool keyUsable() const;
    void count(quint64 serial, int change);
    void connectTo(Carrier carrier);
    void drop(Carrier carrier);
    void askMetrics(Carrier carrier);
    void onState(Carrier carrier, quint64 serial, zpdt::ConnectionState state, ZpdtError error, const QString &text);
    void onMetrics(Carrier carrier, quint64 serial, const zpdt::Metrics &metrics);
    void sample(const Way &way);
    void follow();
    void applyGoals(Way &way);
    void updateInfo();

    zpdt::Context &m_context;
    LinkAddress m_address;
    std::shared_ptr<Mailbox> m_mailbox;
    PathChooser m_chooser;
    std::array<Way, 2> m_ways;
    QElapsedTimer m_clock;
    qint64 m_keyAt = -1; ///< when the UDP key came; -1: used
    bool m_keyAsked = false;
    int m_users = 0;
    int m_ticks = 0;
    quint64 m_shown = 0; ///< connection that was announced last
    quint64 m_lastSerial = 0;
    zpdt::RateGoal m_upload, m_download;
    qint64 m_uploadWork = 0, m_downloadWork = 0;
    ZpdtError m_error = ZpdtError::Network;
    ZpdtConnectionInfo m_info;
};
