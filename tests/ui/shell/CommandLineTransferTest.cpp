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
        const QString nothing = QStringLiteral("-");
        QTest::newRow("nothing asked") << -1 << QStringList{"a"} << absent << ""
                                       << "/r" << QStringList();
        QTest::newRow("empty lists") << 0 << absent << QStringList{"", ""} << ""
                                     << "/r" << QStringList();
        QTest::newRow("all") << 0 << QStringList{"a", "", "", "a"} << QStringList{"d"} << ""
                             << "/r" << QStringList{"a|d > /r/"};
        QTest::newRow("names of every kind") << 0 << QStringList{"line\nbreak", "quo\"te %1", "后缀"} << absent << ""
                                             << "r\\s" << QStringList{"line\nbreak,quo\"te %1,后缀| > /r/s/"};
        QTest::newRow("others go on") << 0 << QStringList{"no %1", "a", "d/e", ".."} << QStringList{"gone"} << ""
                                      << "/r/"
                                      << QStringList{"problem Not found in \"BASE\":\nno %1\nd/e\n..\ngone",
                                                     "a| > /r/"};
        QTest::newRow("a file among the folders") << 0 << QStringList{"d"} << QStringList{"a"} << ""
                                                  << "/r" << QStringList{"a|d > /r/"};
        QTest::newRow("nothing there") << 0 << QStringList{"x"} << absent << "none"
                                       << "/r" << QStringList{"problem There is no folder \"none\"."};
        QTest::newRow("remote folder not named") << 0 << QStringList{"a"} << absent << ""
                                                 << "" << QStringList{"a| > /shown/"};
        QTest::newRow("local folder not named")
            << 0 << QStringList{"a"} << absent << nothing << "/r" << QStringList{"choose for /r/"};
        QTest::newRow("download") << 1 << QStringList{"a", "b c", ""} << QStringList{"d"} << "new/deep"
                                  << "/r" << QStringList{"list /r/", "/r/a,/r/b c|/r/d > new/deep"};
        QTest::newRow("download, some missing")
            << 1 << QStringList{"A", "a"} << QStringList{"e"} << "new"
            << "/r" << QStringList{"list /r/", "problem Not found in \"/r/\":\nA\ne", "/r/a| > new"};
        QTest::newRow("download, all missing") << 1 << QStringList{"x"} << absent << "never"
                                               << "/r" << QStringList{"list /r/", "problem Not found in \"/r/\":\nx"};
        QTest::newRow("download, target not named")
            << 1 << QStringList{"a"} << absent << nothing << "" << QStringList{"list /shown/", "/shown/a| > "};
        QTest::newRow("download into a file")
            << 1 << QStringList{"a", "x"} << absent << "blocked"
            << "/r"
            << QStringList{"list /r/", "problem Not found in \"/r/\":\nx\nThe folder \"blocked\" cannot be written, "
                                       "nothing was downloaded."};
        QTest::newRow("download of nothing") << 1 << absent << absent << ""
                                             << "/r" << QStringList();
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
