#include "FakeOrvClient.h"
#include "FileDialog.h"
#include "FileItemModel.h"
#include "LocalFolder.h"
#include "MoveDialog.h"
#include "MyDiskDirectoryBrowserTree.h"
#include "NewFolderWidget.h"
#include "TestFiles.h"
#include "TestSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>

#include <memory>

namespace {

/// The longest time in which no event was handled, in milliseconds.
class Gaps : public QObject
{
public:
    Gaps()
    {
        m_clock.start();
        startTimer(1);
    }
    qint64 longest() const { return m_longest; }

protected:
    void timerEvent(QTimerEvent *) override { m_longest = qMax(m_longest, m_clock.restart()); }

private:
    QElapsedTimer m_clock;
    qint64 m_longest = 0;
};

QByteArray listing(const QStringList &names, const QString &folder)
{
    QByteArray body = "{\"items\":[";
    for (const QString &name : names) {
        const bool file = name.endsWith(".txt");
        body += (body.endsWith('[') ? "" : ",") + QByteArray("{\"name\":\"") + name.toUtf8() +
                "\",\"type\":" + (file ? "0" : "1") + ",\"path\":\"" + (folder + name).toUtf8() + "\"}";
    }
    return body + "]}";
}

} // namespace

class PickersTest : public StrictTest
{
    Q_OBJECT

private:
    QMap<QString, QStringList> m_drive; ///< folder, with "/" at its end, to names; ".txt" are files
    QMap<QString, int> m_codes;

    static QStringList under(const QTreeWidgetItem *item)
    {
        QStringList names;
        for (int i = 0; i < item->childCount(); ++i)
            names << item->child(i)->text(0);
        return names;
    }
    static int lists() { return FakeService::instance().calls("listFile").size(); }

private slots:
    void init()
    {
        beginStrict();
        allowMessage("does not support"); // what the offscreen platform says of windows
        m_codes.clear();
        m_drive = {{"/", {"b10", "b9", "notes.txt", "a"}}, {"/a/", {"deep"}}, {"/b9/", {}}, {"/a/deep/", {}}};
        FakeService::instance().reset();
        FakeService::instance().setScript([this](const FakeCall &call, int *code, QByteArray *body) {
            const QString path = call.arguments.first();
            *code = m_codes.value(path, 200);
            if (call.operation == "listFile")
                *body = listing(m_drive.value(path), path);
            return true;
        });
    }
    void cleanup() { endStrict(); }

    void largeLocalFolder()
    {
        QTemporaryDir disk;
        for (int i = 0; i < 3000; ++i)
            QVERIFY(QFile(disk.filePath(QString("frame_%1.exr").arg(i))).open(QIODevice::WriteOnly));
        QDir(disk.path()).mkdir("sub");
        FileDialog dialog("Pick", disk.path());
        dialog.show();
        Gaps gaps;
        auto *tree = dialog.findChild<QTreeView *>("treeView");
        QTRY_COMPARE_WITH_TIMEOUT(tree->model()->rowCount(), 3001, 20000);
        dialog.findChild<QToolButton *>("listModeButton")->click();
        dialog.findChild<QLineEdit *>("filterEdit")->setText("999");
        QTRY_COMPARE(tree->model()->rowCount(), 3);
        dialog.findChild<QLineEdit *>("filterEdit")->clear();
        QTRY_COMPARE(tree->model()->rowCount(), 3001);
        QCoreApplication::processEvents();
        qInfo("longest time without events: %d ms", int(gaps.longest()));
        QVERIFY2(gaps.longest() < 500, qPrintable(QString::number(gaps.longest()))); // on any machine
        QCOMPARE(tree->model()->index(0, 0).data().toString(), QString("sub"));
        QCOMPARE(tree->model()->index(11, 0).data().toString(), QString("frame_10.exr"));
        // Chosen files and folders outlive a change of the folder, and a new file appears.
        tree->selectAll();
        QCOMPARE(dialog.findChild<QLineEdit *>("fileNameEdit")->text(), QString("3001 selected"));
        tree->selectionModel()->select(QItemSelection(tree->model()->index(0, 0), tree->model()->index(1, 3)),
                                       QItemSelectionModel::ClearAndSelect);
        writeFile(disk.filePath("another"), "x");
        QTRY_COMPARE_WITH_TIMEOUT(tree->model()->rowCount(), 3002, 20000);
        QTRY_COMPARE(tree->selectionModel()->selectedRows().size(), 2);
        dialog.onSelect();
        QCOMPARE(dialog.selectedPaths(), (QStringList{disk.filePath("sub"), disk.filePath("frame_0.exr")}));
        // The next one opens at the same place and in the same view.
        FileDialog next("Pick");
        QCOMPARE(next.folder(), disk.path());
        QVERIFY(next.findChild<QToolButton *>("listModeButton")->isChecked());
    }

