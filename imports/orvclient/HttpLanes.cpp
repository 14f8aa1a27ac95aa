#include "HttpLanes.h"

#include <QCoreApplication>
#include <QThreadStorage>

namespace {

constexpr int kRunningPerOrigin = 6;

QThreadStorage<HttpLanes *> s_lanes;
thread_local bool s_going = false;

HttpLanes::Limits readLimits()
{
    HttpLanes::Limits limits;
    const QStringList items = qEnvironmentVariable("ARKVALE_HTTP_LIMITS").split(QLatin1Char(','));
    const auto item = [&items](int index, qint64 most) {
        bool ok = false;
        const qint64 value = items.value(index).trimmed().toLongLong(&ok);
        return ok && value > 0 ? qMin(value, most) : most;
    };
    limits.connectTime = int(item(0, limits.connectTime));
    limits.idleTime = int(item(1, limits.idleTime));
    limits.bodySize = item(2, limits.bodySize);
    return limits;
}

} // namespace

HttpLanes *HttpLanes::ofThisThread()
{
    if (s_going || !QCoreApplication::instance())
        return nullptr;
    if (!s_lanes.hasLocalData())
        s_lanes.setLocalData(new HttpLanes);
    return s_lanes.localData();
}

HttpLanes::HttpLanes()
    : m_limits(readLimits())
{
}

HttpLanes::~HttpLanes()
{
    s_going = true;
    emit shuttingDown();
    s_going = false;
}

QNetworkAccessManager *HttpLanes::manager(Lane lane)
{
    std::unique_ptr<QNetworkAccessManager> &manager = m_managers[lane];
    if (!manager)
        manager = std::make_unique<QNetworkAccessManager>();
    return manager.get();
}

void HttpLanes::enter(Lane lane, const QByteArray &origin, QObject *caller)
{
    Queue &queue = m_queues[lane][origin];
    queue.waiting.enqueue(caller);
    startNext(queue);
}

void HttpLanes::leave(Lane lane, const QByteArray &origin, QObject *caller)
{
    const auto it = m_queues[lane].find(origin);
    if (it == m_queues[lane].end())
        return;
    if (!it->running.removeOne(caller))
        it->waiting.removeOne(caller);
    startNext(*it);
    if (it->running.isEmpty() && it->waiting.isEmpty())
        m_queues[lane].erase(it);
}

void HttpLanes::startNext(Queue &queue)
{
    while (queue.running.size() < kRunningPerOrigin && !queue.waiting.isEmpty()) {
        QObject *caller = queue.waiting.dequeue();
        queue.running.append(caller);
        QMetaObject::invokeMethod(caller, "start", Qt::QueuedConnection);
    }
}
