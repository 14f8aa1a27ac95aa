#include "WindowState.h"
#include "TestSupport.h"

#include <QTemporaryDir>

/// Where the window comes back to, and what a damaged file makes of it.
class WindowStateTest : public StrictTest
{
    Q_OBJECT

private slots:
    void neverOffTheScreen_data()
    {
        QTest::addColumn<QRect>("wanted");
        QTest::addColumn<QRect>("place");
        QTest::newRow("as it was") << QRect(100, 50, 800, 600) << QRect(100, 50, 800, 600);
        QTest::newRow("second screen gone") << QRect(5000, 50, 800, 600) << QRect(480, 50, 800, 600);
        QTest::newRow("above") << QRect(100, -900, 800, 600) << QRect(100, 0, 800, 600);
        QTest::newRow("half out") << QRect(-700, 500, 800, 600) << QRect(0, 200, 800, 600);
        QTest::newRow("on the second screen") << QRect(1300, 10, 800, 600) << QRect(1300, 10, 800, 600);
        QTest::newRow("larger than any") << QRect(0, 0, 9000, 9000) << QRect(1280, 0, 1920, 1080);
    }

    void neverOffTheScreen()
    {
        QFETCH(QRect, wanted);
        QTEST(WindowState::fitted(wanted, {QRect(0, 0, 1280, 800), QRect(1280, 0, 1920, 1080)}), "place");
    }

    void comesBack()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("Window.json"));
        WindowState state;
        state.place = QRect(-5, 7, 900, 700);
        state.maximized = true;
        state.currentPane = 1;
        state.panes = {{400, 1, {{"1", "/"}, {"2", QStringLiteral("/\"a\" %1/渲染/")}}}, {500, 0, {{"1", "/b/"}}}};
        QVERIFY(state.write(file));
        const WindowState read = WindowState::read(file);
        QCOMPARE(read.place, state.place);
        QVERIFY(read.maximized);
        QCOMPARE(read.currentPane, 1);
        QCOMPARE(read.panes.size(), 2);
        QCOMPARE(read.panes.first().current, 1);
        QCOMPARE(read.panes.first().tabs.last().path, state.panes.first().tabs.last().path);
    }

    void damagedFiles_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("cut") << QByteArray(R"({"place":[1,2,)");
        QTest::newRow("an array") << QByteArray("[1,2]");
        QTest::newRow("wrong types") << QByteArray(R"({"place":"x","panes":{"tabs":5},"pane":"y","maximized":"z"})");
        QTest::newRow("absurd numbers") << QByteArray(
            R"({"place":[1e300,-1e300,1e300,0],"pane":99,"panes":[{"width":-1e9,"current":7,"tabs":[]}]})");
        QTest::newRow("tabs that are none") << QByteArray(
            R"({"panes":[{"tabs":[{"center":"","path":"/"},{"center":"1","path":"x"},{"center":1,"path":2},5]}]})");
    }

    void damagedFiles()
    {
        QFETCH(QByteArray, content);
        const QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("Window.json")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        const WindowState state = WindowState::read(file.fileName());
        QVERIFY(state.place.isNull() && state.panes.isEmpty() && state.currentPane == 0);
    }
};

ARKVALE_GUILESS_TEST(WindowStateTest)
#include "WindowStateTest.moc"
