#pragma once

#include <QProcess>
#include <QTemporaryDir>

#include <functional>

/// The real service with the sample drive in a folder of its own, and a settings folder of the client that leads to it.
/// Everything ends and goes away with the object. Made before the configuration store; programs are looked for beside
/// the running one.
class LiveService
{
public:
    LiveService();
    ~LiveService();

    /// On a free port. False when the service does not say its address within a minute.
    bool start();
    /// The store as a login leaves it, with the homes of the user known. False when that takes longer than 20 s.
    bool logIn(const QString &user, const QString &password);
    /// The user's folder in a sub-center, on the service's disk.
    QString home(const QString &subCenterId, const QString &user) const;

    /// Runs the event loop until @p holds does, or @p milliseconds are over; the last value of @p holds.
    static bool wait(const std::function<bool()> &holds, int milliseconds);

private:
    bool writeSettings() const;

    QTemporaryDir m_folder;
    QProcess m_process;
    QString m_http; ///< address of the accounts
};
