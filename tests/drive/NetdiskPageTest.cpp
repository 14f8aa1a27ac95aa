#include "NetdiskPage.h"
#include "AddressBar.h"
#include "DialogAnswers.h"
#include "FakeOrvClient.h"
#include "FileItemModel.h"
#include "FileWidget.h"
#include "GlobalConfig.h"
#include "NewFolderWidget.h"
#include "TestSupport.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QUrl>

#include <memory>

namespace {

/// A page whose questions for paths are answered by the test.
class AnsweredPage : public NetdiskPage
{
public:
    using NetdiskPage::NetdiskPage;
    QStringList localPaths;
    QString target;
    int targetQuestions = 0;

protected:
    QStringList askLocalPaths(QWidget *) override { return localPaths; }
    QString askTargetFolder(const QString &) override
    {
        ++targetQuestions;
        return target;
    }
};

QJsonObject entry(const QString &path, bool folder, const QString &contentType = QString())
{
    const QString name = path.mid(path.lastIndexOf('/') + 1);
    return {{"name", name},
            {"type", folder ? 1 : 0},
            {"size", folder ? 0 : 2048},
            {"path", path},
            {"datetime", 1780000000000.0},
            {"modifiedTime", 1780000000000.0},
            {"contentType", contentType}};
}

} // namespace

class NetdiskPageTest : public StrictTest
{
    Q_OBJECT

private:
    QMap<QString, QJsonArray> m_drive; ///< folder with "/" at its end to its entries
    QMap<QString, int> m_codes;        ///< operation to a status other than the usual one
    std::unique_ptr<AnsweredPage> m_page;
    std::unique_ptr<QTemporaryDir> m_disk;

    void serve()
    {
        FakeService::instance().setScript([this](const FakeCall &call, int *code, QByteArray *body) {
            *code = call.operation == "copy" ? 202 : 200;
            if (call.operation == "listFile") {
                const QString folder = call.arguments.first();
                if (m_drive.contains(folder))
                    *body = QJsonDocument(QJsonObject{{"items", m_drive.value(folder)}}).toJson();
                else
                    *code = 203;
            } else if (call.operation == "searchFile") {
                *body = QJsonDocument(QJsonObject{{"items", QJsonArray{entry("/a/deep/hit", false)}}}).toJson();
            } else if (call.operation == "getFileInfo") {
                *body = QJsonDocument(entry(call.arguments.first(), false)).toJson();
            }
            *code = m_codes.value(call.operation + call.arguments.value(0), m_codes.value(call.operation, *code));
            return *code != 0;
        });
    }

    FileItemModel *model() const { return m_page->findChild<FileWidget *>()->model(); }
    FileWidget *view() const { return m_page->findChild<FileWidget *>(); }
    QStringList shown() const
    {
        QStringList names;
        for (int row = 0; row < model()->rowCount(); ++row)
            names << model()->item(row).name;
        return names;
    }
    template <typename Widget>
    Widget *part(const char *name) const
    {
        return m_page->findChild<Widget *>(name);
    }
    QString local(const QString &name, bool folder = false)
    {
        const QString path = m_disk->filePath(name);
        if (folder)
            QDir().mkpath(path);
        else
            QFile(path).open(QIODevice::WriteOnly);
        return path;
    }
    FakeCall last(const char *operation) const { return FakeService::instance().last(operation); }

private slots:
    void init()
    {
        beginStrict();
        FakeService::instance().reset();
        m_codes.clear();
        m_drive = {{"/", {entry("/a", true), entry("/b.txt", false), entry("/z.zip", false, "application/zip")}},
                   {"/a/", {entry("/a/deep", true), entry("/a/Report.txt", false)}},
                   {"/pics/",
                    {entry("/pics/p.png", false, "image/png"), entry("/pics/q.PSD", false, "image/x"),
                     entry("/pics/w\"x", false)}},
                   {"/empty/", {}}};
        serve();
        m_disk = std::make_unique<QTemporaryDir>();
        SubCenter center, other;
        center.id = "1";
        center.name = "Center";
        other.id = "2";
        other.name = "Other";
        GlobalConfig::instance()->setSubCenters({center, other});
        m_page = std::make_unique<AnsweredPage>(center, QString());
        m_page->resize(900, 600);
        m_page->show();
        QTRY_COMPARE(shown(), (QStringList{"a", "b.txt", "z.zip"}));
    }

