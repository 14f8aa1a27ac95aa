#include "TransferDispatch.h"
#include "FakeEngine.h"
#include "GlobalConfig.h"
#include "TestSupport.h"

#include <QApplication>
#include <QTemporaryDir>

Q_DECLARE_METATYPE(QList<bool>)

class TransferDispatchTest : public StrictTest
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    FakeEngine m_engine;
    QStringList m_questions;
    QList<bool> m_answers;

    static SubCenter center(const QString &id, const QString &home = QStringLiteral("/home/demo"))
    {
        SubCenter center;
        center.id = id;
        center.path = home;
        center.udtServers = {{"udt0", "100"}, {"udt1", "101"}, {"udt2", "102"}};
        center.asperaServers = {{"asp0", "200"}, {"asp1", "201"}};
        return center;
    }

    static void logIn(bool verified)
    {
        UserInfo user;
        user.username = QStringLiteral("demo");
        user.authentication = verified;
        user.asperaUser = QStringLiteral("au");
        user.asperaPassword = QStringLiteral("ap");
        user.asperaTcpPort = 33001;
        GlobalConfig::instance()->setCurrentUser(user);
    }

    static TaskRecord task(const QString &path, int type, const QString &centerId)
    {
        TaskRecord record;
        record.Path = path;
        record.Type = type;
        record.SubCenterId = centerId;
        return record;
    }

    static FileItem item(const QString &path)
    {
        FileItem item;
        item.path = path;
        item.name = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
        return item;
    }

    void wire(TransferDispatch *dispatch)
    {
        dispatch->setPicker([](int count) { return count - 1; });
        dispatch->setQuestion([this](const QString &html) {
            m_questions << html;
            return m_answers.isEmpty() ? false : m_answers.takeFirst();
        });
    }

