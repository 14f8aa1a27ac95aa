#include "LinkPool.h"

#include <algorithm>
#include <vector>

namespace {

constexpr int kTick = 500;
constexpr int kIdleTicks = 60;

} // namespace

LinkPool::LinkPool(QObject *parent)
    : QObject(parent)
    , m_tick(this)
{
    m_tick.setInterval(kTick);
    connect(&m_tick, &QTimer::timeout, this, &LinkPool::onTick);
}

LinkPool::~LinkPool()
{
    m_lines.clear();
    if (m_context)
        m_context->stop();
}

TransferLine &LinkPool::enter(const LinkAddress &address)
{
    if (!m_context)
        m_context = std::make_unique<zpdt::Context>();
    const QString key = address.key();
    Held &held = m_lines[key];
    if (!held.line) {
        held.age = ++m_lastAge;
        held.line = std::make_unique<TransferLine>(*m_context, address, m_memory.find(address.place()), nullptr);
        TransferLine *line = held.line.get();
        connect(line, &TransferLine::carrierChanged, this, [this, key] {
            announce();
            emit carrierChanged(key);
        });
        connect(line, &TransferLine::failed, this, [this, key](ZpdtError error, const QString &text) {
            announce();
            emit lineFailed(key, error, text);
        });
        connect(line, &TransferLine::keyWanted, this, [this, key] { emit keyWanted(key); });
    }
    held.idleTicks = 0;
    held.line->refresh(address);
    held.line->enter();
    applyGoals(address.subCenterId);
    if (!m_tick.isActive())
        QMetaObject::invokeMethod(this, &LinkPool::announce, Qt::QueuedConnection);
    m_tick.start();
    return *held.line;
}

void LinkPool::leave(const QString &key)
{
    if (TransferLine *line = find(key))
        line->leave();
}

TransferLine *LinkPool::find(const QString &key) const
{
    const auto held = m_lines.find(key);
    return held == m_lines.end() ? nullptr : held->second.line.get();
}

void LinkPool::setGoals(const QString &subCenterId, const zpdt::RateGoal &upload, const zpdt::RateGoal &download)
{
    if (subCenterId.isEmpty())
        m_goals.clear();
    m_goals.insert(subCenterId, {upload, download});
    applyGoals(subCenterId);
}

/// The lines of a sub-center that are in use share its speed.
void LinkPool::applyGoals(const QString &subCenterId)
{
    std::map<QString, std::vector<TransferLine *>> lines;
    for (const auto &[key, held] : m_lines) {
        const QString &id = held.line->address().subCenterId;
        if ((subCenterId.isEmpty() || id == subCenterId) && (!held.line->idle() || held.line->connected()))
            lines[id].push_back(held.line.get());
    }
    for (const auto &[id, sharing] : lines) {
        const auto used = std::count_if(sharing.begin(), sharing.end(), [](auto *line) { return !line->idle(); });
        const Goals goals = m_goals.value(id, m_goals.value(QString()));
        const auto part = [parts = static_cast<quint64>(std::max<std::ptrdiff_t>(1, used))](zpdt::RateGoal goal) {
            for (auto *figure : {&goal.bytesPerSecond, &goal.startBytesPerSecond, &goal.floorBytesPerSecond})
                *figure = *figure == 0 ? 0 : std::max<quint64>(1, *figure / parts);
            return goal;
        };
        for (TransferLine *line : sharing)
            line->setGoals(part(goals.upload), part(goals.download));
    }
}

void LinkPool::addressesChanged(const QStringList &addresses)
{
    for (const auto &entry : m_lines)
        entry.second.line->addressesChanged(addresses);
}

void LinkPool::onTick()
{
    bool active = false;
    QStringList rested;
    QMap<QString, quint64> newest;
    for (auto &[key, held] : m_lines) {
        TransferLine &line = *held.line;
        quint64 &latest = newest[line.address().place()];
        latest = std::max(latest, held.age);
        if (line.idle() && ++held.idleTicks >= kIdleTicks) {
            line.close(QStringLiteral("idle"));
            continue;
        }
        if (line.idle() && held.idleTicks == 1)
            rested.append(line.address().subCenterId);
        active = active || !line.idle() || line.connected();
        line.tick();
        if (const auto verdict = line.takeVerdict())
            m_memory.store(line.address().place(), *verdict);
    }
    for (const QString &subCenterId : qAsConst(rested))
        applyGoals(subCenterId);
    for (auto it = m_lines.begin(); it != m_lines.end();) {
        const TransferLine &line = *it->second.line;
        const bool outdated = it->second.age < newest.value(line.address().place());
        it = outdated && line.idle() && !line.connected() ? m_lines.erase(it) : std::next(it);
    }
    announce();
    if (!active)
        m_tick.stop();
}

void LinkPool::announce()
{
    // A server that came back with another certificate is a line of its own; its old line is not shown any more.
    QMap<QString, const Held *> shown;
    for (const auto &[key, held] : m_lines) {
        const QString place = held.line->address().place();
        const Held *other = shown.value(place);
        shown.insert(place, other && other->age > held.age ? other : &held);
    }
    QList<ZpdtConnectionInfo> infos;
    for (const Held *held : qAsConst(shown))
        infos.append(held->line->info());
    emit connectionsChanged(infos);
}
