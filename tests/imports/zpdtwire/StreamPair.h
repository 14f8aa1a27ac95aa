#pragma once

#include "Context.h"
#include "PipeChannel.h"
#include "Session.h"
#include "StreamReceiver.h"
#include "StreamSender.h"
#include "TestFiles.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <condition_variable>
#include <mutex>

/// A sender and a receiver with a folder each, on a line that a test may damage.
class StreamPair
{
public:
    struct Result
    {
        zpdt::StreamResult sender;
        zpdt::StreamResult receiver;
        QStringList done;       ///< at the receiver; "=" in front when it was there already
        QStringList failed;     ///< at the receiver, "path: word"
        QStringList sendFailed; ///< at the sender
        QMap<int, int> frames;  ///< number of frames by type, both ways
        quint64 dataBytes = 0;
    };
    using Filter = std::function<PipeChannel::Verdict(zpdt::Msg type, zpdt::Bytes &frame)>;

    StreamPair();
    ~StreamPair();
    QString from() const { return m_folder.path() + "/from"; }
    QString to() const { return m_folder.path() + "/to"; }

    /// One stream of these names, until both ends have ended.
    Result run(const QStringList &names, bool upload, bool resumed = false);
    /// A client that knows no rules against an honest server end: sends what @p play makes, first of nothing (null),
    /// then of each message, until it answers with an empty list after the first. Gives what the server end sent.
    using Play = std::function<std::vector<zpdt::Bytes>(const zpdt::Msg *type, zpdt::WireReader &body)>;
    Result attack(bool upload, const Play &play, const QStringList &names = {});

    Filter filter;                                     ///< I/O thread; frames of both ends
    std::function<void(StreamPair &pair)> onFirstData; ///< I/O thread, once a run
    std::function<std::uint64_t()> freeBytes;
    bool resumedAttack = false;
    bool verify = false;
    int patienceMs = 60000;      ///< then the client gives the line up
    bool connectionLost = false; ///< after attack(): the server end gave up on the client

private:
    std::shared_ptr<zpdt::Session> makeSession(const std::shared_ptr<PipeChannel> &channel, zpdt::Session::Role role,
                                               zpdt::Session::Handler handler);
    std::shared_ptr<zpdt::StreamBase> makeSender(zpdt::Session &session, const QStringList &names, bool wanted);
    std::shared_ptr<zpdt::StreamBase> makeReceiver(zpdt::Session &session, const QStringList &names);
    PipeChannel::Verdict pass(zpdt::Bytes &frame);
    void makeLine();

    QTemporaryDir m_folder;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Result m_result;
    bool m_resumed = false;
    bool m_dataSeen = false;
    int m_ended = 0;
    bool m_attackOver = false;
    zpdt::Context m_context;
    std::shared_ptr<PipeChannel> m_clientEnd, m_serverEnd;
    std::shared_ptr<zpdt::Session> m_client, m_server;
};

QMap<QString, QByteArray> contents(const QString &folder);
