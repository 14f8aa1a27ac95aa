#include "AnswerLog.h"
#include "HttpFake.h"
#include "OperationTable.h"
#include "TestCertificate.h"
#include "TestFiles.h"
#include "TestSupport.h"

#include <QSslSocket>
#include <QTemporaryDir>
#include <QThread>

#include <memory>

#ifdef Q_OS_UNIX
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace {

constexpr int kLimit = 1024 * 1024; // as in ARKVALE_HTTP_LIMITS

OrvClient makeClient(const QString &url)
{
    return OrvClient(QStringLiteral("1.2\r\nX-Evil: 1"), url, QStringLiteral("alice"), QStringLiteral("acc"),
                     QStringLiteral("tok"));
}

// A zlib stream, as "Content-Encoding: deflate" carries it.
QByteArray deflated(const QByteArray &data)
{
    return qCompress(data, 9).mid(4);
}

} // namespace

/// What goes wrong: hostile and dying services, and clients that go away with calls under way.
class OrvClientFaultTest : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("ARKVALE_HTTP_LIMITS", "800,1500,1048576"); }
    void everyOperationAnswersOnce_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("close");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("previewCode"); // of the operation that writes a file; 0: the same
        QTest::addColumn<int>("shareCode");   // of the operation that writes a file of any size; 0: the same
        const int broken = OrvClient::BrokenReply;
        const int oversized = OrvClient::OversizedReply;
        const int late = OrvClient::TimedOut;
        const auto row = [](const char *name, const QByteArray &bytes, bool close, int code, int preview = 0,
                            int share = 0) { QTest::newRow(name) << bytes << close << code << preview << share; };
        const QByteArray ok = HttpFake::reply(200, "{\"a\":1}").bytes;
        const QByteArray http = "HTTP/1.1 200 OK\r\n";
        const QByteArray chunked = http + "Transfer-Encoding: chunked\r\n\r\n";

        row("garbage", QByteArray(4096, '\x80'), true, broken);
        row("closed at once", "", true, broken);
        row("half a body", ok.chopped(3), true, broken);
        row("half a chunk", chunked + "ff\r\nabc", true, broken);
        row("twice", ok + ok, false, 200);
        row("silence", "", false, late);
        row("stuck in the body", ok.chopped(3), false, late);
        row("promises too much", http + "Content-Length: 9000000000000\r\n\r\nabc", true, oversized, 0, broken);
        row("says little, sends much", chunked + "200000\r\n" + QByteArray(2 * kLimit, 'x') + "\r\n0\r\n\r\n", false,
            oversized, broken, broken);
        row("big error body", HttpFake::reply(500, QByteArray(kLimit / 2, 'x')).bytes, false, 500);
        row("deep nesting", HttpFake::reply(200, QByteArray(100000, '[')).bytes, false, 200);
        row("deep job", HttpFake::reply(202, "{\"job\":" + QByteArray(100000, '[')).bytes, false, broken);
        row("other protocol", http + "Arkvale-Protocol: 2\r\nContent-Length: 2\r\n\r\n{}", false, broken);

        const auto packed = [](const QByteArray &body, const char *encoding = "deflate") {
            return HttpFake::reply(200, body, QByteArray("Content-Encoding: ") + encoding + "\r\n").bytes;
        };
        row("packed", packed(deflated("{}")), false, 200, broken, broken);
        row("packed and torn", packed(deflated("{}").chopped(2)), false, broken);
        row("packed and more", packed(deflated("{}") + "x"), false, broken);
        row("not packed at all", packed("{}"), false, broken);
        row("packed strangely", packed("{}", "br"), false, broken);
        row("bomb", packed(deflated(QByteArray(64 * kLimit, 0))), false, oversized, broken, broken);
    }

    void everyOperationAnswersOnce()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, close);
        QFETCH(int, code);
        QFETCH(int, previewCode);
        QFETCH(int, shareCode);
        QTemporaryDir folder;
        writeFile(folder.filePath(QStringLiteral("pic.png")), QByteArray());
        // A service for each operation, so that none waits for its turn.
        std::vector<std::unique_ptr<HttpFake>> fakes;
        OrvClient client = makeClient(QString());
        AnswerLog log(&client);
        QHash<qint64, QByteArray> calls;
        for (const OperationRow &row : operationTable()) {
            fakes.push_back(std::make_unique<HttpFake>([=](const HttpFake::Request &) {
                return HttpFake::Answer{bytes, close};
            }));
            client.setUrl(fakes.back()->address());
            calls.insert(row.call(client, folder.path()), row.name);
        }
        QCOMPARE(calls.size(), int(operationTable().size()));
        QVERIFY(log.wait(calls.size()));
        for (auto it = calls.cbegin(); it != calls.cend(); ++it) {
            const int special = it.value() == "getPreviewFile"      ? previewCode
                                : it.value() == "shareToMeDownload" ? shareCode
                                                                    : 0;
            const int expected = special ? special : code;
            const AnswerLog::Answer answer = log.of(it.key());
            QVERIFY2(answer.code == expected,
                     qPrintable(QStringLiteral("%1: %2").arg(QLatin1String(it.value())).arg(answer.code)));
            QCOMPARE(answer.count, 1);
        }
        for (const auto &fake : fakes)
            QVERIFY(!fake->requests().isEmpty() && !fake->requests().first().headers.contains("x-evil"));
        // Nothing comes later, and nothing is left behind beside the files that arrived whole.
        QCoreApplication::processEvents();
        QCOMPARE(log.size(), calls.size());
        QVERIFY(client.children().isEmpty());
        for (const QString &name : QDir(folder.path()).entryList(QDir::Files))
            QVERIFY2(name.endsWith(QLatin1String(".png")) || name.endsWith(QLatin1String(".bin")), qPrintable(name));
    }

    void noAddress()
    {
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost));
        const QString refused = QStringLiteral("http://127.0.0.1:%1/").arg(closed.serverPort());
        closed.close();
        const QPair<QString, int> rows[] = {{QString(), OrvClient::BadAddress},
                                            {QStringLiteral("drive.example"), OrvClient::BadAddress},
                                            {QStringLiteral("ftp://127.0.0.1/"), OrvClient::BadAddress},
                                            {QStringLiteral("http://[::1"), OrvClient::BadAddress},
                                            {refused, OrvClient::ConnectFailed},
                                            {QStringLiteral("http://no-such-host.invalid/"), OrvClient::ConnectFailed}};
        for (const auto &row : rows) {
            OrvClient client = makeClient(row.first);
            AnswerLog log(&client);
            const qint64 first = client.login(QStringLiteral("a"), QStringLiteral("b"));
            const qint64 second = client.getFileInfo(QStringLiteral("/"));
            QVERIFY(log.wait(2));
            // A resolver that drops the question instead of answering it is as good as a host that does not answer.
            const auto same = [&](qint64 id) {
                const int code = log.of(id).code;
                return code == row.second ||
                       (row.first.contains(QLatin1String("invalid")) && code == OrvClient::TimedOut);
            };
            QVERIFY2(same(first) && same(second), qPrintable(row.first));
        }
    }

    // A listening socket whose backlog is full lets further connections wait.
    void hungConnect()
    {
#ifdef Q_OS_UNIX
        const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        QCOMPARE(::bind(listener, reinterpret_cast<sockaddr *>(&address), size), 0);
        QCOMPARE(::listen(listener, 0), 0);
        QCOMPARE(::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size), 0);
        std::vector<std::unique_ptr<QTcpSocket>> fillers;
        for (int i = 0; i < 4; ++i) {
            fillers.push_back(std::make_unique<QTcpSocket>());
            fillers.back()->connectToHost(QHostAddress::LocalHost, ntohs(address.sin_port));
            fillers.back()->waitForConnected(100);
        }
        OrvClient client = makeClient(QStringLiteral("http://127.0.0.1:%1").arg(ntohs(address.sin_port)));
        AnswerLog log(&client);
        QElapsedTimer timer;
        timer.start();
        const qint64 id = client.getFileInfo(QStringLiteral("/"));
        QVERIFY(log.wait(1));
        QCOMPARE(log.of(id).code, int(OrvClient::TimedOut));
        QVERIFY(timer.elapsed() >= 350);
        ::close(listener);
