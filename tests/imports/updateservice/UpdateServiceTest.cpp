#include "UpdateService.h"

#include "HttpFake.h"
#include "TestCertificate.h"
#include "TestFiles.h"
#include "TestSupport.h"

#include <QCryptographicHash>
#include <QDir>
#include <QJsonDocument>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <functional>
#include <memory>

#include <openssl/evp.h>

namespace {

/// Whoever holds the key that a build trusts.
class Maker
{
public:
    Maker()
    {
        EVP_PKEY *key = nullptr;
        EVP_PKEY_CTX *context = EVP_PKEY_CTX_new_id(EVP_PKEY_ED25519, nullptr);
        EVP_PKEY_keygen_init(context);
        EVP_PKEY_keygen(context, &key);
        EVP_PKEY_CTX_free(context);
        m_key.reset(key, &EVP_PKEY_free);
    }
    QByteArray publicKey() const
    {
        QByteArray bytes(32, 0);
        size_t size = 32;
        EVP_PKEY_get_raw_public_key(m_key.get(), reinterpret_cast<unsigned char *>(bytes.data()), &size);
        return bytes;
    }
    QByteArray envelope(const QByteArray &manifest) const
    {
        QByteArray signature(64, 0);
        size_t size = 64;
        EVP_MD_CTX *context = EVP_MD_CTX_new();
        EVP_DigestSignInit(context, nullptr, nullptr, nullptr, m_key.get());
        EVP_DigestSign(context, reinterpret_cast<unsigned char *>(signature.data()), &size,
                       reinterpret_cast<const unsigned char *>(manifest.constData()), size_t(manifest.size()));
        EVP_MD_CTX_free(context);
        return seal(manifest, signature);
    }
    static QByteArray seal(const QByteArray &manifest, const QByteArray &signature)
    {
        return QJsonDocument(QJsonObject{{"manifest", QString::fromLatin1(manifest.toBase64())},
                                         {"signature", QString::fromLatin1(signature.toBase64())}})
            .toJson();
    }

private:
    std::shared_ptr<EVP_PKEY> m_key;
};

QByteArray manifestOf(const QByteArray &package, const QJsonObject &other = {})
{
    QJsonObject told{
        {"product", "ArkvaleTolma"},
        {"platform", UpdateManifest::thisPlatform()},
        {"version", "2.0"},
        {"package", "package/a.run"},
        {"name", "a.run"},
        {"size", package.size()},
        {"sha256", QString::fromLatin1(QCryptographicHash::hash(package, QCryptographicHash::Sha256).toHex())},
        {"notes", "<b>New</b>"},
        {"issued", 1000}};
    for (auto it = other.begin(); it != other.end(); ++it)
        told.insert(it.key(), it.value());
    return QJsonDocument(told).toJson();
}

QByteArray pattern(int size)
{
    QByteArray bytes(size, 0);
    for (int i = 0; i < size; ++i)
        bytes[i] = char((quint32(i) * 7919) >> 5);
    return bytes;
}

/// A whole reply, or the piece that the request asks for.
HttpFake::Answer ranged(const HttpFake::Request &request, const QByteArray &body)
{
    const QByteArray range = request.headers.value("range");
    if (range.isEmpty())
        return HttpFake::reply(200, body);
    const int begin = range.mid(6).chopped(1).toInt();
    return HttpFake::reply(206, body.mid(begin),
                           "Content-Range: bytes " + QByteArray::number(begin) + "-" +
                               QByteArray::number(body.size() - 1) + "/" + QByteArray::number(body.size()) + "\r\n");
}

using Serve = std::function<HttpFake::Answer(const HttpFake::Request &, int)>;

} // namespace

Q_DECLARE_METATYPE(Serve)

