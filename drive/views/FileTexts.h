#pragma once

#include "FileItem.h"

#include <QCoreApplication>

/// Texts about entries as the views show them. Pure functions.
class FileTexts
{
    Q_DECLARE_TR_FUNCTIONS(FileTexts)

public:
    static QString toolTip(const FileItem &item);
    /// A text in the form that a tool tip shows as it stands: names may look like markup.
    static QString plainToolTip(const QString &text);
    /// Local time down to the minute; empty for an unknown time.
    static QString time(const FileItem &item);
    /// Empty for a folder.
    static QString size(const FileItem &item);
    /// Name of the picture for the kind of entry, without folder and ending.
    static QString iconName(const FileItem &item);
};
