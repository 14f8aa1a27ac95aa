#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>

/// Tells when the addresses of this machine change: a cable, a radio network or a tunnel came or went. Looks once a
/// second while it is awake. Lives on the thread that made it; changed() comes from the event loop.
class NetworkWatch : public QObject
{
    Q_OBJECT

public:
    explicit NetworkWatch(QObject *parent = nullptr);
    void setAwake(bool awake);

signals:
    /// @param addresses all of this machine, as text
    void changed(const QStringList &addresses);

private:
    static QStringList look();

    QTimer m_timer;
    QStringList m_known;
};