class UpdateServiceTest : public StrictTest
{
    Q_OBJECT

private slots:
    void init()
    {
        beginStrict();
        m_folder = std::make_unique<QTemporaryDir>();
    }
    void cleanup() { endStrict(); }
    void answers_data()
    {
        QTest::addColumn<QString>("mine");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("result");
        const auto told = [this](const QJsonObject &other) { return m_maker.envelope(manifestOf("p", other)); };
        const auto version = [&](const char *text) { return told({{"version", text}}); };
        QTest::newRow("same") << "1.2.3" << version("1.2.3") << 200 << 0;
        QTest::newRow("same, shorter") << "1.2.0" << version("1.2") << 200 << 0;
        QTest::newRow("older there") << "1.10" << version("1.9.9") << 200 << 0;
        QTest::newRow("newer, not by letters") << "1.9" << version("1.10") << 200 << 1;
        QTest::newRow("own suffix does not count") << "1.2.3-rc1" << version("1.2.3") << 200 << 0;
        QTest::newRow("own version unknown") << "" << version("1.0") << 200 << 2;
        QTest::newRow("nothing published") << "1.0" << QByteArray() << 204 << 0;
        QTest::newRow("no number") << "1.0" << version("next") << 200 << 2;
        QTest::newRow("garbage") << "1.0" << QByteArray("\x80\x81[[[") << 200 << 2;
        QTest::newRow("nothing") << "1.0" << QByteArray() << 200 << 2;
        QTest::newRow("huge") << "1.0" << version("2.0") + QByteArray(1 << 20, ' ') << 200 << 2;
        QTest::newRow("not found") << "1.0" << version("2.0") << 404 << 2;
        QTest::newRow("name with a path") << "1.0" << told({{"name", "../a.run"}}) << 200 << 2;
        QTest::newRow("hidden name") << "1.0" << told({{"name", ".a"}}) << 200 << 2;
        QTest::newRow("negative size") << "1.0" << told({{"size", -1}}) << 200 << 2;
        QTest::newRow("endless size") << "1.0" << told({{"size", 1e300}}) << 200 << 2;
        QTest::newRow("file address") << "1.0" << told({{"package", "file:///etc/passwd"}}) << 200 << 2;
        QTest::newRow("other platform") << "1.0" << told({{"platform", "vax-vms"}}) << 200 << 3;
        QTest::newRow("other program") << "1.0" << told({{"product", "Editor"}}) << 200 << 3;
        QTest::newRow("other maker") << "1.0" << Maker().envelope(manifestOf("p")) << 200 << 3;
        QTest::newRow("no signature") << "1.0" << Maker::seal(manifestOf("p"), QByteArray()) << 200 << 3;
        QTest::newRow("zero signature") << "1.0" << Maker::seal(manifestOf("p"), QByteArray(64, 0)) << 200 << 3;
        QJsonObject mixed = QJsonDocument::fromJson(told({})).object();
        mixed["manifest"] = QString::fromLatin1(manifestOf("p", {{"version", "9.0"}}).toBase64());
        QTest::newRow("changed manifest") << "1.0" << QJsonDocument(mixed).toJson() << 200 << 3;
    }

    void answers()
    {
        QFETCH(QString, mine);
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        QFETCH(int, result);
        HttpFake fake([=](const HttpFake::Request &) { return HttpFake::reply(status, body); });
        const auto service = make(fake.address() + QStringLiteral("?channel=a%26b"), mine);
        service->setMode(UpdateService::Mode::Tell);
        QCOMPARE(ask(service.get()), result);
        QCOMPARE(fake.requests().size(), 1); // nothing is fetched where a package manager rules
        QCOMPARE(fake.requests().first().target, "/base?channel=a%26b&version=" + mine.toUtf8() +
                                                     "&lang=zh_cn&platform=" + UpdateManifest::thisPlatform().toUtf8());
        QVERIFY(!service->canInstall());
    }