    void typedPlaces()
    {
        QTemporaryDir disk;
        writeFile(disk.filePath("sub/deep/x.txt"), "x");
        FileDialog dialog("Pick", disk.path());
        dialog.show();
        auto *path = dialog.findChild<QLineEdit *>("pathEdit");
        auto *notice = dialog.findChild<QLabel *>("pickerNotice");
        const auto go = [&](const QString &text) {
            path->setFocus();
            QTRY_VERIFY(path->hasFocus());
            path->setText(text);
            QTest::keyClick(path, Qt::Key_Return);
        };
        QApplication::setActiveWindow(&dialog);
        go("sub");
        QCOMPARE(dialog.folder(), disk.filePath("sub"));
        go("nowhere");
        QVERIFY(notice->isVisible() && dialog.folder() == disk.filePath("sub") && dialog.isVisible());
        go(disk.filePath("sub/deep/x.txt"));
        QTRY_COMPARE(dialog.findChild<QLineEdit *>("fileNameEdit")->text(), QString("x.txt"));
        dialog.onSelect();
        QCOMPARE(dialog.selectedPaths(), QStringList{disk.filePath("sub/deep/x.txt")});
    }

    void remoteFolders()
    {
        MyDiskDirectoryBrowser browser("http://service/");
        browser.show();
        auto *tree = browser.findChild<MyDiskDirectoryBrowserTree *>();
        QTRY_COMPARE(under(tree->root()), (QStringList{"a", "b9", "b10"}));
        QCOMPARE(lists(), 1); // nothing is listed before it is opened
        QTreeWidgetItem *a = tree->root()->child(0);
        m_codes["/a/"] = 500;
        a->setExpanded(true);
        QTRY_COMPARE(under(a), QStringList{"The folder could not be opened."});
        m_codes.clear();
        a->setExpanded(false);
        a->setExpanded(true);
        QTRY_COMPARE(under(a), QStringList{"deep"});
        // A new folder in one that was never opened, and in one that was.
        const auto make = [&](QTreeWidgetItem *in, const QString &name) {
            tree->setCurrentItem(in);
            QTimer::singleShot(0, &browser, [&browser, name] {
                auto *question = browser.findChild<NewFolderWidget *>();
                question->findChild<QLineEdit *>("nameEdit")->setText(name);
                question->OkPressed();
            });
            browser.findChild<QPushButton *>("newFolderButton")->click();
        };
        m_drive["/b9/"] = QStringList{"made"};
        make(tree->root()->child(1), "made");
        QTRY_COMPARE(under(tree->root()->child(1)), QStringList{"made"});
        make(a, "new");
        QTRY_COMPARE(under(a), (QStringList{"deep", "new"}));
        QCOMPARE(FakeService::instance().last("mkdir").arguments, QStringList{"/a/new"});
        m_codes["/a/refused"] = 403;
        make(a, "refused");
        QTRY_VERIFY(browser.findChild<QLabel *>("pickerNotice")->isVisible());
        QTRY_COMPARE(tree->currentItem(), a);
        tree->setCurrentItem(a->child(1));
        browser.accept();
        QCOMPARE(browser.folder(), QString("/a/new/"));
    }

    void manyRemoteFolders()
    {
        QStringList names;
        for (int i = 0; i < 10000; ++i)
            names << QString("shot %1").arg(i);
        m_drive["/"] = names;
        MyDiskDirectoryBrowser browser("http://service/");
        browser.show();
        Gaps gaps;
        auto *root = browser.findChild<MyDiskDirectoryBrowserTree *>()->root();
        QTRY_COMPARE_WITH_TIMEOUT(root->childCount(), 10000, 20000);
        qInfo("longest time without events: %d ms", int(gaps.longest()));
        QVERIFY(gaps.longest() < 500); // on any machine
    }

    void moves()
    {
        MoveDialog dialog("http://service/", {"/a", "/notes.txt"});
        QSignalSpy moved(&dialog, &MoveDialog::sigMove);
        dialog.show();
        auto *tree = dialog.findChild<MyDiskDirectoryBrowserTree *>();
        QTRY_COMPARE(tree->root()->childCount(), 3);
        auto *ok = dialog.findChild<QPushButton *>("ok");
        QVERIFY(!ok->isEnabled()); // they are there already
        QVERIFY(tree->root()->child(0)->isDisabled());
        tree->setCurrentItem(tree->root()->child(2));
        QVERIFY(ok->isEnabled());
        ok->click();
        QCOMPARE(moved.size(), 1);
        QCOMPARE(moved.first().at(0).toStringList(), (QStringList{"/a", "/notes.txt"}));
        QCOMPARE(moved.first().at(1).toString(), QString("/b10/"));
    }
};

ARKVALE_WIDGET_TEST(PickersTest)
#include "PickersTest.moc"
