#include "TestSupport.h"

#include "HttpServer.h"
#include "RawHttp.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

using namespace arkvale::service;

namespace {

/// A door that handlers wait at until the test opens it.
class Door
{
public:
    void pass()
    {
        std::unique_lock lock(m_mutex);
        ++m_waiting;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_open; });
    }
    void open()
    {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    bool waitFor(int waiting)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(10), [&] { return m_waiting >= waiting; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
    int m_waiting = 0;
};

Response text(const std::string &body)
{
    return Response::bytes(body, "text/plain");
}

} // namespace

/// The HTTP server against clients of every kind, over real sockets.
class TestHttpServer : public StrictTest
{
    Q_OBJECT

private slots:
    void init()
    {
        beginStrict();
        m_options = {};
        m_options.maxBody = 100000;
        m_options.stopTimeout = 10;
        m_router = {};
        m_gate = nullptr;
        m_door = std::make_unique<Door>();
        m_router.add(
            "GET", "/hello", [](const Request &) { return text("hello"); }, Access::Open);
        m_router.add("POST", "/echo", [](const Request &request) { return text(request.body); });
        m_router.add(
            "POST", "/open", [](const Request &request) { return text(request.body); }, Access::Open);
        m_router.add("GET", "/wait", [this](const Request &) {
            m_door->pass();
            return text("waited");
        });
    }

    void cleanup()
    {
        m_door->open();
        m_server.reset();
        endStrict();
    }

    void malformed_data()
    {
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<int>("status"); // 0: the connection is closed without an answer

        const auto row = [](const char *name, int status, const QByteArray &sent) {
            QTest::newRow(name) << sent << status;
        };
        const auto post = [&](const char *name, int status, const char *route, const QByteArray &rest) {
            row(name, status, QByteArray("POST /api/v1/") + route + " HTTP/1.1\r\nHost: x\r\n" + rest);
        };
        row("unknown path", 404, httpRequest("GET", "/api/v1/none"));
        row("wrong method", 405, httpRequest("DELETE", "/api/v1/hello"));
        row("unknown path with a body", 404, httpRequest("POST", "/api/v1/none", QByteArray(5000, 'x')));
        row("no host", 400, "GET /api/v1/hello HTTP/1.1\r\n\r\n");
        row("endless header", 431, httpRequest("GET", "/api/v1/hello", {}, "X: " + QByteArray(200000, 'x') + "\r\n"));
        row("endless target", 414, httpRequest("GET", "/api/v1/" + QByteArray(200000, 'x')));
        post("length below zero", 400, "echo", "Content-Length: -1\r\n\r\n");
        post("length beyond all numbers", 413, "echo", "Content-Length: 99999999999999999999999\r\n\r\n");
        post("length beyond the limit", 413, "echo", "Content-Length: 100001\r\n\r\n");
        post("long body on an open route", 413, "open", "Content-Length: 70000\r\n\r\n");
        post("chunk no number", 400, "echo", "Transfer-Encoding: chunked\r\n\r\nzz\r\nx\r\n");
        post("chunks beyond the limit", 413, "echo",
             "Transfer-Encoding: chunked\r\n\r\n186a1\r\n" + QByteArray(100001, 'x') + "\r\n0\r\n\r\n");
    }

    void malformed()
    {
        QFETCH(QByteArray, sent);
        QFETCH(int, status);
        start();
        RawConnection connection(m_server->port());
        connection.send(sent);
        const RawAnswer answer = connection.answer();
        QCOMPARE(answer.status, status);
        if (status == 405)
            QCOMPARE(answer.headers.value("allow"), QByteArray("GET, HEAD"));
        QCOMPARE(get("hello").body, QByteArray("hello"));
        QTRY_COMPARE(m_server->running(), std::size_t(0));
    }

    void bodies_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QByteArray>("answer");

