#include "OrvClient.h"

#include "AnswerLog.h"
#include "HttpFake.h"
#include "OperationTable.h"
#include "RequestSignature.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QThread>

#include <memory>

namespace {

OrvClient makeClient(const QString &url)
{
    return OrvClient(QStringLiteral("1.2"), url, QStringLiteral("al ice"), QStringLiteral("acc"),
                     QStringLiteral("s3cret-token"));
}

bool signatureHolds(const HttpFake::Request &request)
{
    const int mark = request.target.indexOf('?');
    const auto headers =
        RequestSignature(QStringLiteral("al ice"), QStringLiteral("acc"), QStringLiteral("s3cret-token"))
            .headersAt(request.headers.value("arkvale-time").toLongLong(), request.headers.value("arkvale-nonce"),
                       request.method, request.path(), mark < 0 ? QByteArray() : request.target.mid(mark + 1),
                       request.body);
    for (const auto &header : headers) {
        if (request.headers.value(header.first.toLower()) != header.second)
            return false;
    }
    return !headers.isEmpty();
}

} // namespace

/// What goes right: requests on the wire, answers, jobs, ids, copies.
class OrvClientTest : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("ARKVALE_HTTP_LIMITS", "800,1500,1048576"); }

    void wire_data()
    {
        QTest::addColumn<int>("row");
        for (size_t i = 0; i < operationTable().size(); ++i)
            QTest::newRow(operationTable()[i].name) << int(i);
    }

    void wire()
    {
        QFETCH(int, row);
        const OperationRow &operation = operationTable()[size_t(row)];
        QTemporaryDir folder;
        QFile picture(folder.filePath(QStringLiteral("pic.png")));
        QVERIFY(picture.open(QIODevice::WriteOnly) && picture.write("PIC") == 3);
        picture.close();

        HttpFake fake([](const HttpFake::Request &) { return HttpFake::reply(200, "{\"k\":\"v\"}"); });
        OrvClient client = makeClient(fake.address() + QLatin1Char('/'));
        AnswerLog log(&client);
        const qint64 id = operation.call(client, folder.path());
        QCOMPARE(log.size(), 0);
        QVERIFY(log.wait(1));
        const AnswerLog::Answer answer = log.of(id);
        QCOMPARE(answer.code, 200);
        QCOMPARE(answer.signal, QByteArray(operation.answer) + "Finished");

        QFile saved(folder.filePath(QString::fromLatin1(operation.file)));
        if (*operation.file) {
            QVERIFY(saved.open(QIODevice::ReadOnly));
            QCOMPARE(saved.readAll(), QByteArray("{\"k\":\"v\"}"));
            QVERIFY(answer.body.isEmpty());
        } else {
            QCOMPARE(answer.body, QByteArray("{\"k\":\"v\"}"));
        }

        QCOMPARE(fake.requests().size(), 1);
        const HttpFake::Request request = fake.requests().first();
        QCOMPARE(request.method + ' ' + request.target, QByteArray(operation.request));
        QCOMPARE(request.json(), QJsonDocument::fromJson(operation.body).object());
        QCOMPARE(request.body.isEmpty(), *operation.body == 0);
        QCOMPARE(signatureHolds(request), operation.isSigned);
        QCOMPARE(request.headers.contains("arkvale-access"), operation.isSigned);
        QVERIFY(!request.raw.contains("s3cret-token"));
    }

    void statusCodes_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("operation");
        QTest::addColumn<int>("code");
        const struct
        {
            int status;
            const char *body;
            const char *operation;
            int code;
        } rows[] = {
            {201, "", "mkdir", 200},
            {401, "", "getUserInfo", 201},
            {401, "{\"error\":\"repeated\"}", "move", OrvClient::BrokenReply},
            {401, "{\"error\":\"expired\"}", "getPreviewFile", 201},
            {401, "", "login", 401},
            {403, "{\"error\":\"restricted\"}", "login", 201},
            {403, "{\"error\":\"restricted\"}", "listFile", 201},
            {403, "{\"error\":\"denied\"}", "listFile", 403},
            {404, "", "listFile", 203},
            {404, "", "getFileInfo", 404},
            {500, "", "copy", 500},
            {202, "{}", "copy", OrvClient::BrokenReply},
            {206, "{}", "listFile", 206},
        };
        for (const auto &row : rows) {
            QTest::newRow(qPrintable(
                QStringLiteral("%1 %2 %3").arg(row.status).arg(QLatin1String(row.operation), QLatin1String(row.body))))
                << row.status << QByteArray(row.body) << QByteArray(row.operation) << row.code;
        }
    }

    void statusCodes()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, operation);
        QFETCH(int, code);
        QTemporaryDir folder;
        HttpFake fake([=](const HttpFake::Request &) { return HttpFake::reply(status, body); });
        OrvClient client = makeClient(fake.address());
        AnswerLog log(&client);
        for (const OperationRow &row : operationTable()) {
            if (row.name != operation)
                continue;
            const qint64 id = row.call(client, folder.path());
            QVERIFY(log.wait(1));
            QCOMPARE(log.of(id).code, code);
        }
        QCOMPARE(log.size(), 1);
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void jobs_data()
    {
        QTest::addColumn<QByteArrayList>(
            "polls"); // "status body", or "" for a dropped connection; the last one repeats
        QTest::addColumn<int>("copyCode");
        QTest::addColumn<int>("compressCode");
        const QByteArray running = "200 {\"state\":\"running\"}";
        QTest::newRow("done at once") << QByteArrayList{"200 {\"state\":\"done\",\"status\":200}"} << 202 << 200;
        QTest::newRow("name taken") << QByteArrayList{running, "200 {\"state\":\"failed\",\"status\":409}"} << 409
                                    << 409;
        QTest::newRow("restricted")
            << QByteArrayList{"200 {\"state\":\"failed\",\"status\":403,\"error\":\"restricted\"}"} << 201 << 201;
        QTest::newRow("failed without reason") << QByteArrayList{"200 {\"state\":\"failed\"}"} << 500 << 500;
        QTest::newRow("failed with nonsense")
            << QByteArrayList{"200 {\"state\":\"failed\",\"status\":200}"} << 500 << 500;
        QTest::newRow("service restarted") << QByteArrayList{running, "", "404 {}"} << 404 << 404;
        QTest::newRow("line lost for a while")
            << QByteArrayList{"", "", "503 {}", "200 {\"state\":\"done\"}"} << 202 << 200;
        QTest::newRow("line lost") << QByteArrayList{running, ""} << int(OrvClient::BrokenReply)
                                   << int(OrvClient::BrokenReply);
        QTest::newRow("no state") << QByteArrayList{"200 []"} << int(OrvClient::BrokenReply)
                                  << int(OrvClient::BrokenReply);
    }

    void jobs()
    {
        QFETCH(QByteArrayList, polls);
        QFETCH(int, copyCode);
        QFETCH(int, compressCode);
        QHash<QByteArray, int> step;
        HttpFake fake([&](const HttpFake::Request &request) {
            if (request.method == "POST")
                return HttpFake::reply(202, "{\"job\":\"a/" + request.path().mid(12) + "\"}");
            const QByteArray poll = polls.value(qMin(step[request.path()]++, polls.size() - 1));
            return poll.isEmpty() ? HttpFake::Answer{"", true} : HttpFake::reply(poll.left(3).toInt(), poll.mid(4));
        });
        OrvClient client = makeClient(fake.address() + QStringLiteral("/sc/2"));
        AnswerLog log(&client);
        const qint64 copy = client.copy({QStringLiteral("/a")}, QStringLiteral("/d"));
        const qint64 compress = client.compress({QStringLiteral("/a")}, QStringLiteral("/d/z"));
        QVERIFY(log.wait(2));
        QCOMPARE(log.of(copy).code, copyCode);
        QCOMPARE(log.of(compress).code, compressCode);
        for (const HttpFake::Request &request : fake.requests()) {
            QVERIFY(signatureHolds(request));
            QVERIFY2(request.method == "POST" || request.target.startsWith("/base/sc/2/jobs/a%2F"),
                     request.target.constData());
        }
    }

    void icons()
    {
        const auto script = [](const HttpFake::Request &) { return HttpFake::reply(200, "png"); };
        HttpFake own(script);
        HttpFake foreign(script);
        OrvClient client = makeClient(own.address());
        AnswerLog log(&client);
        client.getIcon(own.address() + QStringLiteral("/icons/a.png"));
        client.getIcon(QStringLiteral("/elsewhere/b.png"));
        client.getIcon(foreign.address() + QStringLiteral("/c.png"));
        for (const char *bad :
             {"", "file:///etc/passwd", "ftp://127.0.0.1/x", "data:image/png;base64,AAAA", "http://", "qrc:/x"}) {
            const qint64 id = client.getIcon(QString::fromLatin1(bad));
            QTRY_COMPARE(log.of(id).code, int(OrvClient::BadAddress));
        }
        QVERIFY(log.wait(9));
        QCOMPARE(own.requests().size(), 2);
        QVERIFY(signatureHolds(own.requests()[0]) && signatureHolds(own.requests()[1]));
        QCOMPARE(foreign.requests().size(), 1);
        QVERIFY(!foreign.requests().first().raw.contains("Arkvale-"));
    }

    void clockIsAdjusted()
    {
        const qint64 ahead = Q_INT64_C(5) * 3600 * 1000;
        HttpFake fake([ahead](const HttpFake::Request &request) {
            const qint64 now = QDateTime::currentMSecsSinceEpoch() + ahead;
            if (qAbs(request.headers.value("arkvale-time").toLongLong() - now) < 300 * 1000)
                return HttpFake::reply(200, "{}");
            return HttpFake::reply(401, "{\"error\":\"time\"}", "Arkvale-Time: " + QByteArray::number(now) + "\r\n");
        });
        OrvClient client = makeClient(fake.address());
        AnswerLog log(&client);
        const qint64 first = client.mkdir(QStringLiteral("/a"));
        QTRY_COMPARE(log.of(first).code, 200);
        const qint64 second = client.mkdir(QStringLiteral("/b"));
        QTRY_COMPARE(log.of(second).code, 200);
        QCOMPARE(fake.requests().size(), 3);

        // A service that is never content is asked twice, not for ever.
        fake.setScript([](const HttpFake::Request &) {
            return HttpFake::reply(401, "{\"error\":\"time\"}", "Arkvale-Time: 1\r\n");
        });
        const qint64 third = client.mkdir(QStringLiteral("/c"));
        QTRY_COMPARE(log.of(third).code, 201);
        QCOMPARE(fake.requests().size(), 5);
    }

    void idsAreUniqueAcrossThreads()
    {
        const OrvClient master = makeClient(QStringLiteral("not an address"));
        constexpr int kThreads = 4;
        constexpr int kCalls = 300;
        QList<qint64> ids[kThreads];
        int answers[kThreads] = {};
        std::vector<std::unique_ptr<QThread>> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back(QThread::create([&master, &mine = ids[t], &count = answers[t]] {
                QEventLoop loop;
                OrvClient client(master);
                QObject::connect(&client, &OrvClient::mkdirFinished, &client,
                                 [&](qint64, int code, const QByteArray &) {
                                     count += code == OrvClient::BadAddress;
                                     if (count == kCalls)
                                         loop.quit();
                                 });
                for (int i = 0; i < kCalls; ++i)
                    mine << client.mkdir(QStringLiteral("/x"));
                loop.exec();
            }));
            threads.back()->start();
        }
        QSet<qint64> all;
        for (int t = 0; t < kThreads; ++t) {
            QVERIFY(threads[size_t(t)]->wait(10000));
            QCOMPARE(answers[t], kCalls);
            for (qint64 id : qAsConst(ids[t]))
                all << id;
        }
        QCOMPARE(all.size(), kThreads * kCalls);
    }

    void copiesShareConnectionsOnly()
    {
        HttpFake fake([](const HttpFake::Request &) { return HttpFake::reply(200, "{}"); });
        OrvClient client = makeClient(fake.address());
        AnswerLog log(&client);
        for (int i = 0; i < 10; ++i) {
            OrvClient copy(client);
            copy.setUrl(fake.address() + QStringLiteral("/sc/%1").arg(i));
            copy.setUser(QStringLiteral("other"));
            AnswerLog copyLog(&copy);
            const qint64 id = copy.getFileInfo(QStringLiteral("/a"));
            QVERIFY(copyLog.wait(1));
            QCOMPARE(copyLog.of(id).code, 200);
            QVERIFY(fake.requests().last().target.startsWith("/base/sc/" + QByteArray::number(i)));
        }
        QCOMPARE(log.size(), 0);
        QCOMPARE(fake.connectionCount(), 1);

        const QString none;
        OrvClient assigned(none, none, none, none, none);
        AnswerLog assignedLog(&assigned);
        assigned = client;
        const qint64 id = assigned.getFileInfo(QStringLiteral("/a"));
        QVERIFY(assignedLog.wait(1));
        QCOMPARE(assignedLog.of(id).code, 200);
        QVERIFY(signatureHolds(fake.requests().last()));
        QCOMPARE(log.size(), 0);
    }

    void queuedCallsAreNotTakenForStalledOnes()
    {
        HttpFake fake([](const HttpFake::Request &) {
            HttpFake::Answer answer = HttpFake::reply(200, "{}");
            answer.delay = 200;
            return answer;
        });
        OrvClient client = makeClient(fake.address());
        AnswerLog log(&client);
        QList<qint64> ids;
        for (int i = 0; i < 24; ++i)
            ids << client.getFileInfo(QStringLiteral("/a"));
        QVERIFY(log.wait(ids.size()));
        for (qint64 id : qAsConst(ids))
            QCOMPARE(log.of(id).code, 200);
        QVERIFY(fake.connectionCount() <= 6);
    }
};

ARKVALE_GUILESS_TEST(OrvClientTest)
#include "OrvClientTest.moc"
