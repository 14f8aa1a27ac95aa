#pragma once

#include "TransferModule.h"
#include "TransferServer.h"

#include <QHash>
#include <QTcpServer>
#include <QTemporaryDir>

#include <map>
#include <memory>
#include <mutex>

class QTcpSocket;

/// The remote side of a test: a scripted HTTP service that issues tickets, and a real transfer server for one
/// sub-center. Both can be stopped and started again at the same address.
class TransferWorld : public QTcpServer
{
    Q_OBJECT

public:
    TransferWorld();
    ~TransferWorld() override;

    bool startServer();
    void stopServer();
    bool startTickets();
    void stopTickets();

    /// What the next requests are answered with instead of a ticket; a status of 0 hangs up.
    struct Answer
    {
        int status = 200;
        QByteArray body;
        QByteArray header;
    };
    QList<Answer> answers;
    int requests = 0;    ///< for tickets so far
    int badRequests = 0; ///< of them without a right signature
    int mostAtOnce = 0;
    qint64 clockAhead = 0; ///< of the service, milliseconds
    quint64 quota = 1ull << 50;

    ZpdtTransConfig config() const;
    QString local(const QString &path = QString()) const { return m_local.path() + QLatin1Char('/') + path; }
    QString remote(const QString &path = QString()) const { return m_home.path() + QLatin1Char('/') + path; }

private:
    void onConnection();
    void onData(QTcpSocket *socket);
    void answer(QTcpSocket *socket, const QByteArray &head, const QByteArray &body);
    bool signedRight(const QByteArray &head, const QByteArray &body) const;
    QByteArray issue(const QByteArray &body);
    std::optional<arkvale::service::TransferGrant> redeem(const std::string &ticket);

    QTemporaryDir m_local;
    QTemporaryDir m_home;
    QTemporaryDir m_keys;
    std::shared_ptr<arkvale::service::TransferRuntime> m_runtime;
    std::unique_ptr<arkvale::service::TransferServer> m_server;
    quint16 m_serverPort = 0;
    quint16 m_ticketPort = 0;
    QHash<QTcpSocket *, QByteArray> m_input;
    int m_atOnce = 0;
    std::mutex m_mutex; ///< guards m_grants, which the server's I/O thread reads
    std::map<std::string, arkvale::service::TransferGrant> m_grants;
    int m_lastTicket = 0;
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
    QList<double> speeds;

private:
    void note(const char *event, const QList<TaskRecord> &tasks);

    QHash<QString, QStringList> m_stories;
    QHash<QString, TaskRecord> m_records;
    QHash<QString, ZpdtProgress> m_progress;
};

/// Writes @p size bytes that do not repeat. Returns false when the disk does not take them.
bool writeFile(const QString &path, qint64 size, quint32 seed = 1);
/// Every entry below a folder with its kind and digest, to compare trees.
QMap<QString, QByteArray> treeOf(const QString &folder);
