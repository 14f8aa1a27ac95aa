#include "CommandLineTransfer.h"
#include "TestSupport.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

class CommandLineTransferTest : public StrictTest
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    /// What a request led to, in order, as short texts.
    QStringList run(const CommandLineRequest &request, bool known = true)
    {
        QStringList log;
        CommandLineTransfer transfer(request, QStringLiteral("/shown/"));
        const QString base = m_folder.path() + QLatin1Char('/');
        const auto names = [base](const QStringList &paths) {
            return paths.join(QLatin1Char(',')).replace(base, QString());
        };
        const auto items = [](const QList<FileItem> &list) {
            QStringList paths;
            for (const FileItem &item : list)
                paths << item.path;
            return paths.join(QLatin1Char(','));
        };
        connect(&transfer, &CommandLineTransfer::upload, this,
                [&](const QStringList &files, const QStringList &folders, const QString &remote) {
                    log << names(files) + QLatin1Char('|') + names(folders) + QStringLiteral(" > ") + remote;
                });
        connect(&transfer, &CommandLineTransfer::download, this,
                [&](const QList<FileItem> &files, const QList<FileItem> &folders, const QString &local) {
                    log << items(files) + QLatin1Char('|') + items(folders) + QStringLiteral(" > ") + names({local});
                });
        connect(&transfer, &CommandLineTransfer::uploadChoiceWanted, this,
                [&](const QString &folder) { log << QStringLiteral("choose for ") + folder; });
        connect(&transfer, &CommandLineTransfer::problem, this, [&](const QString &text) {
            log << QStringLiteral("problem ") + QString(text).replace(base, QString());
        });
        connect(&transfer, &CommandLineTransfer::listingWanted, this, [&](const QString &folder) {
            log << QStringLiteral("list ") + folder;
            QList<FileItem> entries;
            for (const QString &name : {QStringLiteral("a"), QStringLiteral("b c"), QStringLiteral("d")}) {
                FileItem item;
                item.name = name;
                item.type = name == QLatin1String("d") ? FileItem::Folder : FileItem::File;
                entries << item;
            }
            transfer.setListing(known, known ? entries : QList<FileItem>());
        });
        transfer.start();
        if (!log.isEmpty())
            log << QStringLiteral("told before start() returned");
        // Two rounds of background work at the most; a quiet pair of them means the end.
        for (int quiet = 0, size = 0; quiet < 20; quiet = size == log.size() ? quiet + 1 : 0) {
            size = log.size();
            QTest::qWait(5); // why: nothing tells that no further work will come
        }
        return log;
    }

private slots:
    void initTestCase()
    {
        for (const char *name : {"a", "line\nbreak", "quo\"te %1", "后缀"}) {
            QFile file(m_folder.filePath(QString::fromUtf8(name)));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        QVERIFY(QDir(m_folder.path()).mkpath(QStringLiteral("d/e")));
        QFile blocked(m_folder.filePath(QStringLiteral("blocked")));
        QVERIFY(blocked.open(QIODevice::WriteOnly));
    }

    void requests_data()
    {
        QTest::addColumn<int>("method");
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QStringList>("folders");
        QTest::addColumn<QString>("local"); // "-": none
        QTest::addColumn<QString>("remote");
        QTest::addColumn<QStringList>("log");
        const QStringList absent{""};
        const char *const nothing = "-";
        const auto row = [](const char *name, int method, const QStringList &files, const QStringList &folders,
                            const char *local, const char *remote, const QStringList &log) {
            QTest::newRow(name) << method << files << folders << QString(local) << QString(remote) << log;
        };
        row("nothing asked", -1, {"a"}, absent, "", "/r", {});
        row("empty lists", 0, absent, {"", ""}, "", "/r", {});
        row("all", 0, {"a", "", "", "a"}, {"d"}, "", "/r", {"a|d > /r/"});
        row("names of every kind", 0, {"line\nbreak", "quo\"te %1", "后缀"}, absent, "", "r\\s",
            {"line\nbreak,quo\"te %1,后缀| > /r/s/"});
        row("others go on", 0, {"no %1", "a", "d/e", ".."}, {"gone"}, "", "/r/",
            {"problem Not found in \"BASE\":\nno %1\nd/e\n..\ngone", "a| > /r/"});
        row("a file among the folders", 0, {"d"}, {"a"}, "", "/r", {"a|d > /r/"});
        row("nothing there", 0, {"x"}, absent, "none", "/r", {"problem There is no folder \"none\"."});
        row("remote folder not named", 0, {"a"}, absent, "", "", {"a| > /shown/"});
        row("local folder not named", 0, {"a"}, absent, nothing, "/r", {"choose for /r/"});
        row("download", 1, {"a", "b c", ""}, {"d"}, "new/deep", "/r", {"list /r/", "/r/a,/r/b c|/r/d > new/deep"});
        row("download, some missing", 1, {"A", "a"}, {"e"}, "new", "/r",
            {"list /r/", "problem Not found in \"/r/\":\nA\ne", "/r/a| > new"});
        row("download, all missing", 1, {"x"}, absent, "never", "/r", {"list /r/", "problem Not found in \"/r/\":\nx"});
        row("download, target not named", 1, {"a"}, absent, nothing, "", {"list /shown/", "/shown/a| > "});
        row("download into a file", 1, {"a", "x"}, absent, "blocked", "/r",
            {"list /r/", "problem Not found in \"/r/\":\nx\nThe folder \"blocked\" cannot be written, "
                         "nothing was downloaded."});
        row("download of nothing", 1, absent, absent, "", "/r", {});
    }

    void requests()
    {
        QFETCH(int, method);
        QFETCH(QStringList, files);
        QFETCH(QStringList, folders);
        QFETCH(QString, local);
        QFETCH(QString, remote);
        QFETCH(QStringList, log);
        const QString base = m_folder.path();
        CommandLineRequest request;
        request.method = method;
        request.filelist = files;
        request.dirlist = folders;
        request.remote = remote;
        if (local != QLatin1String("-"))
            request.local = local.isEmpty() ? base : base + QLatin1Char('/') + local;
        log.replaceInStrings(QStringLiteral("BASE"), base);
        QCOMPARE(run(request), log);
        // The target of a download is made, but only when there is something to put into it.
        QCOMPARE(QFileInfo(m_folder.filePath(QStringLiteral("never"))).exists(), false);
    }

    void aFolderThatCannotBeListed()
    {
        CommandLineRequest request;
        request.method = 1;
        request.filelist = QStringList{"a"};
        request.local = m_folder.filePath(QStringLiteral("never"));
        request.remote = QStringLiteral("/r");
        QCOMPARE(run(request, false),
                 QStringList({"list /r/", "problem The folder \"/r/\" could not be read, nothing was downloaded."}));
    }
};

ARKVALE_GUILESS_TEST(CommandLineTransferTest)
#include "CommandLineTransferTest.moc"
