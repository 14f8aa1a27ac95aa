#include "DetailTexts.h"
#include "DialogAnswers.h"
#include "FinishedListWidget.h"
#include "FinishedTaskModel.h"
#include "RowWidget.h"
#include "TestSupport.h"
#include "TransferListWidget.h"
#include "TransferTaskModel.h"
#include "TransferTexts.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QSignalSpy>
#include <QTranslator>

#include <limits>
#include <memory>

class TransferListsTest : public StrictTest
{
    Q_OBJECT

private:
    static TaskRecord task(int number, int type = ZPDT_UPLOAD, int status = ZPDT_WAITING)
    {
        TaskRecord record;
        record.Path = QStringLiteral("/l/file %1.bin").arg(number);
        record.From = QStringLiteral("/l/");
        record.Dest = QStringLiteral("/r/");
        record.Type = type;
        record.SubCenterId = QStringLiteral("1");
        record.Status = status;
        record.FileSize = 100;
        return record;
    }
    static QList<TaskRecord> tasks(int first, int count)
    {
        QList<TaskRecord> list;
        for (int i = first; i < first + count; ++i)
            list << task(i);
        return list;
    }
    static void clickButton(RowListView *view, int row, const QString &name)
    {
        view->scrollTo(view->model()->index(row, 0));
        view->doItemsLayout();
        const RowWidget *widget = view->rowWidget(row);
        QVERIFY(widget);
        auto *button = widget->findChild<QToolButton *>(name);
        QVERIFY(button && button->isVisible());
        QTest::mouseClick(button, Qt::LeftButton);
    }

private slots:
    void progressText_data()
    {
        QTest::addColumn<qint64>("done");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<QString>("text");
        QTest::newRow("unknown") << qint64(5) << qint64(-1) << "0(B)/0(B)";
        QTest::newRow("empty") << qint64(0) << qint64(0) << "0(B)/0(B)";
        QTest::newRow("last byte count") << qint64(7) << qint64(1023) << "7(B)/1023(B)";
        QTest::newRow("first KB") << qint64(512) << qint64(1024) << "0.50(KB)/1.00(KB)";
        QTest::newRow("last KB") << qint64(0) << qint64(1048575) << "0.00(KB)/1024.00(KB)";
        QTest::newRow("first MB") << qint64(0) << qint64(1048576) << "0.00(MB)/1.00(MB)";
        QTest::newRow("first GB") << qint64(1) << qint64(1073741824) << "0.00(GB)/1.00(GB)";
        QTest::newRow("large") << qint64(1) << (qint64(1) << 42) << "0.00(GB)/4096.00(GB)";
    }

    void progressText()
    {
        QFETCH(qint64, done);
        QFETCH(qint64, total);
        QTEST(TransferTexts::progress(done, total), "text");
    }

    void speedText_data()
    {
        QTest::addColumn<double>("speed");
        QTest::addColumn<QString>("text");
        QTest::newRow("none") << 0.0 << "0 bps";
        QTest::newRow("negative") << -3.0 << "0 bps";
        QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << "0 bps";
        QTest::newRow("bits") << 0.0005 << "524 bps";
        QTest::newRow("first Kbps") << 0.0009765625 << "1 Kbps";
        QTest::newRow("half") << 0.5 << "512 Kbps";
        QTest::newRow("one") << 1.0 << "1.00 Mbps";
        QTest::newRow("below a Gbps") << 1023.5 << "1023.50 Mbps";
        QTest::newRow("Gbps") << 1536.0 << "1.50 Gbps";
    }

    void speedText()
    {
        QFETCH(double, speed);
        QTEST(TransferTexts::speed(speed), "text");
    }

