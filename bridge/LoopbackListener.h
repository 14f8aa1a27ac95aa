#pragma once

#include <QTcpServer>

/// Listens on the loopback address and nowhere else, and holds a bounded number of connections: one that comes beyond
/// that is cut off before it says a word. Connections leave by nextPendingConnection(). GUI thread only.
class LoopbackListener : public QTcpServer
{
    Q_OBJECT

public:
    /// @param most connections open at a time, counted until they are destroyed
    explicit LoopbackListener(int most, QObject *parent = nullptr);

    /// @param port 0: any free one
    bool start(quint16 port);

protected:
    void incomingConnection(qintptr handle) override;

private:
    const int m_most;
    int m_open = 0;
};
