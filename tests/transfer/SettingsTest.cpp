#include "Settings.h"
#include "DialogAnswers.h"
#include "GlobalConfig.h"
#include "SessionFake.h"
#include "SpeedGroup.h"
#include "TestSupport.h"
#include "UdtSettings.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTemporaryDir>

class SettingsTest : public StrictTest
{
    Q_OBJECT

private:
    SessionFake m_fake;
    GlobalConfig *m_config = nullptr;

    template <typename Field>
    static Field *field(const QWidget &page, const char *name)
    {
        return page.findChild<Field *>(QString::fromLatin1(name));
    }
    static void press(const QWidget &page, const char *name) { field<QPushButton>(page, name)->click(); }

    TargetSpeed stored(const QString &id = QStringLiteral("1")) const
    {
        TargetSpeed speed;
        m_config->targetSpeed(id, &speed);
        return speed;
    }
    /// The service's answer about its limits, in KB/s.
    void limit(int upload, int download)
    {
        m_fake.answer("limits",
                      SessionFake::json(QStringLiteral("{\"transferRateLimit\":{\"upload\":%1,\"download\":%2}}")
                                            .arg(upload)
                                            .arg(download)
                                            .toUtf8()));
        QSignalSpy told(m_config, SIGNAL(handlerGetTransferLimitFinished()));
        m_config->requestTransferLimit();
        QVERIFY(told.wait());
    }

private slots:
    void init()
    {
        beginStrict();
        m_fake.reset();
        m_config = m_fake.beginCycle();
        QList<SubCenter> centers = m_config->subCenters();
        for (SubCenter &center : centers)
            center.path = QStringLiteral("/home/demo");
        m_config->setSubCenters(centers);
        m_config->loadUserSettings(QStringLiteral("demo"), QStringLiteral("1"));
        m_config->setTargetSpeed(QStringLiteral("1"), {});
        m_config->setDownloadPath(QStringLiteral("1"), {});
    }

    void speeds_data()
    {
        QTest::addColumn<double>("megabits");
        QTest::addColumn<qint64>("kilobytes");
        QTest::newRow("one") << 1.0 << qint64(128);
        QTest::newRow("cut off") << 0.99 << qint64(126);
        QTest::newRow("many") << 1024.0 << qint64(131072);
    }

    void speeds()
    {
        QFETCH(double, megabits);
        QFETCH(qint64, kilobytes);
        QCOMPARE(SpeedGroup::toKilobytes(megabits), kilobytes);
        UdtSettings page;
        field<QDoubleSpinBox>(page, "group_upload_target")->setValue(megabits);
        press(page, "btn_apply");
        QCOMPARE(stored().uploadTargetSpeed, kilobytes);
        QCOMPARE(stored().downloadTargetSpeed, qint64(2048));
    }

    void anUntouchedSpeedAndAnUnknownModeStay()
    {
        TargetSpeed odd;
        odd.upMode = QStringLiteral("other");
        odd.uploadTargetSpeed = 2051; // no whole hundredth of a Mbps
        m_config->setTargetSpeed(QStringLiteral("1"), odd);
        UdtSettings page;
        QSignalSpy changed(&page, SIGNAL(SettingChanged(QString)));
        field<QRadioButton>(page, "group_download_highspeed")->click();
        press(page, "btn_apply");
        QCOMPARE(stored().upMode, QStringLiteral("other"));
        QCOMPARE(stored().uploadTargetSpeed, qint64(2051));
        QCOMPARE(stored().downMode, QStringLiteral("fixed"));
        QCOMPARE(changed.last().first().toString(), QStringLiteral("1"));
    }

    void limitsHoldForWhatIsShownKeptAndSent()
    {
        TargetSpeed fast;
        fast.uploadTargetSpeed = 100000;
        m_config->setTargetSpeed(QStringLiteral("1"), fast);
        UdtSettings early; // open while the answer is on its way
        limit(1000, 0);
        UdtSettings late;
        for (const UdtSettings *page : {&early, &late}) {
            auto *target = field<QDoubleSpinBox>(*page, "group_upload_target");
            QCOMPARE(target->maximum(), 7.81);
            QCOMPARE(target->value(), 7.81);
            QVERIFY(field<QDoubleSpinBox>(*page, "group_download_target")->maximum() > 1000.0);
            press(*page, "btn_apply");
            QCOMPARE(stored().uploadTargetSpeed, qint64(1000));
        }
        QCOMPARE(m_config->transferLimit().applied(fast).uploadTargetSpeed, qint64(1000));
        limit(0, 0);
    }

    void typeIsAskedFor()
    {
        DialogAnswers answers;
        UdtSettings page;
        auto *type = field<QComboBox>(page, "combo_type");
        answers.reject();
        type->setCurrentIndex(1);
        QCOMPARE(type->currentIndex(), 0);
        QCOMPARE(answers.shown().last().title, QStringLiteral("Are you sure to switch transfer type?"));
        answers.accept();
        type->setCurrentIndex(1);
        QCOMPARE(type->currentText(), QStringLiteral("ASPERA"));
        QCOMPARE(stored().transferType, QStringLiteral("ZPDT"));
        press(page, "btn_apply");
        QCOMPARE(stored().transferType, QStringLiteral("ASPERA"));
        type->setCurrentIndex(0);
        QCOMPARE(answers.shown().size(), 3); // back is a change as well
        QCOMPARE(type->currentIndex(), 1);
    }

    void downloadPathIsAFolder()
    {
        const QTemporaryDir folder;
        UdtSettings page;
        QSignalSpy changed(&page, SIGNAL(SettingChanged(QString)));
        field<QRadioButton>(page, "radio_same")->click();
        for (const QString &bad : {QString(), QStringLiteral("relative"), folder.path() + QStringLiteral("/none")}) {
            field<QLineEdit>(page, "edit_path")->setText(bad);
            press(page, "btn_apply");
            QVERIFY(changed.isEmpty());
            QVERIFY(!m_config->downloadPath(QStringLiteral("1")).alwaysUseDefaultPath);
        }
        field<QLineEdit>(page, "edit_path")->setText(folder.path());
        press(page, "btn_apply");
        QCOMPARE(changed.size(), 1);
        m_config->loadUserSettings(QStringLiteral("demo"), QStringLiteral("1")); // from the disk
        QVERIFY(m_config->downloadPath(QStringLiteral("1")).alwaysUseDefaultPath);
        QCOMPARE(m_config->downloadPath(QStringLiteral("1")).defaultPath, folder.path());
    }

    void engineSwitchesAreOfTheInstallation()
    {
        Settings dialog;
        QSignalSpy changed(&dialog, SIGNAL(concurrenceChanged()));
        field<QComboBox>(dialog, "combo_verify")->setCurrentIndex(0);
        press(dialog, "btn_apply");
        field<QSpinBox>(dialog, "spin_uploads")->setValue(9);
        press(dialog, "btn_apply_tasks");
        QCOMPARE(changed.size(), 1);
        m_config->reload(); // from the disk
        QCOMPARE(m_config->zpdt().uploadLimitCount, 9);
        QCOMPARE(m_config->zpdt().beVerify, 1);
    }
};

ARKVALE_WIDGET_TEST(SettingsTest)
#include "SettingsTest.moc"
