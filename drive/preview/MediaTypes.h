#pragma once

#include <QString>

/// The endings of films and sounds, of which a system's own table of types knows but some. Pure functions.
class MediaTypes
{
public:
    /// A type that every player of such files is registered for, "video/mp4" or "audio/mpeg"; empty for other files.
    static QString ofFile(const QString &name);
};
