#pragma once

#include "FileItem.h"

class QJsonObject;

/// Reads answers of the service into records. Every key is optional and may be of a wrong type; what cannot be read is
/// left at its default. Pure functions, usable from any thread.
class FileItemReader
{
public:
    /// Where the modification time is found.
    enum TimeRule
    {
        ListingTime, ///< under "modifiedTime", but only where "datetime" is present too
        PlainTime    ///< under "datetime"
    };

    /// One record. What is no JSON object yields an empty one.
    static FileItem item(const QByteArray &body, TimeRule rule);
    static FileItem item(const QJsonObject &object, TimeRule rule);
    /// The elements of "items". A body without them yields an empty list.
    static QList<FileItem> items(const QByteArray &body, TimeRule rule, const QString &source = QString());
    /// The names of the elements of "items".
    static QStringList names(const QByteArray &body);
};
