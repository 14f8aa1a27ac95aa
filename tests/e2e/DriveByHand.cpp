#include "DialogAnswers.h"
#include "FileItemModel.h"
#include "FileWidget.h"
#include "GlobalConfig.h"
#include "LiveService.h"
#include "NetdiskPage.h"
#include "NewFolderWidget.h"
#include "TestFiles.h"
#include "TestSupport.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QToolButton>

#include <memory>

namespace {

class AnsweredPage : public NetdiskPage
{
public:
    using NetdiskPage::NetdiskPage;
    QStringList localPaths;
    QString target;

protected:
    QStringList askLocalPaths(QWidget *) override { return localPaths; }
    QString askTargetFolder(const QString &) override { return target; }
};

} // namespace

/// A drive page as a person uses it, against the real service: what is asked for happens on the service's disk.
class DriveByHand : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_live.start());
        QVERIFY(m_live.logIn(QStringLiteral("demo"), QStringLiteral("demo")));
    }

    void init()
    {
        beginStrict();
        QDir home(m_live.home(QStringLiteral("1"), QStringLiteral("demo")));
        home.mkpath(QStringLiteral("work"));
        m_disk = QDir(home.filePath(QStringLiteral("work")));
        QVERIFY(m_disk.removeRecursively() && m_disk.mkpath(QStringLiteral("shots")) &&
                m_disk.mkpath(QStringLiteral("in")));
        for (const char *name : {"a.txt", "b.txt", "frame2.exr", "frame10.exr"})
            put(m_disk, QLatin1String(name));
        m_page = std::make_unique<AnsweredPage>(GlobalConfig::instance()->subCenter(QStringLiteral("1")),
                                                QStringLiteral("/work"));
        m_page->resize(900, 600);
        m_page->show();
        m_view = m_page->findChild<FileWidget *>();
        QTRY_COMPARE(model()->rowCount(), 6);
    }

    void cleanup()
    {
        m_page.reset();
        QGuiApplication::clipboard()->clear();
        endStrict();
    }

    void everyCommandDoesItsWork()
    {
        QCOMPARE(model()->item(4).name, QStringLiteral("frame2.exr")); // before frame10
        typeName(QStringLiteral("fresh"));
        press("newFolderButton");
        QTRY_VERIFY(shows({QStringLiteral("fresh")}) && m_disk.exists(QStringLiteral("fresh")));
        m_view->select({QStringLiteral("/work/a.txt")});
        renameTo(QStringLiteral("z.txt"));
        QTRY_VERIFY(shows({QStringLiteral("z.txt")}) && m_disk.exists(QStringLiteral("z.txt")));
        m_view->select({QStringLiteral("/work/z.txt"), QStringLiteral("/work/shots")});
        typeName(QStringLiteral("pack"));
        m_view->action(FileWidget::Compress)->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(shows({QStringLiteral("pack.zip")}), 20000);
        DialogAnswers answers;
        answers.accept();
        press("deleteButton");
        QTRY_VERIFY(!m_disk.exists(QStringLiteral("z.txt")) && !m_disk.exists(QStringLiteral("shots")));
        m_view->select({QStringLiteral("/work/pack.zip")});
        m_view->action(FileWidget::Decompress)->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(shows({QStringLiteral("z.txt"), QStringLiteral("shots")}), 20000);

        m_view->select({QStringLiteral("/work/b.txt")});
        m_page->target = m_local.path();
        QSignalSpy downloads(m_page.get(), &NetdiskPage::sigDownload);
        press("downloadButton");
        QTRY_COMPARE(downloads.size(), 1);
        put(m_disk, QStringLiteral("meanwhile.txt"));
        press("refreshButton");
        QTRY_VERIFY(shows({QStringLiteral("meanwhile.txt")}));
        QCOMPARE(m_view->selectedItems().value(0).name, QStringLiteral("b.txt"));
        press("modeButton");
        QCOMPARE(m_view->showMode(), FileWidget::IconMode);
        press("homeButton");
        QTRY_VERIFY(shows({QStringLiteral("work")}));
        press("backButton");
        QTRY_VERIFY(shows({QStringLiteral("meanwhile.txt")}));
        press("forwardButton");
        QTRY_VERIFY(shows({QStringLiteral("work")}));
        auto *search = m_page->findChild<QLineEdit *>(QStringLiteral("searchEdit"));
        search->setText(QStringLiteral("frame10.exr"));
        QTest::keyClick(search, Qt::Key_Return);
        QTRY_VERIFY(model()->isSearchResult() && shows({QStringLiteral("frame10.exr")}));
        // Every key is in the menu that holds all commands.
        auto *menu = m_page->findChild<QToolButton *>(QStringLiteral("menuButton"))->menu();
        emit menu->aboutToShow();
        QSet<QString> keys;
        for (const QAction *action : menu->actions())
            keys.insert(action->shortcut().toString());
        for (const char *key : {"F2", "Del", "F5", "Ctrl+A", "Ctrl+C", "Ctrl+X", "Ctrl+V", "Ctrl+F", "Ctrl+L",
                                "Alt+Left", "Alt+Right", "Alt+Up", "Ctrl+Shift+N"})
            QVERIFY2(keys.contains(QLatin1String(key)), key);
        for (const QToolButton *button : m_page->findChildren<QToolButton *>())
            QVERIFY2(!button->isVisible() || !button->accessibleName().isEmpty() || !button->text().isEmpty(),
                     qPrintable(button->objectName()));
    }

    void collisionsAreAskedAbout_data()
    {
        QTest::addColumn<QStringList>("names"); // with "/" at the end: folders
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("button");
        QTest::newRow("none") << QStringList{"new.txt", "B.TXT"} << "" << QString();
        QTest::newRow("files") << QStringList{"b.txt", "a.txt"} << "The following file(s) exist: \"b.txt\" etc."
                               << "Replace";
        QTest::newRow("folders") << QStringList{"in/"} << "The following folder(s) exist: \"in\" etc."
                                 << "Merge";
        QTest::newRow("both") << QStringList{"in/", "a.txt"}
                              << "The following file(s)/folder(s) exist: \"a.txt\", \"in\" etc."
                              << "Merge(Replace)";
    }

    void collisionsAreAskedAbout()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, text);
        QFETCH(QString, button);
        const QTemporaryDir folder;
        const QDir local(folder.path());
        for (const QString &name : names) {
            if (name.endsWith(QLatin1Char('/')))
                QVERIFY(local.mkpath(name));
            else
                put(local, name);
            m_page->localPaths << local.filePath(name);
        }
        DialogAnswers answers;
        answers.answer([&](QDialog *dialog) {
            bool offered = false;
            for (const QPushButton *choice : dialog->findChildren<QPushButton *>())
                offered = offered || (choice->isVisible() && choice->text() == button);
            offered ? dialog->accept() : dialog->reject();
        });
        QSignalSpy uploads(m_page.get(), &NetdiskPage::sigUpload);
        press("uploadButton");
        QTRY_COMPARE(uploads.size(), 1);
        QCOMPARE(answers.shown().isEmpty() ? QString() : answers.shown().first().text, text);
        QCOMPARE(uploads.first().at(3).toString(), QStringLiteral("/work/"));
    }

    void failuresNameTheirEntriesOnce()
    {
        for (int i = 0; i < 500; ++i)
            put(m_disk, QStringLiteral("many%1.bin").arg(i));
        m_page->Refresh();
        QTRY_COMPARE(model()->rowCount(), 506);
        m_view->selectAll();
        m_page->Copy();
        QVERIFY(m_disk.removeRecursively());
        m_page->IntoHome();
        QTRY_VERIFY(model()->folder() == QLatin1String("/"));
        m_page->Paste();
        QTRY_VERIFY_WITH_TIMEOUT(notice().contains(QStringLiteral("503 more")), 20000);
        QCOMPARE(notice().count(QLatin1Char('\n')), 0);
    }