    void packages_data()
    {
        using Answer = HttpFake::Answer;
        using Request = HttpFake::Request;
        QTest::addColumn<Serve>("serve");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("requests"); // for the package
        const auto row = [](const char *name, int result, int requests, const Serve &serve) {
            QTest::newRow(name) << serve << result << requests;
        };
        const QByteArray body = pattern(300000);
        row("whole", 1, 1, [=](const Request &request, int) { return ranged(request, body); });
        row("cut twice", 1, 3, [=](const Request &request, int n) {
            Answer answer = ranged(request, body);
            if (n < 2)
                answer = {answer.bytes.left(answer.bytes.size() / 2), true, 0};
            return answer;
        });
        row("cut, then no ranges", 1, 2, [=](const Request &request, int n) {
            return n == 0 ? Answer{ranged(request, body).bytes.left(1000), true, 0} : HttpFake::reply(200, body);
        });
        row("cut, then another piece", 1, 3, [=](const Request &request, int n) {
            if (n == 1)
                return HttpFake::reply(206, body, "Content-Range: bytes 7-300006/300007\r\n");
            return n == 0 ? Answer{ranged(request, body).bytes.left(1000), true, 0} : ranged(request, body);
        });
        row("changed", 3, 1,
            [=](const Request &, int) { return HttpFake::reply(200, QByteArray(body).replace(7, 1, "x")); });
        row("longer", 3, 1, [=](const Request &, int) { return HttpFake::reply(200, body + "x"); });
        row("endless", 3, 1, [=](const Request &, int) {
            return Answer{"HTTP/1.1 200 OK\r\n\r\n" + body + QByteArray(8 << 20, 'x'), false, 0};
        });
        row("shorter again and again", 2, 3, [=](const Request &, int) {
            return Answer{HttpFake::reply(200, body).bytes.left(900), true, 0};
        });
        row("gone", 2, 1, [=](const Request &, int) { return HttpFake::reply(404, "no"); });
        row("service in trouble", 2, 3, [=](const Request &, int) { return HttpFake::reply(503, "later"); });
        row("in a circle", 3, 6, [=](const Request &, int) {
            return HttpFake::reply(302, QByteArray(), "Location: /base/package/a.run\r\n");
        });
    }

    void packages()
    {
        QFETCH(Serve, serve);
        QFETCH(int, result);
        QFETCH(int, requests);
        int count = 0;
        HttpFake fake([&](const HttpFake::Request &request) {
            return request.path().endsWith("/latest")
                       ? HttpFake::reply(200, m_maker.envelope(manifestOf(pattern(300000))))
                       : serve(request, count++);
        });
        const auto service = make(fake.address() + QStringLiteral("/latest"));
        service->setPauses({1, 1});
        QCOMPARE(ask(service.get()), result);
        QVERIFY2(count >= requests, qPrintable(QString::number(count))); // the network library repeats some by itself
        QCOMPARE(service->canInstall(), result == 1);
        QCOMPARE(service->latestVersion(), QStringLiteral("2.0"));
        const QStringList files = kept();
        QCOMPARE(files.contains(QStringLiteral("a.run")), result == 1);
        const bool begun = qstrcmp(QTest::currentDataTag(), "shorter again and again") == 0;
        QCOMPARE(!files.filter(QStringLiteral(".part")).isEmpty(), begun);
        service->InstallOnExit();
        QCOMPARE(service->installation().isWanted(), result == 1);
    }

    void oldManifestIsRefused()
    {
        QByteArray answer = m_maker.envelope(manifestOf("p", {{"issued", 2000}, {"version", "3.0"}}));
        HttpFake fake([&](const HttpFake::Request &) { return HttpFake::reply(200, answer); });
        const auto once = [&] {
            const auto service = make(fake.address());
            service->setMode(UpdateService::Mode::Tell);
            return ask(service.get());
        };
        QCOMPARE(once(), 1);
        answer = m_maker.envelope(manifestOf("p", {{"issued", 1999}, {"version", "2.5"}}));
        QCOMPARE(once(), 3); // also in a later run of the program
        answer = m_maker.envelope(manifestOf("p", {{"issued", 2001}, {"version", "0.5"}}));
        QCOMPARE(once(), 0); // signed, but never a way back
    }

