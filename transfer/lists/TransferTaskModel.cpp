#include "TransferTaskModel.h"

#include <QIcon>
#include <QSet>

#include <vector>

namespace {

/// With more separate stretches than this, removing them one by one costs a view more than starting anew.
constexpr std::size_t kMostStretches = 200;

int percent(const ZpdtProgress &progress, const TaskRecord &record)
{
    const qint64 total = qMax(progress.total, record.FileSize);
    const qint64 done = qMax(progress.offset, record.Offset);
    if (total <= 0)
        return 0;
    return static_cast<int>(qBound(0.0, 100.0 * static_cast<double>(done) / static_cast<double>(total), 100.0));
}

} // namespace

TransferTaskModel::TransferTaskModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

int TransferTaskModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows.count();
}

int TransferTaskModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant TransferTaskModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.count())
        return QVariant();
    const Row &row = m_rows.at(index.row());
    switch (role) {
    case PercentRole:
        return percent(row.progress, row.record);
    case StatusRole:
        return row.record.Status;
    case Qt::DecorationRole:
        if (index.column() == NameColumn)
            return QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/file.svg"));
        break;
    case Qt::ToolTipRole:
        return index.column() == ActionColumn ? QVariant() : QVariant(toolTip(row));
    case Qt::DisplayRole:
        switch (index.column()) {
        case NameColumn:
            return TransferTexts::taskName(row.record);
        case ProgressColumn:
            return TransferTexts::progress(row.record.Offset, row.record.FileSize);
        case SpeedColumn:
            return row.record.Status == ZPDT_TRANSFERRING ? TransferTexts::speed(row.progress.speed)
                                                          : QStringLiteral("--");
        case StatusColumn:
            return TransferTexts::status(row.record.Status);
        }
        break;
    }
    return QVariant();
}

QVariant TransferTaskModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    switch (section) {
    case NameColumn:
        return tr("Name");
    case ProgressColumn:
        return tr("Progress");
    case SpeedColumn:
        return tr("Speed");
    case StatusColumn:
        return tr("Status");
    }
    return QVariant();
}

QString TransferTaskModel::toolTip(const Row &row) const
{
    QStringList lines{row.record.Path, tr("To: %1").arg(row.record.Dest)};
    if (row.progress.filesTotal > 1)
        lines << tr("%1 of %2 files").arg(row.progress.filesDone).arg(row.progress.filesTotal);
    if (row.progress.filesFailed > 0)
        lines << tr("%1 files failed").arg(row.progress.filesFailed);
    if (row.progress.error != ZpdtError::None) {
        lines << TransferTexts::reason(row.progress.error);
        if (!row.progress.errorText.isEmpty())
            lines << row.progress.errorText;
    }
    // Names come from other people: shown as text, never read as markup.
    for (QString &line : lines)
        line = line.toHtmlEscaped();
    return QStringLiteral("<qt>%1</qt>").arg(lines.join(QStringLiteral("<br>")));
}

bool TransferTaskModel::isActive(qint32 status)
{
    return status != ZPDT_PAUSED && status != ZPDT_PAUSING && status != ZPDT_CANCELING;
}

void TransferTaskModel::changeStatus(Row &row, qint32 status)
{
    m_active += int(isActive(status)) - int(isActive(row.record.Status));
    row.record.Status = status;
}

void TransferTaskModel::put(const QList<TaskRecord> &tasks)
{
    QList<TaskRecord> fresh;
    QSet<QString> freshKeys;
    for (const TaskRecord &task : tasks) {
        const QString key = TransferTexts::taskKey(task);
        const int place = m_rows.find(key);
        if (place < 0) {
            if (!freshKeys.contains(key)) {
                freshKeys << key;
                fresh << task;
            }
            continue;
        }
        Row &row = m_rows.at(place);
        const qint32 status = task.Status;
        TaskRecord record = task;
        record.Status = row.record.Status;
        row.record = record;
        changeStatus(row, status);
        emit dataChanged(index(place, 0), index(place, ColumnCount - 1));
    }
    if (fresh.isEmpty())
        return;
    beginInsertRows(QModelIndex(), m_rows.count(), m_rows.count() + fresh.size() - 1);
    for (const TaskRecord &task : qAsConst(fresh)) {
        m_rows.append(TransferTexts::taskKey(task), Row{task, ZpdtProgress(), false});
        m_active += int(isActive(task.Status));
    }
    endInsertRows();
}

void TransferTaskModel::remove(const QList<TaskRecord> &tasks)
{
    std::vector<int> places;
    places.reserve(static_cast<std::size_t>(tasks.size()));
    for (const TaskRecord &task : tasks) {
        const int place = find(task);
        if (place >= 0)
            places.push_back(place);
    }
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());

    std::vector<std::pair<int, int>> stretches;
    for (const int place : places) {
        m_active -= int(isActive(m_rows.at(place).record.Status));
        if (!stretches.empty() && stretches.back().second == place - 1)
            stretches.back().second = place;
        else
            stretches.emplace_back(place, place);
    }
    const bool anew = stretches.size() > kMostStretches;
    if (anew)
        beginResetModel();
    // From the end, so that the places before stay right.
    for (auto it = stretches.rbegin(); it != stretches.rend(); ++it) {
        if (!anew)
            beginRemoveRows(QModelIndex(), it->first, it->second);
        m_rows.remove(it->first, it->second);
        if (!anew)
            endRemoveRows();
    }
    if (anew)
        endResetModel();
}

void TransferTaskModel::clear()
{
    beginResetModel();
    m_rows.clear();
    m_unsaved.clear();
    m_active = 0;
    endResetModel();
}

void TransferTaskModel::setStatus(const QList<TaskRecord> &tasks, qint32 status)
{
    for (const TaskRecord &task : tasks) {
        const int place = find(task);
        if (place < 0)
            continue;
        changeStatus(m_rows.at(place), status);
        emit dataChanged(index(place, 0), index(place, ColumnCount - 1));
    }
}

void TransferTaskModel::setProgress(const TaskRecord &task, const ZpdtProgress &progress)
{
    const int place = find(task);
    if (place < 0)
        return;
    Row &row = m_rows.at(place);
    row.progress = progress;
    row.record.FileSize = progress.total;
    row.record.Offset = progress.offset;
    if (!row.unsaved)
        m_unsaved.push_back(TransferTexts::taskKey(task));
    row.unsaved = true;
    // A report that was under way when the task was told to stop does not make it run again.
    const bool stopping =
        row.record.Status == ZPDT_PAUSED || row.record.Status == ZPDT_PAUSING || row.record.Status == ZPDT_CANCELING;
    if (!stopping || task.Status == ZPDT_PAUSING || task.Status == ZPDT_CANCELING)
        changeStatus(row, task.Status);
    emit dataChanged(index(place, 0), index(place, ColumnCount - 1));
}

QList<TaskRecord> TransferTaskModel::takeUnsaved()
{
    QList<TaskRecord> tasks;
    for (const QString &key : m_unsaved) {
        const int place = m_rows.find(key);
        if (place < 0)
            continue;
        m_rows.at(place).unsaved = false;
        tasks << m_rows.at(place).record;
    }
    m_unsaved.clear();
    return tasks;
}

QList<TaskRecord> TransferTaskModel::records() const
{
    QList<TaskRecord> all;
    all.reserve(m_rows.count());
    for (int i = 0; i < m_rows.count(); ++i)
        all << m_rows.at(i).record;
    return all;
}

ZpdtProgress TransferTaskModel::progress(const TaskRecord &task) const
{
    const int place = find(task);
    return place < 0 ? ZpdtProgress() : m_rows.at(place).progress;
}
