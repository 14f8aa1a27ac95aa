#include "zpt_logger.h"

#include "LogFile.h"
#include "TestSupport.h"

#include <QRegularExpression>
#include <QThread>

#include <memory>

class ZptLoggerTest : public StrictTest
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        QDir(LogFile::folder()).removeRecursively();
        endStrict();
    }

    void ids()
    {
        zpt_logger first;
        const int wss = first.RegisterLogger(QStringLiteral("zpt_wss"));
        const int main = first.RegisterLogger(QStringLiteral("zpt_main"));
        QVERIFY(wss > 0 && main > 0 && wss != main);
        {
            zpt_logger second;
            QCOMPARE(second.RegisterLogger(QStringLiteral("zpt_wss")), wss);
            second.SlotWriteLog(main, 600, QStringLiteral("one"), L"Code\\x.cpp", 7);
        }
        first.SlotWriteLog(wss, 600, QStringLiteral("two"), nullptr, 0);
        for (int unknown : {0, -1, 1000000})
            first.SlotWriteLog(unknown, 600, QStringLiteral("lost"), nullptr, 0);
        const QStringList lines = readLines();
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines[0].endsWith(QLatin1String("info [zpt_main] one (Code\\x.cpp:7)")));
        QVERIFY(lines[1].endsWith(QLatin1String("info [zpt_wss] two")));
        QVERIFY(lines[0].contains(
            QRegularExpression(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}[+-]"))));
    }

    void lines_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("line");
        const auto row = [](const char *name, int level, const QString &message, const QString &line) {
            QTest::newRow(name) << level << message << line;
        };
        row("line break", 600, "a\nb\r\n2020 info [x] forged", "info [t] a\\nb\\r\\n2020 info [x] forged");
        row("escape", 600, QString(QChar(0x1b)) + "[31mred", "info [t] \\x1b[31mred");
        row("separators", 600, QString("a") + QChar(0x2028) + 'b' + QChar(0x85) + 'c', "info [t] a\\x2028b\\x85c");
        row("nul", 600, QString(QChar(0)) + "z", "info [t] \\x00z");
        row("braces and percent", 300, "{} {0} %s %v %1", "error [t] {} {0} %s %v %1");
        row("not ASCII", 400, QString::fromUtf8("名字 ☂"), QString::fromUtf8("warning [t] 名字 ☂"));
        row("gravest", 0, "x", "critical [t] x");
        row("least", 900, "x", "trace [t] x");
        row("between", 700, "", "debug [t] ");
        row("long", 600, QString(70000, 'y'), "info [t] " + QString(65536, 'y') + " ... (4464 characters more)");
    }

    void lines()
    {
        QFETCH(int, level);
        QFETCH(QString, message);
        QFETCH(QString, line);
        zpt_logger logger;
        logger.SlotWriteLog(logger.RegisterLogger(QStringLiteral("t")), level, message, nullptr, 0);
        const QStringList lines = readLines();
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines[0].section(QLatin1Char(' '), 1), line);
    }

    void filesArePrivateAndBounded()
    {
        zpt_logger logger;
        const int id = logger.RegisterLogger(QStringLiteral("big"));
        const QString message(60000, QLatin1Char('x'));
        const int count = (LogFile::kOldFiles + 3) * LogFile::kFileSize / message.size();
        for (int i = 0; i < count; ++i)
            logger.SlotWriteLog(id, 600, message, nullptr, 0);
        const auto group = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QVERIFY(!(QFile::permissions(LogFile::folder()) & (group | QFile::ExeGroup | QFile::ExeOther)));
        const QFileInfoList files = QDir(LogFile::folder()).entryInfoList(QDir::Files | QDir::Hidden);
        QCOMPARE(files.size(), 1 + LogFile::kOldFiles);
        for (const QFileInfo &file : files) {
            QVERIFY(!(file.permissions() & group));
            QVERIFY(file.size() <= LogFile::kFileSize);
        }
    }

    void manyThreads()
    {
        constexpr int kThreads = 4;
        constexpr int kLines = 500;
        zpt_logger logger;
        std::vector<std::unique_ptr<QThread>> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back(QThread::create([&logger, t] {
                for (int i = 0; i < kLines; ++i) {
                    const int id = logger.RegisterLogger(QStringLiteral("n%1").arg(i % 3));
                    logger.SlotWriteLog(id, 600, QStringLiteral("t%1 i%2 end").arg(t).arg(i), nullptr, 0);
                }
            }));
            threads.back()->start();
        }
        for (const auto &thread : threads)
            QVERIFY(thread->wait(20000));
        const QStringList lines = readLines();
        QCOMPARE(lines.size(), kThreads * kLines);
        const QRegularExpression whole(QStringLiteral("info \\[n\\d\\] t\\d i\\d+ end$"));
        for (const QString &line : lines)
            QVERIFY2(line.contains(whole), qPrintable(line));
    }

    void unwritableFolderDropsLines()
    {
        const QString folder = LogFile::folder();
        QFile obstacle(folder);
        QVERIFY(QDir().mkpath(QFileInfo(folder).path()));
        QVERIFY(obstacle.open(QIODevice::WriteOnly));
        obstacle.close();
        zpt_logger logger;
        const int id = logger.RegisterLogger(QStringLiteral("t"));
        logger.SlotWriteLog(id, 600, QStringLiteral("lost"), nullptr, 0);
        QVERIFY(obstacle.remove());
        logger.SlotWriteLog(id, 600, QStringLiteral("kept"), nullptr, 0);
        const QStringList lines = readLines();
        QCOMPARE(lines.size(), 1);
        QVERIFY(lines[0].endsWith(QLatin1String("kept")));
    }

private:
    static QStringList readLines()
    {
        QFile file(LogFile::folder() + QStringLiteral("/ArkvaleTolma.log"));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
};

ARKVALE_GUILESS_TEST(ZptLoggerTest)
#include "ZptLoggerTest.moc"