private slots:
    void initTestCase()
    {
        QFile file(m_folder.filePath("arkvale.ini"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("{\"Auth\": \"http://127.0.0.1:1/auth\", \"Version\": \"4.5.6\", "
                   "\"Register\": {\"default\": \"http://pages.example/register\"}, "
                   "\"ZPDT\": {\"MSS\": 1400, \"BeVerify\": 3, \"UploadLimitCount\": 7, \"DownloadLimitCount\": 2}}");
        file.close();
        qputenv("ARKVALE_CONFIG_DIR", m_folder.path().toUtf8());
        GlobalConfig::instance()->reload();
    }

    void init()
    {
        beginStrict();
        m_engine = FakeEngine();
        m_questions.clear();
        m_answers.clear();
        logIn(true);
    }

    void pacing_data()
    {
        QTest::addColumn<qint64>("speed");
        QTest::addColumn<int>("mss");
        QTest::addColumn<double>("interval");
        QTest::addColumn<double>("floor");
        QTest::newRow("unset user setting") << qint64(2048) << 1024 << 488 * 1.08 << 1929379.84;
        QTest::newRow("installation's default") << qint64(5120) << 1400 << 267 * 1.08 << 4823449.6;
        QTest::newRow("fraction cut off") << qint64(45000) << 1024 << 22 * 1.08 << 42393600.0;
        QTest::newRow("faster than a microsecond") << qint64(2000000) << 1024 << 0.0 << 1884160000.0;
        QTest::newRow("slowest") << qint64(1) << 1500 << 1464843 * 1.08 << 942.08;
        QTest::newRow("zero") << qint64(0) << 1024 << 999999 * 1.08 << 0.0;
        QTest::newRow("negative") << qint64(-1) << 1024 << 999999 * 1.08 << -942.08;
        QTest::newRow("no overflow") << qint64(1) << 65536 << 64000000 * 1.08 << 942.08;
    }

    void pacing()
    {
        QFETCH(qint64, speed);
        QFETCH(int, mss);
        QFETCH(double, interval);
        QFETCH(double, floor);
        const ZpdtRateControl control = TransConfigBuilder::pacing(QStringLiteral("fixed"), speed, mss);
        QCOMPARE(control.mode, QStringLiteral("fixed"));
        QCOMPARE(control.pacingInterval, interval);
        QCOMPARE(control.pacingLimit, 30000.0);
        QCOMPARE(control.rateFloor, floor);
    }

    void parametersOfASubCenter()
    {
        TargetSpeed speed;
        speed.transferType = QStringLiteral("ASPERA");
        speed.upMode = QStringLiteral("fixed");
        speed.uploadTargetSpeed = 9000;
        speed.downloadTargetSpeed = -1;
        GlobalConfig::instance()->setTargetSpeed(QStringLiteral("2"), speed);
        TransferDispatch dispatch(&m_engine);
        wire(&dispatch);

        const ZpdtTransConfig set = dispatch.configFor(center(QStringLiteral("2")));
        QVERIFY(set.engineFlagA && set.engineFlagB && set.optionA && set.optionB);
        QCOMPARE(set.uploadMode, 1);
        QCOMPARE(set.downloadMode, 2);
        QCOMPARE(set.uploadTargetSpeed, 9000);
        QCOMPARE(set.downloadTargetSpeed, 45000); // a negative speed leaves the default
        QCOMPARE(set.uploadPacing.mode, QStringLiteral("fixed"));
        QCOMPARE(set.uploadPacing.pacingInterval, 151 * 1.08);
        QCOMPARE(set.downloadPacing.mode, QStringLiteral("fair"));
        QCOMPARE(set.downloadPacing.pacingInterval, 999999 * 1.08);
        QCOMPARE(set.mss, 1400);
        QCOMPARE(set.beVerify, 3);
        QCOMPARE(set.userId, QStringLiteral("demo"));
        QCOMPARE(set.clientTag, QStringLiteral("http://127.0.0.1:1/auth"));
        QCOMPARE(set.clientVersion, QStringLiteral("4.5.6"));
        QCOMPARE(set.subCenterId, QStringLiteral("2"));
        QCOMPARE(set.subCenterRoot, QStringLiteral("/home/demo"));
        QCOMPARE(set.udtHost + set.udtPort, QStringLiteral("udt2102"));
        QCOMPARE(set.asperaHost + set.asperaPort, QStringLiteral("asp133001")); // the login's port, not the entry's
        QCOMPARE(set.asperaUser + set.asperaPassword, QStringLiteral("auap"));

        SubCenter bare;
        bare.id = QStringLiteral("9");
        const ZpdtTransConfig unset = dispatch.configFor(bare);
        QVERIFY(!unset.engineFlagA && !unset.engineFlagB);
        QCOMPARE(unset.uploadMode + unset.downloadMode, 4);
        QCOMPARE(unset.uploadTargetSpeed + unset.downloadTargetSpeed, 4096);
        QVERIFY(unset.asperaHost.isEmpty() && unset.udtHost.isEmpty() && unset.udtPort.isEmpty());
        QCOMPARE(unset.asperaPort, QStringLiteral("33001"));
    }

    void everyServerIsPicked()
    {
        QMap<int, int> hits;
        for (int i = 0; i < 3000; ++i)
            ++hits[TransConfigBuilder::randomPick(3)];
        QCOMPARE(hits.keys(), QList<int>({0, 1, 2}));
        for (const int count : qAsConst(hits))
            QVERIFY2(count > 800 && count < 1200, qPrintable(QString::number(count)));
    }

    void upload_data()
    {
        QTest::addColumn<bool>("verified");
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QStringList>("folders");
        QTest::addColumn<QList<bool>>("answers");
        QTest::addColumn<int>("questions");
        QTest::addColumn<QStringList>("calls");
        const QList<bool> none, yes{true}, no{false}, yesYes{true, true}, yesNo{true, false};
        QTest::newRow("nothing") << false << QStringList() << QStringList() << none << 0 << QStringList();
        QTest::newRow("verified") << true << QStringList{"/l/a.mp4", "/l/b c.txt"} << QStringList{"/l/x", "/l/y"}
                                  << none << 0
                                  << QStringList{"uploadFiles /l|a.mp4,/l|b c.txt > /r/", "uploadFolder /l/x > /r/",
                                                 "uploadFolder /l/y > /r/"};
        QTest::newRow("files at the top")
            << true << QStringList{"/a"} << QStringList() << none << 0 << QStringList{"uploadFiles /|a > /r/"};
        QTest::newRow("no video") << false << QStringList{"/l/a.MP4", "/l/mp4", "/l/a.mp4.txt"} << QStringList() << none
                                  << 0 << QStringList{"uploadFiles /l|a.MP4,/l|mp4,/l|a.mp4.txt > /r/"};
        QTest::newRow("video left out") << false << QStringList{"/l/a.mkv", "/l/b.txt"} << QStringList() << yes << 1
                                        << QStringList{"uploadFiles /l|b.txt > /r/"};
        QTest::newRow("only video") << false << QStringList{"/l/a.m4v", "/l/b.a64"} << QStringList() << yes << 1
                                    << QStringList();
        QTest::newRow("declined for files")
            << false << QStringList{"/l/a.avi", "/l/b.txt"} << QStringList{"/l/x"} << no << 1 << QStringList();
        QTest::newRow("declined for folders")
            << false << QStringList{"/l/a.avi", "/l/b.txt"} << QStringList{"/l/x"} << yesNo << 2 << QStringList();
        QTest::newRow("folder") << false << QStringList{"/l/a.avi"} << QStringList{"/l/x"} << yesYes << 2
                                << QStringList{"uploadFolder /l/x > /r/"};
    }

    void upload()
    {
        QFETCH(bool, verified);
        QFETCH(QStringList, files);
        QFETCH(QStringList, folders);
        QFETCH(int, questions);
        QFETCH(QStringList, calls);
        QFETCH(QList<bool>, answers);
        m_answers = answers;
        logIn(verified);
        TransferDispatch dispatch(&m_engine);
        wire(&dispatch);
        QCOMPARE(dispatch.Upload(files, folders, center("2"), QStringLiteral("/r/")), !calls.isEmpty());
        QCOMPARE(m_engine.calls, calls);
        QCOMPARE(m_questions.size(), questions);
        for (const QString &question : qAsConst(m_questions))
            QVERIFY2(
                question.startsWith("Deal user! You do not have the <a href=\"http://pages.example/register\">real "
                                    "name authentication</a>, video files will be ignored in your upload ") &&
                    question.endsWith("s.If you accept, please click OK."),
                qPrintable(question));
    }

    void download()
    {
        TransferDispatch dispatch(&m_engine);
        wire(&dispatch);
        QVERIFY(!dispatch.Download({}, {}, center("2"), QStringLiteral("/l")));
        QVERIFY(m_engine.calls.isEmpty());
        QVERIFY(dispatch.Download({item("/r/a"), item("/b.mp4")}, {item("/r/x y"), item("/r/z")}, center("2"), "/l"));
        QCOMPARE(m_engine.calls, QStringList({"downloadFiles /r|a,/|b.mp4 > /l", "downloadFolder /r/x y > /l",
                                              "downloadFolder /r/z > /l"}));

        logIn(false);
        m_engine = FakeEngine();
        m_answers = {true, false};
        QVERIFY(dispatch.Download({item("/r/a"), item("/b.mp4")}, {}, center("2"), QStringLiteral("/l")));
        QCOMPARE(m_engine.calls, QStringList{"downloadFiles /r|a > /l"});
        QVERIFY(m_questions.first().endsWith("video files will be ignored in your download requests."));
        QVERIFY(!dispatch.Download({}, {item("/r/x")}, center("2"), QStringLiteral("/l")));
        QVERIFY(m_questions.last().endsWith("in your download folders.If you accept, please click OK."));
    }

    void sharedFilesUseTheFirstSubCentersParameters()
    {
        TargetSpeed speed;
        speed.downloadTargetSpeed = 777;
        GlobalConfig::instance()->setTargetSpeed(QStringLiteral("1"), speed);
        GlobalConfig::instance()->setSubCenters({center("1", "/home/one"), center("2")});
        TransferDispatch dispatch(&m_engine);
        wire(&dispatch);
        dispatch.Download({item("/s/a")}, {}, center("share", "/shared"), QStringLiteral("/l"));
        QCOMPARE(m_engine.config.subCenterId, QStringLiteral("share"));
        QCOMPARE(m_engine.config.subCenterRoot, QStringLiteral("/shared"));
        QCOMPARE(m_engine.config.downloadTargetSpeed, 777);

        // The same holds when the task is resumed later.
        dispatch.StartTask(task("/s/a", ZPDT_DOWNLOAD, "share"));
        QCOMPARE(m_engine.calls.last(), QStringLiteral("start /s/a in share"));
        QCOMPARE(m_engine.config.downloadTargetSpeed, 777);
        QCOMPARE(m_engine.config.udtHost, QStringLiteral("udt2"));
    }

    void tasks()
    {
        GlobalConfig::instance()->setSubCenters({center("1"), center("2")});
        TransferDispatch dispatch(&m_engine);
        wire(&dispatch);
        dispatch.StartAllTask({task("/a", 2, "2"), task("/b", 2, "1"), task("/c", 2, "2"), task("/gone", 2, "77")});
        m_engine.calls.sort();
        QCOMPARE(m_engine.calls,
                 QStringList({"startAll 2 /a,/c in 2", "startAll 2 /b in 1", "startAll 2 /gone in 77"}));
        m_engine.calls.clear();
        dispatch.PauseTask(task("/a", 2, "2"));
        dispatch.CancelTask(task("/a", 2, "2"));
        for (const char *name : {"listwid_upload", "listwid_download", "listwid_finished", ""}) {
            dispatch.PauseAllTask(QString::fromLatin1(name));
            dispatch.CancelAllTask(QString::fromLatin1(name));
        }
        dispatch.StartAllTask({});
        dispatch.SetZpdtParams(QStringLiteral("2"));
        dispatch.applyConcurrence();
        QCOMPARE(m_engine.calls, QStringList({"pause /a", "cancel /a", "pauseAll 2", "cancelAll 2", "pauseAll 1",
                                              "cancelAll 1", "params 2", "concurrence 2 7", "concurrence 1 2"}));
    }

    void freeSpace()
    {
        SubCenter full = center("1"), open = center("2"), unknown = center("3"), homeless = center("4", "NotFound");
        full.quota = 100;
        full.used = 150;
        open.quota = 100;
        open.used = 40;
        homeless.quota = 100;
        GlobalConfig::instance()->setSubCenters({full, open, unknown, homeless});
        TransferDispatch dispatch(&m_engine);
        dispatch.updateStorageCapacity();
        QCOMPARE(m_engine.calls, QStringList({"capacity 1 0", "capacity 2 60"}));
    }
};

ARKVALE_WIDGET_TEST(TransferDispatchTest)
#include "TransferDispatchTest.moc"
