#include "OrderedWork.h"

#include <QMutex>
#include <QPointer>
#include <QThreadPool>

#include <algorithm>

/// Outlives the owner as long as work runs; the lock keeps the owner alive while a result is being posted to it.
struct OrderedWork::Mailbox
{
    QMutex mutex;
    OrderedWork *owner = nullptr;
};

OrderedWork::OrderedWork(QObject *parent)
    : QObject(parent)
    , m_mailbox(std::make_shared<Mailbox>())
{
    m_mailbox->owner = this;
}

OrderedWork::~OrderedWork()
{
    QMutexLocker lock(&m_mailbox->mutex);
    m_mailbox->owner = nullptr;
}

void OrderedWork::post(Deliver deliver)
{
    m_entries.push_back({m_nextId++, true, std::move(deliver)});
    drain();
}

void OrderedWork::run(Work work)
{
    const quint64 id = m_nextId++;
    m_entries.push_back({id, false, {}});
    QThreadPool::globalInstance()->start([id, work = std::move(work), mailbox = m_mailbox] {
        Deliver deliver = work();
        QMutexLocker lock(&mailbox->mutex);
        OrderedWork *owner = mailbox->owner;
        if (!owner)
            return;
        QMetaObject::invokeMethod(
            owner, [owner, id, deliver = std::move(deliver)] { owner->finished(id, deliver); }, Qt::QueuedConnection);
    });
}

void OrderedWork::runIf(bool aside, Work work)
{
    if (aside)
        run(std::move(work));
    else
        post([work = std::move(work)] {
            if (const Deliver deliver = work())
                deliver();
        });
}

void OrderedWork::finished(quint64 id, Deliver deliver)
{
    const auto entry = std::find_if(m_entries.begin(), m_entries.end(), [id](const Entry &e) { return e.id == id; });
    if (entry == m_entries.end())
        return;
    entry->ready = true;
    entry->deliver = std::move(deliver);
    drain();
}

void OrderedWork::drain()
{
    // Each entry leaves the queue before it is delivered, so that a delivery which waits in a nested event loop does
    // not hold up the ones behind it.
    const QPointer<OrderedWork> self(this);
    while (self && !m_entries.empty() && m_entries.front().ready) {
        const Deliver deliver = std::move(m_entries.front().deliver);
        m_entries.pop_front();
        if (deliver)
            deliver();
    }
}
