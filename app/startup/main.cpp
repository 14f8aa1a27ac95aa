#include "CommandLine.h"
#include "CrashHandler.h"
#include "LoginCycle.h"
#include "ProcessSetup.h"
#include "SingleApplication.h"
#include "UpdateService.h"

#include <QCommandLineParser>
#include <QDebug>
#include <QDir>
#include <QFile>

#include <exception>

namespace {

constexpr int kBadCommandLine = -1;

void applyStyle(QApplication *application)
{
    QFile style(QStringLiteral(":/ArkvaleTolmaMain/style.qss"));
    if (style.open(QIODevice::ReadOnly))
        application->setStyleSheet(QString::fromUtf8(style.readAll()));
}

int runProgram(int &argc, char **argv, UpdateService::Installation *installation)
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

    applyStyle(&application);
    LoginCycle cycle(&application, commandLine);
    TerminationRequest termination;
    QObject::connect(&termination, &TerminationRequest::requested, &cycle, &LoginCycle::end);
    while (cycle.run()) {
    }
    *installation = cycle.installation();
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
    try {
        UpdateService::Installation installation;
        const int code = runProgram(argc, argv, &installation);
        // Only now is nothing of the program in use.
        if (installation.isWanted() && !UpdateService::startInstaller(installation))
            qWarning() << "the new version could not be installed";
        return code;
    } catch (const std::exception &exception) {
        qDebug() << exception.what();
    } catch (...) {
        qDebug() << "main exception!";
    }
    return 0;
}
