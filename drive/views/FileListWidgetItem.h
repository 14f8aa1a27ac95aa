#pragma once

#include "FileWidgetItem.h"

#include <QStringList>

class QFontMetrics;

/// An entry of the icon grid: its name broken into the lines that have room below the picture.
class FileListWidgetItem : public FileWidgetItem
{
public:
    using FileWidgetItem::FileWidgetItem;

    /// At most @p most lines of at most @p width pixels; what does not fit is left out of the middle of the last one,
    /// so that the ending of the name is seen.
    QStringList lines(const QFontMetrics &metrics, int width, int most) const;
};
