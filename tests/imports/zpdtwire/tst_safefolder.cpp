#include "NameRules.h"
#include "SafeFolder.h"

#include "TestSupport.h"

#include <QTemporaryDir>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace zpdt;

Q_DECLARE_METATYPE(zpdt::FileError)

/// A folder "home" with some files, beside a folder "outside" that nothing may reach.
class TestSafeFolder : public StrictTest
{
    Q_OBJECT

private slots:
    void init()
    {
        beginStrict();
        m_temp = std::make_unique<QTemporaryDir>();
        m_base = m_temp->path().toStdString();
        for (const char *folder : {"/home", "/home/a", "/home/a/b", "/outside", "/outside/inner"})
            QCOMPARE(::mkdir((m_base + folder).c_str(), 0755), 0);
        put(m_base + "/home/a/file", "inside");
        put(m_base + "/outside/secret", "secret");
        QVERIFY(SafeFolder::open(m_base + "/home", m_home).ok());
    }
    void cleanup()
    {
        m_home = SafeFolder();
        m_temp.reset();
        endStrict();
    }

    void components_data();
    void components();
    void paths();
    void outsideIsOutOfReach_data();
    void outsideIsOutOfReach();
    void linkSwappedIn();
    void pipeDoesNotBlock();
    void namesRoundTrip_data();
    void namesRoundTrip();
    void namesThatAreNotUtf8();
    void writing();
    void renaming();
    void makingFolders();
    void removingTrees();
    void deepTree();
    void handleFollowsItsFolder();
    void times();

private:
    static void put(const std::string &path, const QByteArray &bytes)
    {
        QFile file(QString::fromStdString(path));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), qint64(bytes.size()));
    }
    QByteArray get(const std::string &path) const
    {
        QFile file(QString::fromStdString(m_base + path));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }
    static QByteArray read(SafeFile &file)
    {
        QByteArray bytes(1000, 0);
        std::size_t got = 0;
        if (!file.readAt(0, bytes.data(), 1000, got).ok())
            return "(error)";
        return bytes.left(int(got));
    }
    QStringList names(const std::string &path) const
    {
        QStringList all;
        m_home.list(path, [&](const SafeFolder::Entry &entry) {
            all << QString::fromStdString(entry.name);
            return true;
        });
        all.sort();
        return all;
    }

    std::unique_ptr<QTemporaryDir> m_temp;
    std::string m_base;
    SafeFolder m_home;
};

void TestSafeFolder::components_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("posix");
    QTest::addColumn<bool>("windows"); // the extra rules alone
    QTest::newRow("plain") << QByteArray("file.txt") << true << true;
    QTest::newRow("empty") << QByteArray("") << false << false;
    QTest::newRow("dot") << QByteArray(".") << false << false;
    QTest::newRow("dots") << QByteArray("..") << false << false;
    QTest::newRow("three dots") << QByteArray("...") << true << false;
    QTest::newRow("hidden") << QByteArray(".hidden") << true << true;
    QTest::newRow("slash") << QByteArray("a/b") << false << false;
    QTest::newRow("zero byte") << QByteArray("a\0b", 3) << false << false;
    QTest::newRow("backslash") << QByteArray("a\\b") << true << false;
    QTest::newRow("newline") << QByteArray("a\nb") << true << false;
    QTest::newRow("quotes") << QByteArray("it's \"it\"") << true << false;
    QTest::newRow("stream") << QByteArray("a:b") << true << false;
    QTest::newRow("device") << QByteArray("con") << true << false;
    QTest::newRow("device with suffix") << QByteArray("Nul.tar.gz") << true << false;
    QTest::newRow("device with blank") << QByteArray("aux .txt") << true << false;
    QTest::newRow("port") << QByteArray("COM1") << true << false;
    QTest::newRow("port with superscript") << QByteArray("lpt\xC2\xB2.x") << true << false;
    QTest::newRow("no port") << QByteArray("com10") << true << true;
    QTest::newRow("console in a word") << QByteArray("console") << true << true;
    QTest::newRow("trailing dot") << QByteArray("a.") << true << false;
    QTest::newRow("trailing blank") << QByteArray("a ") << true << false;
    QTest::newRow("emoji") << QByteArray("\xF0\x9F\x8E\xAC.mov") << true << true;
    QTest::newRow("overlong slash") << QByteArray("a\xC0\xAF"
                                                  "b")
                                    << false << true;
    QTest::newRow("overlong in three") << QByteArray("\xE0\x80\xAF") << false << true;
    QTest::newRow("surrogate") << QByteArray("\xED\xA0\x80") << false << true;
    QTest::newRow("beyond Unicode") << QByteArray("\xF4\x90\x80\x80") << false << true;
    QTest::newRow("cut") << QByteArray("a\xE4\xB8") << false << true;
    QTest::newRow("lone") << QByteArray("\x80") << false << true;
    QTest::newRow("255 bytes") << QByteArray(255, 'x') << true << true;
    QTest::newRow("256 bytes") << QByteArray(256, 'x') << false << true;
}

