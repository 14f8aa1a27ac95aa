#include "FinishedTaskModel.h"

#include "GlobalConfig.h"
#include "SizeText.h"

#include <QIcon>
#include <QLocale>

FinishedTaskModel::FinishedTaskModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

int FinishedTaskModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows.count();
}

int FinishedTaskModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant FinishedTaskModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.count())
        return QVariant();
    const Row &row = m_rows.at(place(index.row()));
    const bool success = row.record.Status == ZPDT_SUCCESS;
    if (role == SuccessRole)
        return success;
    if (role == Qt::DecorationRole && index.column() == NameColumn)
        return QIcon(row.record.Type == ZPDT_UPLOAD ? QStringLiteral(":/ArkvaleTolmaMain/Icon/upload.svg")
                                                    : QStringLiteral(":/ArkvaleTolmaMain/Icon/download.svg"));
    if (role == Qt::ToolTipRole && index.column() != ActionColumn) {
        QStringList lines{row.record.Path, tr("To: %1").arg(row.record.Dest)};
        if (!success)
            lines << row.reason() << row.detail;
        lines.removeAll(QString());
        for (QString &line : lines)
            line = line.toHtmlEscaped();
        return QStringLiteral("<qt>%1</qt>").arg(lines.join(QStringLiteral("<br>")));
    }
    if (role != Qt::DisplayRole)
        return QVariant();
    switch (index.column()) {
    case NameColumn:
        return TransferTexts::taskName(row.record);
    case SizeColumn:
        return sizeText(static_cast<quint64>(qMax<qint64>(0, row.record.FileSize)));
    case CenterColumn: {
        if (row.record.SubCenterId == QLatin1String("share"))
            return tr("Share");
        const QString name = GlobalConfig::instance()->subCenter(row.record.SubCenterId).name;
        return name.isEmpty() ? row.record.SubCenterId : name;
    }
    case TimeColumn:
        return QLocale().toString(row.record.FinishDate, QLocale::ShortFormat);
    case ResultColumn:
        if (success)
            return tr("successful");
        return row.error == ZpdtError::None ? tr("failed") : tr("failed") + QStringLiteral(": ") + row.reason();
    }
    return QVariant();
}

QVariant FinishedTaskModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    switch (section) {
    case NameColumn:
        return tr("Name");
    case SizeColumn:
        return tr("Size");
    case CenterColumn:
        return tr("Sub-center");
    case TimeColumn:
        return tr("Time");
    case ResultColumn:
        return tr("Result");
    }
    return QVariant();
}

QString FinishedTaskModel::Row::reason() const
{
    return error == ZpdtError::None ? QString() : TransferTexts::reason(error);
}

int FinishedTaskModel::find(const TaskRecord &task) const
{
    const int found = m_rows.find(TransferTexts::taskKey(task));
    return found < 0 ? -1 : m_rows.count() - 1 - found;
}

void FinishedTaskModel::add(const TaskRecord &task, ZpdtError error, const QString &detail)
{
    remove(task);
    beginInsertRows(QModelIndex(), 0, 0);
    m_rows.append(TransferTexts::taskKey(task), Row{task, error, detail});
    endInsertRows();
}

void FinishedTaskModel::addOlder(const QList<TaskRecord> &tasks)
{
    for (const TaskRecord &task : tasks) {
        const QString key = TransferTexts::taskKey(task);
        if (m_rows.find(key) >= 0)
            continue;
        beginInsertRows(QModelIndex(), m_rows.count(), m_rows.count());
        m_rows.prepend(key, Row{task, ZpdtError::None, QString()});
        endInsertRows();
    }
}

void FinishedTaskModel::remove(const TaskRecord &task)
{
    const int row = find(task);
    if (row < 0)
        return;
    beginRemoveRows(QModelIndex(), row, row);
    m_rows.remove(place(row), place(row));
    endRemoveRows();
}

void FinishedTaskModel::clear()
{
    beginResetModel();
    m_rows.clear();
    endResetModel();
}
