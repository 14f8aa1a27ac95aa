#include "StreamPair.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <future>

using namespace zpdt;

namespace {

/// Hands every message to the test.
class PlainStream : public SessionStream
{
public:
    std::function<void(Msg, WireReader &)> onMessage;
    std::function<void()> onLost;
    bool message(Msg type, WireReader &body) override
    {
        onMessage(type, body);
        return true;
    }
    void lost(Error, const std::string &) override { onLost(); }
};

FileResult openFolder(const QString &path, SafeFolder &folder)
{
    return SafeFolder::open(path.toStdString(), folder);
}

} // namespace

StreamPair::StreamPair()
    : m_context(3)
{
    QDir().mkpath(from());
    QDir().mkpath(to());
}

StreamPair::~StreamPair()
{
    m_context.stop();
}

PipeChannel::Verdict StreamPair::pass(Bytes &frame)
{
    const Msg type = Msg(frame[4]);
    ++m_result.frames[int(type)];
    if (type == Msg::Data) {
        m_result.dataBytes += frame.size();
        if (!std::exchange(m_dataSeen, true) && onFirstData)
            onFirstData(*this);
    }
    return filter ? filter(type, frame) : PipeChannel::Verdict::Pass;
}

void StreamPair::makeLine()
{
    m_clientEnd = std::make_shared<PipeChannel>(m_context);
    m_serverEnd = std::make_shared<PipeChannel>(m_context);
    PipeChannel::join(m_clientEnd, m_serverEnd);
    m_clientEnd->setFilter([this](Bytes &frame) { return pass(frame); });
    m_serverEnd->setFilter([this](Bytes &frame) { return pass(frame); });
    std::lock_guard<std::mutex> lock(m_mutex);
    m_result = Result();
    m_dataSeen = false;
    m_ended = 0;
}

std::shared_ptr<Session> StreamPair::makeSession(const std::shared_ptr<PipeChannel> &channel, Session::Role role,
                                                 Session::Handler handler)
{
    return std::make_shared<Session>(m_context, channel, role, "test", std::move(handler));
}

std::shared_ptr<StreamBase> StreamPair::makeSender(Session &session, const QStringList &names, bool wanted)
{
    StreamSender::Source source;
    source.open = [path = from()](SafeFolder &folder) { return openFolder(path, folder); };
    for (const QString &name : names)
        source.names.push_back(name.toStdString());
    source.resumed = m_resumed;
    source.wanted = wanted;
    StreamCallbacks callbacks;
    callbacks.onItemFailed = [this](const ItemInfo &info, Error error, const std::string &) {
        m_result.sendFailed << QString::fromStdString(info.path) + ": " + errorName(error);
    };
    callbacks.onEnd = [this](const StreamResult &result) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_result.sender = result;
        ++m_ended;
        m_changed.notify_all();
    };
    return std::make_shared<StreamSender>(session, std::move(source), std::move(callbacks));
}

std::shared_ptr<StreamBase> StreamPair::makeReceiver(Session &session, const QStringList &names)
{
    StreamReceiver::Target target;
    target.open = [path = to()](SafeFolder &folder) { return openFolder(path, folder); };
    target.key = to().toStdString();
    for (const QString &name : names)
        target.names.push_back(name.toStdString());
    target.resumed = m_resumed;
    target.verify = verify;
    target.limits.freeBytes = freeBytes;
    StreamCallbacks callbacks;
    callbacks.onItemDone = [this](const ItemInfo &info, const ItemOutcome &outcome) {
        m_result.done << (outcome.same ? "=" : "") + QString::fromStdString(info.path);
    };
    callbacks.onItemFailed = [this](const ItemInfo &info, Error error, const std::string &) {
        m_result.failed << QString::fromStdString(info.path) + ": " + errorName(error);
    };
    callbacks.onEnd = [this](const StreamResult &result) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_result.receiver = result;
        ++m_ended;
        m_changed.notify_all();
    };
    auto receiver = std::make_shared<StreamReceiver>(session, std::move(target), std::move(callbacks));
    receiver->begin();
    return receiver;
}

