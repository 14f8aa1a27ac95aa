#pragma once

#include "TransferModule.h"

class QSqlQuery;

/// The statements of the transfer record store. Pure functions; values that are pasted into a statement have their
/// quotes doubled. Usable from any thread.
class RecordSql
{
public:
    /// Records in one delete statement; the database refuses expressions that are much deeper.
    static constexpr int kMostConditions = 500;

    /// The sub-centers whose records a user sees, with "share", as a list in parentheses.
    static QString centerList(const QStringList &subCenterIds);

    /// Makes both tables where they are missing.
    static QStringList createTables();
    /// The number comes in the column "countNum".
    static QString countTransfers(qint32 type, const QString &centers);
    static QString countFinished(const QString &centers);
    static QString insertTransfer();
    static QString insertFinished();
    /// Size, progress and status of a row that is there.
    static QString updateTransfer();
    /// The next deletes of @p records, from @p first, at most kMostConditions of them.
    static QString deleteTransfers(const QList<TaskRecord> &records, int first);
    static QString deleteFinished(const QList<TaskRecord> &records, int first);
    static QString clearTransfers(qint32 type, const QString &centers);
    static QString clearFinished(const QString &centers);
    static QString loadTransfers(qint32 type, const QString &centers);
    /// Finds the row that the page before ended with.
    static QString pageStart(const TaskRecord &last);
    static QString nextPage(qint64 startRow, int count, const QString &centers);
    static QString firstPage(int count, const QString &centers);
    /// All records of tasks that ended without success.
    static QString loadFailed(const QString &centers);

    static void bindTransfer(QSqlQuery &query, const TaskRecord &record);
    static void bindFinished(QSqlQuery &query, const TaskRecord &record);
    static void bindUpdate(QSqlQuery &query, const TaskRecord &record);
    /// All rows of the answer; a column that it does not hold leaves its field alone. Equal folders share their text.
    static QList<TaskRecord> read(QSqlQuery &query);
};
