#include "RecordSql.h"

#include <QSet>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

namespace {

// A failed record keeps its reason in the low digits of its status: the tables have no column for it.
constexpr qint32 kMostReasons = 64;

QString quoted(QString value)
{
    return value.replace(QLatin1Char('\''), QLatin1String("''"));
}

QString transferCondition(const TaskRecord &record)
{
    return QStringLiteral("(`Path` = '%1' and `Type` = '%2' and `Dest` = '%3' and `From` = '%4' and "
                          "`SubCenterId` = '%5')")
        .arg(quoted(record.Path), QString::number(record.Type), quoted(record.Dest), quoted(record.From),
             quoted(record.SubCenterId));
}

QString finishedCondition(const TaskRecord &record)
{
    return QStringLiteral("(`Path` = '%1' and `Dest` = '%2' and `From` = '%3' and `SubCenterId` = '%4')")
        .arg(quoted(record.Path), quoted(record.Dest), quoted(record.From), quoted(record.SubCenterId));
}

QString joined(const QList<TaskRecord> &records, int first, QString (*condition)(const TaskRecord &))
{
    QStringList conditions;
    const int end = qMin(records.size(), first + RecordSql::kMostConditions);
    for (int i = first; i < end; ++i)
        conditions << condition(records.at(i));
    return conditions.join(QLatin1String(" or "));
}

QString createTable(const QString &name, const QString &identity)
{
    // The columns of an identity are never null, because two nulls would count as different.
    return QStringLiteral(
               "create table if not exists `%1` (`Path` text not null default '', `Type` integer not null default 0, "
               "`FileSize` integer default 0, `Offset` integer default 0, `Status` integer default 0, "
               "`CreateDate` datetime, `FinishDate` datetime, `From` text not null default '', "
               "`Dest` text not null default '', `SubCenterId` text not null default '', unique (%2))")
        .arg(name, identity);
}

/// An absent text is bound as an empty one: nothing equals null.
QString present(const QString &text)
{
    return text.isNull() ? QLatin1String("") : text;
}

void bindCommon(QSqlQuery &query, const TaskRecord &record)
{
    query.bindValue(QStringLiteral(":Path"), present(record.Path));
    query.bindValue(QStringLiteral(":Type"), record.Type);
    query.bindValue(QStringLiteral(":FileSize"), record.FileSize);
    query.bindValue(QStringLiteral(":From"), present(record.From));
    query.bindValue(QStringLiteral(":Dest"), present(record.Dest));
    query.bindValue(QStringLiteral(":SubCenterId"), present(record.SubCenterId));
}

} // namespace

QString RecordSql::centerList(const QStringList &subCenterIds)
{
    QString list = QStringLiteral("(");
    for (const QString &id : subCenterIds)
        list += QStringLiteral("'%1', ").arg(quoted(id));
    return list + QStringLiteral("'%1'").arg(QStringLiteral("share")) + QLatin1Char(')');
}

QStringList RecordSql::createTables()
{
    return {
        createTable(QStringLiteral("tb_transfer_filelist"),
                    QStringLiteral("`Path`, `Type`, `Dest`, `From`, `SubCenterId`")),
        createTable(QStringLiteral("tb_finished_filelist"), QStringLiteral("`Path`, `Dest`, `From`, `SubCenterId`"))};
}

QString RecordSql::countTransfers(qint32 type, const QString &centers)
{
    return QStringLiteral("select count(1) as %1 from `tb_transfer_filelist` where Type = %2 and `SubCenterId` in %3;")
        .arg(QStringLiteral("countNum"), QString::number(type), centers);
}

QString RecordSql::countFinished(const QString &centers)
{
    return QStringLiteral("select count(1) as %1 from `tb_finished_filelist` where `SubCenterId` in %2;")
        .arg(QStringLiteral("countNum"), centers);
}

QString RecordSql::insertTransfer()
{
    return QStringLiteral("replace into tb_transfer_filelist (`Path`, `Type`, `FileSize`, `Status`, `CreateDate`, "
                          "`From`, `Dest`, `SubCenterId`) values(:Path, :Type, :FileSize, :Status, :CreateDate, "
                          ":From, :Dest, :SubCenterId)");
}

QString RecordSql::insertFinished()
{
    return QStringLiteral("replace into tb_finished_filelist (`Path`, `Type`, `FileSize`, `Status`, `FinishDate`, "
                          "`From`, `Dest`, `SubCenterId`) values(:Path, :Type, :FileSize, :Status, :FinishDate, "
                          ":From, :Dest, :SubCenterId)");
}

QString RecordSql::updateTransfer()
{
    return QStringLiteral("update tb_transfer_filelist set `FileSize` = :FileSize, `Offset` = :Offset, "
                          "`Status` = :Status where `Path` = :Path and `Type` = :Type and `Dest` = :Dest and "
                          "`From` = :From and `SubCenterId` = :SubCenterId");
}

QString RecordSql::deleteTransfers(const QList<TaskRecord> &records, int first)
{
    return QStringLiteral("delete from tb_transfer_filelist where %1;").arg(joined(records, first, transferCondition));
}

