#include "TestFiles.h"
#include "TestSupport.h"

#include "AccountStore.h"
#include "RawHttp.h"
#include "Service.h"
#include "SignedRequest.h"
#include "Site.h"
#include "TicketRoutes.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSslSocket>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

#include <nlohmann/json.hpp>

using namespace arkvale::service;

namespace {

const PasswordCost cheap = {1, 8192};

QByteArray loginBody(const QByteArray &user, const QByteArray &password)
{
    return "{\"username\":\"" + user + "\",\"password\":\"" + password + "\",\"version\":\"1\"}";
}

QJsonObject objectOf(const RawAnswer &answer)
{
    return QJsonDocument::fromJson(answer.body).object();
}

} // namespace

/// The whole service on a data folder of two sub-centers, asked over its own HTTP.
class TestSite : public StrictTest
{
    Q_OBJECT

private slots:
    void init()
    {
        beginStrict();
        m_folder = std::make_unique<QTemporaryDir>();
        m_options = {};
        m_options.dataFolder = m_folder->filePath("data").toStdString();
        m_options.passwordCost = cheap;
        QVERIFY(QDir().mkpath(m_folder->filePath("data")));
        m_store = std::make_unique<AccountStore>(cheap);
        QVERIFY(m_store->open(Service::databaseFile(m_options.dataFolder)));
        for (const char *id : {"1", "2"}) {
            const std::string root = m_folder->filePath(QStringLiteral("root") + id).toStdString();
            QVERIFY(Site::prepareRoot(root));
            QVERIFY(m_store->addSubCenter({id, std::string("Center ") + id, root, "", "", 0}));
        }
        const std::int64_t now = nowMs();
        const auto add = [&](const char *name, const Restriction &restriction, bool verified = true) {
            Account account;
            account.name = name;
            account.nickname = std::string("Nick of ") + name;
            account.verified = verified;
            account.restriction = restriction;
            QVERIFY(m_store->addAccount(account, "secret"));
            QVERIFY(m_store->addHome({name, "1", name, 1000000, 0}));
        };
        add("ok", {});
        add("安娜", {}, false);
        add("late", {Restriction::Kind::Violation, "A \"reason\".", now, 3600});
        add("banned", {Restriction::Kind::Violation, "Worse.", 1577836800123, -1});
        add("over", {Restriction::Kind::Violation, "Past.", now - 10000, 5});
        add("limited", {Restriction::Kind::Silent, "", 0, -1});
        startService();
    }

    void cleanup()
    {
        m_service.reset();
        m_store.reset();
        m_folder.reset();
        endStrict();
    }

    void loginOutcomes_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("has"); // a key of the answer
        QTest::addColumn<QByteArray>("is");  // its value, where it is a text

