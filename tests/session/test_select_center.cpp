#include "DialogAnswers.h"
#include "GlobalConfig.h"
#include "LoginService.h"
#include "SelectCenterDialog.h"
#include "TestSupport.h"

#include <QApplication>
#include <QFile>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTemporaryDir>

class TestSelectCenter : public StrictTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QFile::copy(builtProgram("Config/ArkvaleTolma"), m_folder.filePath("ArkvaleTolma"));
        qputenv("ARKVALE_CONFIG_DIR", m_folder.path().toUtf8());
        m_config = GlobalConfig::instance();
    }

    void init()
    {
        beginStrict();
        m_config->loadUserSettings("demo", "");
        m_config->setDefaultSubCenterId("");
        m_config->setCurrentSubCenterId("");
        m_config->setState(GlobalConfig::LoggedIn);
        offer(5);
    }

    void sizes_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("area");
        QTest::addColumn<int>("height");
        QTest::newRow("4") << 4 << 45 << 205;
        QTest::newRow("5") << 5 << 100 << 260;
        QTest::newRow("9") << 9 << 155 << 315;
        QTest::newRow("200") << 200 << 155 << 315;
    }

    void sizes()
    {
        QFETCH(int, count);
        QFETCH(int, area);
        QFETCH(int, height);
        offer(count);
        SelectCenterDialog dialog;
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QCOMPARE(dialog.height(), height);
        auto *scroll = dialog.findChild<QScrollArea *>("centerArea");
        QCOMPARE(scroll->height(), area);
        // Rows of four; the first three rows are seen without scrolling.
        for (int i = 0; i < qMin(count, 12); ++i) {
            QPushButton *one = button(dialog, QByteArray::number(i + 1).constData());
            QCOMPARE(one->y() / (one->height() + 1), i / 4);
            QVERIFY(scroll->viewport()->rect().contains(QRect(one->mapTo(scroll->viewport(), QPoint()), one->size())));
        }
    }

    void buttons()
    {
        m_config->setSubCenters(
            {center("1", "/home", "R&D <b>"), center("ok", "", "Not yet"), center("3", "NotFound")});
        SelectCenterDialog dialog;
        auto *list = dialog.findChild<QWidget *>("centerList");
        const auto all = list->findChildren<QPushButton *>();
        QCOMPARE(all.size(), 3);
        QCOMPARE(all.at(0)->text(), QString(11, ' ') + "R&&D <b>");
        QCOMPARE(all.at(2)->text(), QString(11, ' ') + "Center 3");
        QCOMPARE(all.at(2)->toolTip(), QStringLiteral("Center 3"));
        QVERIFY(all.at(0)->isEnabled() && !all.at(1)->isEnabled() && !all.at(2)->isEnabled());
        QVERIFY(!dialog.findChild<QPushButton *>("ok", Qt::FindDirectChildrenOnly)->isEnabled());
        dialog.initSubCenter();
        QCOMPARE(list->findChildren<QPushButton *>().size(), 3);
    }

    void choosing()
    {
        SelectCenterDialog dialog;
        QSignalSpy selected(&dialog, SIGNAL(centerSelected(QString)));
        DialogAnswers answers;
        answers.answer([&](QDialog *shown) {
            auto *ok = shown->findChild<QPushButton *>("ok");
            shown->accept();
            QVERIFY(shown->isVisible()); // nothing chosen yet
            button(dialog, "1")->click();
            button(dialog, "4")->click();
            button(dialog, "4")->click();
            QVERIFY(!button(dialog, "1")->isChecked() && button(dialog, "4")->isChecked());
            QTest::keyClick(shown, Qt::Key_Return);
            QVERIFY(ok->isEnabled());
        });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QCOMPARE(selected.count(), 1);
        QCOMPARE(selected.first().first().toString(), QStringLiteral("4"));
        QCOMPARE(m_config->currentSubCenterId(), QStringLiteral("4"));
        m_config->loadUserSettings("demo", "");
        QCOMPARE(m_config->currentSubCenterId(), QStringLiteral("4"));
    }

    void defaultThatHasAHomeStays()
    {
        m_config->setDefaultSubCenterId("1");
        m_config->setCurrentSubCenterId("1");
        SelectCenterDialog dialog;
        QVERIFY(button(dialog, "1")->isChecked());
        button(dialog, "5")->click();
        dialog.accept();
        QCOMPARE(m_config->defaultSubCenterId(), QStringLiteral("1"));
        QCOMPARE(m_config->currentSubCenterId(), QStringLiteral("5"));
        // With a choice made earlier, leaving is no logout.
        SelectCenterDialog again;
        QSignalSpy logout(&again, SIGNAL(sigLogout()));
        again.onCancel();
        QCOMPARE(logout.count(), 0);
        QCOMPARE(m_config->state(), int(GlobalConfig::LoggedIn));
    }

    void leaving_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<int>("state");
        QTest::newRow("Cancel") << "cancel" << 1;
        QTest::newRow("Esc") << "Esc" << 1;
        QTest::newRow("close button") << "close" << 6;
        QTest::newRow("window system") << "window" << 6;
    }

    void leaving()
    {
        QFETCH(QString, how);
        QFETCH(int, state);
        SelectCenterDialog dialog;
        QSignalSpy logout(&dialog, SIGNAL(sigLogout()));
        QSignalSpy rejected(&dialog, SIGNAL(rejected()));
        DialogAnswers answers;
        answers.answer([&](QDialog *shown) {
            if (how == "Esc")
                QTest::keyClick(shown, Qt::Key_Escape);
            else if (how == "window")
                shown->close();
            else
                shown->findChild<QAbstractButton *>(how)->click();
        });
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
        QCOMPARE(m_config->state(), state);
        QCOMPARE(logout.count(), 1);
        QCOMPARE(rejected.count(), 1);
        QCOMPARE(m_config->currentSubCenterId(), QString());
    }

    void refreshWhileOpen()
    {
        LoginService service;
        SelectCenterDialog dialog;
        dialog.watch(&service);
        button(dialog, "1")->click();
        QVERIFY(!button(dialog, "3")->isEnabled());
        m_config->updateSubCenter(center("3", "/late"));
        emit service.handlerCheckSubCenterFinished();
        QVERIFY(button(dialog, "3")->isEnabled() && button(dialog, "1")->isChecked());
        QCOMPARE(dialog.chosenId(), QStringLiteral("1"));

        // The choice goes when its home does, and the list itself may grow.
        m_config->updateSubCenter(center("1", "NotFound"));
        dialog.refreshSubCenter();
        QVERIFY(!dialog.findChild<QPushButton *>("ok")->isEnabled());
        offer(9);
        emit m_config->handlerListSubCenterFinished();
        QCOMPARE(dialog.height(), 315);
        QVERIFY(button(dialog, "1")->isChecked() && button(dialog, "9")->isEnabled());
    }

    void whenNeeded_data()
    {
        QTest::addColumn<QString>("current");
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("undecided");
        QTest::addColumn<bool>("needed");
        QTest::newRow("no list yet") << "1" << 0 << true << false;
        QTest::newRow("none chosen") << "" << 5 << false << true;
        QTest::newRow("home") << "1" << 5 << false << false;
        QTest::newRow("no home") << "2" << 5 << false << true;
        QTest::newRow("not answered") << "3" << 5 << true << false;
        QTest::newRow("unknown") << "77" << 5 << false << true;
    }

    void whenNeeded()
    {
        QFETCH(QString, current);
        QFETCH(int, count);
        QFETCH(bool, undecided);
        QFETCH(bool, needed);
        offer(count);
        m_config->setCurrentSubCenterId(current);
        QCOMPARE(SelectCenterDialog::undecided(), undecided);
        QCOMPARE(SelectCenterDialog::needed(), needed);
    }

private:
    static SubCenter center(const QString &id, const QString &path, const QString &name = QString())
    {
        SubCenter out;
        out.id = id;
        out.name = name.isEmpty() ? "Center " + id : name;
        out.path = path;
        return out;
    }
    void offer(int count)
    {
        QList<SubCenter> centers;
        for (int i = 1; i <= count; ++i)
            centers << center(QString::number(i), i == 2 ? "NotFound" : i == 3 ? "" : "/home");
        m_config->setSubCenters(centers);
    }
    static QPushButton *button(const SelectCenterDialog &dialog, const char *id)
    {
        return dialog.findChild<QPushButton *>(QString::fromLatin1(id));
    }

    QTemporaryDir m_folder;
    GlobalConfig *m_config = nullptr;
};

ARKVALE_WIDGET_TEST(TestSelectCenter)
#include "test_select_center.moc"