    void cleanup()
    {
        m_page.reset();
        FakeService::instance().reset();
        QGuiApplication::clipboard()->clear();
        endStrict();
    }

    void browsesBackAndForward()
    {
        QCOMPARE(part<QLabel>("itemCount")->text(), QString("3 items (2 files, 1 folders)"));
        QVERIFY(!part<QToolButton>("backButton")->isEnabled());
        view()->select({"/a"});
        QTest::keyClick(part<QTreeView>("fileTree"), Qt::Key_Return);
        QTRY_COMPARE(shown(), (QStringList{"deep", "Report.txt"}));
        QCOMPARE(m_page->currentPath(), QString("/a/"));
        QCOMPARE(m_page->findChild<AddressBar *>()->shownCrumbs(), (QStringList{"Center", "a"}));
        part<QToolButton>("backButton")->click();
        QTRY_COMPARE(shown().size(), 3);
        QCOMPARE(view()->selectedItems().value(0).path, QString("/a")); // where one comes from
        QVERIFY(part<QToolButton>("forwardButton")->isEnabled());
        m_page->Forward();
        QTRY_COMPARE(shown().size(), 2);
        m_page->IntoParent();
        QTRY_COMPARE(shown().size(), 3);
        m_page->IntoFolder("/empty");
        QTRY_VERIFY(view()->isEmptyPanelVisible());
        QCOMPARE(part<QLabel>("emptyTitle")->text(), QString("large space"));
        m_page->IntoHome();
        QTRY_VERIFY(!view()->isEmptyPanelVisible());
    }

    void nothingIsUploadedUnasked()
    {
        m_page->localPaths = QStringList{local("x")};
        QSignalSpy uploads(m_page.get(), &NetdiskPage::sigUpload);
        m_codes["listFile/"] = 500;
        m_page->Upload();
        QVERIFY(part<QLabel>("pageNotice")->isVisible());
        m_codes.clear();
        m_page->findChild<QLineEdit *>("searchEdit")->setText("hit");
        m_page->SearchFile();
        QTRY_COMPARE(shown(), QStringList{"hit"});
        const int asked = FakeService::instance().calls().size();
        m_page->Upload();
        QMimeData *mime = new QMimeData;
        mime->setUrls({QUrl::fromLocalFile(m_page->localPaths.first())});
        QGuiApplication::clipboard()->setMimeData(mime);
        m_page->Paste();
        m_page->NewFolder();
        QCOMPARE(FakeService::instance().calls().size(), asked);
        QCOMPARE(uploads.size(), 0);
        QVERIFY(!part<QToolButton>("uploadButton")->isEnabled());
        QVERIFY(!part<QTreeView>("fileTree")->isColumnHidden(FileItemModel::PathColumn));
        m_page->Backward();
        QTRY_COMPARE(shown().size(), 3);
        m_page->Paste();
        QTRY_COMPARE(uploads.size(), 1);
    }

