#pragma once

#include <QCoreApplication>
#include <QString>

/// What the About box says. Pure functions.
class AboutText
{
    Q_DECLARE_TR_FUNCTIONS(AboutText)

public:
    /// Rich text: version, build, Qt, links as far as there are addresses, and the licences of what is shipped.
    /// @param version of this installation; @param agreement, @param site http or https addresses, may be empty
    static QString html(const QString &version, const QString &agreement, const QString &site);
};
