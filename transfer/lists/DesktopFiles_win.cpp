#include "DesktopFiles.h"

#include <QDesktopServices>
#include <QDir>
#include <QProcess>
#include <QUrl>

void DesktopFiles::open(const QString &path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void DesktopFiles::showInFolder(const QString &path)
{
    // The explorer reads its command line itself and wants the quotes around the path alone.
    QProcess explorer;
    explorer.setProgram(QStringLiteral("explorer.exe"));
    explorer.setNativeArguments(QStringLiteral("/e,/select, \"%1\"").arg(QDir::toNativeSeparators(path)));
    explorer.startDetached();
}
