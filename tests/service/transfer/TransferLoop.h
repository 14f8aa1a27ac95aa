#pragma once

#include "Connection.h"
#include "Context.h"
#include "TestFiles.h"
#include "TransferServer.h"

#include <QByteArray>
#include <QDir>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>

/// What one stream reported, collected across threads.
struct StreamLog
{
    QStringList done;   ///< paths, with "+" in front when created and "=" when it was the same already
    QStringList failed; ///< "path: word"
    QStringList texts;  ///< of the failures
    zpdt::Totals totals;
    zpdt::StreamProgress lastProgress;
    zpdt::StreamResult result;
    bool opened = false;
    bool ended = false;
    int ends = 0;
};

/// A transfer server and a client in one process, with a folder for each.
class TransferLoop
{
public:
    TransferLoop();
    ~TransferLoop();

    QString local() const { return m_folder.path() + "/local"; }
    QString home() const { return m_folder.path() + "/home"; }

    void startServer(quint16 port = 0);
    void stopServer();
    arkvale::service::TransferServer &server() { return *m_server; }
    /// A new connection, with the old one dropped.
    void connect(quint16 viaPort = 0, const QString &fingerprint = {}, bool udp = false);
    zpdt::Connection &connection() { return *m_connection; }
    zpdt::Context &context() { return m_context; }
    std::string ticket(zpdt::Direction direction, const QString &folder);

    zpdt::UploadRequest uploadRequest(const QStringList &names, const QString &remote = "in");
    arkvale::service::TransferRuntime &runtime() { return *m_runtime; }
    zpdt::DownloadRequest downloadRequest(const QStringList &names, const QString &remote = "in");
    std::shared_ptr<zpdt::Stream> start(zpdt::UploadRequest request, StreamLog &log);
    std::shared_ptr<zpdt::Stream> start(zpdt::DownloadRequest request, StreamLog &log);
    /// Waits until @p test, asked under the lock of the logs, is true.
    bool wait(const std::function<bool()> &test, int ms = 20000);
    StreamLog upload(const QStringList &names, bool resumed = false);
    StreamLog download(const QStringList &names, bool resumed = false);
    StreamLog discard(const QStringList &names, const QString &remote = "in");

    // What the next grants say.
    std::function<quint64()> quotaFree;
    std::function<bool()> allowed;
    std::atomic<qint64> used{0};
    /// Called on the I/O thread, under the lock, for each item done and each progress report.
    std::function<void()> onStep;

    zpdt::ConnectionState state = zpdt::ConnectionState::Closed; ///< guarded by the lock of wait()
    zpdt::Error stateError = zpdt::Error::None;
    QString stateText;

private:
    zpdt::StreamCallbacks callbacks(StreamLog &log);

    QTemporaryDir m_folder;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<std::string, arkvale::service::TransferGrant> m_tickets;
    int m_lastTicket = 0;
    zpdt::Context m_context;
    std::shared_ptr<arkvale::service::TransferRuntime> m_runtime;
    std::unique_ptr<arkvale::service::TransferServer> m_server;
    std::unique_ptr<zpdt::Connection> m_connection;
};

/// Everything below a folder: path and kind, size, time in ms and digest.
QMap<QString, QString> snapshot(const QString &folder, bool withTimes = true);
