#include "DialogAnswers.h"
#include "MovableGroupBox.h"
#include "MsgBox.h"
#include "MsgDlg.h"
#include "MsgDlgEx.h"
#include "SystemBrowser.h"
#include "TestSupport.h"

#include <QDesktopServices>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QScreen>
#include <QTextBrowser>
#include <QToolButton>

namespace {

/// Stands for the system's browser.
class FakeBrowser : public QObject
{
    Q_OBJECT

public:
    FakeBrowser()
    {
        for (const char *scheme : {"http", "https", "file", "ftp", "javascript"})
            QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), this, "open");
    }
    ~FakeBrowser() override
    {
        for (const char *scheme : {"http", "https", "file", "ftp", "javascript"})
            QDesktopServices::unsetUrlHandler(QString::fromLatin1(scheme));
    }
    QList<QUrl> opened;

public slots:
    void open(const QUrl &url) { opened << url; }
};

/// A main window that moves itself; notes what its title bar hands over.
class SelfMovingWindow : public QWidget
{
public:
    explicit SelfMovingWindow(bool ownsDragging)
    {
        setProperty("ownsDragging", ownsDragging);
        auto *inner = new QWidget(this);
        inner->setGeometry(10, 20, 200, 60);
        bar = new MovableGroupBox(inner);
        bar->setGeometry(5, 5, 180, 40);
        resize(300, 200);
        move(100, 100);
    }
    MovableGroupBox *bar;
    QList<QPair<QEvent::Type, QPoint>> events;

protected:
    void mousePressEvent(QMouseEvent *event) override { note(event); }
    void mouseMoveEvent(QMouseEvent *event) override { note(event); }
    void mouseReleaseEvent(QMouseEvent *event) override { note(event); }
    void mouseDoubleClickEvent(QMouseEvent *event) override { note(event); }
    void note(QMouseEvent *event) { events << qMakePair(event->type(), event->pos()); }
};

void sendMouse(QWidget *target, QEvent::Type type, const QPoint &global, Qt::MouseButton button,
               Qt::MouseButtons buttons)
{
    QMouseEvent event(type, target->mapFromGlobal(global), global, button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &event);
}

template <class Dialog>
int run(Dialog &dialog, const DialogAnswers::Answer &answer)
{
    DialogAnswers answers;
    answers.answer(answer);
    return dialog.exec();
}

DialogAnswers::Answer click(const char *name)
{
    return [name](QDialog *dialog) {
        auto *button = dialog->findChild<QAbstractButton *>(QString::fromLatin1(name));
        QVERIFY(button);
        button->click();
    };
}

DialogAnswers::Answer press(Qt::Key key)
{
    return [key](QDialog *dialog) { QTest::keyClick(dialog, key); };
}

} // namespace

