#include "FileItemModel.h"

#include "DriveClipboard.h"
#include "TestSupport.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QThreadPool>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <memory>

namespace {

FileItem entry(const QString &path, bool folder = false, quint64 size = 0)
{
    FileItem item;
    item.path = path;
    item.name = FileListing::fileName(path);
    item.type = folder ? 1 : 0;
    item.size = size;
    return item;
}

QStringList pathsOf(const FileItemModel &model)
{
    QStringList paths;
    for (int row = 0; row < model.rowCount(); ++row)
        paths << model.item(row).path;
    return paths;
}

} // namespace

/// The model under the views: order, changes, drops.
class FileItemModelTest : public StrictTest
{
    Q_OBJECT

private slots:
    void followsAReferenceList()
    {
        FileItemModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setFolder("/d/");
        QMap<QString, FileItem> reference;
        int folders = 0, files = 0;
        connect(&model, &FileItemModel::shown, this, [&] {
            folders = model.listing().folders;
            files = model.listing().files;
        });
        connect(&model, &FileItemModel::added, this, [&](int d, int f) {
            folders += d;
            files += f;
        });
        connect(&model, &FileItemModel::removed, this, [&](int d, int f) {
            folders -= d;
            files -= f;
        });
        QRandomGenerator random(11);
        const auto randomEntry = [&] {
            const int n = random.bounded(400);
            return entry(QString("/d/n%1").arg(n), n % 3 == 0, random.bounded(1000));
        };
        for (int step = 0; step < 160; ++step) {
            if (step % 8 == 0) // every other stretch with a filter, which hides rows and changes nothing else
                model.setFilter(step % 16 == 0 ? QString() : QString("N1"));
            switch (random.bounded(6)) {
            case 0: { // many at once takes another road than few
                QList<FileItem> items;
                for (int i = step % 20 == 0 ? 300 : 4; i > 0; --i)
                    items << randomEntry();
                for (const FileItem &item : items)
                    reference.insert(item.path, item);
                model.add(items);
                break;
            }
            case 1: {
                QStringList gone;
                for (int i = step % 15 == 0 ? 250 : 3; i > 0; --i)
                    gone << randomEntry().path + (i % 2 ? "/" : "");
                for (const QString &path : gone)
                    reference.remove(FileListing::key(path));
                model.remove(gone);
                break;
            }
            case 2: {
                const QString from = randomEntry().path, to = QString("/d/r%1").arg(step);
                model.rename(from, to);
                if (reference.contains(from)) {
                    FileItem item = reference.take(from);
                    item.path = to;
                    item.name = FileListing::fileName(to);
                    reference.insert(to, item);
                }
                break;
            }
            case 3:
                model.setOrder(FileOrder::Type(random.bounded(3)));
                break;
            case 4:
                if (step % 10 == 0) {
                    model.show(reference.values());
                    break;
                }
                Q_FALLTHROUGH();
            default: {
                const FileItem item = randomEntry();
                reference.insert(item.path, item);
                model.add({item});
            }
            }
            const auto isShown = [&](const FileItem &item) {
                return item.name.contains(model.filter(), Qt::CaseInsensitive);
            };
            QCOMPARE(model.rowCount(), int(std::count_if(reference.begin(), reference.end(), isShown)));
            QCOMPARE(folders + files, reference.size());
            QCOMPARE(folders, int(std::count_if(reference.begin(), reference.end(),
                                                [](const FileItem &item) { return item.isFolder(); })));
            for (int row = 0; row < model.rowCount(); ++row) {
                const FileItem &item = model.item(row);
                QVERIFY(isShown(item) && reference.contains(item.path) && reference[item.path].size == item.size);
                QCOMPARE(model.rowOf(item.path), row);
                // The rule for names has circles; by the others each entry has its place.
                QVERIFY(row == 0 || model.order() == FileOrder::FileName ||
                        !FileOrder::before(item, model.item(row - 1), model.order()));
                QVERIFY(row == 0 || !item.isFolder() || model.item(row - 1).isFolder());
            }
        }
    }