StreamPair::Result StreamPair::run(const QStringList &names, bool upload, bool resumed)
{
    m_context.post([=] {
        m_resumed = resumed;
        makeLine();
        Session::Handler atServer;
        atServer.onOpen = [this, upload](std::uint32_t id, const OpenMessage &) {
            auto stream = upload ? makeReceiver(*m_server, {}) : makeSender(*m_server, {}, true);
            stream->setId(id);
            m_server->send(emptyFrame(id, Msg::Opened));
            return stream;
        };
        Session::Handler atClient;
        atClient.onReady = [this, upload, names] {
            auto stream = upload ? makeSender(*m_client, names, false) : makeReceiver(*m_client, names);
            stream->setId(m_client->add(stream));
            OpenMessage open;
            open.ticket = "t";
            open.direction = upload ? Direction::Upload : Direction::Download;
            open.resumed = m_resumed;
            m_client->send(frame(stream->id(), open));
            WantMessage want;
            for (const QString &name : names)
                want.names.push_back(name.toStdString());
            if (!upload)
                m_client->send(frame(stream->id(), want));
        };
        m_server = makeSession(m_serverEnd, Session::Role::Server, atServer);
        m_client = makeSession(m_clientEnd, Session::Role::Client, atClient);
        m_server->start();
        m_client->start();
    });
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto ended = [this] { return m_ended == 2; };
    if (!m_changed.wait_for(lock, std::chrono::milliseconds(patienceMs), ended)) {
        m_context.post([this] { m_client->close(Error::Network, "silence"); });
        if (!m_changed.wait_for(lock, std::chrono::seconds(20), ended))
            qFatal("a stream did not end");
    }
    m_ended = 0;
    Result result = m_result;
    lock.unlock();
    std::promise<void> dropped;
    m_context.post([this, &dropped] {
        m_client->close(Error::Cancelled, "over");
        m_client.reset();
        m_server.reset();
        dropped.set_value();
    });
    dropped.get_future().wait();
    result.done.sort();
    result.failed.sort();
    result.sendFailed.sort();
    return result;
}

StreamPair::Result StreamPair::attack(bool upload, const Play &play, const QStringList &names)
{
    m_attackOver = connectionLost = false;
    m_context.post([=] {
        m_resumed = resumedAttack;
        makeLine();
        Session::Handler atServer;
        atServer.onOpen = [this, upload](std::uint32_t id, const OpenMessage &) {
            auto stream = upload ? makeReceiver(*m_server, {}) : makeSender(*m_server, {}, true);
            stream->setId(id);
            return stream;
        };
        Session::Handler atClient;
        atClient.onReady = [this, upload, names, play] {
            const auto over = [this](bool lost) {
                std::lock_guard<std::mutex> lock(m_mutex);
                connectionLost = connectionLost || (lost && !m_attackOver);
                m_attackOver = true;
                m_changed.notify_all();
            };
            auto stream = std::make_shared<PlainStream>();
            stream->onLost = [over] { over(true); };
            stream->onMessage = [this, play, over](Msg type, WireReader &body) {
                const auto answers = play(&type, body);
                for (const Bytes &answer : answers)
                    m_client->send(answer);
                if (answers.empty() && (type == Msg::Done || type == Msg::Fail || type == Msg::Close))
                    over(false);
            };
            const std::uint32_t id = m_client->add(stream);
            OpenMessage open;
            open.ticket = "t";
            open.direction = upload ? Direction::Upload : Direction::Download;
            m_client->send(frame(id, open));
            WantMessage want;
            for (const QString &name : names)
                want.names.push_back(name.toStdString());
            if (!upload)
                m_client->send(frame(id, want));
            WireReader nothing(nullptr, 0);
            for (const Bytes &first : play(nullptr, nothing))
                m_client->send(first);
        };
        m_server = makeSession(m_serverEnd, Session::Role::Server, atServer);
        m_client = makeSession(m_clientEnd, Session::Role::Client, atClient);
        m_server->start();
        m_client->start();
    });
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_changed.wait_for(lock, std::chrono::seconds(20), [this] { return m_attackOver; }))
        qFatal("an attack was neither answered nor cut off");
    lock.unlock();
    m_context.post([this] { m_client->close(Error::Cancelled, "over"); });
    lock.lock();
    if (!m_changed.wait_for(lock, std::chrono::seconds(20), [this] { return m_ended == 1; }))
        qFatal("the attacked stream did not end");
    m_ended = 0;
    const Result result = m_result;
    lock.unlock();
    std::promise<void> dropped;
    m_context.post([this, &dropped] {
        m_client.reset();
        m_server.reset();
        dropped.set_value();
    });
    dropped.get_future().wait();
    return result;
}

QMap<QString, QByteArray> contents(const QString &folder)
{
    QMap<QString, QByteArray> found;
    QDirIterator walk(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                      QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        walk.next();
        QFile file(walk.filePath());
        QByteArray data = "folder";
        if (walk.fileInfo().isSymLink())
            data = "link";
        else if (walk.fileInfo().isFile() && file.open(QIODevice::ReadOnly))
            data = file.readAll();
        found[QDir(folder).relativeFilePath(walk.filePath())] = data;
    }
    return found;
}
