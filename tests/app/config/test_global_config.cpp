#include "DialogAnswers.h"
#include "GlobalConfig.h"
#include "HttpFake.h"
#include "TestFiles.h"
#include "TestSupport.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QThread>
#include <QTranslator>

#include <atomic>

namespace {

const char kCenters[] = "{\"subCenters\": [{\"id\": \"1\", \"name\": \"One\", \"orv\": \"http://127.0.0.1:1/one\"},"
                        "{\"id\": \"2\", \"name\": \"Two\", \"orv\": \"http://127.0.0.1:1/two\"}]}";

UserInfo user(const QString &name)
{
    UserInfo out;
    out.username = name;
    out.mobile = "1" + name;
    return out;
}

} // namespace

class TestGlobalConfig : public StrictTest
{
    Q_OBJECT

public:
    TestGlobalConfig()
        : m_service([this](const HttpFake::Request &request) { return m_answer(request); })
    {
    }

private slots:
    void initTestCase()
    {
        QFile::copy(builtProgram("Config/ArkvaleTolma"), m_folder.filePath("ArkvaleTolma"));
        qputenv("ARKVALE_CONFIG_DIR", m_folder.path().toUtf8());
        m_config = GlobalConfig::instance();
        QCOMPARE(m_config->configFolder(), m_folder.path() + '/');
    }

    void init()
    {
        beginStrict();
        m_answer = centers;
        m_service.forget();
        m_config->setSubCenters({});
        writeSettings();
    }

    void reloadReadsAndAsks()
    {
        m_config->storeUser(user("before"));
        QVERIFY(m_config->rememberUser(user("a")) && m_config->rememberUser(user("b")));
        QVERIFY(!m_config->rememberUser(UserInfo()));
        QSignalSpy listed(m_config, SIGNAL(handlerListSubCenterFinished()));
        m_config->reload();
        QCOMPARE(m_config->version(), QStringLiteral("7.1"));
        QCOMPARE(m_config->wssPort(), quint16(9998));
        QVERIFY(m_config->currentUser().username.isEmpty());
        QCOMPARE(m_config->knownUserNames(), (QStringList{"b", "a"}));
        QCOMPARE(m_config->knownUsers().first().mobile, QStringLiteral("1b"));
        QVERIFY(m_config->subCenters().isEmpty());
        QTRY_COMPARE(listed.count(), 1);
        QCOMPARE(m_config->subCenters().size(), 2);
        QCOMPARE(m_config->subCenter("2").name, QStringLiteral("Two"));
        QVERIFY(m_config->subCenter("3").id.isEmpty());
        QCOMPARE(m_service.requests().first().path(), QByteArray("/base/subcenters"));

        // Without an address nothing is asked.
        m_service.forget();
        writeFile(m_folder.filePath("arkvale.ini"), "{}");
        m_config->reload();
        QVERIFY(m_config->listSubCenterUrl().isEmpty());
        QCoreApplication::processEvents();
        QVERIFY(m_service.requests().isEmpty());
    }

