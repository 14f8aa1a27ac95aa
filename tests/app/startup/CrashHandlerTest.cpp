#include "TestFiles.h"
#include "TestSupport.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <csignal>

class CrashHandlerTest : public StrictTest
{
    Q_OBJECT

private slots:
    void init()
    {
        beginStrict();
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(
            QFile::copy(builtProgram(QStringLiteral("crash_helper")), m_folder->filePath(QStringLiteral("helper"))));
        QFile dialog(m_folder->filePath(QStringLiteral("ArkvaleTolmaDialog")));
        QVERIFY(dialog.open(QIODevice::WriteOnly));
        dialog.write("#!/bin/sh\ncd \"${0%/*}\"\nprintf '%s\\n' \"$#\" \"$@\" > told.tmp && mv told.tmp told\n");
        dialog.close();
        dialog.setPermissions(dialog.permissions() | QFile::ExeOwner);
    }

    void dump_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("signal");
        QTest::newRow("segv") << "segv" << SIGSEGV;
        QTest::newRow("abort") << "abort" << SIGABRT;
        QTest::newRow("exception") << "throw" << SIGABRT;
        QTest::newRow("stack ran over") << "overflow" << SIGSEGV;
        QTest::newRow("other thread") << "thread" << SIGSEGV;
        QTest::newRow("many threads") << "threads" << SIGSEGV;
        QTest::newRow("broken stack") << "broken stack" << SIGSEGV;
    }

    void dump()
    {
        QFETCH(QString, kind);
        QFETCH(int, signal);
        const QString path = m_folder->filePath(QStringLiteral("crash.dmp"));
        writeFile(path, QByteArray(10 * 1024 * 1024, 'o'));
        int endedBy = 0;
        crash({kind, QString::fromUtf8("it is 坏")}, &endedBy);
        QCOMPARE(endedBy, signal);

        const QMap<QString, QStringList> dump = sections(path);
        QCOMPARE(dump.value(QString()).value(0), QStringLiteral("ArkvaleTolma crash report 1"));
        QVERIFY(dump.value(QString()).contains(QStringLiteral("signal %1").arg(signal)));
        if (kind == QLatin1String("segv"))
            QVERIFY(dump.value(QString()).contains(QStringLiteral("address 0xdead0")));
#if defined(Q_PROCESSOR_X86_64) && defined(Q_OS_LINUX)
        QCOMPARE(dump.value(QStringLiteral("[registers]")).size(), 1 + 21);
#endif
        // The program counter and the frames lie in the modules that are named.
        QString modules = dump.value(QStringLiteral("[modules]")).join(QLatin1Char('\n'));
        QVERIFY(modules.contains(m_folder->filePath(QStringLiteral("helper"))));
        QVERIFY(dump.contains(QStringLiteral("[backtrace]")));
        if (kind != QLatin1String("broken stack")) {
            QVERIFY(dump.value(QStringLiteral("[stack]")).size() > 16);
            const QStringList frames = dump.value(QStringLiteral("[backtrace]"));
            QVERIFY(frames.size() > 3);
            QVERIFY(dump.contains(QStringLiteral("[end]")));
            int inModules = 0;
            const QRegularExpression range(QStringLiteral("^([0-9a-f]+)-([0-9a-f]+) r-x"),
                                           QRegularExpression::MultilineOption);
            for (const QString &frame : frames) {
                const quint64 address = frame.section(QStringLiteral("0x"), 1).toULongLong(nullptr, 16);
                for (auto it = range.globalMatch(modules); it.hasNext();) {
                    const auto match = it.next();
                    inModules += address >= match.captured(1).toULongLong(nullptr, 16) &&
                                 address < match.captured(2).toULongLong(nullptr, 16);
                }
            }
            QVERIFY(inModules >= 3);
        }
        QCOMPARE(dialogArguments(), QByteArray("3\nit is \xe5\x9d\x8f\nt \"q\"\n\xe5\xa5\xbd\n"));
    }

    void fallbackFolder()
    {
        // A folder of that name stands for a place that cannot be written, for root too.
        QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("crash.dmp")));
        QTemporaryDir state;
        qputenv("XDG_STATE_HOME", state.path().toUtf8());
        int endedBy = 0;
        crash({QStringLiteral("segv")}, &endedBy);
        QCOMPARE(endedBy, SIGSEGV);
        const QString path = state.filePath(QStringLiteral("ArkvaleTolma/crash.dmp"));
        QVERIFY(sections(path).contains(QStringLiteral("[end]")));
        QVERIFY(!(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther)));
        QCOMPARE(dialogArguments(), QByteArray("3\nArkvaleTolma is crashed!\napp crash\nOK\n"));

        // No dump at all: the dialog starts all the same.
        QVERIFY(QFile::remove(m_folder->filePath(QStringLiteral("told"))));
        qputenv("XDG_STATE_HOME", "/dev/null");
        crash({QStringLiteral("segv")}, &endedBy);
        QCOMPARE(endedBy, SIGSEGV);
        QVERIFY(dialogArguments().startsWith("3\n"));
    }

    void nothingWithoutCrash()
    {
        int endedBy = -1;
        crash({QStringLiteral("nothing")}, &endedBy);
        QCOMPARE(endedBy, 0);
        QVERIFY(!QFile::exists(m_folder->filePath(QStringLiteral("crash.dmp"))));
    }

private:
    /// Runs the helper from its own folder, beside a program that writes down how the crash dialog was started.
    void crash(const QStringList &arguments, int *signal)
    {
        QProcess process;
        process.setWorkingDirectory(QStringLiteral("/"));
        process.start(m_folder->filePath(QStringLiteral("helper")), arguments);
        QVERIFY(process.waitForFinished(20000));
        *signal = process.exitStatus() == QProcess::CrashExit ? process.exitCode() : 0;
    }

    static QMap<QString, QStringList> sections(const QString &path)
    {
        QMap<QString, QStringList> out;
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return out;
        QString section;
        for (const QString &line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            if (line.startsWith(QLatin1Char('[')))
                section = line;
            out[section] << line;
        }
        return out;
    }

    QByteArray dialogArguments()
    {
        QFile told(m_folder->filePath(QStringLiteral("told")));
        const bool there = QTest::qWaitFor([&] { return told.exists(); }, 5000);
        return there && told.open(QIODevice::ReadOnly) ? told.readAll() : QByteArray();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

ARKVALE_GUILESS_TEST(CrashHandlerTest)
#include "CrashHandlerTest.moc"
