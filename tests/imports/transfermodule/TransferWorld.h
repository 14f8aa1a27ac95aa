#pragma once

#include "HttpFake.h"
#include "TestFiles.h"
#include "TransferModule.h"
#include "TransferServer.h"

#include <QHash>
#include <QTemporaryDir>

#include <map>
#include <memory>
#include <mutex>

/// The remote side of a test: a scripted HTTP service that issues tickets, and a real transfer server for one
/// sub-center. Both can be stopped and started again at the same address.
class TransferWorld
{
public:
    TransferWorld();
    ~TransferWorld();

    bool startServer();
    void stopServer();
    bool startTickets();
    void stopTickets();

    QList<HttpFake::Answer> answers; ///< of the next requests, instead of a ticket
    int requests = 0;                ///< for tickets so far
    int badRequests = 0;             ///< of them without a right signature
    int mostAtOnce = 0;
    qint64 clockAhead = 0; ///< of the service, milliseconds
    quint64 quota = 1ull << 50;

    ZpdtTransConfig config() const;
    QString local(const QString &path = QString()) const { return m_local.path() + QLatin1Char('/') + path; }
    QString remote(const QString &path = QString()) const { return m_home.path() + QLatin1Char('/') + path; }

private:
    HttpFake::Answer answer(const HttpFake::Request &request);
    static bool signedRight(const HttpFake::Request &request);
    QByteArray issue(const QByteArray &body);
    std::optional<arkvale::service::TransferGrant> redeem(const std::string &ticket);

    QTemporaryDir m_local;
    QTemporaryDir m_home;
    QTemporaryDir m_keys;
    std::shared_ptr<arkvale::service::TransferRuntime> m_runtime;
    std::unique_ptr<arkvale::service::TransferServer> m_server;
    quint16 m_serverPort = 0;
    int m_atOnce = 0;
    std::mutex m_mutex; ///< guards m_grants, which the server's I/O thread reads
    std::map<std::string, arkvale::service::TransferGrant> m_grants;
    int m_lastTicket = 0;
    HttpFake m_http; ///< last: it calls back
    const quint16 m_ticketPort;
};

/// Everything that an engine told, in its order.
class EngineLog : public QObject
{
    Q_OBJECT

public:
    explicit EngineLog(TransferModule &engine);

    /// Events of one task, such as "created started finished"; repeated ones once.
    QString story(const QString &path) const { return m_stories.value(path).join(QLatin1Char(' ')); }
    int ended(ZpdtTaskStatus status) const;
    const TaskRecord record(const QString &path) const { return m_records.value(path); }
    ZpdtProgress progress(const QString &path) const { return m_progress.value(path); }

    QStringList folders;
    QList<TaskRecord> existing;
    QList<ZpdtConnectionInfo> connections;
    qint64 createCount = 0;
    qint64 pausedCount = 0;
    int signalCount = 0;
    int longest = 0; ///< tasks of one signal
    QList<double> speeds;

private:
    void note(const char *event, const QList<TaskRecord> &tasks);

    QHash<QString, QStringList> m_stories;
    QHash<QString, TaskRecord> m_records;
    QHash<QString, ZpdtProgress> m_progress;
};

/// Writes @p size bytes that do not repeat.
inline void writeFile(const QString &path, qint64 size, quint32 seed = 1)
{
    writeFile(path, noise(static_cast<int>(size), seed));
}
/// Every entry below a folder with its kind and digest, to compare trees.
QMap<QString, QByteArray> treeOf(const QString &folder);