    void aLongListIsSortedAsideAndChangesWaitTheirTurn()
    {
        QList<FileItem> items;
        for (int i = 99999; i >= 0; --i)
            items << entry(QString("/d/f%1").arg(i), false, quint64(100000 - i));
        FileItemModel model;
        QStringList events;
        connect(&model, &FileItemModel::shown, this, [&] { events << "shown"; });
        connect(&model, &FileItemModel::added, this, [&] { events << "added"; });
        connect(&model, &FileItemModel::removed, this, [&] { events << "removed"; });
        int rounds = 0;
        QTimer beat;
        connect(&beat, &QTimer::timeout, this, [&] { rounds += events.isEmpty() ? 1 : 0; });
        beat.start(0);
        model.show(items);
        model.remove({"/d/f50"});
        model.add({entry("/d/f7.5"), entry("/d/sub", true)});
        QCOMPARE(model.rowCount(), 0);
        QTRY_COMPARE_WITH_TIMEOUT(events, (QStringList{"shown", "removed", "added"}), 20000);
        QVERIFY(rounds > 0);
        QCOMPARE(model.rowCount(), 100001);
        QCOMPARE(model.item(0).path, QString("/d/sub"));
        QCOMPARE(model.item(1).path, QString("/d/f0"));
        QCOMPARE(model.item(51).path, QString("/d/f49")); // f7.5 stands before f8
        // A change that comes while the new order is being worked out is not lost.
        model.setOrder(FileOrder::FileSize);
        model.remove({"/d/f99999"});
        QTRY_COMPARE_WITH_TIMEOUT(model.item(1).path, QString("/d/f7.5"), 20000);
        QCOMPARE(model.item(2).path, QString("/d/f99998"));
        QCOMPARE(model.rowOf("/d/f99999"), -1);
    }

    void renamedRowsKeepTheirIndexes()
    {
        FileItemModel model;
        model.show({entry("/d/a", false, 3), entry("/d/b", false, 2), entry("/d/c", false, 1)});
        model.setOrder(FileOrder::FileSize);
        QCOMPARE(pathsOf(model), (QStringList{"/d/c", "/d/b", "/d/a"}));
        model.setOrder(FileOrder::FileName);
        const QPersistentModelIndex moved = model.index(0, 0);
        model.rename("/d/a", "/d/z");
        QCOMPARE(moved.row(), 2);
        QCOMPARE(moved.data().toString(), QString("z"));
    }

    void nothingHappensAfterDestruction()
    {
        QList<FileItem> items;
        for (int i = 0; i < 30000; ++i)
            items << entry(QString("/d/f%1").arg(i));
        auto model = std::make_unique<FileItemModel>();
        QSignalSpy shown(model.get(), &FileItemModel::shown);
        model->show(items);
        model.reset();
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        QCOMPARE(shown.size(), 0);
    }

    void dropsAreAcceptedWhereTheyMakeSense_data()
    {
        QTest::addColumn<QStringList>("dragged");
        QTest::addColumn<QString>("center");
        QTest::addColumn<QString>("onto"); // path of an entry, empty: the ground
        QTest::addColumn<bool>("search");
        QTest::addColumn<QString>("folder"); // where it goes; empty: refused
        const auto row = [](const char *name, const QStringList &dragged, const char *center, const char *onto,
                            bool search, const char *folder) {
            QTest::newRow(name) << dragged << center << onto << search << folder;
        };
        row("onto a folder", {"/d/a", "/d/b"}, "1", "/d/sub", false, "/d/sub/");
        row("onto a file goes to the ground", {"/e/a"}, "1", "/d/a", false, "/d/");
        row("where it is already", {"/d/a"}, "1", "", false, "");
        row("into itself", {"/d/sub"}, "1", "/d/sub", false, "");
        row("into its own child", {"/d"}, "1", "/d/sub", false, "");
        row("a name that only begins alike", {"/d/su"}, "1", "/d/sub", false, "/d/sub/");
        row("another sub-center", {"/d/a"}, "2", "/d/sub", false, "");
        row("search result", {"/d/a"}, "1", "/d/sub", true, "");
        row("nothing", {}, "1", "/d/sub", false, "");
        row("local files", {}, "local", "/d/sub", false, "/d/sub/");
        row("local files on the ground", {}, "local", "", false, "/d/");
        row("local files on a search", {}, "local", "", true, "");
    }

