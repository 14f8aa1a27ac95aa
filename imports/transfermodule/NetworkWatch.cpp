#include "NetworkWatch.h"

#include <QNetworkInterface>

namespace {
constexpr int kEvery = 1000;
}

NetworkWatch::NetworkWatch(QObject *parent)
    : QObject(parent)
    , m_timer(this)
{
    m_timer.setInterval(kEvery);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        const QStringList now = look();
        if (now == m_known)
            return;
        m_known = now;
        emit changed(now);
    });
}

void NetworkWatch::setAwake(bool awake)
{
    if (awake == m_timer.isActive())
        return;
    if (!awake)
        return m_timer.stop();
    m_known = look();
    m_timer.start();
}

QStringList NetworkWatch::look()
{
    QStringList addresses;
    for (QHostAddress &address : QNetworkInterface::allAddresses()) {
        // The zone is a name of this machine's own.
        address.setScopeId(QString());
        addresses.append(address.toString());
    }
    addresses.sort();
    return addresses;
}
