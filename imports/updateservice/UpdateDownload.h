#pragma once

#include "UpdateManifest.h"

#include <QFile>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <atomic>
#include <memory>

class QNetworkAccessManager;
class QNetworkReply;
class QThread;

/// Brings one package into a folder: goes on where an earlier run stopped, tries again with growing pauses, and checks
/// the digest of what lies on the disk. The package has its name only when all of it is right. Lives on the thread
/// that made it; the digest is computed on a thread of its own. A destroyed download keeps what it has.
class UpdateDownload : public QObject
{
    Q_OBJECT

public:
    enum Outcome
    {
        Ready,
        Network, ///< the line or the service; what came stays for the next time
        Foreign, ///< not the package that the manifest tells of; nothing stays
        Disk     ///< no space, or the folder cannot be written
    };

    UpdateDownload(QNetworkAccessManager *manager, const UpdateManifest &manifest, const QString &folder,
                   QObject *parent = nullptr);
    ~UpdateDownload() override;

    void start();
    /// Where the package lies after Ready.
    QString file() const;

    /// Reads the whole file, in pieces; false when it cannot be read, differs, or @p stop becomes true.
    static bool hasDigest(const QString &file, qint64 size, const QByteArray &sha256, const std::atomic<bool> &stop);
    /// Pauses between tries in milliseconds; the number of pauses is the number of further tries.
    void setPauses(const QVector<int> &pauses) { m_pauses = pauses; }

signals:
    void progress(qint64 received, qint64 total); ///< bytes
    void finished(int outcome);                   ///< one of Outcome, once

private:
    QString partFile() const;
    void fetch();
    void headersArrived();
    void dataArrived();
    void replyFinished();
    void retry();
    void verify();
    void end(Outcome outcome);

    QNetworkAccessManager *m_manager;
    const UpdateManifest m_manifest;
    const QString m_folder;
    QFile m_part;
    QPointer<QNetworkReply> m_reply;
    QTimer m_pause;
    QVector<int> m_pauses = {1000, 2000, 5000, 15000, 60000};
    int m_tries = 0;
    qint64 m_most = 0;       ///< bytes that this run has had at best
    bool m_accepted = false; ///< the answer's headers fit what was asked
    bool m_done = false;
    QThread *m_thread = nullptr;
    std::atomic<bool> m_stop{false};
};
