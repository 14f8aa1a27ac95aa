#include "AddressBar.h"
#include "DriveClipboard.h"
#include "FileItemReader.h"
#include "FileListing.h"
#include "FileNameRules.h"
#include "OrderedWork.h"
#include "TestSupport.h"

#include <QApplication>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QMenu>
#include <QRandomGenerator>
#include <QSemaphore>
#include <QSignalSpy>
#include <QToolButton>

#include <algorithm>
#include <memory>

namespace {

FileItem named(const QString &name, int type = 0, quint64 size = 0, quint64 time = 0)
{
    FileItem item;
    item.name = name;
    item.path = "/d/" + name;
    item.type = type;
    item.size = size;
    item.datetime = time;
    return item;
}

} // namespace

class DriveViewsTest : public StrictTest
{
    Q_OBJECT

private slots:
    void namesAreComparedNaturally_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        const char *const pairs[][2] = {
            {"file2", "file10"},
            {"2", "10"},
            {"9", "a"},
            {"a20", "a100"},
            {"a100", "a19"}, // a circle, as the pair rule has it
            {"frame007", "frame7"},
            {"a", "a1"},
            {"file1", "file10"},
            {"v1.9", "v1.10"},
            {"007", "8"},
            {"00", "1"},
            {"20261121123456", "20261121123457"},
            {"99999999999999999999", "a"},
        };
        for (const auto &pair : pairs)
            QTest::addRow("%s < %s", pair[0], pair[1]) << QString(pair[0]) << QString(pair[1]);
        QTest::newRow("code units") << QString("Z\u4e2d2") << QString("Z\u4e2d11");
    }

    void namesAreComparedNaturally()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QVERIFY(FileOrder::nameBefore(first, second));
        QVERIFY(!FileOrder::nameBefore(second, first));
        QVERIFY(!FileOrder::nameBefore(first, first));
    }

    void foldersComeFirstInEveryOrder_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QStringList>("order");
        QTest::newRow("name") << "FileName" << QStringList{"d2", "d10", "a", "b2", "b10"};
        QTest::newRow("size") << "FileSize" << QStringList{"d10", "d2", "b10", "a", "b2"};
        QTest::newRow("time") << "Modified" << QStringList{"d10", "d2", "b2", "b10", "a"};
        QTest::newRow("unknown") << "other" << QStringList{"d2", "d10", "a", "b2", "b10"};
    }

    void foldersComeFirstInEveryOrder()
    {
        QFETCH(QString, type);
        QVector<FileItem> items{named("b10", 0, 1, 20), named("d2", 1, 9, 9), named("a", 0, 5, 30),
                                named("d10", 1, 0, 3), named("b2", 0, 7, 10)};
        FileOrder::sort(items, FileOrder::typeOf(type));
        QStringList order;
        for (const FileItem &item : qAsConst(items))
            order << item.name;
        QTEST(order, "order");
    }

    void aHundredThousandEntriesSortStablyWhateverTheRule()
    {
        // Names that hold circles: what must hold is that each entry is there once, and folders first.
        QRandomGenerator random(3);
        QVector<FileItem> items;
        for (int i = 0; i < 100000; ++i)
            items << named(QString("a%1").arg(random.bounded(3000)), random.bounded(10) == 0, quint64(i));
        QVector<FileItem> circles = items;
        FileOrder::sort(circles, FileOrder::FileName);
        QVector<bool> seen(items.size());
        for (int i = 0; i < circles.size(); ++i) {
            QVERIFY(!seen[int(circles[i].size)]);
            seen[int(circles[i].size)] = true;
            QVERIFY(i == 0 || !circles[i].isFolder() || circles[i - 1].isFolder());
        }
        // Equal times keep the order they came in: the library's stable sort is the witness, on a strict rule.
        for (FileItem &item : items)
            item.datetime = quint64(random.bounded(50));
        QVector<FileItem> expected = items;
        std::stable_sort(expected.begin(), expected.end(), [](const FileItem &a, const FileItem &b) {
            return FileOrder::before(a, b, FileOrder::Modified);
        });
        FileOrder::sort(items, FileOrder::Modified);
        QVERIFY(std::equal(items.begin(), items.end(), expected.begin(),
                           [](const FileItem &a, const FileItem &b) { return a.size == b.size; }));
    }

    void listingsAreMadeReady()
    {
        FileItem picture = named("p.png"), psd = named("photo.PSD"), upper = named("u.png"), folder = named("f.png", 1);
        for (FileItem *item : {&picture, &psd, &folder})
            item->contentType = "image/x";
        upper.contentType = "IMAGE/png";
        const QList<FileItem> items{named("x.bin"),
                                    named("x.bin.ZPDT.cache"),
                                    named("y.bin.ZPDT.cache"),
                                    named("sub", 1),
                                    named("sub.ZPDT.cache"),
                                    picture,
                                    psd,
                                    upper,
                                    folder,
                                    named("x.bin", 0, 9, 9),
                                    FileItem()};
        const FileListing listing = FileListing::prepare(items, FileOrder::FileName);
        QStringList names;
        for (const FileItem &item : listing.items)
            names << item.name;
        QCOMPARE(names, (QStringList{"f.png", "sub", "", "p.png", "photo.PSD", "sub.ZPDT.cache", "u.png", "x.bin",
                                     "y.bin.ZPDT.cache"}));
        QCOMPARE(listing.unfinished, QSet<QString>{"/d/x.bin"});
        QCOMPARE(listing.thumbnails.size(), 1);
        QCOMPARE(listing.thumbnails.first().name, QString("p.png"));
        QCOMPARE(listing.folders, 2);
        QCOMPARE(listing.files, 7);
        QCOMPARE(listing.items.at(7).size, quint64(9)); // listed twice: the last record
    }

    void repliesAreReadAsADocumentIs()
    {
        // The library's own reader is the witness, on replies of every shape that a service may come up with.
        QRandomGenerator random(5);
        const QList<QJsonValue> values{"plain",
                                       QString("\"\\/\b\n\u4e2d\u0001\U0001F600"),
                                       1,
                                       0,
                                       -3,
                                       2.5,
                                       1e300,
                                       "77",
                                       true,
                                       QJsonValue(),
                                       QJsonArray{1, QJsonObject{{"a", "]}"}}},
                                       QJsonObject()};
        for (int round = 0; round < 300; ++round) {
            QJsonArray items;
            for (int i = random.bounded(6); i > 0; --i) {
                QJsonObject object;
                for (const char *key : {"name", "path", "type", "size", "datetime", "modifiedTime", "icon", "x\"y"}) {
                    if (random.bounded(4) > 0)
                        object.insert(key, values.at(random.bounded(values.size())));
                }
                items.append(random.bounded(5) > 0 ? QJsonValue(object) : values.at(random.bounded(values.size())));
            }
            const QJsonObject reply{{"a", values.at(random.bounded(values.size()))}, {"items", items}};
            const QByteArray body =
                QJsonDocument(reply).toJson(round % 2 ? QJsonDocument::Compact : QJsonDocument::Indented);
            const QList<FileItem> read = FileItemReader::items(body, FileItemReader::PlainTime);
            int at = 0;
            for (const QJsonValue &value : qAsConst(items)) {
                if (!value.isObject())
                    continue;
                const QJsonObject object = value.toObject();
                QVERIFY2(at < read.size(), body.constData());
                const FileItem &item = read.at(at++);
                QCOMPARE(item.name, object.value("name").toString());
                QCOMPARE(item.path, object.value("path").toString());
                QCOMPARE(item.icon, object.value("icon").toString());
                QCOMPARE(item.type, object.value("type").toInt());
            }
            QCOMPARE(read.size(), at);
            const QByteArray cut = body.left(random.bounded(body.size()));
            if (cut.trimmed().size() < body.trimmed().size())
                QVERIFY2(FileItemReader::items(cut, FileItemReader::PlainTime).isEmpty(), cut.constData());
        }
    }

    void pathsAreTakenApart_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QString>("name");
        const char *const rows[][3] = {{"/a/b", "/a/", "b"}, {"/a/b/", "/a/", "b"}, {"/a", "/", "a"},
                                       {"/", "/", ""},       {"a", "/", "a"},       {"", "/", ""}};
        for (const auto &row : rows)
            QTest::newRow(row[0]) << QString(row[0]) << QString(row[1]) << QString(row[2]);
    }

    void pathsAreTakenApart()
    {
        QFETCH(QString, path);
        QTEST(FileListing::parentFolder(path), "parent");
        QTEST(FileListing::fileName(path), "name");
    }

    void clipboardRecordKeepsItsQuirks()
    {
        FileItem item = named("a \"b\"", 1, 1000, 1780000000123);
        item.icon = "i";
        item.extra = "e";
        item.contentType = "c";
        FileItem large = named("large", 0, 5000000000);
        const DriveClipboard record{"Copy", {item, large}, "12"};
        const DriveClipboard back = DriveClipboard::fromJson(record.toJson());
        QCOMPARE(back.type + back.subCenterId, QString("Copy12"));
        QCOMPARE(back.items.size(), 2);
        const FileItem &read = back.items.first();
        QCOMPARE(read.name + read.icon + read.extra + read.path + read.contentType, QString("a \"b\"ie/d/a \"b\"c"));
        QVERIFY(read.isFolder());
        QCOMPARE(read.size, quint64(1000));
        QCOMPARE(read.datetime, quint64(0));
        QCOMPARE(back.items.last().size, quint64(0)); // not a 32-bit integer
        const QByteArray foreign =
            R"({"items":[{"path":"/a","date":1,"datetime":77},{"path":"/b","datetime":77},{},3]})";
        const DriveClipboard other = DriveClipboard::fromJson(foreign);
        QCOMPARE(other.paths(), (QStringList{"/a", "/b"}));
        QCOMPARE(other.items.first().datetime, quint64(77));
        QCOMPARE(other.items.last().datetime, quint64(0));
        for (const char *garbage : {"", "[]", "{\"items\":{}}", "{\"items\":[[[]]]}", "\xff", "{\"type\":[]}"})
            QVERIFY(DriveClipboard::fromJson(garbage).isEmpty());
    }

    void namesFollowTheRules_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("allowed");
        for (const char *good : {"a", "a.b", "a b", "100%", "it's", "a.", " x", "(1)"})
            QTest::addRow("%s", good) << QString(good) << true;
        for (const char *bad : {"", ".", ".a", "a/b", "a\\b", "a:b", "a*", "a?", "a\"", "<", "a>", "a|b"})
            QTest::addRow("bad %s", bad) << QString(bad) << false;
        QTest::newRow("255") << QString(255, 'x') << true;
        QTest::newRow("256") << QString(256, 'x') << false;
        QTest::newRow("255 hanzi") << QString(255, QChar(0x4e2d)) << true;
    }

    void namesFollowTheRules()
    {
        QFETCH(QString, name);
        QTEST(FileNameRules::matches(name), "allowed");
    }

    void refusalsComeInTheirOrder()
    {
        const QSet<QString> there{"Report.txt", "b", "pack.zip"};
        QCOMPARE(FileNameRules::renameRefusal("", "b", there), QString("Please enter the file name!"));
        QCOMPARE(FileNameRules::renameRefusal("report.TXT", "Report.txt", there),
                 QString("Consistent with the original file name!"));
        QCOMPARE(FileNameRules::renameRefusal("b", "Report.txt", there), QString("File name already exists!"));
        QCOMPARE(FileNameRules::renameRefusal("B", "Report.txt", there), QString());
        QCOMPARE(FileNameRules::refusal("b", there), QString("File name already exists!"));
        QCOMPARE(FileNameRules::archiveName("pack") + FileNameRules::archiveName("pack.zip"),
                 QString("pack.zippack.zip"));
    }

    void workIsDeliveredInOrder()
    {
        QStringList events;
        OrderedWork work;
        QSemaphore gate;
        work.run([&] {
            gate.acquire();
            return [&] { events << "slow"; };
        });
        work.run([&] { return [&] { events << "quick"; }; });
        work.post([&] {
            events << "nested";
            // A delivery that waits in a loop of its own: what comes meanwhile is delivered inside.
            QEventLoop loop;
            work.run([&] {
                return [&] {
                    events << "inner";
                    loop.quit();
                };
            });
            loop.exec();
        });
        work.post([&] { events << "last"; });
        QVERIFY(events.isEmpty());
        gate.release();
        QTRY_COMPARE(events, (QStringList{"slow", "quick", "nested", "last", "inner"}));
        QVERIFY(work.isIdle());

        auto mortal = std::make_unique<OrderedWork>();
        mortal->run([&] { return [&] { mortal.reset(); }; });
        mortal->post([&] { events << "never"; });
        QTRY_VERIFY(!mortal);
        QCoreApplication::processEvents();
        QCOMPARE(events.last(), QString("inner"));
    }

    void addressBarFoldsAndEnters()
    {
        AddressBar bar;
        bar.setRootName("Center");
        bar.resize(900, bar.height());
        bar.show();
        bar.setPath("/alpha/beta/gamma & delta/");
        QCOMPARE(bar.shownCrumbs(), (QStringList{"Center", "alpha", "beta", "gamma & delta"}));
        bar.resize(200, bar.height());
        QVERIFY(bar.shownCrumbs().size() < 4);
        QCOMPARE(bar.shownCrumbs().last(), QString("gamma & delta"));
        QSignalSpy entered(&bar, &AddressBar::sigIntoFolder), searched(&bar, &AddressBar::sigSearch);
        auto *fold = bar.findChild<QToolButton *>("addressFold");
        QVERIFY(fold->isVisible());
        QCOMPARE(fold->menu()->actions().size(), 4 - bar.shownCrumbs().size());
        fold->menu()->actions().first()->trigger();
        QCOMPARE(entered.takeFirst().first().toString(), QString("/"));

        auto *edit = bar.findChild<QLineEdit *>("addressEdit");
        bar.edit();
        QVERIFY(edit->isVisible() && bar.shownCrumbs().isEmpty());
        QCOMPARE(edit->text(), QString("/alpha/beta/gamma & delta/"));
        QTest::keyClick(edit, Qt::Key_Escape);
        QVERIFY(!bar.isEditing() && !bar.shownCrumbs().isEmpty());
        bar.edit();
        edit->setText(" other\\place ");
        QTest::keyClick(edit, Qt::Key_Return);
        QCOMPARE(entered.takeFirst().first().toString(), QString("/other/place"));
        bar.edit();
        edit->setText("word");
        bar.OnSearch(false);
        QCOMPARE(searched.takeFirst().first().toString(), QString("word"));
        bar.setTitle("Search Result: word");
        QVERIFY(bar.shownCrumbs().isEmpty());
        // A click rebuilds the row while the button that was clicked still handles its event.
        bar.resize(900, bar.height());
        bar.setPath("/alpha/beta/");
        connect(&bar, &AddressBar::sigIntoFolder, &bar, &AddressBar::setPath);
        for (QToolButton *crumb : bar.findChildren<QToolButton *>()) {
            if (crumb->toolTip() == "/alpha/" && crumb->isVisible())
                QTest::mouseClick(crumb, Qt::LeftButton);
        }
        QCOMPARE(bar.shownCrumbs(), (QStringList{"Center", "alpha"}));
    }
};

ARKVALE_WIDGET_TEST(DriveViewsTest)
#include "DriveViewsTest.moc"