void TestSafeFolder::components()
{
    QFETCH(QByteArray, name);
    QFETCH(bool, posix);
    QFETCH(bool, windows);
#ifdef Q_OS_WIN
    posix = posix && windows;
#endif
    QCOMPARE(validComponent(name.toStdString()), posix);
    if (!name.contains('/') && !name.contains('\0') && name != "..")
        QCOMPARE(validWindowsComponent(name.toStdString()), windows);
}

void TestSafeFolder::paths()
{
    std::vector<std::string> names;
    QVERIFY(splitDrivePath("/a//b c/", names));
    QCOMPARE(joinPath(names), std::string("a/b c"));
    QVERIFY(splitDrivePath("/", names) && names.empty());
    QVERIFY(!splitDrivePath("a", names));
    QVERIFY(!splitDrivePath("", names));
    QVERIFY(!splitDrivePath("/a/../b", names) && names.empty());
    std::string deep;
    for (std::size_t i = 0; i < kMaxPathDepth; ++i)
        deep += "/x";
    QVERIFY(splitDrivePath(deep, names));
    QVERIFY(!splitDrivePath(deep + "/x", names));
}

void TestSafeFolder::outsideIsOutOfReach_data()
{
    QTest::addColumn<QString>("link"); // where in the home a link is planted, and what it says
    QTest::addColumn<QString>("says");
    QTest::addColumn<QString>("path"); // what is asked for
    const QString none;
    QTest::newRow("up") << none << none << "../outside/secret";
    QTest::newRow("up in the middle") << none << none << "a/../../outside/secret";
    QTest::newRow("link to a file") << "l"
                                    << "../outside/secret"
                                    << "l";
    QTest::newRow("link to a file deep down") << "a/b/l"
                                              << "../../../outside/secret"
                                              << "a/b/l";
    QTest::newRow("absolute link") << "l"
                                   << "OUT/secret"
                                   << "l";
    QTest::newRow("link to a folder") << "l"
                                      << "../outside"
                                      << "l/secret";
    QTest::newRow("link to a folder on the way") << "a/l"
                                                 << "OUT"
                                                 << "a/l/inner/../secret";
    QTest::newRow("link to a folder, deeper") << "a/b/l"
                                              << "OUT"
                                              << "a/b/l/inner/new";
    QTest::newRow("link to a folder that lies inside") << "l"
                                                       << "a"
                                                       << "l/file";
    QTest::newRow("link to the root") << "l"
                                      << "/"
                                      << "l/etc/passwd";
    QTest::newRow("link to the process") << "l"
                                         << "/proc/self/cwd"
                                         << "l/x";
    QTest::newRow("dangling link") << "l"
                                   << "../outside/new"
                                   << "l";
}

