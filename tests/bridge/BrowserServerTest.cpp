#include "BrowserServer.h"
#include "BridgeRequest.h"
#include "FakeOrvClient.h"
#include "GlobalConfig.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QWebSocket>

#include <algorithm>

/// A bridge on a free port, with pages that are real WebSocket clients; the service is scripted.
class BrowserServerTest : public StrictTest
{
    Q_OBJECT

private:
    std::unique_ptr<BrowserServer> m_bridge;
    QStringList m_log;

    std::unique_ptr<QWebSocket> connectPage()
    {
        auto page = std::make_unique<QWebSocket>(QStringLiteral("http://pages.example"));
        QSignalSpy connected(page.get(), SIGNAL(connected()));
        page->open(QUrl(QStringLiteral("ws://127.0.0.1:%1").arg(m_bridge->port())));
        if (connected.isEmpty())
            connected.wait();
        return page;
    }

    /// JSON is written with single quotes here.
    static QString q(const char *text) { return QString::fromUtf8(text).replace(QLatin1Char('\''), QLatin1Char('"')); }

    /// Whatever was sent before has been read by the bridge when its echo is back.
    static void settle(QWebSocket *page)
    {
        QSignalSpy echo(page, SIGNAL(binaryMessageReceived(QByteArray)));
        page->sendBinaryMessage("echo");
        QVERIFY(echo.wait());
        QCOMPARE(echo.first().first().toByteArray(), QByteArray("echo"));
        QCoreApplication::processEvents();
    }

    static void answerAuth(int code)
    {
        FakeService::instance().setScript([code](const FakeCall &call, int *answer, QByteArray *) {
            *answer = code;
            return call.operation == QLatin1String("auth");
        });
    }

private slots:
    void init()
    {
        beginStrict();
        FakeService::instance().reset();
        GlobalConfig::instance()->setCurrentUser(UserInfo());
        GlobalConfig::instance()->setRequestedSubCenterId(QString());
        m_log.clear();
        m_bridge = std::make_unique<BrowserServer>(0, OrvClient("1", "http://127.0.0.1:1", "", "", ""));
        m_bridge->setLoggerId(42);
        connect(m_bridge.get(), &BrowserServer::sigWriteLog, this,
                [this](int id, int level, const QString &text, const wchar_t *, int) {
                    QCOMPARE(id, 42);
                    QCOMPARE(level, 600);
                    m_log << text;
                });
        m_bridge->Start();
        QVERIFY(m_bridge->isRunning());
    }

    void cleanup()
    {
        m_bridge.reset();
        endStrict();
    }

    void loginAnswers_data()
    {
        QTest::addColumn<bool>("ready");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("answer");
        QTest::newRow("ready") << true << 200 << q("{'action':'login', 'ver': '1.0.0', 'wait': 0,  'status' : 200 }");
        QTest::newRow("not ready") << false << 200
                                   << q("{'action':'login', 'ver': '1.0.0', 'wait': 1,  'status' : 200 }");
        QTest::newRow("refused") << false << 403
                                 << q("{'action':'login', 'ver': '1.0.0', 'wait': 1,  'status' : 403 }");
        QTest::newRow("unreachable") << true << -2
                                     << q("{'action':'login', 'ver': '1.0.0', 'wait': 0,  'status' : -2 }");
    }

    void loginAnswers()
    {
        QFETCH(bool, ready);
        QFETCH(int, code);
        answerAuth(code);
        m_bridge->setReady(ready);
        const auto page = connectPage();
        QSignalSpy answers(page.get(), SIGNAL(textMessageReceived(QString)));
        page->sendTextMessage(q("{'action':'login','username':'demo','token':'T %1','center':'7'}"));
        QVERIFY(answers.wait());
        QTEST(answers.first().first().toString(), "answer");
        QCOMPARE(FakeService::instance().last("auth").arguments, QStringList({"demo", "T %1"}));
        QCOMPARE(GlobalConfig::instance()->requestedSubCenterId(), QStringLiteral("7"));
        QVERIFY(m_log.contains("Process login message client[http://pages.example]: demo:T %1,7 "));
        QVERIFY(!m_bridge->switchRequested());

        // Pages that wait are told, but only when the client gets ready.
        answers.clear();
        m_bridge->setReady(false);
        m_bridge->setReady(true);
        QVERIFY(answers.wait());
        QCOMPARE(answers.first().first().toString(), q("{'action':'SendOK', 'status' : 200}"));
        settle(page.get());
        QCOMPARE(answers.size(), 1);
    }

