#include "TransferringWidget.h"
#include "DialogAnswers.h"
#include "FinishedListWidget.h"
#include "FinishedTaskModel.h"
#include "MsgDlg.h"
#include "TestSupport.h"
#include "TransferListWidget.h"
#include "TransferTaskModel.h"

#include <QApplication>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabWidget>

/// The page with a real engine that is never asked for anything; its signals are sent by the test.
class TransferringWidgetTest : public StrictTest
{
    Q_OBJECT

private:
    static TaskRecord task(const QString &name, int type, int status = ZPDT_WAITING)
    {
        TaskRecord record;
        record.Path = QStringLiteral("/from/") + name;
        record.From = QStringLiteral("/from/");
        record.Dest = QStringLiteral("/to/");
        record.Type = type;
        record.SubCenterId = QStringLiteral("1");
        record.Status = status;
        return record;
    }
    static void fail(TransferringWidget *page, const TaskRecord &task, ZpdtError error)
    {
        ZpdtProgress progress;
        progress.error = error;
        emit page->engine()->TaskProgressChanged(task, progress);
        TaskRecord failed = task;
        failed.Status = ZPDT_FAILED;
        emit page->engine()->TaskFinished({failed}, static_cast<ZPDTCMDTYPE>(task.Type));
    }
    static int openDialogs()
    {
        int open = 0;
        const QWidgetList widgets = QApplication::topLevelWidgets();
        for (QWidget *widget : widgets)
            open += qobject_cast<MsgDlg *>(widget) && widget->isVisible();
        return open;
    }

private slots:
    void titlesCount()
    {
        TransferringWidget page;
        QCOMPARE(TransferringWidget::instance(), &page);
        QTabWidget *tabs = page.tabs();
        QCOMPARE(tabs->widget(0)->objectName(), QStringLiteral("tab_upload"));
        QCOMPARE(tabs->widget(1)->objectName(), QStringLiteral("tab_download"));
        QCOMPARE(tabs->widget(2)->objectName(), QStringLiteral("tab_finished"));
        QCOMPARE(tabs->tabText(0), QStringLiteral("Uploading"));
        emit page.engine()->TaskCreated({task("a", 2), task("b", 2), task("c", 2)}, ZPDT_UPLOAD);
        emit page.engine()->TaskFinished({task("c", 2, ZPDT_SUCCESS)}, ZPDT_UPLOAD);
        QTRY_COMPARE(tabs->tabText(0), QStringLiteral("Uploading (2)")); // by the timer
        QCOMPARE(tabs->tabText(1), QStringLiteral("Downloading"));
        QCOMPARE(tabs->tabText(2), QStringLiteral("Finished (1)"));
        QCOMPARE(page.runningCount(), 2);
    }

    void reportsGoOn()
    {
        TransferringWidget page;
        QSignalSpy status(&page, SIGNAL(ChangeTransferStatus(int)));
        QSignalSpy created(&page, SIGNAL(FileTransferringTaskCreated(ZPDTCMDTYPE)));
        QSignalSpy finished(&page, SIGNAL(FileTransferringFinished(QStringList, ZPDTCMDTYPE)));
        QSignalSpy uploaded(&page, SIGNAL(FileUploadFinished(QStringList)));
        QSignalSpy folders(&page, SIGNAL(FolderUploadFinished(QStringList)));
        QList<TaskRecord> many;
        QList<TaskRecord> ended;
        for (int i = 0; i < 13; ++i) {
            many << task(QStringLiteral("f%1").arg(i), ZPDT_UPLOAD);
            ended << task(QStringLiteral("f%1").arg(i), ZPDT_UPLOAD, ZPDT_SUCCESS);
        }
        emit page.engine()->TaskCreated(many, ZPDT_UPLOAD);
        QCOMPARE(created.size(), 1);
        QCOMPARE(status.last().first().toInt(), 2);
        emit page.engine()->TaskDirCreated({"/to/x"});
        QCOMPARE(folders.last().first().toStringList(), QStringList{"/to/x"});
        emit page.engine()->TaskFinished(ended, ZPDT_UPLOAD);
        QCOMPARE(status.last().first().toInt(), 0);
        QCOMPARE(uploaded.last().first().toStringList().size(), 13);
        QCOMPARE(uploaded.last().first().toStringList().first(), QStringLiteral("/to/f0"));
        const QStringList names = finished.last().first().toStringList();
        QCOMPARE(names.size(), 11);
        QCOMPARE(names.last(), QStringLiteral("and 3 more"));

        emit page.engine()->TaskCreated({task("d", 1)}, ZPDT_DOWNLOAD);
        fail(&page, task("d", 1), ZpdtError::Integrity);
        QCOMPARE(finished.size(), 1); // a failure is no finished file
        QCOMPARE(page.finishedList()->model()->reason(0), QStringLiteral("The data arrived damaged"));
        emit page.engine()->TaskStarted({task("d", 1)}, ZPDT_DOWNLOAD); // sent again
        QCOMPARE(page.downloadList()->model()->rowCount(), 1);
        QCOMPARE(page.finishedList()->model()->rowCount(), 13);
    }