        QTest::newRow("ok") << loginBody("ok", "secret") << 200 << QByteArray("username") << QByteArray("ok");
        QTest::newRow("case") << loginBody("OK", "secret") << 200 << QByteArray("username") << QByteArray("ok");
        QTest::newRow("not ascii") << loginBody("安娜", "secret") << 200 << QByteArray("username")
                                   << QByteArray("安娜");
        QTest::newRow("wrong") << loginBody("ok", "x") << 401 << QByteArray("error") << QByteArray("login");
        QTest::newRow("was frozen") << loginBody("over", "secret") << 200 << QByteArray("username")
                                    << QByteArray("over");
        // That an account is frozen is told to its owner alone.
        QTest::newRow("frozen, wrong") << loginBody("late", "x") << 401 << QByteArray("error") << QByteArray("login");
        QTest::newRow("unknown") << loginBody("who", "x") << 401 << QByteArray("error") << QByteArray("login");
        QTest::newRow("frozen") << loginBody("late", "secret") << 200 << QByteArray("violation") << QByteArray();
        QTest::newRow("frozen for good") << loginBody("banned", "secret") << 200 << QByteArray("violation")
                                         << QByteArray();
        QTest::newRow("restricted") << loginBody("limited", "secret") << 403 << QByteArray("error")
                                    << QByteArray("restricted");
        QTest::newRow("no body") << QByteArray() << 400 << QByteArray("error") << QByteArray("bad-request");
        QTest::newRow("no json") << QByteArray("username=ok") << 400 << QByteArray("error")
                                 << QByteArray("bad-request");
        QTest::newRow("no password") << QByteArray("{\"username\":\"ok\"}") << 400 << QByteArray("error")
                                     << QByteArray("bad-request");
        QTest::newRow("password no text") << QByteArray(R"({"username":"ok","password":{"a":1}})") << 400
                                          << QByteArray("error") << QByteArray("bad-request");
        QTest::newRow("deep") << QByteArray("{\"username\":" + QByteArray(10000, '[')) << 400 << QByteArray("error")
                              << QByteArray("bad-request");
        QTest::newRow("endless name") << loginBody(QByteArray(50000, 'n'), "x") << 401 << QByteArray("error")
                                      << QByteArray("login");
        QTest::newRow("too long") << loginBody("ok", QByteArray(70000, 'p')) << 413 << QByteArray("error")
                                  << QByteArray("too-large");
    }

    void loginOutcomes()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        QFETCH(QByteArray, has);
        QFETCH(QByteArray, is);
        const RawAnswer answer = ::ask(m_port, httpRequest("POST", "/api/v1/auth/login", body));
        QCOMPARE(answer.status, status);
        const QJsonObject object = objectOf(answer);
        QVERIFY(object.contains(has));
        if (!is.isEmpty())
            QCOMPARE(object.value(has).toString().toUtf8(), is);
        if (has == "violation") {
            const QJsonObject violation = object.value(has).toObject();
            const bool forGood = violation.value("duration").toString() == "-1";
            QCOMPARE(violation.value("duration").toString(), QString(forGood ? "-1" : "3600"));
            QCOMPARE(violation.value("reason").toString(), QString(forGood ? "Worse." : "A \"reason\"."));
            const QString time = violation.value("effectTime").toString();
            QVERIFY(QDateTime::fromString(time, "yyyy-MM-ddThh:mm:ss.zzzZ").isValid());
            if (forGood)
                QCOMPARE(time, QString("2020-01-01T00:00:00.123Z"));
            QVERIFY(!object.contains("access_id"));
        } else if (status == 200) {
            QCOMPARE(object.value("authentication").toBool(), is != "安娜");
            QVERIFY(object.value("asperatcpport").toString().toInt() > 0);
        }
    }

    void wrongPasswordsSlowDownAndEnd()
    {
        QElapsedTimer timer;
        for (int i = 0; i < 4; ++i) {
            timer.restart();
            QCOMPARE(login("ok", "x").status, 401);
        }
        QVERIFY(timer.elapsed() >= 490);
        // At once, so that the pauses run side by side.
        std::vector<std::unique_ptr<RawConnection>> guesses;
        for (int i = 0; i < 6; ++i) {
            guesses.push_back(std::make_unique<RawConnection>(m_port));
            guesses.back()->send(httpRequest("POST", "/api/v1/auth/login", loginBody("ok", "x")));
        }
        RawAnswer refused;
        QTRY_VERIFY(refused.status == 429 || (refused = login("ok", "x")).status == 429);
        QCOMPARE(login("ok", "secret").status, 429);
        QCOMPARE(login("安娜", "secret").status, 200);
    }

    void profileAndStrangers()
    {
        const SignedRequest ok = signedBy("ok");
        const QJsonObject profile = objectOf(ask(ok, "GET", "users/ok"));
        QCOMPARE(profile.value("nickname").toString(), QString("Nick of ok"));
        QCOMPARE(profile.value("path").toString(), QString("/"));
        const QUrl icon(profile.value("icon").toString());
        const RawAnswer picture = ::ask(m_port, httpRequest("GET", icon.path().toUtf8()));
        QVERIFY(picture.body.startsWith("\x89PNG"));

        const QByteArray other = QByteArray("安娜").toPercentEncoding();
        for (const QByteArray &path : {"users/" + other + "/storage", "sc/1/users/" + other + "/path"})
            QCOMPARE(ask(ok, "GET", path).status, 403);
        const QJsonObject stranger = objectOf(ask(ok, "GET", "users/" + other));
        QVERIFY(stranger.contains("nickname") && !stranger.contains("email") && !stranger.contains("path"));
        QCOMPARE(ask(signedBy("安娜"), "GET", "users/" + other).status, 200);
        for (const QByteArray path : {"users/ok", "limits", "ads", "sc/1/files/list?path=/", "auth/web-token"}) {
            const RawAnswer answer =
                ::ask(m_port, httpRequest(path.startsWith("auth") ? "POST" : "GET", "/api/v1/" + path));
            QCOMPARE(answer.status, 401);
        }
        QCOMPARE(ask(ok, "GET", "sc/9/users/ok").status, 404);
        QVERIFY(objectOf(ask(ok, "GET", "limits")).value("transferRateLimit").toObject().value("upload").toInt() > 0);
    }

    void subCentersSayWhereTheyAre_data()
    {
        QTest::addColumn<QByteArray>("host");
        QTest::addColumn<QByteArray>("publicUrl");
        QTest::addColumn<QByteArray>("orv");
        QTest::addColumn<QByteArray>("transferHost");
        QTest::newRow("as asked") << QByteArray("drive.example:81") << QByteArray()
                                  << QByteArray("http://drive.example:81/api/v1/sc/1") << QByteArray("drive.example");
        QTest::newRow("ipv6") << QByteArray("[::1]:81") << QByteArray() << QByteArray("http://[::1]:81/api/v1/sc/1")
                              << QByteArray("::1");
        QTest::newRow("told") << QByteArray("evil.example") << QByteArray("https://real.example/drive")
                              << QByteArray("https://real.example/drive/sc/1") << QByteArray("real.example");
        QTest::newRow("host no host") << QByteArray("a\"b<c>") << QByteArray()
                                      << QByteArray("http://localhost/api/v1/sc/1") << QByteArray("localhost");
    }

    void subCentersSayWhereTheyAre()
    {
        QFETCH(QByteArray, host);
        QFETCH(QByteArray, publicUrl);
        QFETCH(QByteArray, orv);
        QFETCH(QByteArray, transferHost);
        m_options.publicUrl = publicUrl.toStdString();
        m_service.reset();
        startService();
        const RawAnswer answer = ::ask(m_port, "GET /api/v1/subcenters HTTP/1.1\r\nHost: " + host + "\r\n\r\n");
        const QJsonArray list = objectOf(answer).value("subCenters").toArray();
        QCOMPARE(list.size(), 2);
        const QJsonObject first = list[0].toObject();
        QCOMPARE(first.value("orv").toString().toUtf8(), orv);
        const QJsonObject server = first.value("udtServer").toArray()[0].toObject();
        QCOMPARE(server.value("ip").toString().toUtf8(), transferHost);
        QVERIFY(server.value("port").toString().toInt() > 0);
    }

    void homePaths()
    {
        const SignedRequest ok = signedBy("ok");
        QCOMPARE(objectOf(ask(ok, "GET", "sc/1/users/ok/path?home=%2F")).value("path").toString(), QString("/"));
        QCOMPARE(ask(ok, "GET", "sc/2/users/ok/path").status, 404);
        QVERIFY(QFileInfo::exists(m_folder->filePath("root1/ok")));
        // A disk that is not mounted is no missing home, and nothing is made in its place.
        // The mark first: as long as it is there, whoever counts what is used makes the home again.
        QVERIFY(QFile::remove(m_folder->filePath("root1/") + Site::rootMark));
        QVERIFY(QDir(m_folder->filePath("root1/ok")).removeRecursively());
        QCOMPARE(ask(ok, "GET", "sc/1/users/ok/path").status, 503);
        QVERIFY(!QFileInfo::exists(m_folder->filePath("root1/ok")));
        // A link in the home's place leads nowhere.
        QVERIFY(Site::prepareRoot(m_folder->filePath("root1").toStdString()));
        QVERIFY(QFile::link(m_folder->path(), m_folder->filePath("root1/ok")));
        QCOMPARE(ask(ok, "GET", "sc/1/users/ok/path").status, 503);
    }

    void storageFollowsTheDisk()
    {
        const SignedRequest ok = signedBy("ok");
        const auto storage = [&](const QByteArray &base) {
            return objectOf(ask(ok, "GET", base + "users/ok/storage")).value("storage").toObject();
        };
        QCOMPARE(ask(ok, "GET", "sc/1/users/ok/path").status, 200);
        QDir home(m_folder->filePath("root1/ok"));
        QVERIFY(home.mkpath("a/b"));
        for (const char *name : {"x", "a/y", "a/b/z"}) {
            writeFile(home.filePath(name), QByteArray(1000, 'x'));
        }
        QVERIFY(QFile::link("/", home.filePath("a/everything")));
        // Counted anew at the next start, what was changed behind the service's back included.
        m_service.reset();
        startService();
        QTRY_COMPARE(storage("sc/1/").value("used").toInt(), 3000);
        QCOMPARE(storage("").value("quota").toInt(), 1000000);
        QCOMPARE(ask(ok, "GET", "sc/2/users/ok/storage").status, 404);

        QVERIFY(m_store->setQuota("ok", "1", 5000));
        QTRY_COMPARE(storage("sc/1/").value("quota").toInt(), 5000);
    }

    void tickets_data()
    {
        QTest::addColumn<bool>("transfer");
        QTest::addColumn<QByteArray>("center");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        const QByteArray good = R"({"direction":"upload","path":"/a"})";
        QTest::newRow("upload") << true << QByteArray("1") << good << 200;
        QTest::newRow("download") << true << QByteArray("1") << QByteArray(R"({"direction":"download","path":"/"})")
                                  << 200;
        QTest::newRow("session's credentials") << false << QByteArray("1") << good << 401;
        QTest::newRow("no home") << true << QByteArray("2") << good << 404;
        QTest::newRow("no such center") << true << QByteArray("9") << good << 404;
        QTest::newRow("sideways") << true << QByteArray("1") << QByteArray(R"({"direction":"side","path":"/a"})")
                                  << 400;
        QTest::newRow("out of the home") << true << QByteArray("1")
                                         << QByteArray(R"({"direction":"upload","path":"/../b"})") << 400;
        QTest::newRow("no path") << true << QByteArray("1") << QByteArray(R"({"direction":"upload"})") << 400;
        QTest::newRow("no json") << true << QByteArray("1") << QByteArray("upload") << 400;
    }

    void tickets()
    {
        QFETCH(bool, transfer);
        QFETCH(QByteArray, center);
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        const RawAnswer answer = ask(signedBy("ok", transfer), "POST", "sc/" + center + "/transfer-tickets", body);
        QCOMPARE(answer.status, status);
        if (status != 200)
            return;
        const QJsonObject ticket = objectOf(answer);
        QVERIFY(ticket.value("ticket").toString().size() >= 40);
        QCOMPARE(ticket.value("fingerprint").toString().size(), 64);
        QVERIFY(ticket.value("port").toInt() > 0);
        QVERIFY(ticket.value("expires").toDouble() > double(nowMs()));
    }

    void icons_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<int>("status");
        for (const char *kind : {"folder", "file", "image", "video", "audio", "archive", "text", "document", "scene"})
            QTest::newRow(kind) << QByteArray("icons/file/") + kind + ".png" << 200;
        QTest::newRow("unknown kind") << QByteArray("icons/file/new.png") << 200;
        QTest::newRow("below a sub-center") << QByteArray("sc/1/icons/file/folder.png") << 200;
        QTest::newRow("stored") << QByteArray("icons/user/own.png") << 200;
        QTest::newRow("no group") << QByteArray("icons/folder.png") << 404;
        QTest::newRow("other group") << QByteArray("icons/x/folder.png") << 404;
        QTest::newRow("upwards") << QByteArray("icons/file/..%2F..%2Farkvale.db") << 404;
        QTest::newRow("upwards to a picture") << QByteArray("icons/user/..%2F..%2F..%2Foutside.png") << 404;
        QTest::newRow("hidden") << QByteArray("icons/user/.png") << 404;
    }

    void icons()
    {
        QFETCH(QByteArray, path);
        QFETCH(int, status);
        QDir data(m_folder->filePath("data"));
        QVERIFY(data.mkpath("icons/user"));
        for (const char *name : {"icons/user/own.png", "../outside.png"}) {
            writeFile(data.filePath(name), "\x89PNG own");
        }
        const RawAnswer answer = ::ask(m_port, httpRequest("GET", "/api/v1/" + path));
        QCOMPARE(answer.status, status);
        if (status == 200)
            QVERIFY(answer.body.startsWith("\x89PNG"));
        QCOMPARE(answer.body == "\x89PNG own", path.contains("own"));
    }

    void webTokenAndLogout()
    {
        const SignedRequest ok = signedBy("ok");
        const QByteArray token = objectOf(ask(ok, "POST", "auth/web-token", "{}")).value("token").toString().toUtf8();
        const QByteArray body = "{\"username\":\"ok\",\"token\":\"" + token + "\"}";
        const QByteArray request = httpRequest("POST", "/api/v1/auth/token", body);
        const QJsonObject session = objectOf(::ask(m_port, request));
        QVERIFY(!session.value("access_token").toString().isEmpty());
        QCOMPARE(::ask(m_port, request).status, 401);

        QCOMPARE(ask(ok, "POST", "auth/logout", "{}").status, 200);
        QCOMPARE(ask(ok, "GET", "users/ok").status, 401);
        SignedRequest other = ok;
        other.accessId = session.value("access_id").toString().toUtf8();
        other.token = session.value("access_token").toString().toUtf8();
        QCOMPARE(ask(other, "GET", "users/ok").status, 200);
    }

    void sessionsOutliveARestart()
    {
        const SignedRequest ok = signedBy("ok");
        SignedRequest seen = ok;
        seen.target = "/api/v1/users/ok";
        const QByteArray text = seen.text();
        QCOMPARE(::ask(m_port, text).status, 200);
        const auto before = m_service->addresses()["subCenters"];
        m_service->stop();
        startService();
        QCOMPARE(ask(ok, "GET", "users/ok").status, 200);
        QCOMPARE(objectOf(::ask(m_port, text)).value("error").toString(), QString("repeated"));
        // Clients that know the transfer ports find them again.
        const auto after = m_service->addresses()["subCenters"];
        for (std::size_t i = 0; i < before.size(); ++i)
            QVERIFY(before[i]["transferPort"] == after[i]["transferPort"]);
    }

    void oneServiceAFolder()
    {
        Service second(m_options);
        std::string error;
        QVERIFY(!second.start(&error));
        QVERIFY(error.find("Another service") != std::string::npos);
        m_service.reset();
        QVERIFY2(second.start(&error), error.c_str());
    }

    void tls()
    {
        const QString openssl = QStandardPaths::findExecutable("openssl");
        if (openssl.isEmpty())
            QSKIP("no openssl program to make a certificate with");
        const QString key = m_folder->filePath("key.pem");
        const QString certificate = m_folder->filePath("cert.pem");
        QProcess make;
        make.start(openssl, {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                             "-days", "2", "-subj", "/CN=localhost", "-keyout", key, "-out", certificate});
        QVERIFY(make.waitForFinished() && make.exitCode() == 0);
        const auto read = [](const QString &path) {
            QFile file(path);
            return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
        };
        m_options.http.tlsCertificate = read(certificate);
        m_options.http.tlsKey = read(key);
        m_service.reset();
        startService();

        QSslSocket socket;
        socket.setPeerVerifyMode(QSslSocket::VerifyNone);
        socket.connectToHostEncrypted("127.0.0.1", m_port);
        QVERIFY(socket.waitForEncrypted());
        socket.write(httpRequest("GET", "/api/v1/subcenters"));
        QByteArray received;
        while (!received.contains("subCenters") && socket.waitForReadyRead(5000))
            received += socket.readAll();
        QVERIFY(received.contains("https://localhost/api/v1/sc/1"));
        // Who speaks no TLS is answered nothing.
        QVERIFY(::ask(m_port, httpRequest("GET", "/api/v1/subcenters")).status != 200);
    }

    void drivePaths_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("clean");
        QTest::newRow("top") << QByteArray("/") << QByteArray("/");
        QTest::newRow("folder") << QByteArray("/a/b") << QByteArray("/a/b");
        QTest::newRow("slash at the end") << QByteArray("/a/b/") << QByteArray("/a/b");
        QTest::newRow("dots in a name") << QByteArray("/a..b/...") << QByteArray("/a..b/...");
        QTest::newRow("relative") << QByteArray("a") << QByteArray();
        QTest::newRow("empty") << QByteArray() << QByteArray();
        QTest::newRow("up") << QByteArray("/a/../b") << QByteArray();
        QTest::newRow("up at the end") << QByteArray("/a/..") << QByteArray();
        QTest::newRow("here") << QByteArray("/./a") << QByteArray();
        QTest::newRow("two slashes") << QByteArray("/a//b") << QByteArray();
        QTest::newRow("zero byte") << QByteArray("/a\0b", 4) << QByteArray();
    }

    void drivePaths()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, clean);
        QCOMPARE(QByteArray::fromStdString(cleanDrivePath(path.toStdString())), clean);
    }

