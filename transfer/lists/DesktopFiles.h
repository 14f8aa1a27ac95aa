#pragma once

#include <QString>

/// Files in the hands of the desktop. GUI thread only; both return at once.
class DesktopFiles
{
public:
    /// Opens the file or folder with the program that the desktop has for it.
    static void open(const QString &path);
    /// Shows the folder that holds the file, with the file selected where the desktop can do that.
    static void showInFolder(const QString &path);
};
