#pragma once

#include <QMetaObject>
#include <QObject>

#include <functional>
#include <mutex>

/// Carries calls from the wire library's I/O thread to an object on another thread, until it is closed. Any thread.
class Mailbox
{
public:
    explicit Mailbox(QObject *receiver)
        : m_receiver(receiver)
    {
    }
    /// The receiver runs @p call later on its own thread; dropped once the mailbox is closed.
    void post(std::function<void()> call)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_receiver)
            QMetaObject::invokeMethod(m_receiver, std::move(call), Qt::QueuedConnection);
    }
    /// To be called before the receiver goes away.
    void close()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_receiver = nullptr;
    }

private:
    std::mutex m_mutex;
    QObject *m_receiver;
};
