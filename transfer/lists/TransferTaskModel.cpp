#include "TransferTaskModel.h"

#include "DetailTexts.h"

#include <QIcon>

TransferTaskModel::TransferTaskModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

int TransferTaskModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_count;
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
    case TaskRole:
        return QVariant::fromValue(row.record);
    case ProgressRole:
        return QVariant::fromValue(row.progress);
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
        case LeftColumn:
            return row.record.Status == ZPDT_TRANSFERRING ? TransferTexts::duration(row.progress.secondsLeft)
                                                          : QString();
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
    case LeftColumn:
        return tr("Time left");
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
        lines << TransferTexts::reason(row.progress.error) << TransferTexts::advice(row.progress.error, row.record);
        if (!row.progress.errorText.isEmpty())
            lines << DetailTexts::inWords(row.progress.errorText);
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
    row.forRoom = false;
}

TaskRecord TransferTaskModel::kept(const Row &row)
{
    TaskRecord record = row.record;
    if (row.forRoom)
        record.Status = ZPDT_WAITING;
    return record;
}

QList<TaskRecord> TransferTaskModel::holdForRoom(const QList<TaskRecord> &tasks, bool held)
{
    QList<TaskRecord> there;
    for (const TaskRecord &task : tasks) {
        const int place = find(task);
        if (place < 0)
            continue;
        Row &row = m_rows.at(place);
        row.forRoom = held && row.record.Status == ZPDT_PAUSED;
        there << kept(row);
    }
    return there;
}

void TransferTaskModel::told(int first, int last)
{
    if (first <= last)
        emit dataChanged(index(first, 0), index(last, ColumnCount - 1));
}

TransferTaskModel::Put TransferTaskModel::put(const QList<TaskRecord> &tasks)
{
    Put result;
    int first = m_count;
    int last = -1;
    int place = -1;
    for (const TaskRecord &task : tasks) {
        place = m_rows.find(task, place + 1);
        if (place < 0) {
            m_rows.append(Row{task, ZpdtProgress(), false, false});
            m_active += int(isActive(task.Status));
            result.added << task;
            place = m_rows.count() - 1;
            continue;
        }
        Row &row = m_rows.at(place);
        const qint32 before = row.record.Status;
        if (isPaused(before) && !isPaused(task.Status))
            result.resumed << task;
        row.record = task;
        row.record.Status = before;
        changeStatus(row, task.Status);
        if (place < m_count) {
            first = qMin(first, place);
            last = qMax(last, place);
        }
    }
    told(first, last);
    // The views are told when it is known how many rows came: a list may name a task twice.
    if (m_rows.count() > m_count) {
        beginInsertRows(QModelIndex(), m_count, m_rows.count() - 1);
        m_count = m_rows.count();
        endInsertRows();
    }
    return result;
}

void TransferTaskModel::remove(const QList<TaskRecord> &tasks)
{
    const TaskRows<Row>::Stretches stretches = m_rows.find(tasks);
    for (const auto &[first, last] : stretches) {
        for (int place = first; place <= last; ++place)
            m_active -= int(isActive(m_rows.at(place).record.Status));
    }
    if (stretches.size() > TaskRows<Row>::kMostStretches) {
        beginResetModel();
        m_rows.remove(stretches);
        m_count = m_rows.count();
        endResetModel();
        return;
    }
    // From the end, so that the places before stay right.
    for (auto it = stretches.rbegin(); it != stretches.rend(); ++it) {
        beginRemoveRows(QModelIndex(), it->first, it->second);
        m_rows.remove(it->first, it->second);
        m_count = m_rows.count();
        endRemoveRows();
    }
}

void TransferTaskModel::clear()
{
    beginResetModel();
    m_rows.clear();
    m_count = 0;
    m_unsaved.clear();
    m_active = 0;
    endResetModel();
}

QList<TaskRecord> TransferTaskModel::setStatus(const QList<TaskRecord> &tasks, qint32 status)
{
    QList<TaskRecord> changed;
    int first = m_rows.count();
    int last = -1;
    int place = -1;
    for (const TaskRecord &task : tasks) {
        place = m_rows.find(task, place + 1);
        if (place < 0)
            continue;
        changeStatus(m_rows.at(place), status);
        changed << m_rows.at(place).record;
        first = qMin(first, place);
        last = qMax(last, place);
    }
    told(first, last);
    return changed;
}

QList<TaskRecord> TransferTaskModel::setStatusWhere(bool (*which)(qint32), qint32 status)
{
    QList<TaskRecord> changed;
    for (int place = 0; place < m_rows.count(); ++place) {
        Row &row = m_rows.at(place);
        if (!which(row.record.Status))
            continue;
        changeStatus(row, status);
        changed << row.record;
    }
    told(0, m_rows.count() - 1);
    return changed;
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
        m_unsaved.push_back(m_rows.serial(place));
    row.unsaved = true;
    // A report that was under way when the task was told to stop does not make it run again.
    const bool stopping =
        row.record.Status == ZPDT_PAUSED || row.record.Status == ZPDT_PAUSING || row.record.Status == ZPDT_CANCELING;
    if (!stopping || task.Status == ZPDT_PAUSING || task.Status == ZPDT_CANCELING)
        changeStatus(row, task.Status);
    told(place, place);
}

QList<TaskRecord> TransferTaskModel::takeUnsaved()
{
    QList<TaskRecord> tasks;
    for (const qint64 serial : m_unsaved) {
        const int place = m_rows.findSerial(serial);
        if (place < 0)
            continue;
        m_rows.at(place).unsaved = false;
        tasks << kept(m_rows.at(place));
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
