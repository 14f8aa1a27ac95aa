#include "CommandLine.h"

#include <QCommandLineParser>

void CommandLine::addOptions(QCommandLineParser *parser)
{
    parser->setApplicationDescription(QStringLiteral("Arkvale of render"));
    parser->setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const struct
    {
        QStringList names;
        const char *valueName;
        const char *description;
        const char *defaultValue;
    } options[] = {
        {{QStringLiteral("user"), QStringLiteral("username")}, "username", "Name of the user", ""},
        {{QStringLiteral("pass"), QStringLiteral("password")}, "password", "Password of the user", ""},
        {{QStringLiteral("sc"), QStringLiteral("subcenter")}, "subcenter", "Target render subcenter.", ""},
        {{QStringLiteral("p"), QStringLiteral("path")}, "path", "default opened path of specified subcenter", ""},
        {{QStringLiteral("m"), QStringLiteral("method")}, "method", "Upload(0) or Download(1)", "-1"},
        {{QStringLiteral("fl"), QStringLiteral("filelist")},
         "filelist",
         "files（only names） to be tranfered, sperated by ,",
         ""},
        {{QStringLiteral("dl"), QStringLiteral("dirlist")},
         "dirlist",
         "dires（only names） to be tranfered, sperated by ,",
         ""},
        {{QStringLiteral("l"), QStringLiteral("local")}, "path", "local folder path", ""},
        {{QStringLiteral("r"), QStringLiteral("remote")}, "path", "remote folder path", ""},
    };
    for (const auto &option : options) {
        parser->addOption(QCommandLineOption(option.names, QString::fromUtf8(option.description),
                                             QString::fromLatin1(option.valueName),
                                             QString::fromLatin1(option.defaultValue)));
    }
}

CommandLine CommandLine::read(const QCommandLineParser &parser, const QStringList &arguments)
{
    const auto value = [&parser](const char *name) { return parser.value(QLatin1String(name)).trimmed(); };
    CommandLine line;
    line.user = value("user");
    line.password = value("pass");
    line.subCenter = value("sc");
    line.path = value("p");
    line.request.filelist = value("fl").split(QLatin1Char(','), Qt::KeepEmptyParts);
    line.request.dirlist = value("dl").split(QLatin1Char(','), Qt::KeepEmptyParts);
    line.request.local = value("l");
    line.request.remote = value("r");
    line.request.method = value("m").toInt(nullptr, 10);
    line.browserLaunch = arguments.join(QLatin1Char('|')).contains(QLatin1String("zparkvale"));
    return line;
}

bool CommandLine::isConsistent() const
{
    return (password.isEmpty() || !user.isEmpty()) && (path.isEmpty() || !subCenter.isEmpty());
}