    void anotherUserIsSwitchedNotLoggedIn()
    {
        UserInfo user;
        user.username = QStringLiteral("demo");
        GlobalConfig::instance()->setCurrentUser(user);
        answerAuth(200);
        const auto page = connectPage();
        QSignalSpy answers(page.get(), SIGNAL(textMessageReceived(QString)));
        QSignalSpy switched(m_bridge.get(), SIGNAL(sigSwitchUser(QString)));
        page->sendTextMessage(q("{'action':'login','username':'Demo','token':'t'}"));
        QVERIFY(answers.wait());
        QCOMPARE(answers.first().first().toString(),
                 q("{'action':'login', 'ver': '1.0.0', 'wait': 2,  'status' : 200 }"));
        QVERIFY(FakeService::instance().calls("auth").isEmpty());
        QVERIFY(m_bridge->switchRequested());
        page->sendTextMessage(q("{'action':'logout'}"));
        QVERIFY(switched.wait());
        QCOMPARE(switched.first().first().toString(), QString());

        // The same user may log in again.
        page->sendTextMessage(q("{'action':'login','username':'demo','token':'t'}"));
        QVERIFY(answers.wait());
        QVERIFY(answers.last().first().toString().contains("\"wait\": 1"));
    }

    void downloads_data()
    {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QStringList>("paths"); // "type path"
        const QString all = q("{'action':'download','center':'3','src':[%1]}");
        QTest::newRow("first source only")
            << all.arg(q("{'path':'/a','names':[{'name':'x','type':'file'},{'name':'y','type':'folder'}]},"
                         "{'path':'/b','names':[{'name':'z','type':'file'}]}"))
            << QStringList{"0 /a/x", "1 /a/y"};
        QTest::newRow("backslashes") << all.arg(q("{'path':'a\\\\b','names':[{'name':'c.txt'}]}"))
                                     << QStringList{"0 a/b/c.txt"};
        QTest::newRow("case of the type")
            << all.arg(q("{'path':'/a/','names':[{'name':'x','type':'Folder'}]}")) << QStringList{"0 /a/x"};
        QTest::newRow("case of the action")
            << all.arg(q("{'path':'/a','names':[{'name':'x'}]}")).replace("dow", "Dow") << QStringList();
        QTest::newRow("names that lead elsewhere")
            << all.arg(q("{'path':'/a','names':[{'name':'..'},{'name':'b/c'},{'name':'b\\\\c'},{'name':''},"
                         "{'name':5},'x',{'name':'ok %1 \\\"q\\\" \\n'}]}"))
            << QStringList{"0 /a/ok %1 \"q\" \n"};
        QTest::newRow("folder that leads elsewhere")
            << all.arg(q("{'path':'/a\\\\..\\\\..','names':[{'name':'x'}]}")) << QStringList();
        QTest::newRow("no names") << all.arg(q("{'path':'/a','names':[]}")) << QStringList();
        QTest::newRow("no source") << all.arg("") << QStringList();
        QTest::newRow("wrong types") << q("{'action':'download','src':{'path':7}}") << QStringList();
        QTest::newRow("an array") << q("[{'action':'download'}]") << QStringList();
        QTest::newRow("broken") << q("{'action':'download'") << QStringList();
        QTest::newRow("deep") << QString(5000, '[') << QStringList();
        QTest::newRow("empty") << "" << QStringList();
    }

    void downloads()
    {
        QFETCH(QString, message);
        const auto page = connectPage();
        QSignalSpy requests(m_bridge.get(), SIGNAL(downloadRequest(QString, QList<FileItem>)));
        QSignalSpy answers(page.get(), SIGNAL(textMessageReceived(QString)));
        page->sendTextMessage(message);
        settle(page.get());
        QStringList paths;
        for (const QList<QVariant> &request : qAsConst(requests)) {
            QCOMPARE(request.at(0).toString(), QStringLiteral("3"));
            const auto items = request.at(1).value<QList<FileItem>>();
            for (const FileItem &item : items)
                paths << QStringLiteral("%1 ").arg(item.type) + item.path;
        }
        QTEST(paths, "paths");
        QVERIFY(answers.isEmpty());
        QCOMPARE(page->state(), QAbstractSocket::ConnectedState);
    }

