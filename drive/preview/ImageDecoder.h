#pragma once

#include "Picture.h"

#include <QObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <deque>

class OrderedWork;

/// Decodes foreign images in a process of their own with bounded memory and time: a crafted or gigantic image ends in
/// failed() and nothing else. The process starts with the first image and serves many, one at a time, in the order of
/// the requests. What follows the decoding runs on pool threads. GUI thread only; its destructor ends the process.
class ImageDecoder : public QObject
{
    Q_OBJECT

public:
    /// @param program the decoder; empty: the one beside this program
    /// @param time limit for one image, milliseconds
    explicit ImageDecoder(QObject *parent = nullptr, const QString &program = QString(), int time = 20000);
    ~ImageDecoder() override;

    /// Answered by decoded() or failed() with the number returned.
    /// @param name of the remote file, which tells the formats that have no mark of their own
    quint64 decode(const QString &file, const QString &name);
    /// There will be no answer; a decoder that is at it is stopped.
    void cancel(quint64 id);
    int pending() const { return int(m_queue.size()); }

signals:
    void decoded(quint64 id, Picture picture);
    void failed(quint64 id);

private:
    struct Request
    {
        quint64 id;
        QString file;
        QString name;
    };

    void startNext();
    void readAnswer();
    void giveUp();
    void stopProcess();
    void finish(const QByteArray &answer);
    QString pixelsFile() const;

    const QString m_program;
    QProcess *m_process = nullptr;
    QTimer m_time;
    QTemporaryDir m_folder;
    std::deque<Request> m_queue; ///< the first is with the process while m_busy
    bool m_busy = false;
    quint64 m_nextId = 1;
    quint64 m_file = 0;
    OrderedWork *m_work;
};
