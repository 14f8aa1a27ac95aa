#pragma once

#include <QList>
#include <QPair>
#include <QSqlDatabase>
#include <QString>

#include <memory>

class QObject;
class QSqlTableModel;

/// One SQLite file as a dictionary of texts (table "tb_user_info"), under a connection of its own. It belongs to the
/// thread that made it and is used by one caller at a time. A file that cannot be opened reads as empty and refuses
/// every write.
class DataBaseManager
{
public:
    /// @param path the file; it is not made here, and must hold the table
    /// @param driver "QSQLITE"
    /// @param parent of the table model, usually null
    DataBaseManager(const QString &path, const QString &driver, QObject *parent = nullptr);
    ~DataBaseManager();
    DataBaseManager(const DataBaseManager &) = delete;
    DataBaseManager &operator=(const DataBaseManager &) = delete;

    /// The value, or an empty text when the key has no row, or more than one.
    /// @param key a fixed name of the program; it is pasted between single quotes as it stands
    QString value(const QString &key) const;
    /// Adds or replaces the row. False when the database refused.
    bool setValue(const QString &key, const QString &value);

    /// All of them in one transaction: false, and nothing is changed, when the database refused one.
    bool setValues(const QList<QPair<QString, QString>> &values);

    QString connectionName() const { return m_connection; }
    /// A number that no connection of this process had yet, from 1. Usable from any thread.
    static int nextConnectionNumber();

private:
    bool find(const QString &key) const;

    QString m_connection;
    QSqlDatabase m_database;
    std::unique_ptr<QSqlTableModel> m_model;
};
