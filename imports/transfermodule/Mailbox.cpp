#include "Mailbox.h"

#include <utility>

MailboxDoor::MailboxDoor(std::shared_ptr<Box> box, QObject *receiver)
    : QObject(receiver)
    , m_box(std::move(box))
{
}

void MailboxDoor::open()
{
    // A call may destroy this object.
    const std::shared_ptr<Box> box = m_box;
    std::vector<std::function<void()>> calls;
    {
        const std::lock_guard lock(box->mutex);
        calls.swap(box->calls);
    }
    for (const std::function<void()> &call : calls) {
        {
            const std::lock_guard lock(box->mutex);
            if (box->closed)
                return;
        }
        call();
    }
}

Mailbox::Mailbox(QObject *receiver)
    : m_box(std::make_shared<MailboxDoor::Box>())
    , m_door(new MailboxDoor(m_box, receiver))
{
}

void Mailbox::post(std::function<void()> call)
{
    const std::lock_guard lock(m_box->mutex);
    if (m_box->closed)
        return;
    m_box->calls.push_back(std::move(call));
    // By name: the event then carries nothing of ours.
    if (m_box->calls.size() == 1)
        QMetaObject::invokeMethod(m_door, "open", Qt::QueuedConnection);
}

void Mailbox::close()
{
    const std::lock_guard lock(m_box->mutex);
    m_box->closed = true;
    m_box->calls.clear();
}
