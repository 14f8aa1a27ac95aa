#include "ConfigLocations.h"
#include "DataBaseManager.h"
#include "TestFiles.h"
#include "TestSupport.h"
#include "UserSettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>

namespace {

const QString kDriver = QStringLiteral("QSQLITE");

/// Runs one statement on a connection of its own; the first column of the first row, or the error's text.
QString sql(const QString &file, const QString &statement)
{
    QString out;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(kDriver, "test");
        database.setDatabaseName(file);
        database.open();
        QSqlQuery query(database);
        if (!query.exec(statement))
            out = query.lastError().text();
        else if (query.next())
            out = query.value(0).toString();
    }
    QSqlDatabase::removeDatabase("test");
    return out;
}

} // namespace

class TestDatabase : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase() { m_locations = std::make_unique<ConfigLocations>(); }

    void dictionary()
    {
        const QString file = fresh();
        DataBaseManager database(file, kDriver);
        QCOMPARE(database.value("Password"), QString());
        QVERIFY(database.setValue("Password", "first"));
        QVERIFY(database.setValue("Other", "x"));
        const QString odd = QString::fromUtf8("'; drop table tb_user_info; -- %1 \"é 用\n");
        QVERIFY(database.setValue("Password", odd));
        QCOMPARE(database.value("Password"), odd);
        QCOMPARE(sql(file, "select count(*) from tb_user_info"), QStringLiteral("2"));
        QVERIFY(database.setValue("Password", QString()));
        QCOMPARE(DataBaseManager(file, kDriver).value("Password"), QString());
        QCOMPARE(DataBaseManager(file, kDriver).value("Other"), QStringLiteral("x"));

        // A key that stands there twice reads as absent.
        sql(file, "insert into tb_user_info values('Other', 'y')");
        QCOMPARE(database.value("Other"), QString());
    }

    void unusableFiles_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("garbage") << QByteArray(4096, 'x');
        QTest::newRow("no table") << QByteArray();
        QTest::newRow("folder") << QByteArray("folder");
    }

    void unusableFiles()
    {
        QFETCH(QByteArray, content);
        QTemporaryDir folder;
        QString path = folder.filePath("db");
        if (content == "folder") {
            path = folder.path();
        } else {
            writeFile(path, content);
        }
        DataBaseManager database(path, kDriver);
        QCOMPARE(database.value("a"), QString());
        QVERIFY(!database.setValue("a", "b"));
        QCOMPARE(database.value("a"), QString());
        QVERIFY(!UserSettings().save(path));
        QVERIFY(UserSettings::load(path).targetSpeeds.isEmpty());
    }

    void refusedWriteLeavesNothing()
    {
        const QString file = fresh();
        sql(file, "create trigger t before insert on tb_user_info when new.value = 'bad' begin "
                  "select raise(abort, 'no'); end");
        DataBaseManager database(file, kDriver);
        QVERIFY(!database.setValue("a", "bad"));
        QVERIFY(database.setValue("b", "good"));
        QCOMPARE(database.value("a"), QString());
        QCOMPARE(database.value("b"), QStringLiteral("good"));
        QCOMPARE(sql(file, "select count(*) from tb_user_info"), QStringLiteral("1"));

        // Several at once: all or none, and the connection goes on.
        QVERIFY(!database.setValues({{"b", "changed"}, {"c", "bad"}, {"d", "x"}}));
        QCOMPARE(database.value("b"), QStringLiteral("good"));
        QVERIFY(database.setValues({{"b", "changed"}, {"d", "x"}}));
        QCOMPARE(DataBaseManager(file, kDriver).value("b"), QStringLiteral("changed"));
        QCOMPARE(sql(file, "select count(*) from tb_user_info"), QStringLiteral("2"));
    }

    void managersOnSeveralThreads()
    {
        const QString file = fresh();
        std::vector<std::unique_ptr<QThread>> threads;
        std::atomic<int> written{0};
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back(QThread::create([file, i, &written] {
                DataBaseManager database(file, kDriver);
                for (int n = 0; n < 5; ++n) {
                    // Another thread may hold the file for a moment, which is no fault of this one.
                    while (!database.setValue(QString("key%1").arg(i), QString::number(n))) {
                    }
                    ++written;
                }
            }));
            threads.back()->start();
        }
        for (const auto &thread : threads)
            QVERIFY(thread->wait(20000));
        QCOMPARE(written.load(), 20);
        QCOMPARE(sql(file, "select count(*) from tb_user_info where value = '4'"), QStringLiteral("4"));
    }

    void userSettings()
    {
        const QString file = fresh();
        UserSettings settings;
        settings.defaultSubCenterId = "2";
        settings.targetSpeeds["1"] = TargetSpeed{"ASPERA", "fixed", "fair", 100, 200};
        settings.targetSpeeds["2"] = TargetSpeed();
        settings.downloadPaths["2"] = DownloadPathSetting{false, true, QString::fromUtf8("/home/it's \"mine\"/下载")};
        QVERIFY(settings.save(file));
        QVERIFY(settings.save(file));
        const UserSettings read = UserSettings::load(file);
        QCOMPARE(read.defaultSubCenterId, QStringLiteral("2"));
        QCOMPARE(read.targetSpeeds.size(), 2);
        QCOMPARE(read.targetSpeeds.value("1").downMode, QStringLiteral("fixed"));
        QCOMPARE(read.targetSpeeds.value("1").upMode, QStringLiteral("fair"));
        QCOMPARE(read.targetSpeeds.value("1").downloadTargetSpeed, qint64(100));
        QCOMPARE(read.targetSpeeds.value("1").uploadTargetSpeed, qint64(200));
        QCOMPARE(read.downloadPaths.value("2").defaultPath, settings.downloadPaths.value("2").defaultPath);
        QVERIFY(!read.downloadPaths.value("2").alwaysAsk && read.downloadPaths.value("2").alwaysUseDefaultPath);
    }

    void newUsers()
    {
        const QString key = QStringLiteral("../../Ann\u00e9");
        QVERIFY(!m_locations->userDatabaseExists(key));
        const QString path = m_locations->userDatabase(key);
        QVERIFY(m_locations->userDatabaseExists(key));
        QCOMPARE(QFileInfo(path).dir().path() + '/', m_locations->userFolder(key));
        QCOMPARE(QDir(m_locations->userFolder(key) + "..").canonicalPath(),
                 QDir(m_locations->userFolder("b") + "..").canonicalPath());
#ifndef Q_OS_WIN
        const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                                          QFile::WriteOther | QFile::ExeOther;
        QCOMPARE(QFile::permissions(path) & others, QFile::Permissions());
        QCOMPARE(QFile::permissions(m_locations->userFolder(key)) & others, QFile::Permissions());
#endif
        QVERIFY(DataBaseManager(path, kDriver).setValue("a", "kept"));
        QCOMPARE(DataBaseManager(m_locations->userDatabase(key), kDriver).value("a"), QStringLiteral("kept"));

        // Without a template there is no database, and no empty file that looks like one.
        qputenv("ARKVALE_CONFIG_DIR", "/nowhere");
        const ConfigLocations elsewhere;
        qunsetenv("ARKVALE_CONFIG_DIR");
        QCOMPARE(elsewhere.configFolder(), QStringLiteral("/nowhere/"));
        elsewhere.userDatabase("c");
        QVERIFY(!elsewhere.userDatabaseExists("c"));
    }

    void templateTables()
    {
        const QString file = fresh();
        const QString insert = "replace into %1 (`Path`, `Type`, `FileSize`, `Offset`, `Status`, `CreateDate`, "
                               "`FinishDate`, `From`, `Dest`, `SubCenterId`) values(%2)";
        const auto count = [&](const char *table) { return sql(file, QString("select count(*) from %1").arg(table)); };
        for (const char *row : {"'p', 1, 5, 0, 0, 0, 0, 'f', 'd', '1'", "'p', 1, 6, 0, 0, 0, 0, 'f', 'd', '1'",
                                "'p', 2, 7, 0, 0, 0, 0, 'f', 'd', '1'", "'p', 2, 7, 0, 0, 0, 0, null, 'd', '1'",
                                "'p', 2, 7, 0, 0, 0, 0, null, 'd', '1'"}) {
            QCOMPARE(sql(file, insert.arg("tb_transfer_filelist", row)), QString());
            QCOMPARE(sql(file, insert.arg("tb_finished_filelist", row)), QString());
        }
        // A finished record is the same whatever its direction; a missing text is a text like any other.
        QCOMPARE(count("tb_transfer_filelist"), QStringLiteral("3"));
        QCOMPARE(count("tb_finished_filelist"), QStringLiteral("2"));
        QCOMPARE(sql(file, "select FileSize from tb_transfer_filelist where Type = 1"), QStringLiteral("6"));
    }

private:
    QString fresh()
    {
        return m_locations->userDatabase(QString("user%1").arg(++m_users));
    }
    std::unique_ptr<ConfigLocations> m_locations;
    int m_users = 0;
};

ARKVALE_GUILESS_TEST(TestDatabase)
#include "test_database.moc"
