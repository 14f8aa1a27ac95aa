#include "MoveDialog.h"

#include "FileListing.h"
#include "MyDiskDirectoryBrowserTree.h"

#include <algorithm>

MoveDialog::MoveDialog(const QString &url, const QStringList &paths, QWidget *parent)
    : MyDiskDirectoryBrowser(url, parent)
    , m_paths(paths)
{
    setObjectName(QStringLiteral("MoveDialog"));
    frame().setTitle(tr("Move to"));
    frame().setButtonText(QStringLiteral("ok"), tr("Move"));
    QSet<QString> keys;
    for (const QString &path : paths)
        keys.insert(FileListing::key(path));
    tree()->setForbidden(keys);
}

bool MoveDialog::mayChoose(const QString &path) const
{
    // At least one entry is elsewhere, or there would be nothing to do.
    return MyDiskDirectoryBrowser::mayChoose(path) &&
           std::any_of(m_paths.begin(), m_paths.end(), [&](const QString &moved) {
               return FileListing::parentFolder(moved) != FileListing::withSlash(path);
           });
}

void MoveDialog::accept()
{
    MyDiskDirectoryBrowser::accept();
    if (result() != Accepted || folder().isEmpty())
        return;
    QStringList elsewhere;
    for (const QString &path : m_paths) {
        if (FileListing::parentFolder(path) != folder())
            elsewhere.append(path);
    }
    emit sigMove(elsewhere, folder());
}