private:
    FileItemModel *model() const { return m_view->model(); }
    bool shows(const QStringList &names) const
    {
        QSet<QString> held = model()->names();
        return held.contains(QSet<QString>(names.begin(), names.end()));
    }
    QString notice() const { return m_page->findChild<QLabel *>(QStringLiteral("pageNotice"))->text(); }
    void press(const char *button) { m_page->findChild<QToolButton *>(QLatin1String(button))->click(); }
    /// Types into the name dialog that opens next and confirms it.
    void typeName(const QString &name)
    {
        QTimer::singleShot(0, this, [name] {
            auto *dialog = qobject_cast<NewFolderWidget *>(QApplication::activeModalWidget());
            if (!dialog)
                return;
            dialog->findChild<QLineEdit *>(QStringLiteral("nameEdit"))->setText(name);
            dialog->findChild<QPushButton *>(QStringLiteral("ok"))->click();
        });
    }
    void renameTo(const QString &name)
    {
        press("renameButton");
        auto *editor = m_page->findChild<QLineEdit *>(QStringLiteral("nameEditor"));
        QVERIFY(editor);
        editor->setText(name);
        QTest::keyClick(editor, Qt::Key_Return);
    }
    static void put(const QDir &folder, const QString &name) { writeFile(folder.filePath(name), "content"); }

    LiveService m_live;
    QDir m_disk; ///< the folder of the drive that the page begins in
    QTemporaryDir m_local;
    std::unique_ptr<AnsweredPage> m_page;
    FileWidget *m_view = nullptr;
};

ARKVALE_WIDGET_TEST(DriveByHand)
#include "DriveByHand.moc"
