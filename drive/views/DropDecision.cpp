#include "DropDecision.h"

#include "DriveClipboard.h"
#include "FileListing.h"

#include <QDropEvent>

#include <algorithm>

DropDecision::Kind DropDecision::of(const QMimeData *data, const QString &folder, const QString &subCenterId)
{
    if (!data || folder.isEmpty())
        return Refused;
    if (!data->hasFormat(DriveClipboard::format()))
        return DriveClipboard::localFiles(data).isEmpty() ? Refused : Upload;
    const DriveClipboard record = DriveClipboard::fromMime(data);
    if (record.isEmpty() || record.subCenterId != subCenterId)
        return Refused;
    // Nothing is moved into itself, nor to where it is already.
    const bool useless = std::any_of(record.items.begin(), record.items.end(), [&](const FileItem &item) {
        return folder.startsWith(FileListing::withSlash(item.path)) || FileListing::parentFolder(item.path) == folder;
    });
    return useless ? Refused : Move;
}

void DropDecision::apply(Kind kind, QDropEvent *event)
{
    if (kind == Refused)
        return event->ignore();
    event->setDropAction(kind == Move ? Qt::MoveAction : Qt::CopyAction);
    event->accept();
}