void TestSafeFolder::outsideIsOutOfReach()
{
    QFETCH(QString, link);
    QFETCH(QString, says);
    QFETCH(QString, path);
    says.replace("OUT", QString::fromStdString(m_base + "/outside"));
    const std::string at = path.toStdString();
    const std::string planted = m_base + "/home/" + link.toStdString();
    if (!link.isEmpty())
        QCOMPARE(::symlink(says.toStdString().c_str(), planted.c_str()), 0);
    const bool isLink = path == link;

    SafeFile file;
    SafeFolder folder;
    FileStat stat;
    QVERIFY(!m_home.openRead(at, file).ok());
    for (bool exclusive : {true, false}) {
        QVERIFY(!m_home.openWrite(at, {true, exclusive, true}, file).ok());
        QVERIFY(!m_home.openWrite(at, {false, exclusive, true}, file).ok());
    }
    QVERIFY(!m_home.openFolder(at, folder).ok());
    QVERIFY(!m_home.mkdir(at).ok());
    QVERIFY(!m_home.mkdirs(at).ok());
    QVERIFY(!m_home.mkdirs(at + "/x").ok());
    QVERIFY(!m_home.list(at, [](const SafeFolder::Entry &) { return true; }).ok());
    QVERIFY(!m_home.syncFolder(at).ok());
    QVERIFY(!m_home.rename("a/file", at + "/x", true).ok());
    QVERIFY(!m_home.removeEmptyFolder(at).ok());
    const FileResult looked = m_home.stat(at, stat);
    if (isLink) {
        QVERIFY(looked.ok());
        QVERIFY(stat.type == FileStat::Type::Link);
        m_home.setModified(at, 0); // Of the link itself.
        QVERIFY(!m_home.rename("a/file", at, false).ok());
        QVERIFY(m_home.removeTree(at).ok());
    } else {
        QVERIFY(!looked.ok());
        QVERIFY(!m_home.setModified(at, 0).ok());
        QVERIFY(!m_home.rename("a/file", at, true).ok());
        QVERIFY(!m_home.rename(at, "taken", true).ok());
        QVERIFY(!m_home.removeFile(at).ok());
        QVERIFY(!m_home.removeTree(at).ok());
    }
    QVERIFY(!file.isOpen());
    QCOMPARE(get("/outside/secret"), QByteArray("secret"));
    QCOMPARE(get("/home/a/file"), QByteArray("inside"));
    QCOMPARE(QDir(QString::fromStdString(m_base + "/outside")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList({"inner", "secret"}));
}

void TestSafeFolder::linkSwappedIn()
{
    // Somebody exchanges a folder and a link to the outside as fast as they can, while files are written through it.
    put(m_base + "/home/a/secret", "inside");
    QCOMPARE(::symlink("../outside", (m_base + "/home/l").c_str()), 0);
    std::atomic<bool> stop{false};
    std::thread swapper([&] {
        const std::string a = m_base + "/home/a";
        const std::string l = m_base + "/home/l";
        const std::string t = m_base + "/home/t";
        while (!stop) {
            ::rename(a.c_str(), t.c_str());
            ::rename(l.c_str(), a.c_str());
            ::rename(a.c_str(), l.c_str());
            ::rename(t.c_str(), a.c_str());
        }
    });
    int reached = 0;
    bool leaked = false;
    for (int i = 0; i < 5000; ++i) {
        SafeFile file;
        if (m_home.openRead("a/secret", file).ok()) {
            ++reached;
            leaked = leaked || read(file) != "inside";
        }
        m_home.openWrite("a/written", {true, false, false}, file);
        m_home.mkdir("a/made");
        m_home.removeFile("a/secret2");
    }
    stop = true;
    swapper.join();
    QVERIFY(!leaked);
    QVERIFY(reached > 0);
    QCOMPARE(QDir(QString::fromStdString(m_base + "/outside")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList({"inner", "secret"}));
}

void TestSafeFolder::pipeDoesNotBlock()
{
    QCOMPARE(::mkfifo((m_base + "/home/pipe").c_str(), 0644), 0);
    SafeFile file;
    QCOMPARE(int(m_home.openRead("pipe", file).error), int(FileError::Denied));
    QCOMPARE(int(m_home.openWrite("pipe", {}, file).error), int(FileError::Denied));
    QCOMPARE(int(m_home.openRead("a", file).error), int(FileError::IsFolder));
    QCOMPARE(int(m_home.openWrite("a", {}, file).error), int(FileError::IsFolder));
}

void TestSafeFolder::namesRoundTrip_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const QByteArray &name :
         {QByteArray("with blank"), QByteArray("it's \"quoted\""), QByteArray("%1 %s"), QByteArray("two\nlines"),
          QByteArray("\xF0\x9F\x8E\xAC"), QByteArray("\xE6\x95\xB0\xE6\x8D\xAE"), QByteArray("back\\slash"),
          QByteArray("-rf"), QByteArray("..."), QByteArray(255, 'n')})
        QTest::newRow(name.left(12).constData()) << name;
}