    void downloadAsksForTargetAndCollisions()
    {
        QSignalSpy downloads(m_page.get(), &NetdiskPage::sigDownload);
        DialogAnswers answers;
        m_page->Download();
        QCOMPARE(answers.shown().first().text, QString("Please select file(s)/folder(s) to download."));
        view()->select({"/a", "/b.txt"});
        m_page->Download(); // no target chosen
        QCOMPARE(m_page->targetQuestions, 1);
        m_page->target = m_disk->path();
        m_page->Download();
        QTRY_COMPARE(downloads.size(), 1);
        QCOMPARE(downloads.first().at(0).value<QList<FileItem>>().first().path, QString("/b.txt"));
        QCOMPARE(downloads.first().at(1).value<QList<FileItem>>().first().path, QString("/a"));
        QCOMPARE(downloads.first().at(3).toString(), m_disk->path());
        local("a", true);
        local("b.txt");
        m_page->Download();
        QTRY_COMPARE(answers.shown().size(), 2);
        QCOMPARE(answers.shown().last().text, QString("The following file(s)/folder(s) exist: \"b.txt\", \"a\" etc."));
        QCOMPARE(downloads.size(), 1);
        // The person's own folder is used without a question.
        DownloadPathSetting setting;
        setting.alwaysAsk = false;
        setting.alwaysUseDefaultPath = true;
        setting.defaultPath = m_disk->filePath("made/for/it");
        GlobalConfig::instance()->setDownloadPath("1", setting);
        FileItem outside;
        outside.name = "../a";
        outside.path = "/../a";
        m_page->Download({outside});
        QTRY_COMPARE(downloads.size(), 2);
        QCOMPARE(downloads.last().at(3).toString(), setting.defaultPath);
        GlobalConfig::instance()->setDownloadPath("1", DownloadPathSetting());
        QCOMPARE(answers.shown().size(), 2);
    }

