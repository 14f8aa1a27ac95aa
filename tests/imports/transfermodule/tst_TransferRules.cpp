#include "SpeedMeter.h"
#include "TransferRules.h"

#include "TestSupport.h"

class TransferRulesTest : public StrictTest
{
    Q_OBJECT

private slots:
    void speedOverTheLastSeconds();
    void ratesAndServers_data();
    void ratesAndServers();
    void pathsOfRecords_data();
    void pathsOfRecords();
};

void TransferRulesTest::speedOverTheLastSeconds()
{
    SpeedMeter meter;
    QCOMPARE(meter.megabits(0), 0.0);
    for (qint64 t = 0; t <= 10000; t += 100)
        meter.sample(t, t * 1024); // 1024 bytes a millisecond
    QVERIFY(qAbs(meter.megabits(10000) - 7.8125) < 0.01);
    QVERIFY(meter.megabits(11500) < 7.0);
    QCOMPARE(meter.megabits(13100), 0.0);
    // A new stream counts from the beginning.
    meter.sample(14000, 0);
    meter.sample(15000, 1024 * 1024);
    QVERIFY(qAbs(meter.megabits(15000) - 8.0) < 0.01);
}

void TransferRulesTest::ratesAndServers_data()
{
    QTest::addColumn<qint64>("speed");
    QTest::addColumn<quint64>("rate");
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("host");
    QTest::newRow("target speed") << qint64(2048) << quint64(2048 * 1024) << "9000"
                                  << "udt";
    QTest::newRow("no speed is the slowest pacing") << qint64(0) << quint64(34133) << "70000" << QString();
    QTest::newRow("negative") << qint64(-5) << quint64(34133) << "x" << QString();
    QTest::newRow("absurd") << std::numeric_limits<qint64>::max() << quint64(9223372036854774784ull) << "0"
                            << QString();
}

void TransferRulesTest::ratesAndServers()
{
    QFETCH(qint64, speed);
    QFETCH(quint64, rate);
    QFETCH(QString, port);
    QFETCH(QString, host);
    ZpdtTransConfig config;
    config.uploadTargetSpeed = speed;
    config.uploadPacing.pacingLimit = 30000.0;
    QCOMPARE(TransferRules::targetRate(config, ZPDT_UPLOAD), rate);
    QCOMPARE(TransferRules::targetRate(config, ZPDT_DOWNLOAD), quint64(45000) * 1024);
    config.udtHost = QStringLiteral("udt");
    config.udtPort = port;
    config.asperaHost = QStringLiteral("other");
    config.asperaPort = QStringLiteral("33");
    QCOMPARE(TransferRules::configuredServer(config).first, host);
    config.engineFlagA = true;
    QCOMPARE(TransferRules::configuredServer(config), qMakePair(QStringLiteral("other"), quint16(33)));
}

void TransferRulesTest::pathsOfRecords_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("parent");
    const auto row = [](const char *name, const char *path, const char *folder, const char *last, const char *parent) {
        QTest::newRow(name) << path << folder << last << parent;
    };
    row("plain", "/a/b c", "/a/b c", "b c", "/a");
    row("trailing separators", "/a/b//", "/a/b", "b", "/a");
    row("in the root", "/a", "/a", "a", "/");
    row("root", "/", "/", "", "/");
    row("drive", "C:/x", "C:/x", "x", "C:/");
    row("whole drive", "C:/", "C:/", "", "C:/");
    row("empty", "", "", "", "");
}

void TransferRulesTest::pathsOfRecords()
{
    QFETCH(QString, path);
    QTEST(TransferRules::folderPath(path), "folder");
    QTEST(TransferRules::lastName(path), "name");
    QTEST(TransferRules::parentFolder(path), "parent");
    if (!TransferRules::lastName(path).isEmpty())
        QCOMPARE(TransferRules::joined(TransferRules::parentFolder(path), TransferRules::lastName(path)),
                 TransferRules::folderPath(path));
}

ARKVALE_GUILESS_TEST(TransferRulesTest)
#include "tst_TransferRules.moc"
