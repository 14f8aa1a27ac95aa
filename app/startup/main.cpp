#include "CommandLine.h"
#include "CrashHandler.h"
#include "LoginCycle.h"
#include "ProcessSetup.h"
#include "SingleApplication.h"

#include <QCommandLineParser>
#include <QDebug>
#include <QDir>

#include <exception>
#include <functional>

namespace {

constexpr int kBadCommandLine = -1;

int runProgram(int &argc, char **argv, std::function<void()> *lastAct)
{
    SingleApplication application(argc, argv);
    QDir::setCurrent(QCoreApplication::applicationDirPath());

    QCommandLineParser parser;
    CommandLine::addOptions(&parser);
    parser.process(application);
    const CommandLine commandLine = CommandLine::read(parser, QCoreApplication::arguments());
    if (!commandLine.isConsistent())
        return kBadCommandLine;
    if (application.isRunning())
        return 0;

    LoginCycle cycle(&application, commandLine);
    TerminationRequest termination;
    QObject::connect(&termination, &TerminationRequest::requested, &cycle, &LoginCycle::end);
    while (cycle.run()) {
    }
    *lastAct = cycle.lastAct();
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    CrashHandler::install();
    ProcessSetup::enableDebugPrivilege();
    ProcessSetup::setLocaleCodec();
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // 150 % is one and a half times the size, not twice.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    try {
        std::function<void()> lastAct;
        const int code = runProgram(argc, argv, &lastAct);
        if (lastAct)
            lastAct();
        return code;
    } catch (const std::exception &exception) {
        qDebug() << exception.what();
    } catch (...) {
        qDebug() << "main exception!";
    }
    return 0;
}
