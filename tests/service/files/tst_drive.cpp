#include "ByteRange.h"
#include "Drive.h"
#include "DriveFixture.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace arkvale::service;

class TestDrive : public DriveTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }
    void cleanup() { end(); }

    void listing()
    {
        put("f/pic.PNG", "12345");
        put("f/noext", "");
        put("f/pack.tar.gz", "");
        QDir().mkpath(local("f/sub"));
        QVERIFY(m_home.folder.setModified("f/pic.PNG", 1600000000123999999).ok());
        std::string json;
        QVERIFY(drive().list("/f/", false, json).ok());
        QCOMPARE(namesOf(json), QStringList({"noext", "pack.tar.gz", "pic.PNG", "sub"}));
        QMap<QString, QJsonObject> items;
        const QJsonArray listed = parsed(json).value("items").toArray();
        for (const QJsonValue &item : listed)
            items[item.toObject().value("name").toString()] = item.toObject();
        const QJsonObject picture = items["pic.PNG"];
        QCOMPARE(picture.value("type").toInt(-1), 0);
        QCOMPARE(picture.value("size").toInt(), 5);
        QCOMPARE(picture.value("path").toString(), QString("/f/pic.PNG"));
        QCOMPARE(picture.value("datetime").toDouble(), 1600000000123.0);
        QCOMPARE(picture.value("modifiedTime"), picture.value("datetime"));
        QCOMPARE(picture.value("contentType").toString(), QString("image/png"));
        QCOMPARE(picture.value("icon").toString(), QString("icons/file/image.png"));
        QCOMPARE(items["noext"].value("contentType").toString(), QString("application/octet-stream"));
        QCOMPARE(items["pack.tar.gz"].value("icon").toString(), QString("icons/file/archive.png"));
        QCOMPARE(items["sub"].value("type").toInt(), 1);
        QCOMPARE(items["sub"].value("contentType").toString(), QString());
        QCOMPARE(items["sub"].value("path").toString(), QString("/f/sub"));

        QVERIFY(drive().list("/f", true, json).ok());
        QCOMPARE(namesOf(json).size(), 4);
        QVERIFY(!parsed(json).value("items").toArray().at(0).toObject().contains("size"));
        QVERIFY(drive().info("/f/pic.PNG", json).ok());
        QCOMPARE(parsed(json), picture);
        QVERIFY(drive().info("/", json).ok());
        QCOMPARE(parsed(json).value("path").toString(), QString("/"));
        QCOMPARE(drive().list("/f/pic.PNG", false, json).status, 404);
        QCOMPARE(drive().list("/none", false, json).status, 404);
    }

    void listingOddNames()
    {
        const QString odd =
            QString::fromUtf8("a\nb\tc|q\"uo'te|back\\slash|\xF0\x9F\x8E\xAC|\xE6\x95\xB0|del\x7f|<b>%1");
        const QStringList names = odd.split('|') << QString(255, 'x');
        for (const QString &name : names)
            put(name, "x");
        std::string json;
        QVERIFY(drive().list("/", false, json).ok());
        QStringList sorted = names;
        sorted.sort();
        QCOMPARE(namesOf(json), sorted);
        const QJsonArray items = parsed(json).value("items").toArray();
        for (const QJsonValue &item : items) {
            std::string one;
            QVERIFY(drive().info(item.toObject().value("path").toString().toStdString(), one).ok());
            QCOMPARE(parsed(one), item.toObject());
        }
    }

    void listingHidesWhatIsNotTheUsers()
    {
        put("f/file", "x");
        QCOMPARE(::symlink("../../bob/secret", qPrintable(local("f/link"))), 0);
        QCOMPARE(::symlink("../../bob", qPrintable(local("f/home"))), 0);
        QCOMPARE(::mkfifo(qPrintable(local("f/pipe")), 0644), 0);
        QCOMPARE(::mkdir((m_root + "/alice/f/bad\xFF").c_str(), 0755), 0);
        std::string json;
        for (bool namesOnly : {true, false}) {
            QVERIFY(drive().list("/f", namesOnly, json).ok());
            QCOMPARE(namesOf(json), QStringList("file"));
        }
        QVERIFY(drive().search("e", "/", {}, json).ok());
        QCOMPARE(namesOf(json), QStringList("file"));
        QVERIFY(!drive().info("/f/link", json).ok());
        zpdt::SafeFile file;
        zpdt::FileStat stat;
        QVERIFY(!drive().openFile("/f/link", file, stat).ok());
        QVERIFY(!drive().openFile("/f/home/secret", file, stat).ok());
        QVERIFY(!drive().list("/f/home", false, json).ok());
        QVERIFY(!drive().rename("/f/link", "/mine", Drive::Kind::File).ok());
        QVERIFY(!drive().remove({"/f/home/secret"}, Drive::Kind::File).ok());
        QVERIFY(!drive().move({"/f/file"}, "/f/home").ok());
        QVERIFY(drive().remove({"/f"}, Drive::Kind::Folder).ok());
        QVERIFY(nothingLeftOver());
        QCOMPARE(get("../bob/secret"), QByteArray("secret"));
    }

    void refusedPaths_data()
    {
        QTest::addColumn<QByteArray>("path");
        for (const QByteArray &path : {QByteArray(""), QByteArray("a"), QByteArray("/.."), QByteArray("/../bob"),
                                       QByteArray("/a/../../bob"), QByteArray("/./a"), QByteArray("/a\0b", 4),
                                       QByteArray("/bad\xFF"), QByteArray("/") + QByteArray(256, 'x')})
            QTest::newRow(path.left(20).replace('\0', "0").constData()) << path;
    }

    void refusedPaths()
    {
        QFETCH(QByteArray, path);
        const std::string bad = path.toStdString();
        put("file", "x");
        put("folder/x", "x");
        const auto before = tree();
        std::string json;
        QCOMPARE(drive().list(bad, false, json).status, 400);
        QCOMPARE(drive().info(bad, json).status, 400);
        QCOMPARE(drive().search("x", bad, {}, json).status, 400);
        QCOMPARE(drive().makeFolder(bad).status, 400);
        QCOMPARE(drive().remove({bad}, Drive::Kind::File).status, 400);
        QCOMPARE(drive().remove({bad}, Drive::Kind::Folder).status, 400);
        QCOMPARE(drive().move({bad}, "/folder").status, 400);
        QCOMPARE(drive().move({"/file"}, bad).status, 400);
        QCOMPARE(drive().rename(bad, "/x", Drive::Kind::File).status, 400);
        QCOMPARE(drive().rename("/file", bad, Drive::Kind::File).status, 400);
        QCOMPARE(tree(), before);
    }

    void searching_data()
    {
        QTest::addColumn<QString>("keyword");
        QTest::addColumn<QStringList>("found");
        const QString nfc = QString::fromUtf8("Caf\xC3\xA9.txt");
        QTest::newRow("case") << "SHOT" << QStringList({"Shot_01", "myshot.exr"});
        QTest::newRow("other case of another script") << QString::fromUtf8("\xD0\x9F\xD0\xA0\xD0\x98")
                                                      << QStringList(QString::fromUtf8("\xD0\xBF\xD1\x80\xD0\xB8"));
        QTest::newRow("accent written apart") << QString::fromUtf8("CAFE\xCC\x81") << QStringList(nfc);
        QTest::newRow("no pattern") << "*" << QStringList();
        QTest::newRow("nothing") << "" << QStringList();
        QTest::newRow("path is not looked at") << "deep/" << QStringList();
    }

    void searching()
    {
        QFETCH(QString, keyword);
        QFETCH(QStringList, found);
        put("a/Shot_01/myshot.exr", "");
        put(QString::fromUtf8("a/deep/Caf\xC3\xA9.txt"), "");
        put(QString::fromUtf8("\xD0\xBF\xD1\x80\xD0\xB8"), "");
        std::string json;
        QVERIFY(drive().search(keyword.toStdString(), "/", {}, json).ok());
        QCOMPARE(namesOf(json), found);
        QVERIFY(!parsed(json).contains("truncated"));
    }

    void searchEndsAtItsLimits()
    {
        for (int i = 0; i < 50; ++i)
            put(QString("f%1/x%1").arg(i), "");
        std::string json;
        QVERIFY(drive().search("x", "/", {std::chrono::seconds(10), 20}, json).ok());
        QCOMPARE(namesOf(json).size(), 20);
        QVERIFY(parsed(json).value("truncated").toBool());
        QVERIFY(drive().search("x", "/f1", {std::chrono::seconds(10), 20}, json).ok());
        QCOMPARE(namesOf(json), QStringList("x1"));
        QVERIFY(drive().search("x", "/", {std::chrono::milliseconds(0), 20}, json).ok());
        QVERIFY(parsed(json).value("truncated").toBool());
    }

    void removing()
    {
        put("a/1", "123");
        put("a/2", "4567");
        put("b/c/d", "x");
        m_context->used = 100;
        QCOMPARE(drive().remove({"/a/1", "/none", "/b", "/a/2"}, Drive::Kind::File).status, 404);
        QCOMPARE(tree().keys(), QStringList({"a/", "b/", "b/c/", "b/c/d"}));
        QCOMPARE(qint64(m_context->used), qint64(93));
        QCOMPARE(drive().remove({"/b/c/d"}, Drive::Kind::Folder).status, 404);
        QCOMPARE(drive().remove({"/"}, Drive::Kind::Folder).status, 403);
        QCOMPARE(int(m_context->recounts), 0);
        QVERIFY(drive().remove({"/b", "/a"}, Drive::Kind::Folder).ok());
        QCOMPARE(int(m_context->recounts), 1);
        QVERIFY(tree().isEmpty());
        QVERIFY(nothingLeftOver());
    }

    void leftOversGoAtStart()
    {
        m_home.storeroom.reset();
        put("../.arkvale/work/half/made", "x");
        put("../.arkvale/trash/half/deleted", "x");
        zpdt::FileResult result;
        m_home.storeroom = Storeroom::open(m_root, result);
        QVERIFY(nothingLeftOver());
    }

    void moving_data()
    {
        QTest::addColumn<QStringList>("sources");
        QTest::addColumn<QString>("target");
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("after");
        const QStringList before{"a/", "a/f", "a/sub/", "a/sub/g", "b/", "b/f", "h"};
        const auto row = [](const char *name, const QStringList &sources, const char *target, int status,
                            const QStringList &after) { QTest::newRow(name) << sources << target << status << after; };
        row("file and folder", {"/h", "/a/sub"}, "/b/", 200, {"a/", "a/f", "b/", "b/f", "b/h", "b/sub/", "b/sub/g"});
        row("where it lies", {"/a/f"}, "/a", 200, before);
        row("collision", {"/h", "/a/f"}, "/b", 409, before);
        row("two of one name", {"/a/f", "/b/f"}, "/", 409, before);
        row("missing target", {"/h"}, "/none", 404, before);
        row("target is a file", {"/a"}, "/h", 404, before);
        row("into itself, deeper", {"/h", "/a"}, "/a/sub", 409, before);
        row("the home", {"/"}, "/b", 403, before);
        row("folder, then what lay in it", {"/a", "/a/sub"}, "/b", 404, before);
    }

    void moving()
    {
        QFETCH(QStringList, sources);
        QFETCH(QString, target);
        QFETCH(int, status);
        QFETCH(QStringList, after);
        for (const char *path : {"a/f", "a/sub/g", "b/f", "h"})
            put(path, path);
        std::vector<std::string> paths;
        for (const QString &source : sources)
            paths.push_back(source.toStdString());
        QCOMPARE(drive().move(paths, target.toStdString()).status, status);
        QCOMPARE(tree().keys(), after);
    }

    void renaming_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("folder");
        QTest::addColumn<int>("status");
        const auto row = [](const char *name, const char *source, const char *target, bool folder, int status) {
            QTest::newRow(name) << source << target << folder << status;
        };
        row("file", "/f", "/g", false, 200);
        row("folder", "/d", "/e/", true, 200);
        row("case alone", "/f", "/F", false, 200);
        row("same", "/f", "/f", false, 200);
        row("exists", "/f", "/other", false, 409);
        row("exists under a second name", "/f", "/twin", false, 409);
        row("folder exists", "/d", "/empty", true, 409);
        row("file as folder", "/f", "/g", true, 404);
        row("folder as file", "/d", "/g", false, 409);
        row("into itself", "/d", "/d/e", true, 409);
        row("the home", "/", "/g", true, 403);
        row("to the home", "/d", "/", true, 409);
    }

    void renaming()
    {
        QFETCH(QString, source);
        QFETCH(QString, target);
        QFETCH(bool, folder);
        QFETCH(int, status);
        put("f", "f");
        put("other", "other");
        put("d/x", "x");
        QDir().mkpath(local("empty"));
        QCOMPARE(::link(qPrintable(local("f")), qPrintable(local("twin"))), 0);
        const auto before = tree();
        const Outcome outcome = drive().rename(source.toStdString(), target.toStdString(),
                                               folder ? Drive::Kind::Folder : Drive::Kind::File);
        QCOMPARE(outcome.status, status);
        if (status != 200)
            QCOMPARE(tree(), before);
        else
            QCOMPARE(tree().values().count("f"), before.values().count("f"));
        if (status == 200 && source != target)
            QVERIFY(!QFileInfo::exists(local(source.mid(1))) && QFileInfo::exists(local(target.mid(1))));
    }

    void ranges_data()
    {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("offset");
        QTest::addColumn<int>("length");
        const int whole = int(ByteRange::Kind::Whole);
        const int part = int(ByteRange::Kind::Part);
        const int none = int(ByteRange::Kind::Unsatisfiable);
        const auto row = [](const char *header, int kind, int offset, int length) {
            QTest::newRow(header) << QByteArray(header) << kind << offset << length;
        };
        row("", whole, 0, 100);
        row("bytes=0-0", part, 0, 1);
        row("bytes=10-", part, 10, 90);
        row("bytes=90-1000", part, 90, 10);
        row("bytes=-30", part, 70, 30);
        row("bytes=-0", none, 100, 0);
        row("bytes=100-", none, 0, 0);
        row("bytes=99999999999999999999999-", none, 0, 0);
        row("bytes=5-4", whole, 0, 100);
        row("bytes=-", whole, 0, 100);
        row("bytes=0-1,5-6", whole, 0, 100);
        row("lines=0-1", whole, 0, 100);
    }

    void ranges()
    {
        QFETCH(QByteArray, header);
        const ByteRange range = ByteRange::parse(header.toStdString(), 100);
        QTEST(int(range.kind), "kind");
        QTEST(int(range.offset), "offset");
        QTEST(int(range.length), "length");
        QVERIFY(ByteRange::parse("bytes=0-", 0).kind == ByteRange::Kind::Unsatisfiable);
    }

private:
    Drive drive() { return Drive(m_home, m_types); }

    ContentTypes m_types;
};

ARKVALE_GUILESS_TEST(TestDrive)
#include "tst_drive.moc"
