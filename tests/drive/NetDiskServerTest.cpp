#include "NetDiskServer.h"
#include "FakeOrvClient.h"
#include "GlobalConfig.h"
#include "TestSupport.h"

#include <QApplication>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTimer>

#include <memory>

namespace {

QByteArray listing(int count)
{
    QByteArray body = "{\"items\":[";
    for (int i = 0; i < count; ++i) {
        if (i > 0)
            body += ',';
        body += "{\"name\":\"f" + QByteArray::number(i) + "\",\"type\":0,\"size\":7,\"path\":\"/big/f" +
                QByteArray::number(i) + "\",\"datetime\":5,\"modifiedTime\":6}";
    }
    return body + "]}";
}

QString pathsOf(const QList<FileItem> &items)
{
    QStringList paths;
    for (const FileItem &item : items)
        paths << item.path;
    return paths.join(QLatin1Char(','));
}

const char TwoItems[] = "{\"items\":[{\"path\":\"/d/a\"},{\"path\":\"/d/b\"}]}";

} // namespace

class NetDiskServerTest : public StrictTest
{
    Q_OBJECT

private:
    std::unique_ptr<NetDiskServer> m_server;
    QStringList m_events;

    /// Writes down every signal of the server as one line.
    void watch()
    {
        NetDiskServer *s = m_server.get();
        const auto note = [this](const QString &line) { m_events << line; };
        connect(s, &NetDiskServer::handlerGetFloderNameFinshed, this, [note] { note("names"); });
        connect(s, &NetDiskServer::handlerGetIconFinished, this,
                [note](qint64, const QByteArray &data) { note("icon " + QString::fromLatin1(data)); });
        connect(s, &NetDiskServer::handlerIntoFloderFinished, this,
                [note](const QList<FileItem> &items) { note("entered " + pathsOf(items)); });
        connect(s, &NetDiskServer::handlerSearchFileFinished, this,
                [note](const QList<FileItem> &items) { note("found " + pathsOf(items)); });
        connect(s, &NetDiskServer::handlerGetStorageFinished, this, [note] { note("storage"); });
        connect(s, &NetDiskServer::handlerNewFolderFinished, this,
                [note](const QList<FileItem> &items) { note("new " + pathsOf(items)); });
        connect(s, &NetDiskServer::handlerRenameFinished, this,
                [note](const QString &src, const QString &dest) { note("renamed " + src + ">" + dest); });
        connect(s, &NetDiskServer::handlerCompressFinished, this,
                [note](const QString &p) { note("compressed " + p); });
        connect(s, &NetDiskServer::handlerDecompressFinished, this, [note] { note("decompressed"); });
        connect(s, &NetDiskServer::handlerRemoveFinished, this,
                [note](const QStringList &paths) { note("removed " + paths.join(',')); });
        connect(s, &NetDiskServer::handlerMoveFinished, this,
                [note](const QStringList &src, const QString &dest) { note("moved " + src.join(',') + ">" + dest); });
        connect(s, &NetDiskServer::handlerCopyFinished, this,
                [note](const QStringList &src, const QString &dest) { note("copied " + src.join(',') + ">" + dest); });
        connect(s, &NetDiskServer::handlerIntoFloderFailured, this,
                [note](int error) { note("failed " + QString::number(error)); });
        connect(s, &NetDiskServer::sigLogout, this, [note](const QString &text) { note("logout " + text); });
    }

    void perform(const QString &operation)
    {
        if (operation == "listFile")
            m_server->intoFolder("/d");
        else if (operation == "searchFile")
            m_server->searchFile("x");
        else if (operation == "getUserStorage")
            m_server->getStorage();
        else if (operation == "mkdir")
            m_server->newFloder("n");
        else if (operation == "removeFile")
            m_server->removeFile({"/d/a", "/d/b"});
        else if (operation == "removeFolder")
            m_server->removeFolder({"/d/a"});
        else if (operation == "move")
            m_server->move({"/d/a", "/d/b"}, "/e/");
        else if (operation == "copy")
            m_server->copy({"/d/a"}, "/e/");
        else if (operation == "renameFile")
            m_server->renameFile("/d/a", "/d/\"'");
        else if (operation == "renameFolder")
            m_server->renameFolder("/d/a", "/d/c");
        else if (operation == "compress")
            m_server->compress({"/d/a"}, "/d/pack");
        else if (operation == "decompress")
            m_server->decompress("/d/p.zip", "/d/");
        else
            QFAIL(qPrintable("no operation " + operation));
    }

private slots:
    void init()
    {
        beginStrict();
        FakeService::instance().reset();
        m_events.clear();
        UserInfo user;
        user.username = "ann";
        GlobalConfig::instance()->setCurrentUser(user);
        m_server = std::make_unique<NetDiskServer>("http://center");
        watch();
    }