        const QByteArray large = QByteArray("\0\r\n\xFF", 4).repeated(25000);
        QTest::newRow("largest") << httpRequest("POST", "/api/v1/echo", large) << large;
        QTest::newRow("after a pause") << httpRequest("POST", "/api/v1/echo", "abc", "Expect: 100-continue\r\n")
                                       << QByteArray("abc");
        QTest::newRow("chunks") << QByteArray(
                                       "POST /api/v1/echo HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n"
                                       "3\r\nabc\r\n4\r\ndefg\r\n0\r\n\r\n")
                                << QByteArray("abcdefg");
        QTest::newRow("head") << httpRequest("HEAD", "/api/v1/hello") << QByteArray();
    }

    void bodies()
    {
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, answer);
        start();
        const RawAnswer got = ask(m_server->port(), request);
        QCOMPARE(got.status, 200);
        QCOMPARE(got.body, answer);
        QCOMPARE(got.headers.value("arkvale-protocol"), QByteArray("1"));
    }

    void keepAliveAndPipelining()
    {
        start();
        RawConnection connection(m_server->port());
        for (int i = 0; i < 3; ++i) {
            QVERIFY(connection.send(httpRequest("GET", "/api/v1/hello")));
            QCOMPARE(connection.answer().body, QByteArray("hello"));
        }
        connection.send(httpRequest("POST", "/api/v1/echo", "one") + httpRequest("GET", "/api/v1/none") +
                        httpRequest("POST", "/api/v1/echo", "three"));
        QCOMPARE(connection.answer().body, QByteArray("one"));
        QCOMPARE(connection.answer().status, 404);
        QCOMPARE(connection.answer().body, QByteArray("three"));
    }

    void slowClientsAreCut_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::newRow("silent") << QByteArray();
        QTest::newRow("a header now and then") << QByteArray("GET /api/v1/hello HTTP/1.1\r\nHost: x\r\nX: ");
        QTest::newRow("a body now and then")
            << QByteArray("POST /api/v1/echo HTTP/1.1\r\nHost: x\r\nContent-Length: 5000\r\n\r\n");
        QTest::newRow("after an answer") << httpRequest("GET", "/api/v1/hello");
    }

    void slowClientsAreCut()
    {
        QFETCH(QByteArray, first);
        m_options.headTimeout = 1;
        m_options.bodyTimeout = 1;
        start();
        RawConnection slow(m_server->port());
        QVERIFY(slow.send(first));
        if (QByteArray(QTest::currentDataTag()) == "after an answer")
            QCOMPARE(slow.answer().status, 200);
        // One byte now and then keeps the line from being silent, and must not keep the connection.
        QElapsedTimer timer;
        timer.start();
        bool cut = false;
        while (!cut && timer.elapsed() < 6000) {
            cut = slow.closedWithin(100);
            if (!cut && !first.isEmpty())
                slow.send("x");
        }
        QVERIFY(cut);
        QVERIFY(timer.elapsed() >= 500);
        QCOMPARE(get("hello").status, 200);
    }

    void busyClientLeavesRoomForOthers()
    {
        m_options.workers = 4;
        start();
        // One client asks for more than there are workers; it never holds them all.
        std::vector<std::unique_ptr<RawConnection>> busy;
        for (int i = 0; i < 8; ++i) {
            busy.push_back(std::make_unique<RawConnection>(m_server->port()));
            busy.back()->send(httpRequest("GET", "/api/v1/wait", {}, "Arkvale-Access: greedy\r\n"));
        }
        QVERIFY(m_door->waitFor(3));
        QCOMPARE(ask(m_server->port(), httpRequest("GET", "/api/v1/hello", {}, "Arkvale-Access: modest\r\n")).body,
                 QByteArray("hello"));
        m_door->open();
        for (const auto &connection : busy)
            QCOMPARE(connection->answer().body, QByteArray("waited"));
    }

    void fullQueueRefuses()
    {
        m_options.workers = 1;
        m_options.maxQueue = 2;
        start();
        std::vector<std::unique_ptr<RawConnection>> waiting;
        const auto askToWait = [&] {
            waiting.push_back(std::make_unique<RawConnection>(m_server->port()));
            waiting.back()->send(httpRequest("GET", "/api/v1/wait"));
        };
        askToWait();
        QVERIFY(m_door->waitFor(1));
        for (std::size_t i = 2; i <= 3; ++i) {
            askToWait();
            QTRY_COMPARE(m_server->running(), i); // one works, the others wait
        }
        for (int i = 0; i < 4; ++i) {
            askToWait();
            QCOMPARE(waiting.back()->answer().status, 503);
            waiting.pop_back();
        }
        m_door->open();
        for (const auto &connection : waiting)
            QCOMPARE(connection->answer().status, 200);
        QCOMPARE(get("hello").status, 200);
    }

    void connectionsAreBounded()
    {
        m_options.maxConnectionsPerPeer = 5;
        start();
        std::vector<std::unique_ptr<RawConnection>> held;
        for (int i = 0; i < 5; ++i) {
            held.push_back(std::make_unique<RawConnection>(m_server->port()));
            held.back()->send(httpRequest("GET", "/api/v1/hello"));
            QCOMPARE(held.back()->answer().status, 200);
        }
        RawConnection tooMany(m_server->port());
        tooMany.send(httpRequest("GET", "/api/v1/hello"));
        QVERIFY(tooMany.closedWithin(5000));
        held.pop_back();
        bool again = false;
        QTRY_VERIFY(again = again || get("hello").status == 200);
    }

    void answersThatComeLater_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("before the handler returned") << QByteArray("early") << QByteArray("early");
        QTest::newRow("from another thread") << QByteArray("thread") << QByteArray("thread");
        QTest::newRow("never") << QByteArray("never") << QByteArray("otherwise");
        QTest::newRow("after a while") << QByteArray("after") << QByteArray("after");
    }

    void answersThatComeLater()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, body);
        m_options.workers = 1;
        std::vector<std::thread> threads;
        std::mutex mutex;
        m_router.add("GET", "/{kind}", [&](const Request &request) {
            const std::string kind = request.param("kind");
            auto pending = std::make_shared<PendingResponse>();
            const auto complete = [pending, kind] {
                pending->complete(text(kind));
                pending->complete(text("a second answer"));
            };
            if (kind == "after")
                return Response::after(50, [] { return text("after"); });
            if (kind == "early")
                complete();
            if (kind == "thread") {
                const std::lock_guard lock(mutex);
                threads.emplace_back(complete);
            }
            return Response::later(pending, kind == "never" ? 1 : 20, [] { return text("otherwise"); });
        });
        start();
        // More of them than workers: no thread waits for an answer.
        std::vector<std::unique_ptr<RawConnection>> connections;
        for (int i = 0; i < 10; ++i) {
            connections.push_back(std::make_unique<RawConnection>(m_server->port()));
            connections.back()->send(httpRequest("GET", "/api/v1/" + path));
        }
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(get("hello").body, QByteArray("hello"));
        for (const auto &connection : connections)
            QCOMPARE(connection->answer().body, body);
        QVERIFY(timer.elapsed() < 5000);
        for (std::thread &thread : threads)
            thread.join();
    }

    void filesAndProviders_data()
    {
        QTest::addColumn<int>("offset");
        QTest::addColumn<int>("length");
        QTest::addColumn<bool>("whole");
        QTest::newRow("whole file") << 0 << 3000000 << true;
        QTest::newRow("from the middle") << 1234567 << 1000000 << true;
        QTest::newRow("file ends early") << 2000000 << 2000000 << false;
    }

    void filesAndProviders()
    {
        QFETCH(int, offset);
        QFETCH(int, length);
        QFETCH(bool, whole);
        QTemporaryDir folder;
        QByteArray content;
        for (int i = 0; content.size() < 3000000; ++i)
            content += QByteArray::number(i) + ' ';
        content.truncate(3000000);
        QFile file(folder.filePath("file"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        const std::string path = file.fileName().toStdString();
        m_router.add("GET", "/file", [=](const Request &) {
            return Response::file(::open(path.c_str(), O_RDONLY), std::uint64_t(offset), std::uint64_t(length), "x/y");
        });
        start();
        // An answer that cannot be completed is cut, never silently short.
        const RawAnswer answer = get("file");
        QCOMPARE(answer.whole, whole);
        QCOMPARE(answer.headers.value("content-length").toInt(), length);
        QVERIFY(answer.body == content.mid(offset, answer.body.size()));
        QCOMPARE(get("hello").status, 200);
    }

    void slowBodyHoldsUpNobody()
    {
        m_options.networkThreads = 1;
        m_options.workers = 2;
        m_router.add("GET", "/slow", [this](const Request &) {
            return Response::provider(
                [this](std::uint64_t, char *buffer, std::size_t size) {
                    m_door->pass();
                    std::fill_n(buffer, size, 's');
                    return std::int64_t(size);
                },
                500000, "x/y");
        });
        start();
        RawConnection slow(m_server->port());
        slow.send(httpRequest("GET", "/api/v1/slow"));
        QVERIFY(m_door->waitFor(1));
        for (int i = 0; i < 20; ++i)
            QCOMPARE(get("hello").status, 200);
        m_door->open();
        const RawAnswer answer = slow.answer();
        QVERIFY(answer.whole);
        QCOMPARE(answer.body, QByteArray(500000, 's'));
    }

    void handlerFailureEndsOneRequest()
    {
        m_router.add("GET", "/throw", [](const Request &) -> Response { throw std::bad_alloc(); });
        m_router.add("GET", "/split", [](const Request &) {
            return text("x").setHeader("X-Evil", "a\r\nSet-Cookie: b").setHeader("X-Good", "c");
        });
        start();
        RawConnection connection(m_server->port());
        connection.send(httpRequest("GET", "/api/v1/throw"));
        QCOMPARE(connection.answer().status, 500);
        // A header that would start another one is left out.
        connection.send(httpRequest("GET", "/api/v1/split"));
        const RawAnswer split = connection.answer();
        QVERIFY(!split.headers.contains("set-cookie"));
        QCOMPARE(split.headers.value("x-good"), QByteArray("c"));
    }

    void gateRefusesBeforeTheHandler()
    {
        std::atomic<int> handled{0};
        m_router.add("GET", "/closed", [&](const Request &request) {
            ++handled;
            return text(request.user);
        });
        m_gate = [](Request &request, Access access) -> std::optional<Response> {
            if (access == Access::Open)
                return std::nullopt;
            if (request.header("x-key") != "right")
                return Response::error(401, "no", "No.");
            request.user = "anna";
            return std::nullopt;
        };
        start();
        QCOMPARE(get("closed").status, 401);
        QCOMPARE(handled.load(), 0);
        QCOMPARE(get("hello").status, 200);
        QCOMPARE(ask(m_server->port(), httpRequest("GET", "/api/v1/closed", {}, "X-Key: right\r\n")).body,
                 QByteArray("anna"));
    }

    void stopLetsRunningRequestsFinish()
    {
        start();
        RawConnection idle(m_server->port());
        idle.send(httpRequest("GET", "/api/v1/hello"));
        QCOMPARE(idle.answer().status, 200);
        RawConnection running(m_server->port());
        running.send(httpRequest("GET", "/api/v1/wait"));
        QVERIFY(m_door->waitFor(1));
        std::thread stopper([this] { m_server->stop(); });
        // Refused or closed: either way nothing new is begun.
        bool refused = false;
        QTRY_VERIFY(refused = refused || get("hello").status != 200);
        m_door->open();
        const RawAnswer answer = running.answer();
        QCOMPARE(answer.body, QByteArray("waited"));
        QVERIFY(answer.whole);
        stopper.join();
        QVERIFY(idle.closedWithin(1000));
    }

    void stopAnswersWhatWaits()
    {
        std::atomic<int> asked{0};
        const auto pending = std::make_shared<PendingResponse>();
        m_router.add("GET", "/job", [&](const Request &) {
            ++asked;
            return Response::later(pending, 600, [] { return text("still running"); });
        });
        start();
        RawConnection waiting(m_server->port());
        waiting.send(httpRequest("GET", "/api/v1/job"));
        QTRY_COMPARE(asked.load(), 1);
        QElapsedTimer timer;
        timer.start();
        m_server->stop();
        QVERIFY(timer.elapsed() < 5000);
        QCOMPARE(waiting.answer().body, QByteArray("still running"));
        pending->complete(text("too late"));
    }

    void stopGivesUpOnStuckClients()
    {
        m_options.stopTimeout = 1;
        m_router.add("GET", "/endless", [](const Request &) {
            return Response::provider(
                [](std::uint64_t, char *buffer, std::size_t size) {
                    std::fill_n(buffer, size, 'e');
                    return std::int64_t(size);
                },
                std::uint64_t(1) << 40, "x/y");
        });
        start();
        RawConnection neverReads(m_server->port());
        neverReads.send(httpRequest("GET", "/api/v1/endless"));
        RawConnection neverEnds(m_server->port());
        neverEnds.send("POST /api/v1/echo HTTP/1.1\r\nHost: x\r\nContent-Length: 10\r\n\r\nabc");
        QTRY_COMPARE(m_server->running(), std::size_t(2));
        QElapsedTimer timer;
        timer.start();
        m_server->stop();
        QVERIFY2(timer.elapsed() < 5000, QByteArray::number(timer.elapsed()).constData());
    }

    void startFailures()
    {
        start();
        HttpOptions taken;
        taken.port = m_server->port();
        HttpOptions nowhere;
        nowhere.listen = "not an address";
        HttpOptions badTls;
        badTls.tlsCertificate = badTls.tlsKey = "no certificate";
        for (const HttpOptions &options : {taken, nowhere, badTls}) {
            HttpServer server(options, Router(), nullptr);
            std::string error;
            QVERIFY(!server.start(&error));
            QVERIFY(!error.empty());
        }
    }

private:
    void start()
    {
        m_server = std::make_unique<HttpServer>(m_options, m_router, m_gate);
        std::string error;
        QVERIFY2(m_server->start(&error), error.c_str());
    }

    RawAnswer get(const QByteArray &path) { return ask(m_server->port(), httpRequest("GET", "/api/v1/" + path)); }

    HttpOptions m_options;
    Router m_router;
    HttpServer::Gate m_gate;
    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<Door> m_door;
};

ARKVALE_GUILESS_TEST(TestHttpServer)
#include "tst_service_httpserver.moc"
