#include "RequestSignature.h"

#include "TestSupport.h"

#include <QSet>

class RequestSignatureTest : public StrictTest
{
    Q_OBJECT

private slots:
    // Computed apart from this code, with `printf … | openssl dgst -sha256 -hmac …`.
    void vectors_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("token");
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("query");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("digest");
        QTest::addColumn<QByteArray>("signature");
        QTest::newRow("plain get") << QString::fromUtf8("alice") << QString::fromUtf8("secret") << QByteArray("GET")
                                   << QByteArray("/api/v1/users/alice") << QByteArray("") << QByteArray("")
                                   << QByteArray("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855")
                                   << QByteArray("5869522c48a2962dc7ff3bb70f80c5b3af717d868def3317eece314dfe6f486a");
        QTest::newRow("query and unicode token")
            << QString::fromUtf8("张三\n") << QString::fromUtf8("töken") << QByteArray("GET")
            << QByteArray("/api/v1/sc/2/files/list") << QByteArray("path=%2Fa%20b%26c&mode=2") << QByteArray("")
            << QByteArray("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855")
            << QByteArray("6041acb621c9d6a8d3d588398d11b2571ef487b067e4566347c0c7f9673bf47f");
        QTest::newRow("body") << QString::fromUtf8("bob") << QString(100, QLatin1Char('k')) << QByteArray("POST")
                              << QByteArray("/base/files/mkdir") << QByteArray("") << QByteArray("{\"path\":\"/x\"}")
                              << QByteArray("3dac3d9396c816b7e4926c7c4b8f17dd0e6c5a306b4362f05218096095062dd2")
                              << QByteArray("286c8fc2379e4bc7bccc046473f1b6bf2acbe6fcd72552a6b39dafed6a10a03c");
    }

    void vectors()
    {
        QFETCH(QString, user);
        QFETCH(QString, token);
        QFETCH(QByteArray, method);
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, query);
        QFETCH(QByteArray, body);
        const QByteArray nonce = "00112233445566778899aabbccddeeff";
        QMap<QByteArray, QByteArray> map;
        for (const auto &header : RequestSignature(user, QStringLiteral("id-1"), token)
                                      .headersAt(Q_INT64_C(1700000000123), nonce, method, path, query, body)) {
            QVERIFY(!map.contains(header.first));
            QVERIFY(!header.second.contains('\n') && !header.second.contains(token.toUtf8()));
            map.insert(header.first, header.second);
        }
        QCOMPARE(map.size(), 6);
        QCOMPARE(map.value("Arkvale-Access"), QByteArray("id-1"));
        QCOMPARE(map.value("Arkvale-Time"), QByteArray("1700000000123"));
        QCOMPARE(map.value("Arkvale-Nonce"), nonce);
        QCOMPARE(QUrl::fromPercentEncoding(map.value("Arkvale-User")), user);
        QTEST(map.value("Arkvale-Digest"), "digest");
        QTEST(map.value("Arkvale-Signature"), "signature");
    }

    void freshEachTime()
    {
        QVERIFY(RequestSignature().headers("GET", "/", "", "").isEmpty());
        QVERIFY(RequestSignature(QStringLiteral("u"), QStringLiteral("id"), QString())
                    .headers("GET", "/", "", "")
                    .isEmpty());

        const RequestSignature signature(QStringLiteral("u"), QStringLiteral("id"), QStringLiteral("t"));
        const qint64 before = QDateTime::currentMSecsSinceEpoch();
        QSet<QByteArray> nonces;
        for (int i = 0; i < 1000; ++i)
            nonces << RequestSignature::makeNonce();
        QCOMPARE(nonces.size(), 1000);
        QCOMPARE(nonces.begin()->size(), 32);
        const auto headers = signature.headers("GET", "/", "", "", 3600 * 1000);
        QVERIFY(headers[2].second.toLongLong() >= before + 3600 * 1000);
        QVERIFY(signature.headers("GET", "/", "", "")[3].second != headers[3].second);
    }
};

ARKVALE_GUILESS_TEST(RequestSignatureTest)
#include "RequestSignatureTest.moc"
