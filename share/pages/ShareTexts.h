#pragma once

#include "ShareRecord.h"

#include <QCoreApplication>
#include <QString>

/// Words and proposals of the share pages. Pure functions.
class ShareTexts
{
    Q_DECLARE_TR_FUNCTIONS(ShareTexts)

public:
    /// With whom a share of one's own is: "Everybody with the link", "ben, cleo and 3 more".
    static QString audience(const ShareRecord &record);
    /// What is copied for somebody else: the link, and below it the password where there is one.
    static QString invitation(const ShareRecord &record);
    /// Twelve letters and digits that are not mistaken for one another, from the system's source of random numbers.
    static QString proposedPassword();
};
