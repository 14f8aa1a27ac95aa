#pragma once

#include "TransferSettings.h"

#include <QString>
#include <QStringList>

class QCommandLineParser;

/// What the command line asks for. A plain value; reading it has no effect on the process.
struct CommandLine
{
    QString user;
    QString password;
    QString subCenter;
    QString path;               ///< opened in the first drive page
    CommandLineRequest request; ///< lists keep their empty entries; an absent list holds one empty text
    bool browserLaunch = false; ///< a web page started the program: it stays hidden until the page logs it in

    /// The options in the order in which the parser's help shows them.
    static void addOptions(QCommandLineParser *parser);
    /// @param parser has parsed @p arguments, which include the program's name
    static CommandLine read(const QCommandLineParser &parser, const QStringList &arguments);

    /// False for a password without a user, or a path without a sub-center.
    bool isConsistent() const;
};
