#include "TestSupport.h"

#include <QProcess>
#include <QTemporaryDir>

#ifdef Q_OS_UNIX
#include <csignal>
#endif

/// The real program, as far as it gets without a service.
class ProgramTest : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void refusedCommandLines_data();
    void refusedCommandLines();
    void endsOnSignal_data();
    void endsOnSignal();

private:
    QTemporaryDir m_folder;
};

void ProgramTest::initTestCase()
{
    const QString config = m_folder.filePath(QStringLiteral("Config"));
    QVERIFY(QDir().mkpath(config));
    const QDir shipped(builtProgram(QStringLiteral("Config")));
    for (const QString &name : shipped.entryList(QDir::Files))
        QVERIFY(QFile::copy(shipped.filePath(name), config + QLatin1Char('/') + name));
    QFile settings(config + QStringLiteral("/arkvale.ini"));
    settings.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    QVERIFY(settings.open(QIODevice::WriteOnly | QIODevice::Truncate));
    settings.write(
        R"({"Auth": "http://127.0.0.1:9/", "ListSubCenter": "http://127.0.0.1:9/subcenters", "WSSProt": 0})");
    qputenv("ARKVALE_CONFIG_DIR", config.toUtf8());
    qputenv("TMPDIR", m_folder.path().toUtf8());
}

void ProgramTest::refusedCommandLines_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("tells");
    QTest::newRow("password alone") << QStringList{"-pass", "x"} << 255 << false;
    QTest::newRow("unknown option") << QStringList{"-nonsense"} << 1 << true;
}

void ProgramTest::refusedCommandLines()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, code);
    QFETCH(bool, tells);
    QProcess program;
    program.start(builtProgram(QStringLiteral("ArkvaleTolma")), arguments);
    QVERIFY(program.waitForFinished(20000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), code);
    // A sanitizer may add lines of its own; the parser names the option.
    const QByteArray told = program.readAllStandardError();
    QVERIFY2(told.contains(arguments.first().mid(1).toUtf8()) == tells, told.constData());
}

void ProgramTest::endsOnSignal_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("signal");
    QTest::newRow("login dialog") << QStringList() << 15;
    QTest::newRow("hidden") << QStringList{"zparkvale://open"} << 2;
}

void ProgramTest::endsOnSignal()
{
#ifdef Q_OS_UNIX
    QFETCH(QStringList, arguments);
    QFETCH(int, signal);
    const QString state = m_folder.filePath(QLatin1String(QTest::currentDataTag()));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_STATE_HOME"), state);
    QProcess program;
    program.setProcessEnvironment(environment);
    program.start(builtProgram(QStringLiteral("ArkvaleTolma")), arguments);
    QFile log(state + QStringLiteral("/ArkvaleTolma/log/ArkvaleTolma.log"));
    const auto listening = [&log] {
        log.close();
        return log.open(QIODevice::ReadOnly) &&
               log.readAll().contains("[zpt_wss] ZPT Browser Server listening on port");
    };
    QTRY_VERIFY_WITH_TIMEOUT(listening(), 20000);

    QProcess second;
    second.start(builtProgram(QStringLiteral("ArkvaleTolma")), QStringList());
    QVERIFY(second.waitForFinished(20000));
    QCOMPARE(second.exitCode(), 0);
    QCOMPARE(second.readAllStandardError().split('\n').first(), QByteArray("ArkvaleTolma already running."));

    ::kill(pid_t(program.processId()), signal);
    QVERIFY(program.waitForFinished(20000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
#endif
}

ARKVALE_GUILESS_TEST(ProgramTest)
#include "ProgramTest.moc"