void TestSafeFolder::namesRoundTrip()
{
    QFETCH(QByteArray, name);
    const std::string at = "a/b/" + name.toStdString();
    SafeFile file;
    QVERIFY(m_home.openWrite(at, {true, true, false}, file).ok());
    QVERIFY(file.writeAt(0, "x", 1).ok());
    QVERIFY(file.close().ok());
    QCOMPARE(names("a/b"), QStringList(QString::fromUtf8(name)));
    QVERIFY(m_home.rename(at, "a/moved", false).ok());
    QVERIFY(m_home.rename("a/moved", at, false).ok());
    QVERIFY(m_home.removeFile(at).ok());
    QVERIFY(m_home.mkdirs(at + "/" + name.toStdString()).ok());
    QVERIFY(m_home.removeTree(at).ok());
}

void TestSafeFolder::namesThatAreNotUtf8()
{
    // Nobody can make one through a SafeFolder, but one that is there can be seen and removed.
    SafeFile file;
    const std::string bad = "bad\xFF";
    QCOMPARE(int(m_home.openWrite(bad, {}, file).error), int(FileError::BadName));
    QCOMPARE(int(m_home.mkdir(bad).error), int(FileError::BadName));
    QCOMPARE(int(m_home.mkdirs("a/" + bad).error), int(FileError::BadName));
    QCOMPARE(int(m_home.rename("a/file", bad, true).error), int(FileError::BadName));
    QCOMPARE(int(m_home.mkdir(std::string(256, 'x')).error), int(FileError::BadName));
    QCOMPARE(int(m_home.mkdir(std::string("a\0b", 3)).error), int(FileError::BadName));
    if (::mkdir((m_base + "/home/a/" + bad).c_str(), 0755) != 0)
        QSKIP("This disk refuses such names.");
    QCOMPARE(::mkdir((m_base + "/home/a/" + bad + "/x").c_str(), 0755), 0);
    QCOMPARE(names("a").size(), 3);
    QVERIFY(m_home.removeTree("a").ok());
}

void TestSafeFolder::writing()
{
    SafeFile file;
    QCOMPARE(int(m_home.openWrite("none", {false, false, false}, file).error), int(FileError::NotFound));
    QCOMPARE(int(m_home.openWrite("a/file", {true, true, true}, file).error), int(FileError::Exists));
    QCOMPARE(get("/home/a/file"), QByteArray("inside"));
    QCOMPARE(int(m_home.openWrite("a/file/x", {}, file).error), int(FileError::NotFolder));
    QVERIFY(m_home.openWrite("a/file", {true, false, false}, file).ok());
    QVERIFY(file.writeAt(8, "!!", 2).ok());
    QVERIFY(file.truncate(9).ok());
    QCOMPARE(read(file), QByteArray("inside\0\0!", 9));
    QVERIFY(file.sync().ok() && file.close().ok());
    QVERIFY(m_home.openWrite("a/file", {true, false, true}, file).ok());
    QCOMPARE(read(file), QByteArray());
    std::uint64_t space = 0;
    QVERIFY(m_home.freeSpace(space).ok() && space > 0);
}

void TestSafeFolder::renaming()
{
    put(m_base + "/home/other", "other");
    QCOMPARE(int(m_home.rename("other", "a/file", false).error), int(FileError::Exists));
    QCOMPARE(int(m_home.rename("a/b", "a/file", false).error), int(FileError::Exists));
    QCOMPARE(int(m_home.rename("other", "a/b", false).error), int(FileError::Exists));
    QCOMPARE(get("/home/a/file"), QByteArray("inside"));
    QVERIFY(m_home.rename("other", "a/file", true).ok());
    QCOMPARE(get("/home/a/file"), QByteArray("other"));
    QCOMPARE(int(m_home.rename("a", "a/b/a", false).error), int(FileError::Other));
    QCOMPARE(int(m_home.rename("none", "x", false).error), int(FileError::NotFound));
    QCOMPARE(int(m_home.rename("", "x", true).error), int(FileError::Denied));
    QCOMPARE(int(m_home.rename("a", "", true).error), int(FileError::Exists));
    QVERIFY(m_home.rename("a", "A", false).ok());
    QCOMPARE(get("/home/A/file"), QByteArray("other"));

    SafeFolder second;
    QVERIFY(SafeFolder::open(m_base + "/outside", second).ok());
    QVERIFY(SafeFolder::renameBetween(m_home, "A", second, "inner/A", false).ok());
    QCOMPARE(get("/outside/inner/A/file"), QByteArray("other"));
}