    void uploads()
    {
        const auto page = connectPage();
        QSignalSpy requests(m_bridge.get(), SIGNAL(uploadRequest(QString, QString)));
        page->sendTextMessage(q("{'action':'upload','center':'3','dest':'/a/../b'}"));
        page->sendTextMessage(q("{'action':'upload','center':'3','dest':'/a b/c'}"));
        settle(page.get());
        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests.first(), QList<QVariant>({"3", "/a b/c"}));
        QVERIFY(m_log.contains("Process upload message client[http://pages.example]: 3:/a b/c "));
    }

    void aPageThatLeavesDuringItsLoginIsForgotten()
    {
        auto page = connectPage();
        page->sendTextMessage(q("{'action':'login','username':'demo','token':'t'}"));
        settle(page.get());
        const FakeCall call = FakeService::instance().last("auth");
        QVERIFY(call.id != 0);
        page.reset();
        const auto other = connectPage();
        settle(other.get());
        FakeService::instance().answer(call, 200);
        m_bridge->setReady(true);
        settle(other.get());
    }

    void limits()
    {
        const auto page = connectPage();
        QSignalSpy echo(page.get(), SIGNAL(binaryMessageReceived(QByteArray)));
        page->sendBinaryMessage(QByteArray(1024 * 1024, 'x'));
        QVERIFY(echo.wait());
        QSignalSpy closed(page.get(), SIGNAL(disconnected()));
        page->sendTextMessage(QString(1024 * 1024 + 1, 'x'));
        QVERIFY(closed.wait());
        QCOMPARE(page->closeCode(), QWebSocketProtocol::CloseCodeTooMuchData);

        std::vector<std::unique_ptr<QWebSocket>> pages;
        for (int i = 0; i < 64; ++i)
            pages.push_back(connectPage());
        const auto extra = connectPage();
        QTRY_COMPARE(extra->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(extra->closeCode(), QWebSocketProtocol::CloseCodePolicyViolated);
        settle(pages.back().get());
        // One leaves, and there is room again.
        pages.front()->close();
        QTRY_COMPARE(pages.front()->state(), QAbstractSocket::UnconnectedState);
        settle(pages.back().get());
        const auto next = connectPage();
        settle(next.get());
    }

    void floodsAndPeersThatDoNotRead()
    {
        const auto calm = connectPage();
        // A hundred messages a second are more than a page has to say; the one after them ends the connection.
        const auto flood = connectPage();
        QSignalSpy cut(flood.get(), SIGNAL(disconnected()));
        for (int i = 0; i < 500; ++i)
            flood->sendTextMessage(QStringLiteral("{}"));
        QVERIFY(cut.wait());
        QCOMPARE(m_log.filter(QStringLiteral("Received message")).size(), 100);
        QCOMPARE(m_log.filter(QStringLiteral("sends too much")).size(), 1);

        // Connections that never say what they are do not pile up.
        std::vector<std::unique_ptr<QTcpSocket>> silent;
        for (int i = 0; i < 200; ++i) {
            silent.push_back(std::make_unique<QTcpSocket>());
            silent.back()->connectToHost(QHostAddress(QHostAddress::LocalHost), m_bridge->port());
        }
        const auto open = [&silent] {
            return std::count_if(silent.begin(), silent.end(), [](const std::unique_ptr<QTcpSocket> &socket) {
                return socket->state() == QAbstractSocket::ConnectedState;
            });
        };
        QTRY_VERIFY(open() > 0 && open() <= 128);
        settle(calm.get());
    }

    void startAndStop()
    {
        const quint16 port = m_bridge->port();
        m_bridge->Start();
        QCOMPARE(m_bridge->port(), port);
        QVERIFY(messages().join(QString()).contains("it's already running..."));
        const auto page = connectPage();
        QSignalSpy closed(page.get(), SIGNAL(disconnected()));
        m_bridge->Stop();
        QVERIFY(closed.wait());
        QCOMPARE(page->closeCode(), QWebSocketProtocol::CloseCodeNormal);
        QVERIFY(!m_bridge->isRunning());
        m_bridge->Stop();
        QVERIFY(messages().join(QString()).contains(", it's not running..."));
        m_bridge->Start();
        QVERIFY(connectPage()->isValid());

        // A port in use leaves the bridge stopped.
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress(QHostAddress::LocalHost), 0));
        BrowserServer late(other.serverPort(), OrvClient("1", "http://127.0.0.1:1", "", "", ""));
        late.Start();
        QVERIFY(!late.isRunning());
    }
};

ARKVALE_GUILESS_TEST(BrowserServerTest)
#include "BrowserServerTest.moc"