    void redirectOutOfTls()
    {
        HttpFake open([](const HttpFake::Request &) { return HttpFake::reply(200, pattern(300000)); });
        const QSslConfiguration tls = makeServerTls("localhost");
        HttpFake fake([&](const HttpFake::Request &request) {
            return request.path().endsWith("/latest")
                       ? HttpFake::reply(200, m_maker.envelope(manifestOf(pattern(300000))))
                       : HttpFake::reply(302, QByteArray(), "Location: " + open.address().toUtf8() + "\r\n");
        });
        fake.setTls(tls);
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        QSslConfiguration trusting = before;
        trusting.setCaCertificates({tls.localCertificate()});
        QSslConfiguration::setDefaultConfiguration(trusting);
        const auto service = make(fake.address().replace(QStringLiteral("127.0.0.1"), QStringLiteral("localhost")) +
                                  QStringLiteral("/latest"));
        const int result = ask(service.get());
        QSslConfiguration::setDefaultConfiguration(before);
        QCOMPARE(result, 3);
        QVERIFY(open.requests().isEmpty());
    }

    void resumesAcrossRuns()
    {
        const QByteArray body = pattern(300000);
        bool cut = true;
        QByteArray lastRange;
        HttpFake fake([&](const HttpFake::Request &request) {
            if (request.path().endsWith("/latest"))
                return HttpFake::reply(200, m_maker.envelope(manifestOf(body)));
            lastRange = request.headers.value("range");
            HttpFake::Answer answer = ranged(request, body);
            return cut ? HttpFake::Answer{answer.bytes.left(100000), false, 0} : answer; // and stuck
        });
        {
            const auto service = make(fake.address() + QStringLiteral("/latest"));
            qint64 got = 0;
            connect(service.get(), &UpdateService::UpdateProgress, this, [&](qint64 now) { got = now; });
            service->Update();
            QTRY_VERIFY(got > 50000);
        } // the program ends
        cut = false;
        const auto service = make(fake.address() + QStringLiteral("/latest"));
        QCOMPARE(ask(service.get()), 1);
        QVERIFY2(lastRange.startsWith("bytes=9"), lastRange.constData());
        const int before = fake.requests().size();
        const auto again = make(fake.address() + QStringLiteral("/latest"));
        QCOMPARE(ask(again.get()), 1);
        QCOMPARE(fake.requests().size(), before + 1); // the package lies here
    }

