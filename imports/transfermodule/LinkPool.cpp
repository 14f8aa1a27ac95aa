#include "LinkPool.h"

#include <vector>

namespace {

constexpr int kTick = 1000;
constexpr int kIdleTicks = 30;

double megabits(double bytesPerSecond)
{
    return bytesPerSecond * 8.0 / (1024.0 * 1024.0);
}

} // namespace

QString LinkAddress::key() const
{
    return subCenterId + QLatin1Char('\n') + host + QLatin1Char('\n') + QString::number(port) + QLatin1Char('\n') +
           fingerprint;
}

LinkPool::LinkPool(QObject *parent)
    : QObject(parent)
    , m_mailbox(std::make_shared<Mailbox>(this))
    , m_tick(this)
{
    m_tick.setInterval(kTick);
    connect(&m_tick, &QTimer::timeout, this, &LinkPool::onTick);
}

LinkPool::~LinkPool()
{
    m_mailbox->close();
    for (auto &entry : m_links) {
        if (entry.second.connection)
            entry.second.connection->close();
    }
    m_links.clear();
    if (m_context)
        m_context->stop();
}

zpdt::Connection &LinkPool::acquire(const LinkAddress &address)
{
    if (!m_context)
        m_context = std::make_unique<zpdt::Context>();
    const QString key = address.key();
    Link &link = m_links[key];
    ++link.users;
    link.idleTicks = 0;
    if (link.connection)
        return *link.connection;

    link.address = address;
    link.serial = ++m_lastSerial;
    link.info.subCenterId = address.subCenterId;
    link.info.host = address.host;
    link.info.port = QString::number(address.port);
    link.info.carrier = QStringLiteral("TCP");
    link.info.state = ZpdtConnectionInfo::Connecting;
    link.info.reason.clear();
    zpdt::Endpoint endpoint;
    endpoint.host = address.host.toStdString();
    endpoint.port = address.port;
    endpoint.fingerprint = address.fingerprint.toStdString();
    endpoint.clientVersion = address.clientVersion.toStdString();
    link.connection = std::make_unique<zpdt::Connection>(
        *m_context, endpoint,
        [this, mailbox = m_mailbox, key, serial = link.serial](zpdt::ConnectionState state, zpdt::Error error,
                                                               const std::string &text) {
            QString reason = QString::fromStdString(text);
            if (reason.isEmpty() && error != zpdt::Error::None)
                reason = QString::fromLatin1(zpdt::errorName(error));
            mailbox->post([this, key, serial, state, reason] { onState(key, serial, state, reason); });
        });
    link.rates = {};
    applyRates(link, m_rates.value(address.subCenterId, m_rates.value(QString())));
    m_tick.start();
    QMetaObject::invokeMethod(this, &LinkPool::announce, Qt::QueuedConnection);
    return *link.connection;
}

void LinkPool::release(const LinkAddress &address)
{
    const auto it = m_links.find(address.key());
    if (it != m_links.end() && it->second.users > 0)
        --it->second.users;
}

void LinkPool::setRates(const QString &subCenterId, quint64 upload, quint64 download)
{
    if (subCenterId.isEmpty())
        m_rates.clear();
    m_rates.insert(subCenterId, {upload, download});
    for (auto &entry : m_links) {
        if (subCenterId.isEmpty() || entry.second.address.subCenterId == subCenterId)
            applyRates(entry.second, {upload, download});
    }
}

void LinkPool::applyRates(Link &link, const Rates &rates)
{
    if (!link.connection || (link.rates.upload == rates.upload && link.rates.download == rates.download))
        return;
    link.rates = rates;
    link.connection->setGoal(zpdt::Direction::Upload, {rates.upload});
    link.connection->setGoal(zpdt::Direction::Download, {rates.download});
}

void LinkPool::onState(const QString &key, quint64 serial, zpdt::ConnectionState state, const QString &text)
{
    const auto it = m_links.find(key);
    if (it == m_links.end() || it->second.serial != serial)
        return;
    Link &link = it->second;
    switch (state) {
    case zpdt::ConnectionState::Connecting:
        link.info.state = ZpdtConnectionInfo::Connecting;
        break;
    case zpdt::ConnectionState::Connected:
        link.info.state = ZpdtConnectionInfo::Connected;
        ++link.info.connectTimes;
        link.info.reason = text;
        break;
    case zpdt::ConnectionState::Closed:
        link.info.state = ZpdtConnectionInfo::NotConnected;
        link.info.sendRateMbps = 0.0;
        link.info.receiveRateMbps = 0.0;
        link.info.reason = text;
        // Its streams end by themselves; whoever opens the next one gets a new connection.
        link.connection.reset();
        break;
    }
    announce();
}

void LinkPool::onMetrics(const QString &key, quint64 serial, const zpdt::Metrics &metrics)
{
    const auto it = m_links.find(key);
    if (it == m_links.end() || it->second.serial != serial || !it->second.connection)
        return;
    ZpdtConnectionInfo &info = it->second.info;
    info.carrier = QString::fromStdString(metrics.carrier);
    info.roundTripMs = metrics.roundTripMs;
    info.sendRateMbps = megabits(metrics.outBytesPerSecond);
    info.receiveRateMbps = megabits(metrics.inBytesPerSecond);
    if (metrics.retransmitPercent >= 0.0) {
        info.retransmitPercent = metrics.retransmitPercent;
        info.lossPercent = metrics.retransmitPercent;
    }
    if (!metrics.congestion.empty())
        info.reason = QStringLiteral("TCP with %1").arg(QString::fromStdString(metrics.congestion));
}

void LinkPool::onTick()
{
    bool active = false;
    for (auto &entry : m_links) {
        Link &link = entry.second;
        if (!link.connection)
            continue;
        if (link.users == 0 && ++link.idleTicks >= kIdleTicks) {
            link.connection->close();
            link.connection.reset();
            link.serial = ++m_lastSerial; // what it still says is about the old connection
            link.info.state = ZpdtConnectionInfo::NotConnected;
            link.info.reason = QStringLiteral("idle");
            continue;
        }
        active = true;
        link.connection->metrics(
            [this, mailbox = m_mailbox, key = entry.first, serial = link.serial](const zpdt::Metrics &metrics) {
                mailbox->post([this, key, serial, metrics] { onMetrics(key, serial, metrics); });
            });
    }
    announce();
    if (!active)
        m_tick.stop();
}

void LinkPool::announce()
{
    // A server that came back with another certificate is a link of its own; its old link is forgotten.
    QMap<QString, const Link *> shown;
    std::vector<QString> outdated;
    for (const auto &[key, link] : m_links) {
        const QString place =
            link.info.subCenterId + QLatin1Char('\n') + link.info.host + QLatin1Char('\n') + link.info.port;
        const Link *other = shown.value(place);
        const Link *kept = &link;
        if (other) {
            const bool newer = link.serial > other->serial;
            const Link *old = newer ? other : &link;
            kept = newer ? &link : other;
            if (!old->connection && old->users == 0)
                outdated.push_back(old->address.key());
        }
        shown.insert(place, kept);
    }
    QList<ZpdtConnectionInfo> infos;
    for (const Link *link : qAsConst(shown))
        infos.append(link->info);
    for (const QString &key : outdated)
        m_links.erase(key);
    emit connectionsChanged(infos);
}
