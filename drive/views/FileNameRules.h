#pragma once

#include <QCoreApplication>
#include <QSet>

/// What a person may call an entry, and the refusals. Pure functions.
class FileNameRules
{
    Q_DECLARE_TR_FUNCTIONS(FileNameRules)

public:
    /// Pattern of a name that may be typed: 1 to 255 characters, none of \ / : * ? " < > | and no dot first.
    static QString pattern();
    static bool matches(const QString &name);

    /// Why the name is refused, empty when it is not. @p existing are the names in the folder.
    static QString refusal(const QString &name, const QSet<QString> &existing);
    static QString renameRefusal(const QString &name, const QString &oldName, const QSet<QString> &existing);
    /// The name with ".zip" at its end.
    static QString archiveName(const QString &name);
};