private:
    void startService()
    {
        m_service = std::make_unique<Service>(m_options);
        std::string error;
        QVERIFY2(m_service->start(&error), error.c_str());
        m_port = m_service->port();
    }

    SignedRequest signedBy(const QByteArray &user, bool transfer = false)
    {
        const QJsonObject session = objectOf(login(user, "secret"));
        SignedRequest request;
        request.user = user;
        request.accessId = session.value(transfer ? "asperauser" : "access_id").toString().toUtf8();
        request.token = transfer ? QByteArray::fromBase64(session.value("asperapasswd").toString().toUtf8())
                                 : session.value("access_token").toString().toUtf8();
        return request;
    }

    RawAnswer ask(SignedRequest request, const QByteArray &method, const QByteArray &path, const QByteArray &body = {})
    {
        request.method = method;
        request.target = "/api/v1/" + path;
        request.body = body;
        return ::ask(m_port, request.text());
    }

    RawAnswer login(const QByteArray &user, const QByteArray &password)
    {
        return ::ask(m_port, httpRequest("POST", "/api/v1/auth/login", loginBody(user, password)));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<AccountStore> m_store; ///< as the commands of another process would have it
    ServiceOptions m_options;
    std::unique_ptr<Service> m_service;
    std::uint16_t m_port = 0;
};

ARKVALE_GUILESS_TEST(TestSite)
#include "tst_service_site.moc"
