#include "LoopbackListener.h"

#include <QHostAddress>
#include <QTcpSocket>

LoopbackListener::LoopbackListener(int most, QObject *parent)
    : QTcpServer(parent)
    , m_most(most)
{
    setMaxPendingConnections(most);
}

bool LoopbackListener::start(quint16 port)
{
    return listen(QHostAddress(QHostAddress::LocalHost), port);
}

void LoopbackListener::incomingConnection(qintptr handle)
{
    auto *socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(handle)) {
        delete socket;
        return;
    }
    if (m_open >= m_most) {
        socket->abort();
        socket->deleteLater();
        return;
    }
    ++m_open;
    connect(socket, &QObject::destroyed, this, [this] { --m_open; });
    addPendingConnection(socket);
}
