// Makes the database that every new user starts with: make_user_database FILE. Run by the build.

#include <QCoreApplication>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <cstdio>

namespace {

// The settings table takes rows as they come; the two record tables refuse a second row of one identity. The columns
// of an identity are never null, because two nulls would count as different: "replace into" turns them into ''.
const char *const kStatements[] = {
    R"(create table "tb_user_info" ("key" text, "value" text))",

    R"(create table "tb_transfer_filelist" (
        "Path" text not null default '', "Type" integer not null default 0, "FileSize" integer default 0,
        "Offset" integer default 0, "Status" integer default 0, "CreateDate" datetime, "FinishDate" datetime,
        "From" text not null default '', "Dest" text not null default '', "SubCenterId" text not null default '',
        unique ("Path", "Type", "Dest", "From", "SubCenterId")))",

    R"(create table "tb_finished_filelist" (
        "Path" text not null default '', "Type" integer not null default 0, "FileSize" integer default 0,
        "Offset" integer default 0, "Status" integer default 0, "CreateDate" datetime, "FinishDate" datetime,
        "From" text not null default '', "Dest" text not null default '', "SubCenterId" text not null default '',
        unique ("Path", "Dest", "From", "SubCenterId")))",

    "pragma user_version = 1",
};

int fail(const QString &what)
{
    std::fprintf(stderr, "make_user_database: %s\n", qPrintable(what));
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (app.arguments().size() != 2)
        return fail(QStringLiteral("one argument: the file to make"));
    const QString path = app.arguments().at(1);
    const QString unfinished = path + QStringLiteral(".new");
    QFile::remove(unfinished);

    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
        database.setDatabaseName(unfinished);
        if (!database.open())
            return fail(database.lastError().text());
        for (const char *statement : kStatements) {
            QSqlQuery query(database);
            if (!query.exec(QString::fromLatin1(statement)))
                return fail(query.lastError().text());
        }
        database.close();
    }
    QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));

    QFile::remove(path);
    if (!QFile::rename(unfinished, path))
        return fail(QStringLiteral("cannot write ") + path);
    return 0;
}
