#include "TransferLine.h"

#include "StreamJob.h"

#include <algorithm>

namespace {

/// A key is good for a minute, of which connecting takes some.
constexpr qint64 kKeyLife = 50000;
/// A carrier that is not in use any more stays for so long, in case of a quick return.
constexpr qint64 kUnused = 10000;
/// Something comes every two seconds at least.
constexpr qint64 kWorking = 2500;

double megabits(double bytesPerSecond)
{
    return bytesPerSecond * 8.0 / (1024.0 * 1024.0);
}

} // namespace

QString LinkAddress::key() const
{
    return place() + QLatin1Char('\n') + fingerprint + QLatin1Char('\n') + QString::number(udpAllowed);
}

QString LinkAddress::place() const
{
    return subCenterId + QLatin1Char('\n') + host + QLatin1Char('\n') + QString::number(port);
}

TransferLine::TransferLine(zpdt::Context &context, const LinkAddress &address,
                           const std::optional<PathVerdict> &earlier, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_address(address)
    , m_mailbox(std::make_shared<Mailbox>(this))
{
    m_clock.start();
    m_chooser.remember(earlier);
    m_info.subCenterId = address.subCenterId;
    m_info.host = address.host;
    m_info.port = QString::number(address.port);
    m_info.carrier = QStringLiteral("TCP");
    refresh(address);
}

TransferLine::~TransferLine()
{
    m_mailbox->close();
    for (Way &way : m_ways) {
        if (way.connection)
            way.connection->close();
    }
}

void TransferLine::refresh(const LinkAddress &address)
{
    m_chooser.setUdp(address.udpAllowed, address.udpPort != 0 && !address.udpKey.isEmpty());
    if (address.udpKey.isEmpty() || (address.udpKey == m_address.udpKey && m_keyAt >= 0))
        return;
    m_address.udpPort = address.udpPort;
    m_address.udpKey = address.udpKey;
    m_keyAt = m_clock.elapsed();
    m_keyAsked = false;
    follow();
}

void TransferLine::enter()
{
    ++m_users;
    if (!m_chooser.active()) {
        m_chooser.begin(m_clock.elapsed());
        for (const Carrier carrier : {Carrier::Tcp, Carrier::Udp}) {
            if (way(carrier).ready)
                m_chooser.ready(carrier, m_clock.elapsed(), way(carrier).metrics.roundTripMs);
        }
    }
    follow();
}

void TransferLine::leave()
{
    m_users = std::max(0, m_users - 1);
}

bool TransferLine::keyUsable() const
{
    return m_keyAt >= 0 && m_clock.elapsed() - m_keyAt < kKeyLife;
}

zpdt::Connection *TransferLine::current(quint64 &serial)
{
    const auto carrier = m_chooser.current();
    if (!carrier)
        return nullptr;
    Way &now = way(*carrier);
    serial = now.serial;
    return now.connection.get();
}

zpdt::Connection &TransferLine::any()
{
    quint64 serial = 0;
    if (zpdt::Connection *chosen = current(serial))
        return *chosen;
    connectTo(Carrier::Tcp);
    return *way(Carrier::Tcp).connection;
}

void TransferLine::count(quint64 serial, int change)
{
    for (Way &way : m_ways) {
        if (way.serial == serial)
            way.streams = std::max(0, way.streams + change);
    }
}

bool TransferLine::works(quint64 serial) const
{
    return std::any_of(m_ways.begin(), m_ways.end(), [&](const Way &way) {
        return way.serial == serial && way.connection && m_clock.elapsed() - way.heardAt < kWorking;
    });
}

void TransferLine::connectTo(Carrier carrier)
{
    Way &made = way(carrier);
    if (made.connection)
        return;
    made = Way();
    made.serial = ++m_lastSerial;
    made.unusedSince = m_clock.elapsed();
    zpdt::Endpoint endpoint;
    endpoint.host = m_address.host.toStdString();
    endpoint.port = m_address.port;
    endpoint.fingerprint = m_address.fingerprint.toStdString();
    endpoint.clientVersion = m_address.clientVersion.toStdString();
    if (carrier == Carrier::Udp) {
        endpoint.carrier = zpdt::CarrierKind::Udp;
        endpoint.port = m_address.udpPort;
        endpoint.udpKey = m_address.udpKey.toStdString();
        m_keyAt = -1;
    }
    made.connection = std::make_unique<zpdt::Connection>(
        m_context, endpoint,
        [this, box = m_mailbox, carrier, serial = made.serial](zpdt::ConnectionState state, zpdt::Error error,
                                                               const std::string &text) {
            QString reason = QString::fromStdString(text);
            if (reason.isEmpty() && error != zpdt::Error::None)
                reason = QString::fromLatin1(zpdt::errorName(error));
            box->post([this, carrier, serial, state, error, reason] {
                onState(carrier, serial, state, fromWire(error), reason);
            });
        });
    applyGoals(made);
}

void TransferLine::drop(Carrier carrier)
{
    Way &old = way(carrier);
    if (!old.connection)
        return;
    old.connection->close();
    old = Way();
    m_chooser.closed(carrier);
    old.serial = ++m_lastSerial; // what the old connection still says is about nothing
}

/// Does what the chooser wants, and tells of what it chose.
void TransferLine::follow()
{
    for (const Carrier carrier : {Carrier::Tcp, Carrier::Udp}) {
        if (!m_chooser.active() || !m_chooser.wanted(carrier) || way(carrier).connection)
            continue;
        if (carrier == Carrier::Tcp || keyUsable()) {
            connectTo(carrier);
        } else if (!m_keyAsked) {
            m_keyAsked = true;
            QMetaObject::invokeMethod(this, &TransferLine::keyWanted, Qt::QueuedConnection);
        }
    }
    quint64 serial = 0;
    if (!current(serial))
        serial = 0;
    if (serial != m_shown) {
        m_shown = serial;
        if (serial != 0)
            QMetaObject::invokeMethod(this, &TransferLine::carrierChanged, Qt::QueuedConnection);
    }
    updateInfo();
}

void TransferLine::onState(Carrier carrier, quint64 serial, zpdt::ConnectionState state, ZpdtError error,
                           const QString &text)
{
    Way &told = way(carrier);
    if (told.serial != serial || !told.connection || state == zpdt::ConnectionState::Connecting)
        return;
    if (state == zpdt::ConnectionState::Connected) {
        ++m_info.connectTimes;
        told.linked = true;
        told.heardAt = m_clock.elapsed();
        // The round trip decides, so the figures come first.
        askMetrics(carrier);
        return;
    }
    // Its streams end by themselves.
    told = Way();
    m_error = error == ZpdtError::Refused ? error : ZpdtError::Network;
    m_chooser.gone(carrier, m_clock.elapsed());
    const auto hopeful = [this](Carrier one) {
        return way(one).connection || (m_chooser.wanted(one) && (one == Carrier::Tcp || keyUsable()));
    };
    if (m_chooser.active() && !m_chooser.current() && !hopeful(Carrier::Tcp) && !hopeful(Carrier::Udp)) {
        m_chooser.end();
        m_info.reason = text;
        QMetaObject::invokeMethod(
            this, [this, text] { emit failed(m_error, text); }, Qt::QueuedConnection);
    }
    follow();
}

void TransferLine::askMetrics(Carrier carrier)
{
    Way &asked = way(carrier);
    asked.connection->metrics([this, box = m_mailbox, carrier, serial = asked.serial](const zpdt::Metrics &metrics) {
        box->post([this, carrier, serial, metrics] { onMetrics(carrier, serial, metrics); });
    });
}

void TransferLine::onMetrics(Carrier carrier, quint64 serial, const zpdt::Metrics &metrics)
{
    Way &told = way(carrier);
    if (told.serial != serial || !told.connection)
        return;
    const qint64 now = m_clock.elapsed();
    told.metrics = metrics;
    told.fresh = true;
    if (metrics.bytesIn != told.heardBytes) {
        told.heardBytes = metrics.bytesIn;
        told.heardAt = now;
    }
    if (!told.ready) {
        told.ready = true;
        told.unusedSince = told.heardAt = now;
        m_chooser.ready(carrier, now, metrics.roundTripMs);
        follow();
    }
}

void TransferLine::sample(const Way &used)
{
    PathChooser::Second second;
    const zpdt::Metrics &metrics = used.metrics;
    const double kept = 1.0 - std::clamp(metrics.retransmitPercent, 0.0, 90.0) / 100.0;
    double share = 1.0;
    double work = 0.0;
    const auto add = [&](qint64 left, double rate, quint64 target) {
        if (left <= 0)
            return;
        second.bytesPerSecond += rate;
        work += static_cast<double>(left);
        share = std::min(share, target > 0 ? rate / static_cast<double>(target) : 0.0);
    };
    add(m_uploadWork, metrics.outBytesPerSecond * kept, m_upload.bytesPerSecond);
    add(m_downloadWork, metrics.inBytesPerSecond, m_download.bytesPerSecond);
    second.targetShare = share;
    second.lossPercent = std::max({0.0, metrics.lossPercent, metrics.retransmitPercent});
    second.roundTripMs = metrics.roundTripMs;
    second.secondsLeft = work / std::max(1.0, second.bytesPerSecond);
    // The last second of a transfer shows its end, not the line.
    if (second.secondsLeft < 1.0)
        second.secondsLeft = 0.0;
    m_chooser.second(second, m_clock.elapsed());
}

void TransferLine::tick()
{
    const qint64 now = m_clock.elapsed();
    ++m_ticks;
    qint64 silent = 0;
    if (const auto carrier = m_chooser.current()) {
        const Way &used = way(*carrier);
        if (used.streams > 0)
            silent = now - used.heardAt;
        if (used.fresh && m_ticks % 2 == 0 && used.streams > 0)
            sample(used);
    }
    if (m_users > 0)
        m_chooser.tick(now, silent);
    for (const Carrier carrier : {Carrier::Tcp, Carrier::Udp}) {
        Way &one = way(carrier);
        if (!one.connection)
            continue;
        one.fresh = false;
        if (one.linked)
            askMetrics(carrier);
        if (one.streams > 0 || m_chooser.wanted(carrier))
            one.unusedSince = now;
        else if (now - one.unusedSince > kUnused)
            drop(carrier);
    }
    follow();
}

void TransferLine::addressesChanged(const QStringList &addresses)
{
    for (Way &one : m_ways) {
        const QString local = QString::fromStdString(one.metrics.localAddress);
        if (one.connection && one.ready && !local.isEmpty() && !addresses.contains(local))
            one.connection->close();
    }
}

void TransferLine::close(const QString &reason)
{
    drop(Carrier::Tcp);
    drop(Carrier::Udp);
    m_chooser.end();
    follow();
    m_info.reason = reason;
}

bool TransferLine::connected() const
{
    return std::any_of(m_ways.begin(), m_ways.end(), [](const Way &way) { return way.connection != nullptr; });
}

void TransferLine::setGoals(const zpdt::RateGoal &upload, const zpdt::RateGoal &download)
{
    if (m_upload == upload && m_download == download)
        return;
    m_upload = upload;
    m_download = download;
    m_chooser.targetChanged(m_clock.elapsed());
    for (Way &one : m_ways)
        applyGoals(one);
}

void TransferLine::applyGoals(Way &one)
{
    if (!one.connection)
        return;
    one.connection->setGoal(zpdt::Direction::Upload, m_upload);
    one.connection->setGoal(zpdt::Direction::Download, m_download);
}

void TransferLine::setWork(qint64 upload, qint64 download)
{
    m_uploadWork = upload;
    m_downloadWork = download;
}

void TransferLine::updateInfo()
{
    const auto carrier = m_chooser.current();
    if (!carrier) {
        m_info.state = connected() ? ZpdtConnectionInfo::Connecting : ZpdtConnectionInfo::NotConnected;
        m_info.sendRateMbps = m_info.receiveRateMbps = 0.0;
        return;
    }
    const zpdt::Metrics &metrics = way(*carrier).metrics;
    m_info.state = ZpdtConnectionInfo::Connected;
    m_info.carrier = QString::fromStdString(metrics.carrier);
    m_info.roundTripMs = metrics.roundTripMs;
    m_info.sendRateMbps = megabits(metrics.outBytesPerSecond);
    m_info.receiveRateMbps = megabits(metrics.inBytesPerSecond);
    if (metrics.retransmitPercent >= 0.0)
        m_info.retransmitPercent = metrics.retransmitPercent;
    m_info.lossPercent = metrics.lossPercent >= 0.0 ? metrics.lossPercent : m_info.retransmitPercent;
    m_info.reason = m_chooser.reason();
    if (!metrics.congestion.empty())
        m_info.reason += QStringLiteral(" [%1]").arg(QString::fromStdString(metrics.congestion));
}