    void cleanup()
    {
        m_server.reset();
        endStrict();
    }

    void eachStatusHasItsOutcome_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QStringList>("events");
        const QByteArray none, two = TwoItems;
        struct Row
        {
            const char *operation;
            int code;
            QByteArray body;
            const char *event;
        };
        const Row rows[] = {
            {"listFile", 200, two, "entered /d/a,/d/b"},
            {"listFile", 200, "{\"items\":[1,null,{\"path\":\"/d/z\"},[]]}", "entered /d/z"},
            {"listFile", 201, two, "logout Login expired."},
            {"listFile", 203, two, "failed 2"},
            {"listFile", 202, two, "failed 3"},
            {"listFile", -3, none, "failed 3"},
            {"searchFile", 201, two, "logout Login expired."},
            {"searchFile", 500, two, "found "},
            {"getUserStorage", 200, "{\"storage\":{\"used\":1}}", "storage"},
            {"getUserStorage", 201, none, "logout Login expired."},
            {"mkdir", 200, none, "new n"},
            {"mkdir", 201, none, "logout Login expired."},
            {"mkdir", 409, none, "new "},
            {"removeFile", 200, none, "removed /d/a,/d/b"},
            {"removeFile", 201, none, "logout Login expired."},
            {"removeFile", 500, none, "removed "},
            {"removeFolder", 201, none, "logout Login expired."},
            {"removeFolder", -2, none, "removed "},
            {"move", 200, none, "moved /d/a,/d/b>/e/"},
            {"move", 202, none, "moved >"},
            {"move", 201, none, "logout Login expired."},
            {"copy", 202, none, "copied /d/a>/e/"},
            {"copy", 201, none, "logout Login expired."},
            {"renameFile", 200, none, "renamed /d/a>/d/\"'"},
            {"renameFile", 409, none, "renamed >"},
            {"renameFolder", 200, none, "renamed /d/a>/d/c"},
            {"renameFolder", 201, none, "logout Login expired."},
            {"compress", 500, none, "compressed /d/pack.zip"},
            {"compress", 201, none, "logout Access Denied!"},
            {"decompress", 500, none, "decompressed"},
            {"decompress", 201, none, "logout Access Denied!"},
        };
        for (const Row &row : rows)
            QTest::addRow("%s %d %s", row.operation, row.code, row.event)
                << QString(row.operation) << row.code << row.body << QStringList{row.event};
    }

    void eachStatusHasItsOutcome()
    {
        QFETCH(QString, operation);
        QFETCH(int, code);
        QFETCH(QByteArray, body);
        QFETCH(QStringList, events);
        perform(operation);
        FakeService &service = FakeService::instance();
        const FakeCall call = service.last(operation);
        QVERIFY(call.id != 0);
        service.answer(call, code, body);
        QVERIFY(m_events.isEmpty()); // never inside the answering call
        service.answer(call, code, body);
        QTRY_COMPARE(m_events, events);
        const bool listsAgain = code != 201 && (operation == "compress" || operation == "decompress");
        QCoreApplication::processEvents();
        QCOMPARE(m_events, events);
        QVERIFY(!listsAgain || service.calls("listFile").isEmpty()); // there is no place yet to list again
    }

    void archiveWorkListsTheFolderAgain()
    {
        FakeService &service = FakeService::instance();
        m_server->intoFolder("/d");
        m_server->compress({"/d/a"}, "/d/p");
        service.answer(service.last("compress"), 500);
        QTRY_COMPARE(service.calls("listFile").size(), 2);
        m_server->decompress("/d/p.zip", "/d/");
        service.answer(service.last("decompress"), 200);
        QTRY_COMPARE(service.calls("listFile").size(), 3);
        QCOMPARE(service.last("listFile").arguments, (QStringList{"/d/", "2"}));
    }

    void timesAreReadByTheRuleOfTheirReply_data()
    {
        QTest::addColumn<QByteArray>("keys");
        QTest::addColumn<quint64>("listed");
        QTest::addColumn<quint64>("found");
        QTest::newRow("modified only") << QByteArray("\"modifiedTime\":8") << quint64(0) << quint64(0);
        QTest::newRow("both") << QByteArray("\"modifiedTime\":8,\"datetime\":9") << quint64(8) << quint64(9);
        QTest::newRow("datetime only") << QByteArray("\"datetime\":9") << quint64(0) << quint64(9);
        QTest::newRow("as text") << QByteArray("\"modifiedTime\":\"8\",\"datetime\":\"9\"") << quint64(8) << quint64(9);
        QTest::newRow("milliseconds today") << QByteArray("\"modifiedTime\":1780000000123,\"datetime\":1780000000124")
                                            << quint64(1780000000123) << quint64(1780000000124);
    }

    void timesAreReadByTheRuleOfTheirReply()
    {
        QFETCH(QByteArray, keys);
        FakeService &service = FakeService::instance();
        const QByteArray body = "{\"items\":[{\"name\":\"a\",\"type\":1,\"size\":9007199254740993,\"icon\":\"i\","
                                "\"path\":\"/a\",\"contentType\":\"c\"," +
                                keys + "}]}";
        QSignalSpy listed(m_server.get(), &NetDiskServer::handlerIntoFloderFinished);
        QSignalSpy found(m_server.get(), &NetDiskServer::handlerSearchFileFinished);
        m_server->intoFolder("/");
        m_server->searchFile("a");
        service.answer(service.last("listFile"), 200, body);
        service.answer(service.last("searchFile"), 200, body);
        QTRY_COMPARE(found.size(), 1);
        QCOMPARE(listed.size(), 1);
        const FileItem one = listed.first().first().value<QList<FileItem>>().first();
        const FileItem two = found.first().first().value<QList<FileItem>>().first();
        QTEST(one.datetime, "listed");
        QTEST(two.datetime, "found");
        QCOMPARE(one.source, QString());
        QCOMPARE(two.source, QString("SearchFile"));
        QCOMPARE(one.name + one.icon + one.path + one.contentType, QString("ai/ac"));
        QVERIFY(one.isFolder() && one.size >= 9007199254740992ULL && one.size <= 9007199254740994ULL);
    }

    void hostileBodiesAreEmptyOrPartialResults()
    {
        QList<QByteArray> values{"null", "true",  "-1",  "1e308", "\"\\ud800\"", "[]",
                                 "{}",   "\"x\"", "1.5", "[[1]]", "-1e308",      "18446744073709551616"};
        QList<QByteArray> bodies{QByteArray(100000, '['),
                                 "{\"items\":" + QByteArray(3000, '['),
                                 "{",
                                 "\xff\xfe",
                                 QByteArray("{\"items\":[{\"name\":\"a\0b\"}]}", 26),
                                 "{\"items\":{\"0\":{}}}",
                                 listing(3000).chopped(40)};
        for (const QByteArray &value : qAsConst(values)) {
            bodies << value << "{\"items\":" + value + "}"
                   << "{\"storage\":" + value + "}"
                   << "{\"storage\":{\"used\":" + value + ",\"quota\":" + value + "}}";
            for (const char *key : {"name", "type", "size", "icon", "datetime", "modifiedTime", "path", "contentType"})
                bodies << "{\"items\":[{\"datetime\":1,\"" + QByteArray(key) + "\":" + value + "}]}";
        }
        FakeService &service = FakeService::instance();
        QSignalSpy listed(m_server.get(), &NetDiskServer::handlerIntoFloderFinished);
        QSignalSpy stored(m_server.get(), &NetDiskServer::handlerGetStorageFinished);
        for (const QByteArray &body : qAsConst(bodies)) {
            m_server->intoFolder("/d");
            service.answer(service.last("listFile"), 200, body);
            m_server->getStorage();
            service.answer(service.last("getUserStorage"), 200, body);
        }
        QTRY_COMPARE(listed.size(), bodies.size());
        QTRY_COMPARE(stored.size(), bodies.size());
    }

    void storageGoesIntoTheUserRecord_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<qint64>("used");
        QTest::addColumn<qint64>("quota");
        QTest::newRow("both") << 200 << QByteArray("{\"storage\":{\"used\":5,\"quota\":5000000000}}") << qint64(5)
                              << qint64(5000000000);
        QTest::newRow("one key") << 200 << QByteArray("{\"storage\":{\"quota\":9}}") << qint64(0) << qint64(9);
        QTest::newRow("no object") << 200 << QByteArray("{\"storage\":7}") << qint64(3) << qint64(4);
        QTest::newRow("refused") << 500 << QByteArray("{\"storage\":{\"used\":5}}") << qint64(3) << qint64(4);
    }

    void storageGoesIntoTheUserRecord()
    {
        QFETCH(int, code);
        QFETCH(QByteArray, body);
        UserInfo user = GlobalConfig::instance()->currentUser();
        user.storageUsed = 3;
        user.storageQuota = 4;
        GlobalConfig::instance()->setCurrentUser(user);
        FakeService &service = FakeService::instance();
        QCOMPARE(service.calls("getUserStorage").size(), 1); // asked at once, when the server was made
        QCOMPARE(service.last("getUserStorage").arguments, QStringList{"ann"});
        service.answer(service.last("getUserStorage"), code, body);
        QTRY_COMPARE(m_events, QStringList{"storage"});
        QTEST(GlobalConfig::instance()->currentUser().storageUsed, "used");
        QTEST(GlobalConfig::instance()->currentUser().storageQuota, "quota");
    }

    void historyFollowsTheTrail()
    {
        // The model: a trail of places and where on it one stands.
        QStringList trail{""};
        int at = 0;
        QRandomGenerator random(7);
        FakeService &service = FakeService::instance();
        for (int step = 0; step < 3000; ++step) {
            const int requests = service.calls("listFile").size() + service.calls("searchFile").size();
            QSignalSpy changed(m_server.get(), &NetDiskServer::NavgationChanged);
            int expectedRequests = 1, expectedChanges = 1;
            const QString name = QString("/%1").arg(random.bounded(3));
            const auto go = [&](const QString &place) {
                trail = trail.mid(0, at + 1);
                if (trail.last().isEmpty() && place.startsWith('/'))
                    trail.removeLast();
                if (trail.isEmpty() || trail.last() != place)
                    trail << place;
                at = trail.size() - 1;
            };
            switch (random.bounded(5)) {
            case 0:
                m_server->intoFolder(name);
                go(name);
                break;
            case 1:
                m_server->searchFile(name.mid(1));
                go("?" + name.mid(1));
                break;
            case 2:
                expectedRequests = expectedChanges = at + 1 < trail.size() ? 1 : 0;
                at += expectedChanges;
                m_server->forward();
                break;
            case 3:
                expectedRequests = expectedChanges = at > 0 ? 1 : 0;
                at -= expectedChanges;
                if (trail.at(at).isEmpty())
                    expectedRequests = 0;
                m_server->backward();
                break;
            default:
                expectedChanges = 0;
                expectedRequests = trail.at(at).isEmpty() ? 0 : 1;
                step % 2 ? m_server->refresh() : m_server->navigation();
                break;
            }
            QCOMPARE(m_server->canBackward(), at > 0);
            QCOMPARE(m_server->canForward(), at + 1 < trail.size());
            QCOMPARE(changed.size(), expectedChanges);
            QCOMPARE(service.calls("listFile").size() + service.calls("searchFile").size() - requests,
                     expectedRequests);
            const NavigationEntry &place = m_server->current();
            const QString shown = place.kind.isEmpty()                        ? QString()
                                  : place.kind == QLatin1String("SearchFile") ? "?" + place.keyword
                                                                              : place.title;
            QCOMPARE(shown, trail.at(at));
            if (step % 200 == 199)
                service.reset();
        }
    }

    void placesKeepTheirForm()
    {
        m_server->intoFolder("/a/");
        QCOMPARE(m_server->current().path + m_server->current().title, QString("/a//a/"));
        m_server->intoFolder("/b");
        QCOMPARE(m_server->current().path + m_server->current().title, QString("/b//b"));
        m_server->intoFolder("/b");
        m_server->backward();
        QCOMPARE(m_server->current().title, QString("/a/"));
        QVERIFY(!m_server->canBackward());
        m_server->searchFile("k");
        QCOMPARE(m_server->current().title, QString("Search Result"));
        m_server->intoFolder("/c");
        QCOMPARE(m_server->current().keyword, QString("k"));
    }

    void backUndoesTheLastMove()
    {
        m_server->intoFolder("/a");
        m_server->intoFolder("/b");
        m_server->back();
        QCOMPARE(m_server->current().title, QString("/a"));
        QVERIFY(!m_server->canBackward() && !m_server->canForward());
        m_server->intoFolder("/b");
        m_server->backward();
        m_server->back(); // undoes the way back: /b again, and /a is forgotten
        QCOMPARE(m_server->current().title, QString("/b"));
        m_server->searchFile("x");
        m_server->back();
        QCOMPARE(m_server->current().keyword, QString("x"));
    }

    void lookupsWaitForTheirOwnAnswer()
    {
        FakeService &service = FakeService::instance();
        QStringList inner;
        QTimer::singleShot(0, this, [&] {
            const FakeCall outer = service.last("listFile");
            QTimer::singleShot(0, this, [&service, outer] {
                // The outer answer first: the inner lookup must not take it for its own.
                service.answer(outer, 200, "{\"items\":[{\"name\":\"o\"},{}]}");
                const FakeCall second = service.last("listFile");
                QTimer::singleShot(
                    0, [&service, second] { service.answer(second, 200, "{\"items\":[{\"name\":\"i\"}]}"); });
            });
            inner = m_server->getFloderName("/inner");
        });
        bool ok = false;
        const QStringList names = m_server->getFloderName("/outer", &ok);
        QCOMPARE(names, (QStringList{"o", ""}));
        QCOMPARE(inner, QStringList{"i"});
        QVERIFY(ok);
        QCOMPARE(service.last("listFile").arguments, (QStringList{"/inner", "1"}));
    }

    void lookupAlwaysEnds_data()
    {
        QTest::addColumn<int>("code"); // 0: the server goes away
        QTest::addColumn<QStringList>("events");
        QTest::newRow("refused") << 500 << QStringList{"names"};
        QTest::newRow("not there") << 203 << QStringList{"names"};
        QTest::newRow("expired") << 201 << QStringList{"logout Login expired."};
        QTest::newRow("deleted") << 0 << QStringList();
    }

    void lookupAlwaysEnds()
    {
        QFETCH(int, code);
        QTimer::singleShot(0, this, [this, code] {
            if (code == 0)
                m_server.reset();
            else
                FakeService::instance().answer(FakeService::instance().last("listFile"), code, TwoItems);
        });
        bool ok = true;
        QVERIFY(m_server->getFloderName("/d", &ok).isEmpty());
        QVERIFY(!ok);
        QTEST(m_events, "events");
    }

    void longListingsAreReadAsideAndKeepTheirPlace()
    {
        FakeService &service = FakeService::instance();
        m_server->intoFolder("/big");
        const FakeCall big = service.last("listFile");
        m_server->removeFile({"/big/f1"});
        m_server->renameFile("/a", "/b");
        const QByteArray body = listing(100000);
        // While the long answer is being read the event loop goes round.
        int rounds = 0;
        QTimer beat;
        connect(&beat, &QTimer::timeout, this, [&] { rounds += m_events.isEmpty() ? 1 : 0; });
        beat.start(0);
        service.answer(big, 200, body);
        service.answer(service.last("removeFile"), 200);
        service.answer(service.last("renameFile"), 500);
        QTRY_COMPARE_WITH_TIMEOUT(m_events.size(), 3, 20000);
        QVERIFY2(rounds >= 3, qPrintable(QString::number(rounds)));
        QVERIFY(m_events.at(0).startsWith("entered /big/f0,"));
        QCOMPARE(m_events.mid(1), (QStringList{"removed /big/f1", "renamed >"}));
    }

    void nothingIsToldAfterTheEnd()
    {
        FakeService &service = FakeService::instance();
        m_server->intoFolder("/big");
        service.answer(service.last("listFile"), 200, listing(20000));
        QCoreApplication::processEvents();
        m_server.reset();
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QVERIFY(m_events.isEmpty());
    }

    void iconsAreAskedForOnce()
    {
        FakeService &service = FakeService::instance();
        qint64 id = 0;
        m_server->getIcon(id, "/i.png");
        QCOMPARE(id, service.last("getIcon").id);
        service.answer(service.last("getIcon"), 200, "PNG");
        QTRY_COMPARE(m_events, QStringList{"icon PNG"});
        m_server->getIcon(id, "/i.png");
        QCOMPARE(m_events, (QStringList{"icon PNG", "icon PNG"}));
        QCOMPARE(service.calls("getIcon").size(), 1);
        qint64 failing = 0;
        m_server->getIcon(failing, "/j.png");
        service.answer(service.last("getIcon"), 201);
        QTRY_COMPARE(m_events.last(), QString("logout Login expired."));
        m_server->getIcon(failing, "/j.png");
        QCOMPARE(service.calls("getIcon").size(), 3);
    }
};

ARKVALE_WIDGET_TEST(NetDiskServerTest)
#include "NetDiskServerTest.moc"
