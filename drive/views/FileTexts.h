#pragma once

#include "FileItem.h"

#include <QCoreApplication>
#include <QStringList>

/// Texts about entries as the views show them. Pure functions.
class FileTexts
{
    Q_DECLARE_TR_FUNCTIONS(FileTexts)

public:
    static QString toolTip(const FileItem &item);
    /// A name or path from outside as one line of plain text: what would break the line, turn its direction or hide is
    /// shown as a sign, and of a very long text the middle is left out.
    static QString line(const QString &text);
    /// @p names in quotes, at most three of them and how many more there are.
    static QString list(const QStringList &names);
    /// A text in the form that a tool tip shows as it stands: names may look like markup.
    static QString plainToolTip(const QString &text);
    /// Local time down to the minute; empty for an unknown time.
    static QString time(const FileItem &item);
    /// Empty for a folder.
    static QString size(const FileItem &item);
    /// Name of the picture for the kind of entry, without folder and ending.
    static QString iconName(const FileItem &item);
};