    void installerIsCheckedAgain()
    {
        const QString proof = m_folder->filePath(QStringLiteral("proof"));
        const QByteArray script = "#!/bin/sh\necho ran > '" + proof.toUtf8() + "'\n";
        HttpFake fake([&](const HttpFake::Request &request) {
            return HttpFake::reply(200,
                                   request.path().endsWith("/latest") ? m_maker.envelope(manifestOf(script)) : script);
        });
        const auto service = make(fake.address() + QStringLiteral("/latest"));
        QCOMPARE(ask(service.get()), 1);
        service->InstallOnExit();
        const UpdateService::Installation wanted = service->installation();
        QFile file(wanted.file);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(script).replace("ran", "bad"));
        file.close();
        QVERIFY(!UpdateService::startInstaller(wanted));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(script);
        file.close();
#ifdef Q_OS_UNIX
        QVERIFY(UpdateService::startInstaller(wanted));
        QTRY_VERIFY(QFile::exists(proof));
#endif
    }

    void badAddress()
    {
        for (const char *address : {"", "ftp://127.0.0.1/v", "file:///etc/hostname", "http://", "127.0.0.1"})
            QCOMPARE(ask(make(QString::fromLatin1(address)).get()), int(UpdateService::Failed));
        // A file where the folder should be.
        writeFile(m_folder->filePath(QStringLiteral("update")), QByteArray());
        HttpFake fake(
            [&](const HttpFake::Request &) { return HttpFake::reply(200, m_maker.envelope(manifestOf("p"))); });
        QCOMPARE(ask(make(fake.address()).get()), int(UpdateService::NoSpace));
    }

    void againstTheService()
    {
        const QString data = m_folder->filePath(QStringLiteral("data"));
        const auto publish = [&](const QString &file, const QString &version) {
            QProcess process;
            process.start(builtProgram(QStringLiteral("arkvale-service")),
                          {QStringLiteral("publish"), file, QStringLiteral("--version"), version,
                           QStringLiteral("--platform"), UpdateManifest::thisPlatform(), QStringLiteral("--notes"),
                           QStringLiteral("\u65b0 <b>"), QStringLiteral("--data"), data});
            process.waitForFinished();
            const QByteArray out = process.readAllStandardOutput();
            return process.exitCode() == 0 ? QByteArray::fromBase64(out.mid(out.indexOf("KEY=") + 4).trimmed())
                                           : QByteArray();
        };
        QFile package(m_folder->filePath(QStringLiteral("client-1.1.run")));
        QVERIFY(package.open(QIODevice::WriteOnly));
        package.write(pattern(3 << 20));
        package.close();
        const QByteArray key = publish(package.fileName(), QStringLiteral("1.1"));
        QCOMPARE(key.size(), 32);
        QVERIFY(publish(package.fileName(), QStringLiteral("1.1.0")).isEmpty());
        QVERIFY(publish(package.fileName(), QStringLiteral("1.0.9")).isEmpty());
        QVERIFY(publish(package.fileName(), QStringLiteral("1.2/../..")).isEmpty());
        QVERIFY(publish(m_folder->filePath(QStringLiteral("nothing")), QStringLiteral("2")).isEmpty());

        QProcess running;
        running.start(
            builtProgram(QStringLiteral("arkvale-service")),
            {QStringLiteral("serve"), QStringLiteral("--data"), data, QStringLiteral("--port"), QStringLiteral("0")});
        while (!running.canReadLine() && running.waitForReadyRead(30000)) {
        }
        const QString http =
            QJsonDocument::fromJson(running.readLine()).object().value(QStringLiteral("http")).toString();
        const auto service = make(http + QStringLiteral("/updates/latest"));
        service->setKey(key);
        // The beginning is here from an earlier run.
        QVERIFY(QDir().mkpath(m_folder->filePath(QStringLiteral("update"))));
        QFile part(m_folder->filePath(
            QStringLiteral("update/%1.part")
                .arg(QString::fromLatin1(
                    QCryptographicHash::hash(pattern(3 << 20), QCryptographicHash::Sha256).toHex()))));
        QVERIFY(part.open(QIODevice::WriteOnly));
        part.write(pattern(3 << 20).left(1 << 20));
        part.close();
        qint64 first = 0;
        connect(service.get(), &UpdateService::UpdateProgress, this, [&](qint64 now) { first = first ? first : now; });
        QCOMPARE(ask(service.get()), 1);
        QVERIFY(first > 1 << 20);
        QCOMPARE(service->notes(), QStringLiteral("\u65b0 <b>"));
        QCOMPARE(publish(package.fileName(), QStringLiteral("1.3")), key); // while it runs
        QCOMPARE(ask(service.get()), 1);
        QCOMPARE(service->latestVersion(), QStringLiteral("1.3"));
        running.terminate();
        QVERIFY(running.waitForFinished());
    }

private:
    int ask(UpdateService *service)
    {
        QSignalSpy spy(service, SIGNAL(UpdateFinished(int)));
        service->Update();
        service->Update(); // joins
        if (!spy.isEmpty() || !spy.wait(15000) || spy.size() != 1)
            return -1;
        return spy.first().first().toInt();
    }
    std::unique_ptr<UpdateService> make(const QString &address, const QString &version = QStringLiteral("1.0"))
    {
        auto service = std::make_unique<UpdateService>(address, version, QStringLiteral("zh_cn"));
        service->setKey(m_maker.publicKey());
        service->setFolder(m_folder->filePath(QStringLiteral("update")));
        service->setMode(UpdateService::Mode::Bring);
        return service;
    }
    QStringList kept()
    {
        return QDir(m_folder->filePath(QStringLiteral("update"))).entryList(QDir::Files);
    }

    Maker m_maker;
    std::unique_ptr<QTemporaryDir> m_folder;
};

ARKVALE_GUILESS_TEST(UpdateServiceTest)
#include "UpdateServiceTest.moc"