void TestSafeFolder::makingFolders()
{
    QCOMPARE(int(m_home.mkdir("a").error), int(FileError::Exists));
    QCOMPARE(int(m_home.mkdir("").error), int(FileError::Exists));
    QCOMPARE(int(m_home.mkdir("x/y").error), int(FileError::NotFound));
    QVERIFY(m_home.mkdirs("").ok());
    QVERIFY(m_home.mkdirs("/tmp/absolute").ok());
    QCOMPARE(names("tmp"), QStringList("absolute"));
    QVERIFY(m_home.mkdirs("x/y/z").ok() && m_home.mkdirs("x/y/z").ok());
    QCOMPARE(int(m_home.mkdirs("a/file/x").error), int(FileError::NotFolder));
    QCOMPARE(int(m_home.removeEmptyFolder("x").error), int(FileError::NotEmpty));
    QCOMPARE(int(m_home.removeEmptyFolder("a/file").error), int(FileError::NotFolder));
    QVERIFY(m_home.removeEmptyFolder("x/y/z").ok());
    QCOMPARE(int(m_home.removeEmptyFolder("").error), int(FileError::Denied));
}

void TestSafeFolder::removingTrees()
{
    QCOMPARE(::symlink("../../outside", (m_base + "/home/a/b/l").c_str()), 0);
    QCOMPARE(::symlink("../../outside/secret", (m_base + "/home/a/b/s").c_str()), 0);
    QCOMPARE(::mkfifo((m_base + "/home/a/b/pipe").c_str(), 0644), 0);
    QVERIFY(m_home.removeTree("a").ok());
    QCOMPARE(names(""), QStringList());
    QCOMPARE(get("/outside/secret"), QByteArray("secret"));
    QCOMPARE(int(m_home.removeTree("a").error), int(FileError::NotFound));

    QVERIFY(m_home.mkdirs("t/u").ok());
    QVERIFY(!m_home.removeTree("t", [] { return true; }).ok());
    QCOMPARE(names("t"), QStringList("u"));
}

void TestSafeFolder::deepTree()
{
    // Deeper than one system call can name, with names that make hoisting collide.
    const std::string name(200, 'd');
    SafeFolder at = m_home;
    for (int i = 0; i < 300; ++i) {
        QVERIFY(at.mkdir(name).ok());
        QVERIFY(at.mkdirs("~0/x").ok());
        SafeFolder next;
        QVERIFY(at.openFolder(name, next).ok());
        at = next;
    }
    std::string path = name;
    for (int i = 1; i < 40; ++i)
        path += '/' + name;
    SafeFile file;
    QVERIFY(m_home.openWrite(path + "/file", {}, file).ok());
    FileStat stat;
    QVERIFY(m_home.stat(path + "/file", stat).ok() && stat.isFile());
    at = SafeFolder();
    QVERIFY(m_home.removeTree(name).ok());
    QVERIFY(!names("").contains(QString::fromStdString(name)));
}

void TestSafeFolder::handleFollowsItsFolder()
{
    SafeFolder inner;
    QVERIFY(m_home.openFolder("a/b", inner).ok());
    QVERIFY(m_home.rename("a", "moved", false).ok());
    SafeFile file;
    QVERIFY(inner.openWrite("late", {}, file).ok());
    QCOMPARE(names("moved/b"), QStringList("late"));
}

void TestSafeFolder::times()
{
    FileStat stat;
    for (std::int64_t time : {std::int64_t(1), std::int64_t(1234567890123456789), std::int64_t(-1500000000)}) {
        QVERIFY(m_home.setModified("a/file", time).ok());
        QVERIFY(m_home.stat("a/file", stat).ok());
        QCOMPARE(qint64(stat.modifiedNs), qint64(time));
    }
    QVERIFY(m_home.setModified("", 77).ok());
    QVERIFY(m_home.stat("", stat).ok());
    QVERIFY(stat.isFolder());
}

/// As in a sandbox that does not know the call by which a whole path is resolved at once.
static bool forbidWholePaths()
{
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{4, filter};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

int main(int argc, char **argv)
{
    TestHome home;
    QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsSet("ARKVALE_TEST_NO_OPENAT2") && !forbidWholePaths())
        return 1;
    TestSafeFolder test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_safefolder.moc"