QString RecordSql::deleteFinished(const QList<TaskRecord> &records, int first)
{
    return QStringLiteral("delete from tb_finished_filelist where %1;").arg(joined(records, first, finishedCondition));
}

QString RecordSql::clearTransfers(qint32 type, const QString &centers)
{
    return QStringLiteral("delete from tb_transfer_filelist where `Type` = '%1' and `SubCenterId` in %2;")
        .arg(QString::number(type), centers);
}

QString RecordSql::clearFinished(const QString &centers)
{
    return QStringLiteral("delete from tb_finished_filelist where `SubCenterId` in %1;").arg(centers);
}

QString RecordSql::loadTransfers(qint32 type, const QString &centers)
{
    return QStringLiteral("select * from tb_transfer_filelist where `Type` = '%1' and ").arg(type) +
           QStringLiteral("`SubCenterId` in ") + centers + QStringLiteral(" order by `rowid` asc;");
}

QString RecordSql::pageStart(const TaskRecord &last)
{
    return QStringLiteral("select `rowid` from tb_finished_filelist where `Dest` = '%1' and `From` = '%2' and "
                          "`SubCenterId` = '%3' and `Path` = '%4';")
        .arg(quoted(last.Dest), quoted(last.From), quoted(last.SubCenterId), quoted(last.Path));
}

QString RecordSql::nextPage(qint64 startRow, int count, const QString &centers)
{
    return QStringLiteral("select * from tb_finished_filelist where `rowid` < '%1' and ").arg(startRow) +
           QStringLiteral("`SubCenterId` in ") + centers +
           QStringLiteral(" order by `rowid` desc limit '%1'; ").arg(count);
}

QString RecordSql::firstPage(int count, const QString &centers)
{
    return QStringLiteral("select * from tb_finished_filelist where ") + QStringLiteral("`SubCenterId` in ") + centers +
           QStringLiteral(" order by `rowid` desc limit '%1';").arg(count);
}

QString RecordSql::loadFailed(const QString &centers)
{
    return QStringLiteral("select * from tb_finished_filelist where `Status` <> '%1' and ").arg(ZPDT_SUCCESS) +
           QStringLiteral("`SubCenterId` in ") + centers + QStringLiteral(" order by `rowid` asc;");
}

void RecordSql::bindTransfer(QSqlQuery &query, const TaskRecord &record)
{
    bindCommon(query, record);
    query.bindValue(QStringLiteral(":Status"), record.Status);
    query.bindValue(QStringLiteral(":CreateDate"), record.CreateDate);
}

void RecordSql::bindFinished(QSqlQuery &query, const TaskRecord &record)
{
    bindCommon(query, record);
    const bool reason = record.Status == ZPDT_FAILED && record.taskExtra < quint64(kMostReasons);
    query.bindValue(QStringLiteral(":Status"), record.Status + (reason ? static_cast<qint32>(record.taskExtra) : 0));
    query.bindValue(QStringLiteral(":FinishDate"), record.FinishDate);
}

void RecordSql::bindUpdate(QSqlQuery &query, const TaskRecord &record)
{
    bindCommon(query, record);
    query.bindValue(QStringLiteral(":Status"), record.Status);
    query.bindValue(QStringLiteral(":Offset"), record.Offset);
}

QList<TaskRecord> RecordSql::read(QSqlQuery &query)
{
    const QSqlRecord columns = query.record();
    const auto column = [&columns](const char *name) { return columns.indexOf(QLatin1String(name)); };
    const int path = column("Path"), type = column("Type"), size = column("FileSize"), offset = column("Offset");
    const int status = column("Status"), created = column("CreateDate"), finished = column("FinishDate");
    const int from = column("From"), dest = column("Dest"), icon = column("Icon"), center = column("SubCenterId");
    QSet<QString> known;
    const auto shared = [&](int at) { return at < 0 ? QString() : *known.insert(query.value(at).toString()); };

    QList<TaskRecord> records;
    while (query.next()) {
        TaskRecord record;
        if (path >= 0)
            record.Path = query.value(path).toString();
        if (type >= 0)
            record.Type = query.value(type).toInt();
        if (size >= 0)
            record.FileSize = query.value(size).toLongLong();
        if (offset >= 0)
            record.Offset = query.value(offset).toLongLong();
        if (status >= 0)
            record.Status = query.value(status).toInt();
        if (created >= 0)
            record.CreateDate = query.value(created).toDateTime();
        if (finished >= 0)
            record.FinishDate = query.value(finished).toDateTime();
        if (icon >= 0)
            record.Icon = query.value(icon).toByteArray();
        record.From = shared(from);
        record.Dest = shared(dest);
        record.SubCenterId = shared(center);
        if (record.Status > ZPDT_FAILED && record.Status < ZPDT_FAILED + kMostReasons) {
            record.taskExtra = static_cast<quint64>(record.Status - ZPDT_FAILED);
            record.Status = ZPDT_FAILED;
        }
        records << record;
    }
    return records;
}
