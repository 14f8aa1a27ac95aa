#include "UpdateService.h"

#include "HttpFake.h"
#include "TestSupport.h"

class UpdateServiceTest : public StrictTest
{
    Q_OBJECT

private slots:
    void answers_data();
    void answers();
    void badAddress();
    void askedTwiceAnswersOnce();
};

void UpdateServiceTest::answers_data()
{
    QTest::addColumn<QString>("mine");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("result");
    const auto version = [](const char *text) { return QByteArray("{\"version\":\"") + text + "\"}"; };
    QTest::newRow("same") << "1.2.3" << version("1.2.3") << 200 << 0;
    QTest::newRow("same, shorter") << "1.2.0" << version("1.2") << 200 << 0;
    QTest::newRow("older there") << "1.10" << version("1.9.9") << 200 << 0;
    QTest::newRow("newer, not by letters") << "1.9" << version("1.10") << 200 << 1;
    QTest::newRow("newer patch") << "1.2" << version(" 1.2.1 ") << 200 << 1;
    QTest::newRow("suffix does not count") << "1.2.3" << version("1.2.3-rc1") << 200 << 0;
    QTest::newRow("own version unknown") << "" << version("1.0") << 200 << 2;
    QTest::newRow("no number") << "1.0" << version("next") << 200 << 2;
    QTest::newRow("wrong type") << "1.0" << QByteArray("{\"version\":2}") << 200 << 2;
    QTest::newRow("garbage") << "1.0" << QByteArray("\x80\x81[[[") << 200 << 2;
    QTest::newRow("nothing") << "1.0" << QByteArray() << 200 << 2;
    QTest::newRow("huge") << "1.0" << version("2.0") + QByteArray(1 << 20, ' ') << 200 << 2;
    QTest::newRow("not found") << "1.0" << version("2.0") << 404 << 2;
}

void UpdateServiceTest::answers()
{
    QFETCH(QString, mine);
    QFETCH(QByteArray, body);
    QFETCH(int, status);
    QFETCH(int, result);
    HttpFake fake([=](const HttpFake::Request &) { return HttpFake::reply(status, body); });
    UpdateService service(fake.address() + QStringLiteral("?channel=a%26b"), mine, QStringLiteral("zh_cn"));
    QSignalSpy spy(&service, SIGNAL(UpdateFinished(int)));
    service.Update();
    QVERIFY(spy.isEmpty());
    QVERIFY(spy.wait());
    QCOMPARE(spy.first().first().toInt(), result);
    QCOMPARE(fake.requests().first().target, "/base?channel=a%26b&version=" + mine.toUtf8() + "&lang=zh_cn");
}

void UpdateServiceTest::badAddress()
{
    for (const char *address : {"", "ftp://127.0.0.1/v", "file:///etc/hostname", "http://", "127.0.0.1"}) {
        UpdateService service(QString::fromLatin1(address), QStringLiteral("1.0"), QStringLiteral("en_us"));
        QSignalSpy spy(&service, SIGNAL(UpdateFinished(int)));
        service.Update();
        QVERIFY(spy.isEmpty());
        QVERIFY(spy.wait());
        QCOMPARE(spy.first().first().toInt(), int(UpdateService::Failed));
    }
}

void UpdateServiceTest::askedTwiceAnswersOnce()
{
    HttpFake fake([](const HttpFake::Request &) { return HttpFake::reply(200, "{\"version\":\"2\"}"); });
    UpdateService service(fake.address(), QStringLiteral("1"), QStringLiteral("en_us"));
    QSignalSpy spy(&service, SIGNAL(UpdateFinished(int)));
    service.Update();
    service.Update();
    QVERIFY(spy.wait());
    service.Update();
    QVERIFY(spy.wait());
    QCOMPARE(spy.size(), 2);
    QCOMPARE(fake.requests().size(), 2);
    QCOMPARE(service.latestVersion(), QStringLiteral("2"));
}

ARKVALE_GUILESS_TEST(UpdateServiceTest)
#include "UpdateServiceTest.moc"
