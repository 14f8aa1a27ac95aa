#pragma once

#include <QElapsedTimer>

/// How much may come in within each second: messages and bytes. A plain value without a thread of its own.
class MessageBudget
{
public:
    MessageBudget(int messages, qint64 bytes)
        : m_messages(messages)
        , m_bytes(bytes)
    {
    }

    /// Takes one message into account; false when the second's budget is used up.
    bool spend(qint64 bytes)
    {
        if (!m_second.isValid() || m_second.elapsed() >= 1000) {
            m_second.start();
            m_spentMessages = 0;
            m_spentBytes = 0;
        }
        ++m_spentMessages;
        m_spentBytes += bytes;
        return m_spentMessages <= m_messages && m_spentBytes <= m_bytes;
    }

    /// What was spent in this second is what a page needs that works as it should.
    bool isModest() const { return m_spentMessages <= 10 && m_spentBytes <= 64 * 1024; }

private:
    int m_messages;
    qint64 m_bytes;
    QElapsedTimer m_second;
    int m_spentMessages = 0;
    qint64 m_spentBytes = 0;
};
