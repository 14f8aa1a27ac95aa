#include "ShareService.h"

#include "GlobalConfig.h"
#include "HttpFake.h"
#include "TestSupport.h"

#include <QSignalSpy>

/// Answers that no service should give, and those that come too late.
class ShareServiceTest : public StrictTest
{
    Q_OBJECT

private slots:
    void oddAnswers_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("told"); // shareId, isDir, size and users of each record
        const auto row = [](const char *name, const QByteArray &body, const char *told) {
            QTest::newRow(name) << body << QString::fromLatin1(told);
        };
        row("garbage", "\x80[[", "");
        row("empty", R"({"share":[]})", "");
        row("no array", R"({"share":{"shareId":"a"}})", "");
        row("mixed", R"({"share":[1,null,{"shareId":"a","isDir":1,"size":5,"shareTo":["x",7,null,"y"]},"s",[]]})",
            "a 1 5 x,y;");
        row("wrong types", R"({"share":[{"shareId":5,"isDir":true,"size":-3,"shareTo":"x","shareTime":"soon"}]})",
            " 1 0 ;");
        row("huge size", R"({"share":[{"shareId":"b","size":1e300}]})", "b 0 0 ;");
        row("size as text", R"({"share":[{"shareId":"b","size":"12"}]})", "b 0 12 ;");
        row("deep", "{\"share\":" + QByteArray(100000, '[') + "}", "");
    }

    void oddAnswers()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, told);
        QString text;
        for (const ShareRecord &record : ShareService::readShareRecord(body))
            text += QStringLiteral("%1 %2 %3 %4;")
                        .arg(record.shareId)
                        .arg(record.isDir)
                        .arg(record.size)
                        .arg(record.shareTo.join(QLatin1Char(',')));
        QCOMPARE(text, told);
    }

    void onlyTheNewestCounts()
    {
        HttpFake fake([](const HttpFake::Request &request) {
            HttpFake::Answer answer =
                request.target.contains("slow")
                    ? HttpFake::reply(200, R"({"users":[{"username":"slow"}],"items":[{"name":"slow"}]})")
                    : HttpFake::reply(200, R"({"users":[{"username":"new"}],"items":[{"name":"new","isDir":1}]})");
            answer.delay = request.target.contains("slow") ? 150 : 0;
            return answer;
        });
        OrvClient client(QStringLiteral("1"), fake.address(), QStringLiteral("u"), QStringLiteral("id"),
                         QStringLiteral("t"));
        GlobalConfig::instance()->setClient(client);
        ShareService service(fake.address());
        QSignalSpy users(&service, &ShareService::handlerSearchUserFinished);
        QSignalSpy items(&service, &ShareService::handlerShareToMeListFileFinished);
        service.searchUser(QStringLiteral("slow"), 5);
        service.searchUser(QStringLiteral("new"), 5);
        service.shareToMeListFile({}, QStringLiteral("/slow"));
        service.shareToMeListFile({}, QStringLiteral("/new"));
        QTRY_VERIFY(users.size() == 1 && items.size() == 1);
        QTest::qWait(300); // why: the slow answers come now, and must not be told
        QCOMPARE(users.size(), 1);
        QCOMPARE(users.first().first().value<QList<UserInfo>>().first().username, QStringLiteral("new"));
        QCOMPARE(items.size(), 1);
        QVERIFY(items.first().first().value<QList<FileItem>>().first().isFolder());
    }
};

ARKVALE_GUILESS_TEST(ShareServiceTest)
#include "ShareServiceTest.moc"
