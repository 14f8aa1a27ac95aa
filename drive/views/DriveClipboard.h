#pragma once

#include "FileItem.h"

#include <QMimeData>
#include <QStringList>

/// The record that a cut, a copy or a drag carries between views: MIME format "ArkvaleTolma", a JSON object. A plain
/// value. Its format has two quirks that stay: sizes are read as 32-bit integers, and the time is written under "date"
/// but read under "datetime", so that records arrive with the time 0.
struct DriveClipboard
{
    QString type; ///< "Cut" or "Copy"
    QList<FileItem> items;
    QString subCenterId;

    static QString format();
    QByteArray toJson() const;
    /// Anything that is not such a record yields an empty one.
    static DriveClipboard fromJson(const QByteArray &json);
    static DriveClipboard fromMime(const QMimeData *mime);
    /// The local files among the addresses that another program put there.
    static QStringList localFiles(const QMimeData *mime);
    QStringList paths() const;
    bool isEmpty() const { return items.isEmpty(); }
};

/// A record on its way. The JSON text is made when it is asked for, so that a copy of very many entries costs nothing
/// until it leaves the program. GUI thread only.
class DriveMimeData : public QMimeData
{
    Q_OBJECT

public:
    explicit DriveMimeData(DriveClipboard record);
    const DriveClipboard &record() const { return m_record; }
    QStringList formats() const override;
    bool hasFormat(const QString &mimeType) const override;

protected:
    QVariant retrieveData(const QString &mimeType, QVariant::Type type) const override;

private:
    DriveClipboard m_record;
};
