#pragma once

class QDropEvent;
class QMimeData;
class QString;

/// What a drop of something onto a folder of the drive does. Pure functions; GUI thread only.
class DropDecision
{
public:
    enum Kind
    {
        Refused,
        Move,  ///< entries of the same sub-center that are not there already
        Upload ///< files and folders of this computer
    };

    /// @param folder ends in "/"; an empty one takes nothing
    static Kind of(const QMimeData *data, const QString &folder, const QString &subCenterId);
    /// Accepts or ignores the event and gives it the action that its cursor tells of.
    static void apply(Kind kind, QDropEvent *event);
};