    void subCenterFailures_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("500") << 500 << QByteArray("{}");
        QTest::newRow("nothing") << 200 << QByteArray();
    }

    void subCenterFailures()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        m_answer = [=](const HttpFake::Request &) { return HttpFake::reply(status, body); };
        SubCenter old;
        old.id = "old";
        m_config->setSubCenters({old});
        QSignalSpy listed(m_config, SIGNAL(handlerListSubCenterFinished()));
        QSignalSpy failed(m_config, SIGNAL(handlerRequestFailured(int)));
        DialogAnswers answers;
        m_config->reload();
        QTRY_COMPARE(answers.shown().size(), 1);
        QCOMPARE(failed.count(), 1);
        QCOMPARE(failed.first().first().toInt(), 0);
        QCOMPARE(answers.shown().first().text, QStringLiteral("Failed to get subcenter list."));
        QCOMPARE(listed.count(), 0);
        QCOMPARE(m_config->subCenters().size(), 1);
    }

    void quietAndRepeatedRequests()
    {
        m_answer = [](const HttpFake::Request &) { return HttpFake::reply(500, "{}"); };
        DialogAnswers answers;
        QSignalSpy failed(m_config, SIGNAL(handlerRequestFailured(int)));
        m_config->reload();
        QTRY_COMPARE(failed.count(), 1);
        m_config->requestSubCenters(true);
        m_config->requestSubCenters(true);
        QTRY_COMPARE(m_service.requests().size(), 2);
        // The quiet one is answered once it no longer keeps the next from being asked.
        QTRY_VERIFY((m_config->requestSubCenters(true), m_service.requests().size() == 3));
        QCOMPARE(failed.count(), 1);

        QSignalSpy listed(m_config, SIGNAL(handlerListSubCenterFinished()));
        m_config->handlerListSubCenter(1, 200, kCenters);
        m_config->handlerGetAD(1, 200, "{\"ads\": []}");
        QCOMPARE(listed.count(), 0);
    }

    void homesStayAcrossALateList()
    {
        m_config->reload();
        QTRY_COMPARE(m_config->subCenters().size(), 2);
        SubCenter one = m_config->subCenter("1");
        one.path = "/home/u";
        one.quota = 9;
        m_config->updateSubCenter(one);
        SubCenter unknown = one;
        unknown.id = "7";
        m_config->updateSubCenter(unknown);
        QCOMPARE(m_config->subCenters().size(), 2);
        m_answer = [](const HttpFake::Request &) {
            return HttpFake::reply(200, QByteArray(kCenters).replace("/two", "/elsewhere").replace("One", "Uno"));
        };
        m_config->requestSubCenters();
        QTRY_COMPARE(m_config->subCenter("1").name, QStringLiteral("Uno"));
        QCOMPARE(m_config->subCenter("1").path, QStringLiteral("/home/u"));
        QCOMPARE(m_config->subCenter("1").quota, qint64(9));
    }

    void homesEndWithTheUser()
    {
        m_config->reload();
        QTRY_COMPARE(m_config->subCenters().size(), 2);
        m_config->setCurrentUser(user("a"));
        SubCenter one = m_config->subCenter("1");
        one.path = "/home/a";
        one.requestId = 77;
        m_config->updateSubCenter(one);
        UserInfo same = user("a");
        same.nickname = "Ann";
        m_config->storeUser(same);
        QCOMPARE(m_config->subCenter("1").path, QStringLiteral("/home/a"));
        QCOMPARE(m_config->users().value("a").nickname, QStringLiteral("Ann"));
        m_config->setCurrentUser(user("b"));
        QVERIFY(m_config->subCenter("1").path.isEmpty());
        QCOMPARE(m_config->subCenter("1").requestId, qint64(0));
    }

    void advertisementsAndLimit()
    {
        m_answer = [](const HttpFake::Request &request) {
            if (request.path().endsWith("/ads"))
                return HttpFake::reply(200, R"({"ads": [{"title": "new"}]})");
            if (request.path().endsWith("/limits"))
                return HttpFake::reply(200, R"({"transferRateLimit": {"upload": 5}})");
            return HttpFake::reply(404, "{}");
        };
        DialogAnswers answers;
        m_config->reload();
        QSignalSpy ads(m_config, SIGNAL(handlerGetADFinished()));
        QSignalSpy limit(m_config, SIGNAL(handlerGetTransferLimitFinished()));
        m_config->requestAdvertisements();
        m_config->requestTransferLimit();
        QTRY_COMPARE(ads.count() + limit.count(), 2);
        QCOMPARE(m_config->advertisements().value(0).title, QStringLiteral("new"));
        QCOMPARE(m_config->transferLimit().upload, qint64(5));
        QTRY_COMPARE(answers.shown().size(), 1); // the list of sub-centers
    }

    void requestErrors_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<QString>("text");
        QTest::newRow("0") << 0 << "Failed to get subcenter list.";
        QTest::newRow("1") << 1 << "Failed to get user info.";
        QTest::newRow("other") << -3 << "Unknown Request Error!";
    }

    void requestErrors()
    {
        QFETCH(int, error);
        QFETCH(QString, text);
        DialogAnswers answers;
        bool onlyCancel = false;
        answers.answer([&](QDialog *dialog) {
            onlyCancel = dialog->findChild<QPushButton *>("ok")->isHidden() &&
                         dialog->findChild<QPushButton *>("cancel")->isVisible();
            // A further failure while the notice is open opens no second one.
            m_config->handlerRequstFailured(0);
            dialog->reject();
        });
        m_config->handlerRequstFailured(error);
        QCOMPARE(answers.shown().size(), 1);
        QCOMPARE(answers.shown().first().title, QStringLiteral("Request Error"));
        QCOMPARE(answers.shown().first().text, text);
        QVERIFY(onlyCancel);
    }

    void pagesByLanguage()
    {
        writeSettings(R"(, "Language": "xx_yy", "Register": {"default": "d", "en_us": "e"}, "HelpUrl": {"default": "h"},
        "ResetPassword": {"zh_cn": "z"})");
        m_config->reload();
        QCOMPARE(m_config->language(), QStringLiteral("en_us"));
        QCOMPARE(m_config->registerUrl(), QStringLiteral("e"));
        QCOMPARE(m_config->helpUrl(), QStringLiteral("h"));
        QCOMPARE(m_config->resetPasswordUrl(), QString());
        QCOMPARE(m_config->userProtocolUrl(), QString());
        m_config->setLanguage("no_no");
        QCOMPARE(m_config->language(), QStringLiteral("en_us"));
        QCOMPARE(m_config->languages().first().second, QStringLiteral("English"));
        QTRY_COMPARE(m_config->subCenters().size(), 2);
    }

    void translatorsByLanguage_data()
    {
        QTest::addColumn<QString>("cancel");
        QTest::addColumn<QString>("rename");
        QTest::newRow("en_us") << "Cancel"
                               << "&Rename";
        QTest::newRow("zh_cn") << QString::fromUtf8("取消") << QString::fromUtf8("重命名(&R)");
        QTest::newRow("zh_tw") << QString::fromUtf8("取消") << QString::fromUtf8("重新命名(&R)");
    }

    void translatorsByLanguage()
    {
        QFETCH(QString, cancel);
        QFETCH(QString, rename);
        const QString code = QString::fromLatin1(QTest::currentDataTag());
        writeSettings(", \"Language\": \"" + code.toLatin1() + "\"");
        m_config->reload();
        QTRY_COMPARE(m_config->subCenters().size(), 2);
        const QList<QTranslator *> translators = m_config->translators();
        QVERIFY(!translators.isEmpty());
        for (QTranslator *translator : translators)
            QCoreApplication::installTranslator(translator);
        const QString own = QCoreApplication::translate("MsgDlg", "Cancel");
        const QString toolkit = QCoreApplication::translate("QFileDialog", "&Rename");
        for (QTranslator *translator : translators)
            QCoreApplication::removeTranslator(translator);
        QCOMPARE(own, cancel);
        QCOMPARE(toolkit, rename);
        QCOMPARE(m_config->language(), code);
        m_config->setLanguage(QString());
    }

    void perUserSettings()
    {
        m_config->loadUserSettings("u1", "");
        QCOMPARE(m_config->currentSubCenterId(), QString());
        m_config->setDefaultSubCenterId("2");
        TargetSpeed speed;
        QVERIFY(!m_config->targetSpeed("2", &speed));
        speed.uploadTargetSpeed = 128;
        m_config->setTargetSpeed("2", speed);
        m_config->setDownloadPath("2", DownloadPathSetting{false, true, "/d"});
        QVERIFY(m_config->saveUserSettings());

        m_config->loadUserSettings("u2", "1");
        QCOMPARE(m_config->currentSubCenterId(), QStringLiteral("1"));
        QCOMPARE(m_config->defaultSubCenterId(), QString());
        QVERIFY(!m_config->targetSpeed("2", &speed));
        QVERIFY(m_config->downloadPath("2").alwaysAsk);

        m_config->loadUserSettings("u1", "");
        QCOMPARE(m_config->currentSubCenterId(), QStringLiteral("2"));
        QVERIFY(m_config->targetSpeed("2", &speed));
        QCOMPARE(speed.uploadTargetSpeed, qint64(128));
        QCOMPARE(m_config->downloadPath("2").defaultPath, QStringLiteral("/d"));
    }

    void copiesFromManyThreads()
    {
        m_config->reload();
        QTRY_COMPARE(m_config->subCenters().size(), 2);
        std::atomic<bool> stop{false};
        std::atomic<int> broken{0};
        std::vector<std::unique_ptr<QThread>> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back(QThread::create([&] {
                while (!stop) {
                    const UserInfo seen = m_config->currentUser();
                    broken += seen.username != seen.nickname;
                    broken += m_config->subCenters().size() != 2;
                    m_config->setState(m_config->state());
                }
            }));
            threads.back()->start();
        }
        for (int n = 0; n < 2000; ++n) {
            UserInfo written = user(QString::number(n));
            written.nickname = written.username;
            m_config->storeUser(written);
            SubCenter center = m_config->subCenter("1");
            center.path = QString::number(n);
            m_config->updateSubCenter(center);
        }
        stop = true;
        for (const auto &thread : threads)
            QVERIFY(thread->wait(20000));
        // The first user of the threads may still be the empty one.
        QCOMPARE(broken.load(), 0);
    }

private:
    void writeSettings(const QByteArray &more = QByteArray())
    {
        const QByteArray base = m_service.address().toUtf8();
        writeFile(m_folder.filePath("arkvale.ini"), "{\"Auth\": \"" + base + "\", \"ListSubCenter\": \"" + base +
                                                        "/subcenters\", \"Version\": \"7.1\"" + more + "}");
    }
    static HttpFake::Answer centers(const HttpFake::Request &) { return HttpFake::reply(200, kCenters); }

    QTemporaryDir m_folder;
    std::function<HttpFake::Answer(const HttpFake::Request &)> m_answer;
    HttpFake m_service;
    GlobalConfig *m_config = nullptr;
};

ARKVALE_WIDGET_TEST(TestGlobalConfig)
#include "test_global_config.moc"