    void failedListingGoesBack_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text");
        QTest::newRow("not there") << 203 << "Path not found!";
        QTest::newRow("other") << 500 << "";
        QTest::newRow("expired") << 201 << "";
    }

    void failedListingGoesBack()
    {
        QFETCH(int, code);
        QFETCH(QString, text);
        m_codes["listFile/gone/"] = code;
        DialogAnswers answers;
        QSignalSpy logout(m_page.get(), &NetdiskPage::sigLogout);
        m_page->IntoFolder("/gone");
        QCOMPARE(m_page->currentPath(), QString("/gone/"));
        if (code == 201) {
            QTRY_COMPARE(logout.size(), 1);
            QCOMPARE(logout.first().first().toString(), QString("Login expired."));
            return;
        }
        QTRY_COMPARE(m_page->currentPath(), QString("/"));
        QCOMPARE(answers.shown().size(), text.isEmpty() ? 0 : 1);
        if (!text.isEmpty())
            QCOMPARE(answers.shown().first().title + answers.shown().first().text, "Error" + text);
        QTRY_COMPARE(shown().size(), 3);
    }

    void aServiceThatIsAwayLeadsBackToTheStart()
    {
        m_codes["listFile/"] = 500;
        m_page->Refresh();
        QTRY_VERIFY(part<QLabel>("pageNotice")->isVisible());
        QCOMPARE(shown().size(), 3); // what was seen there before stays
        m_codes.clear();
        m_page->IntoFolder("/a");
        QTRY_COMPARE(shown().size(), 2);
        m_codes["listFile/a/"] = 500;
        m_page->Refresh();
        QTRY_COMPARE(shown().size(), 3);
        QCOMPARE(m_page->currentPath(), QString("/"));
        m_codes.clear();
        part<QToolButton>("noticeAgain")->click();
        QTRY_COMPARE(shown().size(), 2);

        m_codes["listFile"] = m_codes["searchFile"] = 500;
        m_page->Refresh();
        // No entry of another folder stays where the way back ends, and nobody says that the place is empty.
        QTRY_COMPARE(shown().size(), 0);
        QCOMPARE(m_page->currentPath(), QString("/"));
        QVERIFY(!view()->isEmptyPanelVisible());
        QVERIFY(part<QLabel>("pageNotice")->text().contains("/a/"));
        m_page->findChild<QLineEdit *>("searchEdit")->setText("hit");
        m_page->SearchFile();
        QTRY_VERIFY(part<QLabel>("pageNotice")->text().contains("\"hit\""));
        QVERIFY(!view()->isEmptyPanelVisible());
        m_codes.clear();
        part<QToolButton>("noticeAgain")->click();
        QTRY_COMPARE(shown(), QStringList{"hit"});
    }

    void aPageThatCannotBeginAsksOnce()
    {
        DialogAnswers answers;
        for (int code : {500, 203}) {
            m_codes["listFile"] = code;
            FakeService::instance().reset();
            serve();
            NetdiskPage page(m_page->subCenter(), "/kept/from/before");
            const int requests = code == 203 ? 2 : 1; // where it is not there, the top of the drive too
            QTRY_COMPARE(FakeService::instance().calls("listFile").size(), requests);
            QTest::qWait(50); // why: more requests must not follow
            QCOMPARE(FakeService::instance().calls("listFile").size(), requests);
        }
    }

    void renameIsCheckedAndShownWhenDone()
    {
        m_page->IntoFolder("/a");
        QTRY_COMPARE(shown(), (QStringList{"deep", "Report.txt"}));
        DialogAnswers answers;
        m_page->Rename();
        QCOMPARE(answers.shown().last().text, QString("Please select the file or directory you want to rename!"));
        const auto rename = [&](const QString &path, const QString &name) {
            view()->select({path});
            m_page->Rename();
            auto *edit = part<QLineEdit>("nameEditor");
            QVERIFY(edit);
            edit->setText(name);
            QTest::keyClick(edit, Qt::Key_Return);
            QTRY_VERIFY(!part<QLineEdit>("nameEditor"));
        };
        rename("/a/Report.txt", "report.TXT");
        QTRY_COMPARE(answers.shown().last().text, QString("Consistent with the original file name!"));
        rename("/a/Report.txt", "deep");
        QTRY_COMPARE(answers.shown().last().text, QString("File name already exists!"));
        QVERIFY(last("renameFile").id == 0);
        QCOMPARE(answers.shown().size(), 3); // each refusal once
        m_codes["renameFile"] = 409;
        rename("/a/Report.txt", "c.txt");
        QTRY_VERIFY(part<QLabel>("pageNotice")->isVisible());
        QCOMPARE(FakeService::instance().calls("renameFile").size(), 1);
        QCOMPARE(shown(), (QStringList{"deep", "Report.txt"}));
        m_codes.clear();
        rename("/a/Report.txt", "c.txt");
        QTRY_COMPARE(shown(), (QStringList{"deep", "c.txt"}));
        QCOMPARE(last("renameFile").arguments, (QStringList{"/a/Report.txt", "/a/c.txt"}));
        rename("/a/deep", "high");
        QTRY_COMPARE(shown(), (QStringList{"high", "c.txt"}));
        QCOMPARE(last("renameFolder").arguments, (QStringList{"/a/deep", "/a/high"}));
    }

    void aNameOutsideTheRulesCanBeMended()
    {
        m_page->IntoFolder("/pics");
        QTRY_COMPARE(shown().value(0), QString("p.png"));
        for (const QString &name : {QString("w:x"), QString("wx")}) {
            view()->select({"/pics/w\"x"});
            m_page->Rename();
            auto *edit = part<QLineEdit>("nameEditor");
            edit->setSelection(1, 1);
            QTest::keyClicks(edit, name.mid(1).chopped(1));
            if (name == "wx")
                QTest::keyClick(edit, Qt::Key_Delete);
            QCOMPARE(edit->text(), name);
            QTest::keyClick(edit, Qt::Key_Return);
            QTRY_VERIFY(!part<QLineEdit>("nameEditor"));
            QTRY_COMPARE(FakeService::instance().calls("renameFile").size(), name == "wx" ? 1 : 0);
        }
        QTRY_COMPARE(shown().last(), QString("wx"));
    }

    void removesFilesAndFoldersApart()
    {
        DialogAnswers answers;
        m_page->Remove();
        QCOMPARE(answers.shown().last().text, QString("Please select file(s)/folder(s) you want to delete."));
        QSignalSpy confirmed(m_page.get(), &NetdiskPage::UserConfermRemove);
        QApplication::setActiveWindow(m_page.get());
        m_page->setFocus();
        QVERIFY(part<QTreeView>("fileTree")->hasFocus());
        QTest::keyClick(part<QTreeView>("fileTree"), Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(part<QTreeView>("fileTree"), Qt::Key_Delete);
        QCOMPARE(answers.shown().last().title + answers.shown().last().text, QString("DeleteDelete selected items?"));
        QCOMPARE(confirmed.size(), 0);
        answers.accept();
        m_codes["removeFolder"] = 500;
        m_page->Remove();
        QCOMPARE(confirmed.size(), 1);
        QCOMPARE(last("removeFile").arguments, QStringList{"/b.txt|/z.zip"});
        QCOMPARE(last("removeFolder").arguments, QStringList{"/a"});
        QTRY_COMPARE(shown(), QStringList{"a"});
        QCOMPARE(part<QLabel>("itemCount")->text(), QString("1 items (0 files, 1 folders)"));
    }

    void cutCopyAndPaste()
    {
        view()->select({"/b.txt"});
        m_page->Cut();
        m_page->IntoFolder("/a");
        QTRY_COMPARE(shown().size(), 2);
        m_page->Paste();
        QCOMPARE(last("move").arguments, (QStringList{"/b.txt", "/a/"}));
        m_drive["/a/"].append(entry("/a/b.txt", false));
        QTRY_COMPARE(shown(), (QStringList{"deep", "Report.txt", "b.txt"}));
        view()->select({"/a/deep", "/a/b.txt"});
        m_page->Copy();
        m_page->Paste();
        QCOMPARE(last("copy").arguments, (QStringList{"/a/deep|/a/b.txt", "/a/"}));
        // A selection of another sub-center stays where it is.
        auto *mime = new QMimeData;
        mime->setData("ArkvaleTolma", R"({"type":"Cut","subCenterId":"2","items":[{"path":"/x"}]})");
        QGuiApplication::clipboard()->setMimeData(mime);
        DialogAnswers answers;
        m_page->Paste();
        QVERIFY(answers.shown().first().text.contains("Other"));
        QCOMPARE(FakeService::instance().calls("move").size(), 1);
        m_page->Refresh();
        m_page->Paste();
        QCOMPARE(FakeService::instance().calls("move").size(), 1);
    }

    void newFolderCompressDecompress()
    {
        const auto type = [](const QString &name) {
            QTimer::singleShot(0, [name] {
                auto *dialog = qobject_cast<NewFolderWidget *>(QApplication::activeModalWidget());
                if (!dialog)
                    return;
                dialog->findChild<QLineEdit *>("nameEdit")->setText(name);
                dialog->findChild<QPushButton *>("ok")->click();
                if (dialog->isVisible())
                    dialog->reject();
            });
        };
        DialogAnswers answers;
        type("b.txt");
        m_page->NewFolder();
        QCOMPARE(answers.shown().last().text, QString("File name already exists!"));
        type("");
        m_page->NewFolder();
        QCOMPARE(answers.shown().last().text, QString("Please enter the file name!"));
        type("n10");
        m_page->NewFolder();
        QCOMPARE(last("mkdir").arguments, QStringList{"/n10"});
        QTRY_COMPARE(shown(), (QStringList{"a", "n10", "b.txt", "z.zip"}));
        QCOMPARE(view()->selectedItems().first().path, QString("/n10"));
        view()->select({"/a", "/b.txt"});
        type("z");
        m_page->Compress();
        QCOMPARE(answers.shown().last().text, QString("File name already exists!"));
        type("pack");
        m_page->Compress();
        QCOMPARE(last("compress").arguments, (QStringList{"/a|/b.txt", "/pack"}));
        m_page->Decompress(); // two entries: nothing
        QCOMPARE(last("decompress").id, qint64(0));
        view()->select({"/z.zip"});
        m_page->Decompress();
        QCOMPARE(last("decompress").arguments, (QStringList{"/z.zip", "/"}));
    }

    void menuOffersWhatFits()
    {
        const auto offered = [this](const QStringList &paths) {
            view()->select(paths);
            const std::unique_ptr<QMenu> menu(view()->createContextMenu(nullptr));
            QStringList texts;
            for (const QAction *action : menu->actions())
                texts << action->text();
            return texts;
        };
        QCOMPARE(offered({"/z.zip"}),
                 (QStringList{"Open(&O)", "Download", "Rename(&R)", "Delete(&D)", "Cut(&X)", "Copy(&C)", "Paste(&V)",
                              "Compress", "Decompress", "Move to(&M)", "Sort by"}));
        QVERIFY(!offered({"/b.txt", "/z.zip"}).contains("Decompress"));
        QVERIFY(!offered({"/a"}).contains("Decompress"));
        m_page->IntoFolder("/pics");
        QTRY_COMPARE(shown(), (QStringList{"p.png", "q.PSD", "w\"x"}));
        QCOMPARE(offered({"/pics/p.png"}).at(4), QString("Preview(&P)"));
        QVERIFY(!offered({"/pics/q.PSD"}).contains("Preview(&P)"));
        QVERIFY(!offered({"/pics/p.png", "/pics/q.PSD"}).contains("Preview(&P)"));
    }

    void uploadsThatEndAppear()
    {
        m_page->GetFileInfo({"/new.bin", "/a/elsewhere.bin", "/new.bin"});
        QTRY_COMPARE(shown(), (QStringList{"a", "b.txt", "new.bin", "z.zip"}));
        QCOMPARE(FakeService::instance().calls("getFileInfo").size(), 1);
    }

    void lateListingsDoNotReplaceTheFolderShown()
    {
        m_codes["listFile/a/"] = 0; // answered by hand
        m_page->IntoFolder("/a");
        const FakeCall late = last("listFile");
        m_page->IntoFolder("/empty");
        QTRY_VERIFY(view()->isEmptyPanelVisible());
        FakeService::instance().answer(late, 200, R"({"items":[{"name":"old","path":"/a/old"}]})");
        FakeService::instance().answer(late, 200);
        QCoreApplication::processEvents();
        QVERIFY(shown().isEmpty());
    }

    void hostileEntriesAreHarmless()
    {
        const QString turned = QString("photo\u202egpj.exe"), longName = QString(10000, 'x') + ".bin";
        m_drive["/bad/"] = QJsonArray{entry("/bad/" + turned, false),
                                      entry("/bad/two\nlines\x01", false),
                                      entry("/bad/<img src=x><b>bold", true),
                                      entry("/bad/" + longName, false),
                                      entry("/bad/twice", false),
                                      entry("/bad/twice", false),
                                      entry("/bad/a" + QString(500, QChar(0x301)), false),
                                      QJsonObject{{"name", "lone"}},
                                      QJsonObject{{"name", 7}, {"path", QJsonArray()}, {"type", "1"}, {"size", -5}},
                                      QJsonValue(3),
                                      entry("/bad/good.txt", false)};
        m_page->IntoFolder("/bad");
        QTRY_COMPARE(model()->rowCount(), 8); // the two without a path are one
        for (int mode : {0, 1}) {
            m_page->ChangeShowMode(mode);
            QVERIFY(!m_page->grab().isNull());
            for (int row = 0; row < model()->rowCount(); ++row) {
                const QString text = model()->index(row, 0).data().toString();
                QVERIFY2(text.size() < 300 && !text.contains(QString(4, QChar(0x301))), qPrintable(text.left(30)));
                for (const QChar c : text)
                    QVERIFY(c.isPrint() || c == QChar(0xfffd));
                const QString tip = model()->index(row, 0).data(Qt::ToolTipRole).toString();
                QVERIFY(tip.size() < 2000 && !tip.contains("<img"));
            }
        }
        // What is asked for goes out under the true names, and one message names them harmlessly.
        m_codes["removeFile"] = 404;
        DialogAnswers answers;
        answers.accept();
        view()->select({"/bad/" + turned, "/bad/" + longName, "/bad/good.txt"});
        m_page->Remove();
        QVERIFY(last("removeFile").arguments.first().contains(turned));
        QTRY_VERIFY(part<QLabel>("pageNotice")->text().contains("good.txt"));
        QVERIFY(part<QLabel>("pageNotice")->text().size() < 1000);
        QVERIFY(!part<QLabel>("pageNotice")->text().contains(QChar(0x202e)));
        // Without a path there is nothing to ask for: an empty one would name the whole drive.
        view()->selectAll();
        m_page->Remove();
        QVERIFY(!last("removeFile").arguments.first().split('|').contains(QString()));
        // An editor that is left as it was changes nothing, whatever it made of the name.
        for (const QString &name : {longName, QString("two\nlines\x01")}) {
            view()->select({"/bad/" + name});
            m_page->Rename();
            QTest::keyClick(part<QLineEdit>("nameEditor"), Qt::Key_Return);
            QTRY_VERIFY(!part<QLineEdit>("nameEditor"));
        }
        QCoreApplication::processEvents();
        QCOMPARE(FakeService::instance().calls("renameFile").size(), 0);
    }

    void pathsAreCompletedAndListsFiltered()
    {
        m_page->findChild<AddressBar *>()->edit();
        auto *edit = part<QLineEdit>("addressEdit");
        edit->setText("/");
        QTest::keyClicks(edit, "A");
        QTest::keyClick(edit, Qt::Key_Tab); // from what is shown
        QCOMPARE(edit->text(), QString("/a/"));
        QTRY_VERIFY(FakeService::instance().last("listFile").arguments.first() == "/a/");
        QTRY_VERIFY([&] {
            QTest::keyClick(edit, Qt::Key_Tab);
            return edit->text() == "/a/deep/";
        }());
        QTest::keyClick(edit, Qt::Key_Escape);
        part<QLineEdit>("filterEdit")->setText("TXT");
        QCOMPARE(shown(), QStringList{"b.txt"});
        part<QLineEdit>("filterEdit")->setText("none");
        QVERIFY(part<QLabel>("emptyTitle")->isVisible());
        m_page->IntoFolder("/a");
        QTRY_COMPARE(shown().size(), 2); // another folder, no filter
        QVERIFY(part<QLineEdit>("filterEdit")->text().isEmpty());
    }

    void storageBarShowsWholePercents()
    {
        auto *bar = part<QProgressBar>("storageBar");
        const auto set = [this](qint64 used, qint64 quota) {
            UserInfo user = GlobalConfig::instance()->currentUser();
            user.storageUsed = used;
            user.storageQuota = quota;
            GlobalConfig::instance()->setCurrentUser(user);
            m_page->SetStorage();
        };
        set(1536, 10240);
        QCOMPARE(bar->value(), 15);
        QCOMPARE(part<QLabel>("storageText")->text(), QString("1.5K/10K"));
        set(7, 0);
        QCOMPARE(bar->value(), 15);
        set(std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::max());
        QCOMPARE(bar->value(), 100);
        set(300, 100);
        QCOMPARE(bar->value(), 100);
    }

    void thePageMayGoAwayAtAnyTime_data()
    {
        QTest::addColumn<QString>("during");
        for (const char *during : {"lookup", "message", "name", "rename refused", "drop", "question"})
            QTest::newRow(during) << QString(during);
    }

    void thePageMayGoAwayAtAnyTime()
    {
        QFETCH(QString, during);
        NetdiskPage *page = m_page.get();
        m_page->localPaths = QStringList{local("b.txt")};
        QSignalSpy uploads(page, &NetdiskPage::sigUpload);
        DialogAnswers answers;
        answers.answer([this](QDialog *) { m_page.reset(); });
        if (during == "lookup") {
            m_codes["listFile"] = 0;
            QTimer::singleShot(0, this, [this] { m_page.reset(); });
            page->Upload();
        } else if (during == "message") {
            page->Remove();
        } else if (during == "rename refused") {
            view()->select({"/b.txt"});
            page->Rename();
            part<QLineEdit>("nameEditor")->setText("a");
            QTest::keyClick(part<QLineEdit>("nameEditor"), Qt::Key_Return);
        } else if (during == "drop") {
            QMimeData mime;
            mime.setUrls({QUrl::fromLocalFile(m_page->localPaths.first())});
            model()->dropMimeData(&mime, Qt::CopyAction, -1, -1, {});
        } else if (during == "name") {
            QTimer::singleShot(0, this, [this] { m_page.reset(); });
            page->NewFolder();
        } else {
            page->Upload();
        }
        QTRY_VERIFY(!m_page);
        QCoreApplication::processEvents();
        QCOMPARE(uploads.size(), 0);
    }
};

ARKVALE_WIDGET_TEST(NetdiskPageTest)
#include "NetdiskPageTest.moc"
