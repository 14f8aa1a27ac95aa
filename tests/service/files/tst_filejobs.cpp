#include "CompressJob.h"
#include "CopyJob.h"
#include "DecompressJob.h"
#include "DriveFixture.h"
#include "JobRunner.h"
#include "TestFiles.h"
#include "Utf8Locale.h"

#include <QRandomGenerator>
#include <QScopeGuard>
#include <QSemaphore>

#include <archive.h>
#include <archive_entry.h>
#include <functional>
#include <future>
#include <unistd.h>

using namespace arkvale::service;

class TestFileJobs : public DriveTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        m_cancelled = false;
    }
    void cleanup()
    {
        QVERIFY(nothingLeftOver());
        end();
    }

    void copying_data()
    {
        QTest::addColumn<QStringList>("sources");
        QTest::addColumn<QString>("target");
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("added");
        const auto row = [](const char *name, const QStringList &sources, const char *target, int status,
                            const QStringList &added = {}) {
            QTest::newRow(name) << sources << target << status << added;
        };
        row("file and folder", {"/a/f.txt", "/a/sub"}, "/b", 200, {"b/f.txt", "b/sub/", "b/sub/e/", "b/sub/g"});
        row("beside itself", {"/a/f.txt", "/a/sub"}, "/a", 200,
            {"a/f (3).txt", "a/sub (2)/", "a/sub (2)/e/", "a/sub (2)/g"});
        row("twice in one request", {"/h", "/h"}, "/", 200, {"h (2)", "h (3)"});
        row("two of one name", {"/a/f.txt", "/a/sub/../f.txt"}, "/b", 400);
        row("same name from two folders", {"/h", "/c/h"}, "/b", 409);
        row("into itself, deeper", {"/a"}, "/a/sub", 409);
        row("the home", {"/"}, "/b", 409);
        row("missing", {"/h", "/none"}, "/b", 404);
        row("target is a file", {"/h"}, "/a/f.txt", 404);
        row("a link", {"/link"}, "/b", 404);
    }

    void copying()
    {
        QFETCH(QStringList, sources);
        QFETCH(QString, target);
        QFETCH(int, status);
        QFETCH(QStringList, added);
        for (const char *path : {"a/f.txt", "a/f (2).txt", "a/sub/g", "b/k", "c/h", "h"})
            put(path, path);
        QDir().mkpath(local("a/sub/e"));
        QCOMPARE(::symlink("../bob/secret", qPrintable(local("a/sub/link"))), 0);
        QCOMPARE(::symlink("../bob", qPrintable(local("link"))), 0);
        const auto before = tree();
        std::vector<std::string> paths;
        for (const QString &source : sources)
            paths.push_back(source.toStdString());
        QCOMPARE(copy(paths, target.toStdString()).status, status);
        QStringList expected = before.keys() + added;
        expected.sort();
        QCOMPARE(tree().keys(), expected);
        qint64 bytes = 0;
        for (const QString &path : added)
            bytes += QFileInfo(local(path)).isFile() ? QFileInfo(local(path)).size() : 0;
        QCOMPARE(qint64(m_context->used), bytes);
    }

    void copyKeepsBytesAndTimes()
    {
        QByteArray bytes(3 * 1024 * 1024 + 7, 0);
        bytes.replace(0, 5, "begin").replace(bytes.size() - 3, 3, "end");
        put("s/big", bytes);
        put("s/empty", "");
        QCOMPARE(::truncate(qPrintable(local("s/empty")), 0), 0);
        QVERIFY(m_home.folder.setModified("s/big", 1234567890123456789).ok());
        QVERIFY(m_home.folder.setModified("s", 1111111111000000000).ok());
        QDir().mkpath(local("t"));
        QVERIFY(copy({"/s"}, "/t").ok());
        QCOMPARE(get("t/s/big"), bytes);
        QCOMPARE(get("t/s/empty"), QByteArray());
        zpdt::FileStat stat;
        QVERIFY(m_home.folder.stat("t/s/big", stat).ok());
        QCOMPARE(qint64(stat.modifiedNs), qint64(1234567890123456789));
        QVERIFY(m_home.folder.stat("t/s", stat).ok());
        QCOMPARE(qint64(stat.modifiedNs), qint64(1111111111000000000));
    }

    void copyIsWholeOrNotAtAll()
    {
        put("s/1", QByteArray(1000, '1'));
        put("s/2", QByteArray(1000, '2'));
        QDir().mkpath(local("t"));
        const auto before = tree();
        m_context->quota = 1999;
        QCOMPARE(copy({"/s"}, "/t").status, 507);
        QCOMPARE(tree(), before);
        QCOMPARE(qint64(m_context->used), qint64(0));
        QVERIFY(m_context->peak <= 1999);
        m_context->quota = 2000;
        m_cancelled = true;
        QCOMPARE(copy({"/s"}, "/t").status, 503);
        QCOMPARE(tree(), before);
        m_cancelled = false;
        QVERIFY(copy({"/s"}, "/t").ok());
        QCOMPARE(qint64(m_context->used), qint64(2000));
        // A count made while bytes are out of sight is made again when they are not.
        QCOMPARE(int(m_context->recounts), 0);
        {
            QuotaCharge charge(m_home);
            m_home.recount();
        }
        QCOMPARE(int(m_context->recounts), 2);
    }

    void numberedNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("folder");
        QTest::addColumn<QString>("numbered");
        QTest::newRow("extension") << "a.b.txt" << false << "a.b (2).txt";
        QTest::newRow("none") << "a" << false << "a (2)";
        QTest::newRow("folder") << "a.b" << true << "a.b (2)";
        QTest::newRow("long") << QString(255, 'x') << false << QString(251, 'x') + " (2)";
        const QString wide = QString::fromUtf8("\xE6\x95\xB0");
        QTest::newRow("cut between characters") << wide.repeated(85) << true << wide.repeated(83) + " (2)";
        QTest::newRow("long extension") << "a." + QString(250, 'x') << false << "a." + QString(249, 'x') + " (2)";
    }

    void numberedNames()
    {
        QFETCH(QString, name);
        QFETCH(bool, folder);
        QTEST(QString::fromStdString(numberedName(name.toStdString(), folder, 2)), "numbered");
    }

    void archiveRoundTrip()
    {
        const QByteArray bytes = noise(300000, 1);
        for (const QString &name :
             {QString("a b"), QString("it's \"q\" %1"), QString("two\nlines"), QString(200, 'n'),
              QString::fromUtf8("\xE6\x95\xB0\xE6\x8D\xAE/\xF0\x9F\x8E\xAC.png"), QString("empty")})
            put("s/" + name, name == "empty" ? QByteArray() : bytes);
        QCOMPARE(::truncate(qPrintable(local("s/empty")), 0), 0);
        QDir().mkpath(local("s/nothing/inside"));
        QCOMPARE(::symlink("../../bob", qPrintable(local("s/link"))), 0);
        put("single", "one");
        QVERIFY(m_home.folder.setModified("single", 1500000001000000000).ok());
        QVERIFY(CompressJob(m_home, {"/s", "/single"}, "/pack").run(m_cancelled).ok());
        QCOMPARE(qint64(m_context->used), QFileInfo(local("pack.zip")).size());
        // As a program of another maker reads it.
        QProcess unzip;
        unzip.start("python3", {"-m", "zipfile", "-t", local("pack.zip")});
        if (unzip.waitForFinished())
            QCOMPARE(unzip.exitCode(), 0);

        QVERIFY(decompress("/pack.zip", "/back").ok());
        QVERIFY(QFile::remove(local("s/link")));
        auto expected = tree("s/");
        auto found = tree("back/s/");
        QCOMPARE(found.size(), expected.size());
        for (auto entry = expected.begin(); entry != expected.end(); ++entry)
            QCOMPARE(found.value("back/" + entry.key()), entry.value());
        zpdt::FileStat stat;
        QVERIFY(m_home.folder.stat("back/single", stat).ok());
        QCOMPARE(qint64(stat.modifiedNs), qint64(1500000001000000000));
    }

    void archiveNamesAndCollisions()
    {
        put("a/same", "1");
        put("b/same", "2");
        put("pack.zip", "mine");
        QVERIFY(CompressJob(m_home, {"/a/same", "/b/same"}, "/pack").run(m_cancelled).ok());
        QCOMPARE(get("pack.zip"), QByteArray("mine"));
        QVERIFY(decompress("/pack (2).zip", "/out").ok());
        QCOMPARE(get("out/same") + get("out/same (2)"), QByteArray("12"));
        const auto before = tree();
        const struct
        {
            std::vector<std::string> sources;
            const char *target;
            int status;
        } bad[] = {
            {{}, "/x", 400},           {{"/none"}, "/x", 404}, {{"/a"}, "/none/x", 404}, {{"/a"}, "/a/same/x", 404},
            {{"/"}, "/x", 403},        {{"/a"}, "/", 400},     {{"/a"}, "/b/", 400},     {{"/../bob"}, "/x", 400},
            {{"/a"}, "/../bob/x", 400}};
        for (const auto &row : bad)
            QCOMPARE(CompressJob(m_home, row.sources, row.target).run(m_cancelled).status, row.status);
        QCOMPARE(tree(), before);
    }

    void unpackingFormats_data()
    {
        QTest::addColumn<QByteArray>("format");
        for (const char *format : {"zip", "tar", "tar.gz", "tar.xz", "7z"})
            QTest::newRow(format) << QByteArray(format);
    }

    void unpackingFormats()
    {
        QFETCH(QByteArray, format);
        const QByteArray chinese("\xE6\x95\xB0\xE6\x8D\xAE");
        makeArchive(format, {folder("d/"), file("d/a", "A"), file("./e/f/g", "G"), file(chinese, "C"),
                             file("empty", ""), file("d/a", "again")});
        const Outcome outcome = decompress("/x", "/out");
        QVERIFY2(outcome.ok(), outcome.message.c_str());
        QCOMPARE(tree("out/").keys(), QStringList({"out/d/", "out/d/a", "out/e/", "out/e/f/", "out/e/f/g", "out/empty",
                                                   QString::fromUtf8("out/" + chinese)}));
        QCOMPARE(get("out/d/a"), QByteArray("again"));
        QCOMPARE(get("out/e/f/g"), QByteArray("G"));
        zpdt::FileStat stat;
        QVERIFY(m_home.folder.stat("out/d/a", stat).ok());
        QCOMPARE(qint64(stat.modifiedNs), qint64(1500000000000000000));
    }

    void unpackingIntoWhatExists()
    {
        makeArchive("zip", {file("a.txt", "new"), file("d/x", "new"), file("fresh", "new")});
        put("a.txt", "old");
        put("d/x", "old");
        QVERIFY(decompress("/x", "/").ok());
        QCOMPARE(get("a.txt") + get("d/x"), QByteArray("oldold"));
        QCOMPARE(get("a (2).txt") + get("d (2)/x") + get("fresh"), QByteArray("newnewnew"));
        QCOMPARE(decompress("/x", "/none/deeper").status, 404);
        QCOMPARE(decompress("/d", "/y").status, 409);
        QCOMPARE(decompress("/none", "/y").status, 404);
        QCOMPARE(decompress("/x", "/a.txt").status, 404);
        QCOMPARE(decompress("/x", "/../bob").status, 400);
    }

    void unsafeArchives_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("target");
        const auto row = [](const char *format, const char *name, int type = 0, const char *target = "") {
            QTest::newRow((QByteArray(format) + ' ' + QByteArray(name).left(30) + ' ' + target).constData())
                << QByteArray(format) << QByteArray(name) << type << QByteArray(target);
        };
        for (const char *format : {"zip", "tar", "7z"}) {
            row(format, "../evil");
            row(format, "../../../outside/evil");
            row(format, "a/../../evil");
            row(format, "a/./b");
            row(format, "/tmp/evil");
            row(format, "//evil");
            row(format, "..");
            row(format, QByteArray(256, 'n').constData());
            row(format, "link", AE_IFLNK, "../../bob");
            row(format, "link", AE_IFLNK, "good");
        }
        row("tar", "link", 0, "good");
        row("tar", "link", 0, "../../bob/secret");
        row("tar", "pipe", AE_IFIFO);
        row("tar", "device", AE_IFCHR);
        row("tar", "good/inside");
        row("tar", "d");
    }

    void unsafeArchives()
    {
        QFETCH(QByteArray, format);
        QFETCH(QByteArray, name);
        QFETCH(int, type);
        QFETCH(QByteArray, target);
        put("here", "x");
        const bool plain = type == 0 && target.isEmpty();
        makeArchive(format, {file("good", "G"), file("d/e", "E"),
                             plain ? file(name, "evil") : special(name, unsigned(type), target), file("after", "A")});
        const auto before = tree();
        for (const char *into : {"/", "/new"}) {
            const Outcome outcome = decompress("/x", into);
            QVERIFY2(outcome.status == 422,
                     qPrintable(QString("%1 %2").arg(outcome.status).arg(outcome.message.c_str())));
            QCOMPARE(tree(), before);
        }
        QCOMPARE(qint64(m_context->used), qint64(0));
        QCOMPARE(QDir(local("../../outside")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList("secret"));
        QCOMPARE(QDir(local("../bob")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList("secret"));
        QVERIFY(!QFileInfo::exists("/tmp/evil"));
    }

    void encryptedArchive()
    {
        makeArchive("zip", {file("a", "secret text")}, "password");
        const Outcome outcome = decompress("/x", "/out");
        QCOMPARE(QString::fromStdString(outcome.word), QString("encrypted"));
        QCOMPARE(tree().keys(), QStringList("x"));
    }

    void boundsOfUnpacking_data()
    {
        QTest::addColumn<int>("bound");
        QTest::addColumn<int>("status");
        QTest::newRow("none") << 0 << 200;
        QTest::newRow("bytes") << 1 << 413;
        QTest::newRow("ratio") << 2 << 413;
        QTest::newRow("entries") << 3 << 413;
        QTest::newRow("depth") << 4 << 413;
        QTest::newRow("quota") << 5 << 507;
    }

    void boundsOfUnpacking()
    {
        QFETCH(int, bound);
        QFETCH(int, status);
        const QByteArray zeros(4 * 1024 * 1024, 0);
        makeArchive("zip", {file("1", zeros), file("a/b/c/2", zeros)});
        QVERIFY(QFileInfo(local("x")).size() < 100000);
        DecompressJob::Limits limits;
        const std::uint64_t total = 8ull << 20;
        if (bound == 1)
            limits.bytes = total - 1;
        if (bound == 2) {
            limits.freeBytes = 1000;
            limits.ratio = 10;
        }
        if (bound == 3)
            limits.entries = 1;
        if (bound == 4)
            limits.depth = 3;
        m_context->quota = bound == 5 ? std::int64_t(total - 1) : std::int64_t(total);
        QCOMPARE(decompress("/x", "/out", limits).status, status);
        QCOMPARE(tree().size(), status == 200 ? 7 : 1);
        QCOMPARE(qint64(m_context->used), qint64(status == 200 ? total : 0));
        QVERIFY(m_context->peak <= m_context->quota);
    }

    void damagedArchives()
    {
        put("x", "no archive at all");
        QCOMPARE(decompress("/x", "/out").status, 422);
        put("x", "");
        QCOMPARE(decompress("/x", "/out").status, 422);
        QVERIFY(!QFileInfo::exists(local("out")));
        QByteArray bytes;
        for (int i = 0; i < 3000; ++i)
            bytes += QByteArray::number(i * 7919);
        for (const char *format : {"zip", "7z", "tar.gz"}) {
            makeArchive(format, {file("a", bytes), file("b/c", bytes)});
            const QByteArray whole = get("x");
            QRandomGenerator random(7);
            for (int round = 0; round < 60; ++round) {
                QByteArray broken = whole;
                if (round % 3 == 0)
                    broken.truncate(random.bounded(whole.size()));
                for (int flips = round % 3; flips > 0; --flips)
                    broken[random.bounded(whole.size())] = char(random.generate());
                QFile::remove(local("x"));
                put("x", broken);
                const Outcome outcome = decompress("/x", "/out");
                // Some bytes do not matter; whatever is unpacked lies in its folder.
                const QStringList top = tree().keys().filter(QRegularExpression("^[^/]*/?$"));
                if (outcome.ok())
                    QCOMPARE(top, QStringList({"out/", "x"}));
                else
                    QCOMPARE(top, QStringList("x"));
                QDir(local("out")).removeRecursively();
            }
        }
    }

    void quotaOfArchives()
    {
        put("noise", noise(100000, 1));
        m_context->quota = 50000;
        const auto before = tree();
        QCOMPARE(CompressJob(m_home, {"/noise"}, "/pack").run(m_cancelled).status, 507);
        m_context->quota = 1000000;
        m_cancelled = true;
        QCOMPARE(CompressJob(m_home, {"/noise"}, "/pack").run(m_cancelled).status, 503);
        QCOMPARE(tree(), before);
        QCOMPARE(qint64(m_context->used), qint64(0));
    }

    void jobs()
    {
        JobRunner::Limits limits;
        limits.jobsPerUser = 5;
        limits.keep = std::chrono::seconds(1);
        QSemaphore go;
        QSemaphore told;
        JobRunner runner(limits);
        const auto release = qScopeGuard([&] { go.release(100); });
        const auto work = [&](const std::atomic<bool> &) {
            go.acquire();
            return Outcome::failure(409, "word", "Sentence.");
        };
        std::vector<std::string> ids;
        for (int i = 0; i < 5; ++i)
            ids.push_back(runner.start("alice", work).value());
        QVERIFY(!runner.start("alice", work));
        // Another user's job runs although alice's fill the line.
        const auto other = runner.start("bob", [](const std::atomic<bool> &) { return Outcome(); });
        std::promise<Outcome> bobsEnd;
        auto bobs = bobsEnd.get_future();
        QVERIFY(runner.whenDone("bob", *other, [&](const Outcome &outcome) { bobsEnd.set_value(outcome); }));
        QVERIFY(bobs.wait_for(std::chrono::seconds(5)) == std::future_status::ready);
        QVERIFY(bobs.get().ok());
        std::optional<Outcome> outcome;
        QVERIFY(runner.find("alice", ids[0], outcome) && !outcome);
        QVERIFY(!runner.find("bob", ids[0], outcome));
        QVERIFY(!runner.whenDone("bob", ids[0], [](const Outcome &) {}));
        std::atomic<int> status{0};
        QVERIFY(runner.whenDone("alice", ids[0], [&](const Outcome &end) {
            status = end.status;
            told.release();
        }));
        go.release(5);
        QVERIFY(told.tryAcquire(1, 5000));
        QCOMPARE(int(status), 409);
        // Ended jobs make room, and are forgotten after their time.
        QTRY_VERIFY(runner.start("alice", [](const std::atomic<bool> &) { return Outcome(); }).has_value());
        QTRY_VERIFY(!runner.find("alice", ids[0], outcome));
    }

    void jobsEndAtStop()
    {
        JobRunner runner;
        std::atomic<int> ended{0};
        std::vector<std::string> ids;
        for (int i = 0; i < 10; ++i) {
            ids.push_back(*runner.start("alice", [](const std::atomic<bool> &cancelled) {
                while (!cancelled)
                    std::this_thread::yield();
                return Outcome::cancelled();
            }));
            runner.whenDone("alice", ids.back(), [&](const Outcome &end) { ended += end.status == 503 ? 1 : 0; });
        }
        runner.stop();
        QCOMPARE(int(ended), 10);
        QVERIFY(!runner.start("alice", [](const std::atomic<bool> &) { return Outcome(); }));
        std::optional<Outcome> outcome;
        QVERIFY(runner.find("alice", ids[9], outcome) && outcome);
    }

private:
    using Adder = std::function<void(archive *, archive_entry *)>;

    Outcome copy(const std::vector<std::string> &sources, const std::string &target)
    {
        return CopyJob(m_home, sources, target).run(m_cancelled);
    }
    Outcome decompress(const std::string &source, const std::string &target,
                       DecompressJob::Limits limits = DecompressJob::Limits())
    {
        return DecompressJob(m_home, source, target, limits).run(m_cancelled);
    }
    /// Writes the archive "x" of entries that @p add prepares one after another.
    void makeArchive(const QByteArray &format, const std::vector<Adder> &adders, const char *password = nullptr) const
    {
        const Utf8Locale locale;
        archive *pack = archive_write_new();
        if (format == "7z")
            archive_write_set_format_7zip(pack);
        else if (format == "zip")
            archive_write_set_format_zip(pack);
        else
            archive_write_set_format_pax_restricted(pack);
        if (format == "tar.gz")
            archive_write_add_filter_gzip(pack);
        if (format == "tar.xz")
            archive_write_add_filter_xz(pack);
        if (password) {
            QCOMPARE(archive_write_set_options(pack, "zip:encryption=traditional"), ARCHIVE_OK);
            archive_write_set_passphrase(pack, password);
        }
        QCOMPARE(archive_write_open_filename(pack, qPrintable(local("x"))), ARCHIVE_OK);
        for (const Adder &add : adders) {
            archive_entry *entry = archive_entry_new();
            archive_entry_set_filetype(entry, AE_IFREG);
            archive_entry_set_perm(entry, 0644);
            add(pack, entry);
            archive_entry_free(entry);
        }
        QCOMPARE(archive_write_close(pack), ARCHIVE_OK);
        archive_write_free(pack);
    }
    static Adder file(const QByteArray &name, const QByteArray &bytes)
    {
        return [=](archive *pack, archive_entry *entry) {
            archive_entry_set_pathname(entry, name.constData());
            archive_entry_set_size(entry, bytes.size());
            archive_entry_set_mtime(entry, 1500000000, 0);
            archive_write_header(pack, entry);
            archive_write_data(pack, bytes.constData(), std::size_t(bytes.size()));
        };
    }
    static Adder folder(const QByteArray &name)
    {
        return [=](archive *pack, archive_entry *entry) {
            archive_entry_set_pathname(entry, name.constData());
            archive_entry_set_filetype(entry, AE_IFDIR);
            archive_write_header(pack, entry);
        };
    }
    static Adder special(const QByteArray &name, unsigned type, const QByteArray &target)
    {
        return [=](archive *pack, archive_entry *entry) {
            archive_entry_set_pathname(entry, name.constData());
            archive_entry_set_filetype(entry, type ? type : unsigned(AE_IFREG));
            if (type == AE_IFLNK)
                archive_entry_set_symlink(entry, target.constData());
            else if (!target.isEmpty())
                archive_entry_set_hardlink(entry, target.constData());
            archive_entry_set_size(entry, 0);
            archive_write_header(pack, entry);
        };
    }

    std::atomic<bool> m_cancelled{false};
};

ARKVALE_GUILESS_TEST(TestFileJobs)
#include "tst_filejobs.moc"