    void dropsAreAcceptedWhereTheyMakeSense()
    {
        QFETCH(QStringList, dragged);
        QFETCH(QString, center);
        QFETCH(QString, onto);
        QFETCH(bool, search);
        QFETCH(QString, folder);
        FileItemModel model;
        model.setFolder("/d/");
        model.setSubCenterId("1");
        model.setSearchResult(search);
        model.show({entry("/d/sub", true), entry("/d/a")});
        // As it arrives from another program: the text alone.
        QMimeData mime;
        if (center == "local") {
            mime.setUrls({QUrl::fromLocalFile("/tmp/x y"), QUrl("http://host/z")});
        } else {
            DriveClipboard record{"Cut", {}, center};
            for (const QString &path : dragged)
                record.items << entry(path);
            mime.setData(DriveClipboard::format(), record.toJson());
        }
        QSignalSpy moved(&model, &FileItemModel::sigMove), uploaded(&model, &FileItemModel::sigUpload);
        const QModelIndex parent = onto.isEmpty() ? QModelIndex() : model.index(model.rowOf(onto), 0);
        QCOMPARE(model.canDropMimeData(&mime, Qt::MoveAction, -1, -1, parent), !folder.isEmpty());
        QVERIFY(!model.dropMimeData(&mime, Qt::MoveAction, -1, -1, parent));
        QCOMPARE(model.rowCount(), 2);
        QSignalSpy &right = center == "local" ? uploaded : moved;
        QCOMPARE(moved.size() + uploaded.size(), folder.isEmpty() ? 0 : 1);
        if (!folder.isEmpty()) {
            QCOMPARE(right.first().at(0).toStringList(), center == "local" ? QStringList{"/tmp/x y"} : dragged);
            QCOMPARE(right.first().at(1).toString(), folder);
        }
    }

    void dragsCarryTheRecord()
    {
        FileItemModel model;
        model.setSubCenterId("7");
        model.show({entry("/d/a"), entry("/d/b")});
        const std::unique_ptr<QMimeData> mime(
            model.mimeData({model.index(1, 0), model.index(1, 1), model.index(1, 2), model.index(0, 0)}));
        QVERIFY(mime->hasFormat("ArkvaleTolma") && mime->hasFormat("application/x-qabstractitemmodeldatalist"));
        const DriveClipboard record = DriveClipboard::fromJson(mime->data("ArkvaleTolma"));
        QCOMPARE(record.paths(), (QStringList{"/d/b", "/d/a"}));
        QCOMPARE(record.subCenterId, QString("7"));
        QVERIFY(!mime->data("application/x-qabstractitemmodeldatalist").isEmpty());
    }

    void textsStayInTheirRow()
    {
        FileItemModel model;
        FileItem odd = entry("/d/<i>two\nlines", false, 1536);
        odd.datetime = ~quint64(0);
        odd.contentType = "image/png";
        odd.iconData = "no picture at all";
        model.show({odd, entry("/d/<i>two\nlines.ZPDT.cache")});
        QCOMPARE(model.rowCount(), 1);
        QVERIFY(!model.index(0, 0).data().toString().contains('\n'));
        QCOMPARE(model.index(0, 0).data(Qt::EditRole).toString(), QString("<i>two\nlines"));
        QCOMPARE(model.index(0, FileItemModel::ModifiedColumn).data().toString(), QString());
        QCOMPARE(model.index(0, FileItemModel::SizeColumn).data().toString(), QString("1.5K"));
        QVERIFY(model.index(0, 0).data(FileItemModel::UnfinishedRole).toBool());
        QVERIFY(model.index(0, 0).data(Qt::DecorationRole).canConvert<QIcon>());
        const QString tip = model.index(0, 0).data(Qt::ToolTipRole).toString();
        QVERIFY2(tip.contains("&lt;i") && !tip.contains("<i>"), qPrintable(tip));
        // The transfer ended: its record comes anew.
        model.add({odd});
        QVERIFY(!model.index(0, 0).data(FileItemModel::UnfinishedRole).toBool());
    }
};

ARKVALE_WIDGET_TEST(FileItemModelTest)
#include "FileItemModelTest.moc"
