#pragma once

#include <QByteArray>
#include <QHash>
#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QQueue>

#include <array>
#include <memory>

/// The HTTP connections of one thread, shared by all clients of that thread, so that a copied client costs nothing and
/// finds warm connections. Three lanes keep long waits and long streams from holding up quick requests; within a
/// lane at most six requests run against one origin and the others wait their turn, so that a waiting request is
/// never taken for a stalled one. Goes away with its thread, and says so first.
class HttpLanes : public QObject
{
    Q_OBJECT

public:
    enum Lane
    {
        Quick,
        Waiting,
        Streaming,
        LaneCount
    };

    /// Times in milliseconds, limit in bytes. The environment may make them smaller, never larger:
    /// ARKVALE_HTTP_LIMITS="connect,idle,body", such as "200,500,1048576"; an empty or bad item keeps the default.
    struct Limits
    {
        int connectTime = 10 * 1000;
        int idleTime = 30 * 1000;
        qint64 bodySize = Q_INT64_C(256) * 1024 * 1024;
    };

    /// The lanes of the calling thread, made at the first call. Null while the thread is shutting down.
    static HttpLanes *ofThisThread();

    HttpLanes();
    ~HttpLanes() override;

    QNetworkAccessManager *manager(Lane lane);
    const Limits &limits() const { return m_limits; }

    /// Calls @p caller's slot "start()" (queued) as soon as the lane has room for @p origin. Each enter() needs one
    /// leave() with the same arguments, also when start() has not been called yet.
    void enter(Lane lane, const QByteArray &origin, QObject *caller);
    void leave(Lane lane, const QByteArray &origin, QObject *caller);

    /// Milliseconds that the clock of @p origin is ahead of ours, as far as it told.
    qint64 clockOffset(const QByteArray &origin) const { return m_clockOffsets.value(origin); }
    void setClockOffset(const QByteArray &origin, qint64 offset) { m_clockOffsets.insert(origin, offset); }

signals:
    void shuttingDown();

private:
    struct Queue
    {
        QList<QObject *> running;
        QQueue<QObject *> waiting;
    };

    void startNext(Queue &queue);

    Limits m_limits;
    std::array<std::unique_ptr<QNetworkAccessManager>, LaneCount> m_managers;
    std::array<QHash<QByteArray, Queue>, LaneCount> m_queues;
    QHash<QByteArray, qint64> m_clockOffsets;
};
