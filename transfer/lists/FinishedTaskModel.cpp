#include "FinishedTaskModel.h"

#include "DetailTexts.h"
#include "GlobalConfig.h"
#include "SizeText.h"

#include <QIcon>

namespace {

/// Rows that are taken in at once: some milliseconds of work.
constexpr int kSlice = 5000;

} // namespace

FinishedTaskModel::FinishedTaskModel(QObject *parent)
    : QAbstractTableModel(parent)
{
    m_next.setSingleShot(true);
    connect(&m_next, &QTimer::timeout, this, [this] { takeIn(kSlice); });
}

int FinishedTaskModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_count;
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
    if (role == TaskRole)
        return QVariant::fromValue(row.record);
    if (role == ReasonRole)
        return reasonOf(row.record);
    if (role == Qt::DecorationRole && index.column() == NameColumn)
        return QIcon(row.record.Type == ZPDT_UPLOAD ? QStringLiteral(":/ArkvaleTolmaMain/Icon/upload.svg")
                                                    : QStringLiteral(":/ArkvaleTolmaMain/Icon/download.svg"));
    if (role == Qt::ToolTipRole)
        return toolTip(row);
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
        return row.record.FinishDate.toString(QStringLiteral("yyyy-MM-dd HH:mm"));
    case ResultColumn:
        return success ? tr("successful") : tr("failed");
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

QString FinishedTaskModel::reasonOf(const TaskRecord &record)
{
    const auto error = static_cast<ZpdtError>(record.taskExtra);
    return record.Status == ZPDT_SUCCESS || error == ZpdtError::None ? QString() : TransferTexts::reason(error);
}

QString FinishedTaskModel::reason(int row) const
{
    return reasonOf(record(row));
}

QString FinishedTaskModel::toolTip(const Row &row) const
{
    QStringList lines{row.record.Path, tr("To: %1").arg(row.record.Dest), reasonOf(row.record),
                      DetailTexts::inWords(row.detail)};
    if (row.record.Status != ZPDT_SUCCESS)
        lines << TransferTexts::advice(static_cast<ZpdtError>(row.record.taskExtra), row.record);
    lines.removeAll(QString());
    // Names come from other people: shown as text, never read as markup.
    for (QString &line : lines)
        line = line.toHtmlEscaped();
    return QStringLiteral("<qt>%1</qt>").arg(lines.join(QStringLiteral("<br>")));
}

int FinishedTaskModel::find(const TaskRecord &task) const
{
    const int found = m_rows.find(task);
    return found < 0 ? -1 : m_rows.count() - 1 - found;
}

void FinishedTaskModel::add(const TaskRecord &task, ZpdtError error, const QString &detail)
{
    // The table knows no direction in the identity of an ended task.
    TaskRecord twin = task;
    twin.Type = task.Type == ZPDT_UPLOAD ? ZPDT_DOWNLOAD : ZPDT_UPLOAD;
    remove(twin);
    remove(task);
    TaskRecord record = task;
    record.taskExtra = record.Status == ZPDT_SUCCESS ? 0 : static_cast<quint64>(error);
    beginInsertRows(QModelIndex(), 0, 0);
    m_rows.append(Row{record, detail});
    m_count = m_rows.count();
    endInsertRows();
}

void FinishedTaskModel::addOlder(const QList<TaskRecord> &tasks)
{
    m_coming = m_coming.isEmpty() ? tasks : m_coming + tasks;
    if (!m_next.isActive())
        takeIn(kSlice);
}

void FinishedTaskModel::takeIn(int count)
{
    const int end = static_cast<int>(qMin<qint64>(m_coming.size(), qint64(m_came) + count));
    for (; m_came < end; ++m_came) {
        if (m_rows.find(m_coming.at(m_came)) < 0)
            m_rows.prepend(Row{m_coming.at(m_came), QString()});
    }
    if (m_came == m_coming.size()) {
        m_coming.clear();
        m_came = 0;
    } else {
        m_next.start(0);
    }
    if (m_rows.count() == m_count)
        return;
    beginInsertRows(QModelIndex(), m_count, m_rows.count() - 1);
    m_count = m_rows.count();
    endInsertRows();
}

void FinishedTaskModel::remove(const QList<TaskRecord> &tasks)
{
    TaskRows<Row>::Stretches stretches = m_rows.find(tasks);
    // One that is still coming must not come after its removal.
    if (!m_coming.isEmpty() && stretches.empty()) {
        takeIn(m_coming.size());
        stretches = m_rows.find(tasks);
    }
    if (stretches.size() > TaskRows<Row>::kMostStretches) {
        beginResetModel();
        m_rows.remove(stretches);
        m_count = m_rows.count();
        endResetModel();
        return;
    }
    for (auto it = stretches.rbegin(); it != stretches.rend(); ++it) {
        beginRemoveRows(QModelIndex(), place(it->second), place(it->first));
        m_rows.remove(it->first, it->second);
        m_count = m_rows.count();
        endRemoveRows();
    }
}

void FinishedTaskModel::clear()
{
    beginResetModel();
    m_coming.clear();
    m_came = 0;
    m_rows.clear();
    m_count = 0;
    endResetModel();
}