#else
        QSKIP("needs a listening socket with a full backlog");
#endif
    }

    void redirectsStayHome_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("target"); // %1: the other service
        QTest::addColumn<int>("getCode");
        QTest::addColumn<int>("postCode");
        QTest::newRow("same origin") << 302 << "/base/files/other?x=1" << 200 << 302;
        QTest::newRow("same origin, kept method") << 307 << "/base/files/other" << 200 << 200;
        QTest::newRow("other port, kept method") << 308 << "%1/files/other" << 308 << 308;
        QTest::newRow("loop") << 302 << "/base/files/info" << 302 << 302;
        QTest::newRow("to a file") << 302 << "file:///etc/passwd" << 302 << 302;
        QTest::newRow("nowhere") << 302 << "" << 302 << 302;
    }

    void redirectsStayHome()
    {
        QFETCH(int, status);
        QFETCH(QString, target);
        QFETCH(int, getCode);
        QFETCH(int, postCode);
        HttpFake other([](const HttpFake::Request &) { return HttpFake::reply(200, "{}"); });
        const QByteArray location =
            target.contains(QLatin1Char('%')) ? target.arg(other.address()).toUtf8() : target.toUtf8();
        HttpFake fake([=](const HttpFake::Request &request) {
            if (request.path() == "/base/files/other")
                return HttpFake::reply(200, "{}");
            return HttpFake::reply(status, "", location.isEmpty() ? location : "Location: " + location + "\r\n");
        });
        OrvClient client = makeClient(fake.address());
        AnswerLog log(&client);
        const qint64 get = client.getFileInfo(QStringLiteral("/a"));
        QVERIFY(log.wait(1));
        const qint64 post = client.mkdir(QStringLiteral("/a"));
        QVERIFY(log.wait(2));
        QCOMPARE(log.of(get).code, getCode);
        QCOMPARE(log.of(post).code, postCode);
        QCOMPARE(other.connectionCount(), 0);
        QVERIFY(fake.requests().size() <= 2 + 5);
        QSet<QByteArray> nonces;
        for (const HttpFake::Request &request : fake.requests())
            nonces << request.headers.value("arkvale-nonce");
        QCOMPARE(nonces.size(), fake.requests().size());
    }

    void tlsIsVerified()
    {
        if (!QSslSocket::supportsSsl())
            QSKIP("no TLS here");
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        const QSslConfiguration tls = makeServerTls("localhost");
        // Two services, since a network manager keeps the TLS settings of a host it has talked to.
        HttpFake fakes[] = {HttpFake(nullptr), HttpFake(nullptr)};
        QString names[2];
        for (int i = 0; i < 2; ++i) {
            fakes[i].setScript([](const HttpFake::Request &) { return HttpFake::reply(200, "{}"); });
            fakes[i].setTls(tls);
            names[i] = fakes[i].address().replace(QLatin1String("127.0.0.1"), QLatin1String("localhost"));
        }
        const auto codeFor = [](const QString &url) {
            OrvClient client = makeClient(url);
            AnswerLog log(&client);
            const qint64 id = client.getFileInfo(QStringLiteral("/"));
            return log.wait(1) ? log.of(id).code : 0;
        };
        QCOMPARE(codeFor(names[0]), int(OrvClient::ConnectFailed)); // nobody vouches for it
        QSslConfiguration trusting = before;
        trusting.setCaCertificates({tls.localCertificate()});
        QSslConfiguration::setDefaultConfiguration(trusting);
        QCOMPARE(codeFor(fakes[1].address()), int(OrvClient::ConnectFailed)); // it is somebody else's
        QVERIFY(fakes[0].requests().isEmpty() && fakes[1].requests().isEmpty());
        QCOMPARE(codeFor(names[1]), 200);
        QSslConfiguration::setDefaultConfiguration(before);
    }

    void failedFileLeavesTheOldOne_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("close");
        QTest::addColumn<int>("code");
        const QByteArray ok = HttpFake::reply(200, QByteArray(100000, 'n')).bytes;
        QTest::newRow("whole") << ok << false << 200;
        QTest::newRow("torn") << ok.left(50000) << true << int(OrvClient::BrokenReply);
        QTest::newRow("stuck") << ok.left(50000) << false << int(OrvClient::TimedOut);
        QTest::newRow("refused") << HttpFake::reply(403, "{\"error\":\"denied\"}").bytes << false << 403;
        QTest::newRow("too big") << HttpFake::reply(200, QByteArray(kLimit + 1, 'n')).bytes << false
                                 << int(OrvClient::OversizedReply);
    }

    void failedFileLeavesTheOldOne()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, close);
        QFETCH(int, code);
        QTemporaryDir folder;
        const QString path = folder.filePath(QString::fromUtf8("\xe5\x90\x8d old"));
        QFile old(path);
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
        old.close();
        HttpFake fake([=](const HttpFake::Request &) { return HttpFake::Answer{bytes, close}; });
        OrvClient client = makeClient(fake.address());
        AnswerLog log(&client);
        const qint64 id = client.getPreviewFile(QStringLiteral("/a"), path);
        const qint64 nowhere =
            client.getPreviewFile(QStringLiteral("/a"), folder.filePath(QStringLiteral("no/such/folder")));
        QVERIFY(log.wait(2));
        QCOMPARE(log.of(id).code, code);
        QVERIFY(log.of(nowhere).code == code || log.of(nowhere).code == OrvClient::LocalFile);
        QVERIFY(code != 200 || log.of(nowhere).code == OrvClient::LocalFile);
        QVERIFY(old.open(QIODevice::ReadOnly));
        const QByteArray now = old.readAll();
        QCOMPARE(now, code == 200 ? bytes.mid(bytes.indexOf("\r\n\r\n") + 4) : QByteArray("old"));
        QCOMPARE(QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 1);
    }

    void destroyedClientIsSilent()
    {
        HttpFake fake([](const HttpFake::Request &) { return HttpFake::silence(); });
        int answers = 0;
        {
            OrvClient client = makeClient(fake.address());
            for (int i = 0; i < 20; ++i)
                client.getFileInfo(QStringLiteral("/a"));
            connect(&client, &OrvClient::getFileInfoFinished, this, [&] { ++answers; });
            QTRY_COMPARE(fake.requests().size(), 6);
        }
        // Its requests end with it, and those that waited for their turn are never sent.
        QTRY_COMPARE(fake.openConnections(), 0);
        QCOMPARE(fake.requests().size(), 6);
        QCOMPARE(answers, 0);

        fake.setScript([](const HttpFake::Request &) { return HttpFake::reply(200, "{}"); });
        OrvClient next = makeClient(fake.address());
        AnswerLog log(&next);
        const qint64 id = next.getFileInfo(QStringLiteral("/a"));
        QTRY_COMPARE(log.of(id).code, 200);
    }

    void destroyedInsideTheAnswer()
    {
        HttpFake fake([](const HttpFake::Request &) { return HttpFake::reply(200, "{}"); });
        const QString addresses[] = {fake.address(), QStringLiteral("nothing"), QStringLiteral("http://127.0.0.1:1")};
        for (const QString &address : addresses) {
            auto *client = new OrvClient(makeClient(address));
            int answers = 0;
            bool gone = false;
            connect(client, &OrvClient::getUserPathFinished, this, [&] {
                ++answers;
                delete client;
                gone = true;
            });
            for (int i = 0; i < 10; ++i)
                client->getUserPath(QStringLiteral("alice"), address, QStringLiteral("/"));
            QTRY_VERIFY(gone);
            QCoreApplication::processEvents();
            QCOMPARE(answers, 1);
        }
    }

    void endOfTheThreadAnswers()
    {
        HttpFake fake([](const HttpFake::Request &) { return HttpFake::silence(); });
        QThread thread;
        thread.start();
        QObject inThread;
        inThread.moveToThread(&thread);
        std::unique_ptr<OrvClient> client;
        QList<int> codes;
        QMetaObject::invokeMethod(&inThread, [&] {
            client = std::make_unique<OrvClient>(makeClient(fake.address()));
            for (int i = 0; i < 8; ++i)
                client->getFileInfo(QStringLiteral("/a"));
            connect(client.get(), &OrvClient::getFileInfoFinished, client.get(),
                    [&](qint64, int code, const QByteArray &) { codes << code; });
        });
        QTRY_COMPARE(fake.requests().size(), 6);
        thread.quit();
        QVERIFY(thread.wait(5000));
        QCOMPARE(codes, QList<int>(QVector<int>(8, OrvClient::ShutDown).toList()));
        client.reset();
    }
};

ARKVALE_GUILESS_TEST(OrvClientFaultTest)
#include "OrvClientFaultTest.moc"
