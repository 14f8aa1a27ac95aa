#pragma once

#include "FileItem.h"

#include "OrvClient.h"

#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

/// Fetches the records of single paths, such as those of finished uploads, a few at a time, and hands them back in
/// batches. A path that the service does not know is left out. Owns a copy of the session's client; answers after
/// stop() or destruction are dropped. GUI thread only.
class FileInfoAssistant : public QObject
{
    Q_OBJECT

public:
    /// @param url address of the sub-center's service
    explicit FileInfoAssistant(const QString &url, QObject *parent = nullptr);

public slots:
    void getFileInfo(QStringList paths);
    /// Forgets what was asked for.
    void stop();

signals:
    void handlerGetFileInfoFinished(QList<FileItem> items);

private slots:
    void onTimer();
    void handlerGetFileInfo(qint64 id, int code, QByteArray body);

private:
    OrvClient m_client;
    QTimer m_timer;
    QStringList m_queue;
    QSet<QString> m_queued;
    QSet<qint64> m_pending;
    QList<FileItem> m_ready;
};
