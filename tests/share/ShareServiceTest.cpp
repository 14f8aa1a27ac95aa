#include "ShareService.h"

#include "GlobalConfig.h"
#include "HttpFake.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <memory>

/// The share service: two users against the real service, and answers that no service should give.
class ShareServiceTest : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void withUsers();
    void links();
    void oddAnswers_data();
    void oddAnswers();
    void endOfTheSession();
    void onlyTheNewestCounts();

private:
    /// The share service of a user who logs in now.
    std::unique_ptr<ShareService> serviceOf(const QString &user);
    void run(const QStringList &arguments)
    {
        QCOMPARE(QProcess::execute(builtProgram(QStringLiteral("arkvale-service")),
                                   QStringList(arguments) << QStringLiteral("--data") << m_folder.filePath("data")),
                 0);
    }
    static QVariantList waitFor(QSignalSpy &spy)
    {
        if (spy.isEmpty())
            spy.wait(10000);
        return spy.isEmpty() ? QVariantList() : spy.takeFirst();
    }

    QTemporaryDir m_folder;
    QProcess m_service;
    QString m_http;
};

void ShareServiceTest::initTestCase()
{
    run({"add-subcenter", "1", "Center", "--root", m_folder.filePath("root")});
    for (const char *user : {"anna", "ben", "cleo"})
        run({"add-user", user, "--password", "secret", "--verified", "--nickname", QString("Nick %1").arg(user)});
    m_service.start(builtProgram(QStringLiteral("arkvale-service")),
                    {"serve", "--data", m_folder.filePath("data"), "--port", "0"});
    while (!m_service.canReadLine() && m_service.waitForReadyRead(30000)) {
    }
    m_http = QJsonDocument::fromJson(m_service.readLine()).object().value("http").toString();
    QVERIFY(!m_http.isEmpty());
    QDir home(m_folder.filePath("root/anna"));
    QVERIFY(home.mkpath("scene/sub"));
    QFile file(home.filePath("scene/a.ma"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("scene");
}

void ShareServiceTest::cleanupTestCase()
{
    m_service.terminate();
    QVERIFY(m_service.waitForFinished());
}

std::unique_ptr<ShareService> ShareServiceTest::serviceOf(const QString &user)
{
    OrvClient client(QStringLiteral("1"), m_http, user, QString(), QString());
    QSignalSpy login(&client, &OrvClient::loginFinished);
    client.login(user, QStringLiteral("secret"));
    const QJsonObject session = QJsonDocument::fromJson(waitFor(login).value(2).toByteArray()).object();
    client.setAccess(session.value("access_id").toString(), session.value("access_token").toString());
    GlobalConfig::instance()->setClient(client);
    return std::make_unique<ShareService>(m_http + QStringLiteral("/sc/1"));
}

void ShareServiceTest::withUsers()
{
    const auto anna = serviceOf(QStringLiteral("anna"));
    const auto ben = serviceOf(QStringLiteral("ben"));

    QSignalSpy found(anna.get(), &ShareService::handlerSearchUserFinished);
    anna->searchUser(QStringLiteral("ck be"), 5);
    const auto users = waitFor(found).value(0).value<QList<UserInfo>>();
    QCOMPARE(users.size(), 1);
    QCOMPARE(users.first().username + users.first().nickname, QStringLiteral("benNick ben"));
    QVERIFY(users.first().icon.startsWith(m_http));

    ShareRecord record;
    record.path = QStringLiteral("/scene");
    record.shareTo = QStringList{QStringLiteral("ben")};
    QSignalSpy shared(anna.get(), &ShareService::handlerFriendShareFinished);
    anna->friendShare(record);
    record = waitFor(shared).value(0).value<ShareRecord>();
    QVERIFY(!record.shareId.isEmpty());

    QSignalSpy toBen(ben.get(), &ShareService::handlerListShareToMeFinished);
    ben->listShareToMe();
    const auto list = waitFor(toBen).value(0).value<QList<ShareRecord>>();
    QCOMPARE(list.size(), 1);
    const ShareRecord seen = list.first();
    QCOMPARE(seen.shareId, record.shareId);
    QCOMPARE(seen.owner + seen.name + seen.permission, QStringLiteral("annascenesave"));
    QVERIFY(seen.isDir != 0 && seen.shareType == ShareRecord::WithUsers && seen.shareTime.isValid());

    QSignalSpy listed(ben.get(), &ShareService::handlerShareToMeListFileFinished);
    ben->shareToMeListFile(seen, QStringLiteral("/scene"));
    const auto items = waitFor(listed).value(0).value<QList<FileItem>>();
    QCOMPARE(items.size(), 2);
    QCOMPARE(ben->answeredPath(), QStringLiteral("/scene"));

    QSignalSpy saved(ben.get(), &ShareService::handlerShareToMeSaveAsFinished);
    ben->shareToMeSaveAs(seen, QStringLiteral("/scene/a.ma"), QStringLiteral("/"));
    QCOMPARE(waitFor(saved).value(1).toString(), QStringLiteral("/"));
    QVERIFY(QFile::exists(m_folder.filePath("root/ben/a.ma")));

    QSignalSpy downloaded(ben.get(), &ShareService::handlerShareToMeDownloadFinished);
    ben->shareToMeDownload(seen, QStringLiteral("/scene/a.ma"), m_folder.filePath("got"));
    QCOMPARE(waitFor(downloaded).value(1).toString(), m_folder.filePath("got"));
    QCOMPARE(QFileInfo(m_folder.filePath("got")).size(), 5);

    QSignalSpy real(ben.get(), &ShareService::handlerShareToMeFileRealPathFinished);
    ben->shareToMeFileRealPath(seen, QStringLiteral("/scene/sub"));
    const QVariantList place = waitFor(real);
    QVERIFY(place.value(0).toString().endsWith(record.shareId));
    QCOMPARE(place.value(1).toString(), QStringLiteral("/scene/sub"));

    QSignalSpy reported(ben.get(), &ShareService::handlerReportShareFinished);
    ben->reportShare(seen, QStringLiteral("spam"), {m_folder.filePath("got")}, QStringLiteral("look"));
    QCOMPARE(waitFor(reported).size(), 1);
    QCOMPARE(QDir(m_folder.filePath("data/reports")).entryList(QDir::Files).size(), 1);

    QSignalSpy profiles(ben.get(), &ShareService::handlerGetUserInfoFinished);
    QList<UserInfo> asked{UserInfo()};
    asked[0].username = seen.owner;
    ben->getUserInfo(asked);
    QCOMPARE(waitFor(profiles).value(0).value<QList<UserInfo>>().first().nickname, QStringLiteral("Nick anna"));

    // Taken away: at once, and for good.
    QSignalSpy changed(anna.get(), &ShareService::handlerModifyUsersFinished);
    record.shareTo = QStringList{QStringLiteral("cleo")};
    anna->modifyUsers(record);
    QCOMPARE(waitFor(changed).value(0).value<ShareRecord>().shareTo, record.shareTo);
    QSignalSpy failed(ben.get(), &ShareService::handlerRequestFailed);
    ben->shareToMeListFile(seen, QStringLiteral("/scene"));
    QCOMPARE(waitFor(failed).value(0).toString(), QStringLiteral("shareToMeListFile"));
    ben->ignoreShare(seen);
    QCOMPARE(waitFor(failed).value(0).toString(), QStringLiteral("ignoreShare"));
    QVERIFY(listed.isEmpty());
}

void ShareServiceTest::links()
{
    const auto anna = serviceOf(QStringLiteral("anna"));
    ShareRecord record;
    record.path = QStringLiteral("/scene/a.ma");
    record.permission = QStringLiteral("read");
    record.password = QStringLiteral("pa\"ss");
    QSignalSpy open(anna.get(), &ShareService::handlerPublicShareFinished);
    anna->publicShare(record);
    const auto publicRecord = waitFor(open).value(0).value<ShareRecord>();
    QVERIFY(publicRecord.link.contains("/s/") && publicRecord.path == record.path);
    QSignalSpy closed(anna.get(), &ShareService::handlerPrivateShareFinished);
    anna->privateShare(record);
    record = waitFor(closed).value(0).value<ShareRecord>();
    QSignalSpy changed(anna.get(), &ShareService::handlerModifyPasswordFinished);
    record.password = QStringLiteral("other");
    anna->modifyPassword(record);
    QCOMPARE(waitFor(changed).size(), 1);
    QSignalSpy listed(anna.get(), &ShareService::handlerListMyShareFinished);
    anna->listMyShare();
    const auto mine = waitFor(listed).value(0).value<QList<ShareRecord>>();
    bool known = false;
    for (const ShareRecord &share : mine)
        known = known || (share.shareId == record.shareId && share.password == QStringLiteral("other"));
    QVERIFY(known);
    QSignalSpy deleted(anna.get(), &ShareService::handlerDeleteShareFinished);
    anna->deleteShare({record.shareId, publicRecord.shareId});
    QCOMPARE(waitFor(deleted).value(0).toStringList().size(), 2);
}

void ShareServiceTest::oddAnswers_data()
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

void ShareServiceTest::oddAnswers()
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

void ShareServiceTest::endOfTheSession()
{
    HttpFake fake([](const HttpFake::Request &) { return HttpFake::reply(401, R"({"error":"session"})"); });
    OrvClient client(QStringLiteral("1"), fake.address(), QStringLiteral("u"), QStringLiteral("id"),
                     QStringLiteral("t"));
    GlobalConfig::instance()->setClient(client);
    ShareService service(fake.address());
    QSignalSpy logout(&service, &ShareService::sigLogout);
    QSignalSpy failed(&service, &ShareService::handlerRequestFailed);
    QSignalSpy listed(&service, &ShareService::handlerListMyShareFinished);
    service.listMyShare();
    service.publicShare({});
    service.deleteShare({QStringLiteral("a")});
    service.shareToMeListFile({}, QStringLiteral("/a"));
    QTRY_COMPARE(logout.size(), 4);
    QCOMPARE(logout.first().first().toString(), QStringLiteral("Access Denied!"));
    QVERIFY(failed.isEmpty() && listed.isEmpty());
}

void ShareServiceTest::onlyTheNewestCounts()
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

ARKVALE_GUILESS_TEST(ShareServiceTest)
#include "ShareServiceTest.moc"
