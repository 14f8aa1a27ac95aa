#pragma once

#include "HttpFake.h"

#include <QMap>
#include <QString>

/// A small drive service for one user: login, profile, sub-centers "1" to "3", empty folders.
class DriveFake
{
public:
    DriveFake();

    /// Writes a settings folder that points here, from the one that is shipped, and returns its path.
    QString writeSettings(const QString &folder) const;

    /// Home of the user by sub-center id; a sub-center that is not in the map has none.
    QMap<QString, QString> homes;
    QStringList requests; ///< "METHOD path" in order

private:
    HttpFake::Answer answer(const HttpFake::Request &request);

    HttpFake m_http;
};