    void fullStorageIsToldOnce()
    {
        TransferringWidget page;
        QSignalSpy updated(page.uploadList(), SIGNAL(sigUpdateTransferRecord(QList<TaskRecord>, ZPDTCMDTYPE)));
        const auto rest = [&page](const TaskRecord &one) {
            ZpdtProgress progress;
            progress.error = ZpdtError::NoSpace;
            emit page.engine()->TaskProgressChanged(one, progress);
            emit page.engine()->TaskPauseEnd({one}, ZPDT_UPLOAD);
        };
        emit page.engine()->TaskCreated({task("a", 2), task("b", 2)}, ZPDT_UPLOAD);
        rest(task("a", 2));
        rest(task("b", 2));
        QCOMPARE(openDialogs(), 1);
        auto *notice = page.findChild<MsgDlg *>();
        QVERIFY(notice);
        QCOMPARE(notice->text(), QStringLiteral("Not enough storage"));
        QCOMPARE(page.uploadList()->model()->record(0).Status, int(ZPDT_PAUSED));
        // A restart is to try them anew, unless somebody pauses them by hand.
        const auto kept = [&updated] { return updated.last().first().value<QList<TaskRecord>>().first().Status; };
        QCOMPARE(kept(), int(ZPDT_WAITING));
        page.uploadList()->handOverProgress();
        QCOMPARE(kept(), int(ZPDT_WAITING));
        page.uploadList()->PauseAllTask();
        QCOMPARE(kept(), int(ZPDT_PAUSED));
        notice->close();
        rest(task("a", 2));
        QCOMPARE(openDialogs(), 0);
    }

    void tasksThatRunAlreadyAreListedInOneDialog()
    {
        TransferringWidget page;
        emit page.engine()->TaskExist({task("a %1", 2), task("b", 1)});
        const auto *notice = page.findChild<MsgDlg *>();
        QVERIFY(notice);
        QCOMPARE(notice->text(), QStringLiteral("following tasks are already running\n1/2,Upload:/from/a %1...\n2/2,"
                                                "Download:/from/b..."));
        emit page.engine()->TaskExist({task("c", 2)});
        QCOMPARE(openDialogs(), 1);
        QVERIFY(notice->text().endsWith("\n1/1,Upload:/from/c..."));
    }

    void buttonsReachTheEngineOfTheirDirection()
    {
        TransferringWidget page;
        page.show();
        QSignalSpy paused(page.engine(), SIGNAL(TaskPauseEnd(QList<TaskRecord>, ZPDTCMDTYPE)));
        QSignalSpy cancelled(page.engine(), SIGNAL(TaskCancelEnd(QList<TaskRecord>, ZPDTCMDTYPE)));
        emit page.engine()->TaskCreated({task("u", 2)}, ZPDT_UPLOAD);
        // The engine does not hold the task and answers that it is paused, or cancelled.
        emit page.uploadList()->sigPauseTask(task("u", 2));
        QTRY_COMPARE(page.uploadList()->model()->record(0).Status, int(ZPDT_PAUSED));
        emit page.uploadList()->sigCancelTask(task("u", 2));
        QTRY_COMPARE(page.uploadList()->model()->rowCount(), 0);
    }
};

ARKVALE_WIDGET_TEST(TransferringWidgetTest)
#include "TransferringWidgetTest.moc"
