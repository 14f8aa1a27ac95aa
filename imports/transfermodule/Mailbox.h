#pragma once

#include <QObject>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

/// The receiving end of a Mailbox; a child of the object for whose thread the calls are.
class MailboxDoor : public QObject
{
    Q_OBJECT

public:
    struct Box
    {
        std::mutex mutex;
        std::vector<std::function<void()>> calls;
        bool closed = false;
    };

    MailboxDoor(std::shared_ptr<Box> box, QObject *receiver);

public slots:
    void open();

private:
    const std::shared_ptr<Box> m_box;
};

/// Carries calls from any thread to the thread of an object, in their order. One event of the loop brings all calls
/// that came meanwhile: the I/O thread may have thousands a second. The calls travel under the box's own lock, where
/// tools that watch threads can follow them.
class Mailbox
{
public:
    explicit Mailbox(QObject *receiver);
    /// The receiver runs @p call later on its own thread; dropped once the mailbox is closed.
    void post(std::function<void()> call);
    /// To be called before the receiver goes away.
    void close();

private:
    const std::shared_ptr<MailboxDoor::Box> m_box;
    MailboxDoor *const m_door;
};