class TestUiDialogs : public StrictTest
{
    Q_OBJECT

private slots:
    void endings_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<bool>("hasCancel");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("ok") << "ok" << false << true;
        QTest::newRow("cancel") << "cancel" << true << false;
        QTest::newRow("close button") << "close" << false << false;
        QTest::newRow("Enter") << "Enter" << false << true;
        QTest::newRow("Esc") << "Esc" << false << false;
    }

    void endings()
    {
        QFETCH(QString, how);
        QFETCH(bool, hasCancel);
        QFETCH(bool, accepted);
        const QByteArray name = how.toLatin1();
        const DialogAnswers::Answer answer = how == "Enter" ? press(Qt::Key_Return)
                                             : how == "Esc" ? press(Qt::Key_Escape)
                                                            : click(name.constData());
        const int expected = accepted ? QDialog::Accepted : QDialog::Rejected;
        MsgDlg question;
        QCOMPARE(run(question, answer), expected);
        MsgBox box;
        QCOMPARE(run(box, answer), expected);
        if (!hasCancel) {
            MsgDlgEx notice;
            QCOMPARE(run(notice, answer), expected);
        }
    }

    void buttonsByName()
    {
        MsgDlg dialog;
        auto *ok = dialog.findChild<QPushButton *>("ok");
        auto *cancel = dialog.findChild<QPushButton *>("cancel");
        dialog.setButtonText("cancel", "Skip");
        dialog.setButtonText("close", "Other");
        dialog.setButtonVisible("ok", false);
        dialog.setButtonVisible("title", false);
        dialog.setButtonVisible("", false);
        QVERIFY(ok->isHidden() && !cancel->isHidden());
        QVERIFY(!dialog.findChild<QLabel *>("title")->isHidden());
        QCOMPARE(ok->text(), QStringLiteral("OK"));
        QCOMPARE(cancel->text(), QStringLiteral("Skip"));
        QCOMPARE(dialog.findChild<QToolButton *>("close")->text(), QString());
        dialog.setButtonVisible("ok", true);
        QVERIFY(!ok->isHidden());
    }

    void enterNeverPressesAHiddenButton()
    {
        MsgDlg dialog;
        dialog.setButtonVisible("ok", false);
        QCOMPARE(run(dialog, press(Qt::Key_Return)), int(QDialog::Rejected));
        dialog.setButtonVisible("ok", true);
        dialog.setButtonVisible("cancel", false);
        QCOMPARE(run(dialog, press(Qt::Key_Return)), int(QDialog::Accepted));
    }

    void namesOfOthersStayPlain()
    {
        const QString name = "<a href='http://x.example/'>click</a> <b>& %1";
        MsgDlg dialog;
        dialog.setTitle(name);
        dialog.setText(name);
        QCOMPARE(dialog.text(), name);
        for (const char *label : {"text", "title"}) {
            auto *shown = dialog.findChild<QLabel *>(QString::fromLatin1(label));
            QCOMPARE(shown->textFormat(), Qt::PlainText);
            QCOMPARE(shown->text().remove(QChar(0x200B)), name);
        }
    }

    void longTextsFit()
    {
        MsgDlg dialog;
        dialog.setText(QString(3000, QChar('x')) + QString(300, QChar('\n')) + QString::fromUtf8("𠜎").repeated(300));
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        const QRect screen = dialog.screen()->availableGeometry();
        QVERIFY2(screen.contains(dialog.geometry()),
                 qPrintable(QString("%1x%2").arg(dialog.width()).arg(dialog.height())));
        QVERIFY(dialog.findChild<QPushButton *>("ok")->isVisible());
        // Text that wraps has its whole width on the screen.
        auto *label = dialog.findChild<QLabel *>("text");
        QVERIFY(label->width() <= dialog.width());
        QVERIFY(!label->text().contains(QString(40, QChar('x'))));
        // No character is cut in two.
        QVERIFY(label->text().count(QString::fromUtf8("𠜎")) == 300);
    }

    void linksOpenInTheBrowserOnly_data()
    {
        QTest::addColumn<QString>("link");
        QTest::addColumn<bool>("opened");
        QTest::newRow("http") << "http://drive.example/agreement?a=1&b=2" << true;
        QTest::newRow("https") << "HTTPS://drive.example/" << true;
        QTest::newRow("file") << "file:///etc/passwd" << false;
        QTest::newRow("ftp") << "ftp://drive.example/x" << false;
        QTest::newRow("script") << "javascript:alert(1)" << false;
        QTest::newRow("relative") << "agreement.html" << false;
        QTest::newRow("no host") << "http:///x" << false;
        QTest::newRow("empty") << "" << false;
    }

    void linksOpenInTheBrowserOnly()
    {
        QFETCH(QString, link);
        QFETCH(bool, opened);
        FakeBrowser browser;
        MsgBox box;
        box.setText("Read <a href='" + link + "'>this</a>.");
        emit box.findChild<QTextBrowser *>("text")->anchorClicked(QUrl(link));
        QCOMPARE(browser.opened, opened ? QList<QUrl>{QUrl(link)} : QList<QUrl>());
        QCOMPARE(box.findChild<QTextBrowser *>("text")->toPlainText(), QStringLiteral("Read this."));
    }

    void boxLoadsNothing()
    {
        MsgBox box;
        auto *body = box.findChild<QTextBrowser *>("text");
        QImage picture(4, 4, QImage::Format_RGB32);
        picture.fill(Qt::red);
        const QString file = qEnvironmentVariable("HOME") + "/picture.png";
        QVERIFY(picture.save(file));
        QVERIFY(body->loadResource(QTextDocument::ImageResource, QUrl::fromLocalFile(file)).isNull());
    }

    void draggingFollowsTheMouse()
    {
        SelfMovingWindow window(false);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QPoint start = window.pos();
        const QPoint grab = window.bar->mapToGlobal(QPoint(30, 12));
        sendMouse(window.bar, QEvent::MouseButtonPress, grab, Qt::LeftButton, Qt::LeftButton);
        QCOMPARE(window.pos(), start);
        for (const QPoint &by : {QPoint(1, 0), QPoint(40, -17), QPoint(-60, 33)}) {
            sendMouse(window.bar, QEvent::MouseMove, grab + by, Qt::NoButton, Qt::LeftButton);
            QCOMPARE(window.pos(), start + by);
        }
        sendMouse(window.bar, QEvent::MouseButtonRelease, grab, Qt::LeftButton, Qt::NoButton);
        const QPoint dropped = window.pos();
        // Neither a hovering mouse nor another button moves it.
        sendMouse(window.bar, QEvent::MouseMove, grab + QPoint(9, 9), Qt::NoButton, Qt::NoButton);
        sendMouse(window.bar, QEvent::MouseButtonPress, grab, Qt::RightButton, Qt::RightButton);
        sendMouse(window.bar, QEvent::MouseMove, grab + QPoint(9, 9), Qt::NoButton, Qt::RightButton);
        QCOMPARE(window.pos(), dropped);
    }

    void draggingPassedOn()
    {
        SelfMovingWindow window(true);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QPoint start = window.pos();
        const QPoint inWindow(40, 45);
        const QPoint global = window.mapToGlobal(inWindow);
        sendMouse(window.bar, QEvent::MouseButtonPress, global, Qt::LeftButton, Qt::LeftButton);
        sendMouse(window.bar, QEvent::MouseMove, global + QPoint(3, 4), Qt::NoButton, Qt::LeftButton);
        sendMouse(window.bar, QEvent::MouseButtonDblClick, global, Qt::LeftButton, Qt::LeftButton);
        const QList<QPair<QEvent::Type, QPoint>> expected{{QEvent::MouseButtonPress, inWindow},
                                                          {QEvent::MouseMove, inWindow + QPoint(3, 4)},
                                                          {QEvent::MouseButtonDblClick, inWindow}};
        QCOMPARE(window.events, expected);
        QCOMPARE(window.pos(), start);
    }

    void picturesAreSharp()
    {
        for (const char *file : {":/ArkvaleTolmaMain/Icon/icon.png", ":/ArkvaleTolmaMain/Icon/logo.svg"}) {
            for (const qreal ratio : {1.0, 2.0}) {
                const QPixmap pixmap = DialogFrame::sharpPixmap(QString::fromLatin1(file), QSize(20, 20), ratio);
                QCOMPARE(pixmap.size(), QSize(20, 20) * ratio);
                QCOMPARE(pixmap.devicePixelRatio(), ratio);
            }
        }
        QVERIFY(DialogFrame::sharpPixmap(QStringLiteral(":/nothing.png"), QSize(20, 20), 1.0).isNull());
    }
};

ARKVALE_WIDGET_TEST(TestUiDialogs)
#include "test_ui_dialogs.moc"