    void statusTexts_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("tip");
        const auto row = [](int status, const char *text, const char *tip) {
            QTest::newRow(QByteArray::number(status).constData()) << status << text << tip;
        };
        for (const int waiting : {0, 8, 8192})
            row(waiting, "waiting...", "Pause");
        for (const int preparing : {1, 2})
            row(preparing, "preparing...", "Pause");
        row(4, "transferring...", "Pause");
        row(16, "pausing...", "Pausing");
        row(32, "paused...", "Start");
        row(64, "canceling...", "Canceling");
        row(4096, "success...", "Pause");
    }

    void statusTexts()
    {
        QFETCH(int, status);
        QTEST(TransferTexts::status(status), "text");
        QTEST(TransferTexts::toggleTip(status), "tip");
    }

    void tasksWithTrickyNamesKeepTheirIdentity()
    {
        TaskRecord a = task(1), b = task(1);
        a.Path = QStringLiteral("/l/%2");
        a.Dest = QStringLiteral("/r/");
        b.Path = QStringLiteral("/l//r/");
        QCOMPARE(TransferTexts::taskKey(a), QStringLiteral("*/l/%2*/r/*/l/*1*2*"));
        QVERIFY(TransferTexts::taskKey(a) != TransferTexts::taskKey(b));
        QCOMPARE(TransferTexts::taskName(b), QStringLiteral("r"));
        a.Type = ZPDT_DOWNLOAD;
        QCOMPARE(TransferTexts::localPath(a), QStringLiteral("/r/%2"));
    }

    void manyTasks_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("tested"); // the tester looks at every row after every change
        QTest::newRow("few, removed stretch by stretch") << 160 << true;
        QTest::newRow("more stretches than are removed one by one") << 420 << true;
        QTest::newRow("ten thousand") << 10000 << false;
    }

    void manyTasks()
    {
        QFETCH(int, count);
        QFETCH(bool, tested);
        TransferTaskModel model;
        std::unique_ptr<QAbstractItemModelTester> tester;
        if (tested)
            tester = std::make_unique<QAbstractItemModelTester>(&model,
                                                                QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.put(tasks(0, count));
        model.put(tasks(0, count) + tasks(count - 1, 2) + tasks(count, 1)); // known ones again, and a new one twice
        QCOMPARE(model.rowCount(), count + 1);
        QCOMPARE(model.activeCount(), count + 1);

        QElapsedTimer timer;
        timer.start();
        ZpdtProgress progress;
        progress.total = 100;
        for (int i = 0; i < (tested ? 150 : count); ++i) {
            progress.offset = i % 100;
            model.setProgress(task(i, ZPDT_UPLOAD, ZPDT_TRANSFERRING), progress);
        }
        QVERIFY2(tested || timer.elapsed() < 3000, "a report must not search through the list");
        QCOMPARE(TransferTexts::share(model.record(142), 100), 42);
        QCOMPARE(model.takeUnsaved().size(), tested ? 150 : count);
        QVERIFY(model.takeUnsaved().isEmpty());

        // Every second row goes: what remains is found at its new place.
        QList<TaskRecord> half;
        for (int i = 0; i < count; i += 2)
            half << task(i);
        model.remove(half + half);
        QCOMPARE(model.rowCount(), count / 2 + 1);
        QCOMPARE(model.activeCount(), count / 2 + 1);
        QCOMPARE(model.find(task(count - 1)), count / 2 - 1);
        QCOMPARE(model.find(task(count - 2)), -1);
        model.remove(tasks(0, 10));
        QCOMPARE(model.find(task(11)), 0);
        model.remove(tasks(0, count + 5));
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.activeCount(), 0);
    }

    void reportsOfStoppedTasksChangeNothing()
    {
        TransferTaskModel model;
        model.put({task(1)});
        model.setStatus({task(1)}, ZPDT_PAUSED);
        ZpdtProgress progress;
        progress.total = 100;
        progress.offset = 60;
        model.setProgress(task(1, ZPDT_UPLOAD, ZPDT_TRANSFERRING), progress);
        QCOMPARE(model.record(0).Status, int(ZPDT_PAUSED));
        QCOMPARE(model.record(0).Offset, 60);
        model.setProgress(task(2), progress);
        QCOMPARE(model.rowCount(), 1);
        QCOMPARE(model.activeCount(), 0);
        QCOMPARE(model.data(model.index(0, TransferTaskModel::SpeedColumn), Qt::DisplayRole).toString(),
                 QStringLiteral("--"));
    }

    /// Failed tasks of the store's older pages run again too, and leave the store once they do.
    void everyFailureIsRetried()
    {
        FinishedListWidget list;
        QSignalSpy asked(&list, SIGNAL(sigLoadFailedTaskRecord()));
        QSignalSpy retried(&list, SIGNAL(sigRetryAllTask(QList<TaskRecord>)));
        QSignalSpy removed(&list, SIGNAL(sigDelFinishedTaskRecord(QList<TaskRecord>)));
        QSignalSpy counted(&list, SIGNAL(sigFinishTaskCountChanged(qint64)));
        list.setStoredCount(9);
        const TaskRecord shown = task(1, ZPDT_UPLOAD, ZPDT_FAILED);
        const TaskRecord older = task(2, ZPDT_DOWNLOAD, ZPDT_FAILED);
        list.add(shown, ZpdtError::Integrity, QString());
        list.add(task(3, ZPDT_UPLOAD, ZPDT_SUCCESS), ZpdtError::None, QString());
        list.RetryAll();
        QCOMPARE(asked.size(), 1);
        list.HandlerLoadFailedTaskRecord({older});
        const auto tasks = retried.last().first().value<QList<TaskRecord>>();
        QCOMPARE(tasks.size(), 2);
        list.Withdraw({task(4, ZPDT_UPLOAD)});
        QVERIFY(removed.isEmpty());
        list.Withdraw(tasks);
        QCOMPARE(removed.last().first().value<QList<TaskRecord>>().size(), 2);
        QCOMPARE(counted.last().first().toLongLong(), qint64(9)); // 8 older ones and the good one
    }

    void listFollowsTheEngineAndAsksBySignals()
    {
        TransferListWidget list(ZPDT_UPLOAD);
        list.resize(900, 400);
        list.show();
        QVERIFY(QTest::qWaitForWindowActive(&list));
        list.view()->setFocus();
        QSignalSpy counts(&list, SIGNAL(sigTransferTaskCountChanged(qint64, ZPDTCMDTYPE)));
        QSignalSpy running(&list, SIGNAL(sigButtonStateChanged(bool)));
        QSignalSpy pauses(&list, SIGNAL(sigPauseTask(TaskRecord)));
        QSignalSpy starts(&list, SIGNAL(sigStartTask(TaskRecord)));
        QSignalSpy cancels(&list, SIGNAL(sigCancelTask(TaskRecord)));
        list.CreateEnd(tasks(0, 3) + QList<TaskRecord>{task(9, ZPDT_DOWNLOAD)});
        QCOMPARE(list.model()->rowCount(), 3);
        QCOMPARE(counts.last().first().toInt(), 3);
        QCOMPARE(running.last().first().toBool(), true);

        clickButton(list.view(), 1, "btn_toggle");
        QCOMPARE(pauses.size(), 1);
        QCOMPARE(pauses.last().first().value<TaskRecord>().Path, task(1).Path);
        clickButton(list.view(), 1, "btn_toggle"); // pausing: the button is off
        QCOMPARE(pauses.size(), 1);
        list.PauseEnd({task(1)});
        clickButton(list.view(), 1, "btn_toggle");
        QCOMPARE(starts.size(), 1);

        list.view()->selectAll();
        QTest::keyClick(list.view(), Qt::Key_Space); // row 1 is paused still, the others run
        QCOMPARE(starts.size(), 2);
        QCOMPARE(pauses.size(), 3);
        list.PauseEnd(tasks(0, 3));
        QCOMPARE(running.last().first().toBool(), false);
        clickButton(list.view(), 2, "btn_cancel");
        list.view()->selectAll();
        DialogAnswers answers;
        QTest::keyClick(list.view(), Qt::Key_Delete); // asks, and is declined
        QCOMPARE(cancels.size(), 1);
        answers.accept();
        list.CancelSelected();
        QCOMPARE(cancels.size(), 3); // the one that is being cancelled is not asked for again
        QCOMPARE(answers.shown().last().text, QStringLiteral("Are you sure to cancel the 2 selected transfers?"));
        list.CancelEnd(tasks(0, 3));
        QCOMPARE(counts.last().first().toInt(), 0);
    }

    /// Orders for many rows show at once, reach the engine in turns, and a later order for all stands for what waits.
    void ordersForManyRowsComeInTurns()
    {
        TransferListWidget list(ZPDT_UPLOAD);
        list.CreateEnd(tasks(0, 300));
        QStringList asked;
        const auto slow = [&asked](const char *what) {
            return [&asked, what](const TaskRecord &task) {
                asked << QLatin1String(what) + task.Path.section(QLatin1Char(' '), 1).section(QLatin1Char('.'), 0, 0);
                QTest::qSleep(1); // why: an engine that takes its time
            };
        };
        connect(&list, &TransferListWidget::sigPauseTask, &list, slow("p"));
        connect(&list, &TransferListWidget::sigCancelTask, &list, slow("c"));
        const auto select = [&list](int first, int last) {
            const QAbstractItemModel *model = list.view()->model();
            list.view()->selectionModel()->select({model->index(first, 0), model->index(last, 0)},
                                                  QItemSelectionModel::ClearAndSelect);
        };
        select(0, 59);
        list.PauseSelected();
        QVERIFY2(asked.size() < 40, qPrintable(QString::number(asked.size())));
        QCOMPARE(list.model()->activeCount(), 240);
        QTRY_COMPARE(asked.size(), 60);
        QCOMPARE(asked.last(), QStringLiteral("p59"));

        select(100, 259);
        list.PauseSelected();
        DialogAnswers answers;
        answers.accept();
        select(260, 269);
        list.CancelSelected();
        QSignalSpy started(&list, SIGNAL(sigStartAllTask(QList<TaskRecord>)));
        list.StartAllTask();
        QCOMPARE(started.last().first().value<QList<TaskRecord>>().size(), 300);
        QTRY_COMPARE(asked.last(), QStringLiteral("c269"));
        QVERIFY2(asked.size() < 60 + 100, qPrintable(QString::number(asked.size())));
        QCOMPARE(asked.filter(QStringLiteral("c")).size(), 10);
    }

    void detailsAreSaidInTheLanguageOfThePerson_data()
    {
        QTest::addColumn<QString>("detail");
        QTest::addColumn<QString>("words");
        QTest::newRow("a sentence") << "no connection"
                                    << "<no connection>";
        QTest::newRow("behind a path") << "a: b/c: the file changed while it was sent"
                                       << "a: b/c: <the file changed while it was sent>";
        QTest::newRow("with the system's words") << "/d/x: no space left (No space left on device)"
                                                 << "/d/x: <no space left> (<No space left on device>)";
        QTest::newRow("before something of the moment") << "cannot connect: Connection refused"
                                                        << "<cannot connect>: <Connection refused>";
        QTest::newRow("all of it") << "tree: cannot open the folder: access denied (Permission denied)"
                                   << "tree: <cannot open the folder>: <access denied> (<Permission denied>)";
        QTest::newRow("nothing") << ""
                                 << "";
        QTest::newRow("of its own") << "host not found: no (such) host: x"
                                    << "<host not found>: no (such) host: x";
        QTest::newRow("unknown") << "a: b (c)"
                                 << "a: b (c)";
    }

    void detailsAreSaidInTheLanguageOfThePerson()
    {
        class Marking : public QTranslator
        {
            bool isEmpty() const override { return false; }
            QString translate(const char *, const char *source, const char *, int) const override
            {
                return QStringLiteral("<%1>").arg(QLatin1String(source));
            }
        } marking;
        QFETCH(QString, detail);
        QCoreApplication::installTranslator(&marking);
        const QString words = DetailTexts::inWords(detail);
        QCoreApplication::removeTranslator(&marking);
        QTEST(words, "words");
    }

    void cancellingAllAsksFirst()
    {
        TransferListWidget list(ZPDT_DOWNLOAD);
        QSignalSpy cancelled(&list, SIGNAL(sigCancelAllTask()));
        DialogAnswers answers;
        list.CancelAllTask();
        QVERIFY(answers.shown().isEmpty()); // nothing to cancel, nothing to ask
        list.CreateEnd({task(1, ZPDT_DOWNLOAD)});
        list.CancelAllTask();
        QCOMPARE(cancelled.size(), 0);
        answers.accept();
        list.CancelAllTask();
        QCOMPARE(cancelled.size(), 1);
        QCOMPARE(answers.shown().last().title, QStringLiteral("Promption"));
        QCOMPARE(answers.shown().last().text, QStringLiteral("Are you sure to cancel all transmission?"));
    }

    void finishedTasks()
    {
        FinishedListWidget list;
        list.resize(900, 400);
        list.show();
        QAbstractItemModelTester tester(list.model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy retries(&list, SIGNAL(sigRetryTask(TaskRecord)));
        QSignalSpy counts(&list, SIGNAL(sigFinishTaskCountChanged(qint64)));
        DialogAnswers answers;
        list.add(task(1, ZPDT_UPLOAD, ZPDT_SUCCESS), ZpdtError::None, QString());
        list.add(task(2, ZPDT_UPLOAD, ZPDT_FAILED), ZpdtError::NotFound, QStringLiteral("/l/<b>file 2.bin"));
        FinishedTaskModel *model = list.model();
        QCOMPARE(model->record(0).Path, task(2).Path); // newest first
        QCOMPARE(model->index(0, FinishedTaskModel::ResultColumn).data().toString(), QStringLiteral("failed"));
        QCOMPARE(model->reason(0), QStringLiteral("The source was not found"));
        QVERIFY(model->index(0, 0).data(Qt::ToolTipRole).toString().contains("&lt;b&gt;"));
        QCOMPARE(model->index(1, FinishedTaskModel::ResultColumn).data().toString(), QStringLiteral("successful"));

        clickButton(list.view(), 0, "btn_retry");
        QCOMPARE(retries.size(), 1);
        clickButton(list.view(), 0, "btn_folder"); // of a failed one, too
        QCOMPARE(answers.shown().last().text, QStringLiteral("File not found!"));
        list.Withdraw({task(2)});
        QCOMPARE(model->rowCount(), 1);
        clickButton(list.view(), 0, "btn_open"); // its file does not exist
        QCOMPARE(answers.shown().last().text, QStringLiteral("File not found!"));

        list.add(task(1, ZPDT_UPLOAD, ZPDT_FAILED), ZpdtError::Network, QString()); // again, and it failed
        QCOMPARE(model->rowCount(), 1);
        TaskRecord shared = task(5, ZPDT_DOWNLOAD, ZPDT_SUCCESS);
        shared.SubCenterId = QStringLiteral("share");
        list.HandlerLoadFinishedTaskRecord({task(1), shared, task(6)});
        QCOMPARE(model->rowCount(), 3);
        QCOMPARE(model->index(1, FinishedTaskModel::CenterColumn).data().toString(), QStringLiteral("Share"));
        QCOMPARE(model->find(task(6)), 2);

        answers.reject();
        list.RemoveAllFinishedTaskRecord();
        QCOMPARE(model->rowCount(), 3);
        answers.accept();
        list.RemoveAllFinishedTaskRecord();
        QCOMPARE(counts.last().first().toInt(), 0);
    }
};

ARKVALE_WIDGET_TEST(TransferListsTest)
#include "TransferListsTest.moc"
