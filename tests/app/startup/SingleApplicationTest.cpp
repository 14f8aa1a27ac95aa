#include "TestSupport.h"

#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>

#ifdef Q_OS_UNIX
#include <csignal>
#endif

class SingleApplicationTest : public StrictTest
{
    Q_OBJECT

private slots:
    void init()
    {
        beginStrict();
        qunsetenv("TMPDIR"); // else the new folder would lie in the old one
        m_folder = std::make_unique<QTemporaryDir>();
        qputenv("TMPDIR", m_folder->path().toUtf8()); // where local sockets live
    }

    void secondRaisesFirst_data()
    {
        QTest::addColumn<QString>("state");
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QByteArray>("then");
        QTest::newRow("maximized") << "maximized" << QByteArray("normal") << QByteArray("maximized");
        QTest::newRow("normal") << "normal" << QByteArray("maximized") << QByteArray("normal");
    }

    void secondRaisesFirst()
    {
        QFETCH(QString, state);
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, then);
        QProcess running;
        start(&running, state);
        QVERIFY(waitForLine(&running, "ready"));
        running.readAllStandardOutput();
        for (int i = 0; i < 2; ++i) {
            QProcess second;
            start(&second);
            QVERIFY(second.waitForFinished(10000));
            QCOMPARE(second.exitCode(), 7);
            QCOMPARE(second.readAllStandardError().split('\n').first(), m_name.toUtf8() + " already running.");
            QVERIFY(second.readAllStandardOutput().isEmpty());
            QVERIFY(waitForLine(&running, first));
            QVERIFY(waitForLine(&running, then));
        }
        running.closeWriteChannel();
        QVERIFY(running.waitForFinished(10000));
        QCOMPARE(running.exitCode(), 0);
    }

    // A connection that stays open without a word is good for the same, a second later, and blocks nobody meanwhile.
    void silentConnection()
    {
        QProcess running;
        start(&running, QStringLiteral("normal"));
        QVERIFY(waitForLine(&running, "ready"));
        running.readAllStandardOutput();
        QLocalSocket silent;
        silent.connectToServer(m_name);
        QVERIFY(silent.waitForConnected(1000));
        QElapsedTimer timer;
        timer.start();
        QLocalSocket talking;
        talking.connectToServer(m_name);
        QVERIFY(talking.waitForConnected(1000));
        talking.write("x");
        QVERIFY(waitForLine(&running, "normal"));
        QVERIFY(timer.elapsed() < 900);
        QVERIFY(waitForLine(&running, "normal"));
        running.closeWriteChannel();
        QVERIFY(running.waitForFinished(10000));
    }

    void staleSocketIsReplaced()
    {
#ifdef Q_OS_UNIX
        QProcess crashed;
        start(&crashed, QStringLiteral("normal"));
        QVERIFY(waitForLine(&crashed, "ready"));
        const QFileInfo socket(m_folder->filePath(m_name));
        QVERIFY(socket.exists());
        QVERIFY(
            !(socket.permissions() & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther)));
        ::kill(pid_t(crashed.processId()), SIGKILL);
        QVERIFY(crashed.waitForFinished(10000));
        QVERIFY(QFileInfo::exists(m_folder->filePath(m_name)));

        QProcess next;
        start(&next, QStringLiteral("normal"));
        QVERIFY(waitForLine(&next, "ready"));
        QProcess second;
        start(&second);
        QVERIFY(second.waitForFinished(10000));
        QCOMPARE(second.exitCode(), 7);
        next.closeWriteChannel();
        QVERIFY(next.waitForFinished(10000));
#endif
    }

private:
    void start(QProcess *process, const QString &argument = QString())
    {
        process->start(builtProgram(m_name), argument.isEmpty() ? QStringList() : QStringList{argument});
        QVERIFY(process->waitForStarted());
    }

    static bool waitForLine(QProcess *process, const QByteArray &line)
    {
        return QTest::qWaitFor(
            [&] {
                while (process->canReadLine()) {
                    if (process->readLine().trimmed() == line)
                        return true;
                }
                return false;
            },
            10000);
    }

    const QString m_name = QStringLiteral("single_instance_helper");
    std::unique_ptr<QTemporaryDir> m_folder;
};

ARKVALE_GUILESS_TEST(SingleApplicationTest)
#include "SingleApplicationTest.moc"
