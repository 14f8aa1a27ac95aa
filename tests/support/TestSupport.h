#pragma once

#include <QObject>
#include <QStringList>
#include <QtTest>

/// Base of every test class. While a test function runs, a message that tells of a wiring, threading, painting or SQL
/// mistake (a failed connect, a timer or child across threads, a database used off its thread ...) fails the test.
/// A class with an init() or cleanup() of its own calls the ones here.
class StrictTest : public QObject
{
    Q_OBJECT

public:
    /// Lets messages that contain @p part pass, until the end of the current test function.
    static void allowMessage(const QString &part);
    /// The messages, of any kind, since the current test function began.
    static QStringList messages();

private slots:
    void init() { beginStrict(); }
    void cleanup() { endStrict(); }

protected:
    void beginStrict();
    void endStrict();
};

/// Gives the process a home, state, configuration and run-time folder of its own, removed at its end, and the UTF-8
/// locale. To be made before the application object.
class TestHome
{
public:
    TestHome();
    ~TestHome();
    QString path() const { return m_path; }

private:
    QString m_path;
};

/// Path of a program of the build, from the environment of ctest.
QString builtProgram(const QString &name);

#define ARKVALE_TEST_MAIN_WITH(Application, TestClass)                                                                 \
    int main(int argc, char **argv)                                                                                    \
    {                                                                                                                  \
        TestHome home;                                                                                                 \
        Application app(argc, argv);                                                                                   \
        TestClass test;                                                                                                \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }

/// main() of a test without and with windows.
#define ARKVALE_GUILESS_TEST(TestClass) ARKVALE_TEST_MAIN_WITH(QCoreApplication, TestClass)
#define ARKVALE_WIDGET_TEST(TestClass) ARKVALE_TEST_MAIN_WITH(QApplication, TestClass)
