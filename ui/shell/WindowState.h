#pragma once

#include <QList>
#include <QRect>
#include <QString>

/// What of the main window comes back at the next start: place, panes and tabs. A plain value; it is kept in one JSON
/// file of the user. Reading trusts nothing: a file that is damaged, or was made by hand, gives what of it makes sense.
struct WindowState
{
    struct Tab
    {
        QString center; ///< id of the sub-center
        QString path;   ///< remote folder, ends in "/"
    };
    struct Pane
    {
        int width = 0; ///< pixels
        int current = 0;
        QList<Tab> tabs;
    };

    QRect place; ///< corner of the frame and size of the window when it is not maximized; null: none known
    bool maximized = false;
    int currentPane = 0;
    QList<Pane> panes;

    /// An empty state when there is no such file.
    static WindowState read(const QString &file);
    /// Replaces the file as a whole. False when the disk refused; the old file stays.
    bool write(const QString &file) const;

    /// @p wanted moved and shrunk so that it lies wholly on one of @p screens: the one of which it covers most.
    static QRect fitted(const QRect &wanted, const QList<QRect> &screens);
};
