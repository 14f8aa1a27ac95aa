#pragma once

#include <QObject>
#include <QThreadPool>

#include <deque>
#include <functional>
#include <memory>

/// Hands out results in the order of their posting, although some are worked out on pool threads. Lives on one thread,
/// where all results are delivered; after its destruction nothing is delivered any more, work that still runs is let
/// run out. A delivery may open a nested event loop or delete this object.
class OrderedWork : public QObject
{
public:
    using Deliver = std::function<void()>;
    using Work = std::function<Deliver()>;

    explicit OrderedWork(QObject *parent = nullptr);
    ~OrderedWork() override;

    /// Delivers at once when nothing is waiting, else after what is.
    void post(Deliver deliver);
    /// Calls @p work on a pool thread and later what it returned, on this object's thread. @p work must not touch
    /// anything of that thread.
    void run(Work work);
    /// Like run() when @p aside holds, else does both at once, in order.
    void runIf(bool aside, Work work);
    /// Lets go of @p value on a pool thread: to free very many entries takes longer than the window may wait.
    template <typename Value>
    static void discard(Value value)
    {
        QThreadPool::globalInstance()->start([gone = std::make_shared<Value>(std::move(value))] { *gone = Value(); });
    }
    bool isIdle() const { return m_entries.empty(); }

private:
    struct Entry
    {
        quint64 id;
        bool ready;
        Deliver deliver;
    };
    struct Mailbox;

    void finished(quint64 id, Deliver deliver);
    void drain();

    std::deque<Entry> m_entries;
    quint64 m_nextId = 1;
    std::shared_ptr<Mailbox> m_mailbox;
};
