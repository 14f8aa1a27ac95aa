#pragma once

#include <QCoreApplication>

/// Says in the language of the person what engine, service and system tell in English: why a connection is not there,
/// what became of a file. What it does not know stays as it is. Pure functions, usable from any thread.
class DetailTexts
{
    Q_DECLARE_TR_FUNCTIONS(DetailTexts)

public:
    /// @param detail a sentence, or one behind a path ("path: sentence"), with what the system said in parentheses
    static QString inWords(const QString &detail);

private:
    static QString known(const QString &sentence);
};
