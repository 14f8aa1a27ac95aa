#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace arkvale::service {

class Database;

/// One prepared statement, with its values bound in order. A failed preparation makes every step a failure, told by
/// Database::error(). Used on one thread at a time.
class Statement
{
public:
    Statement(Database &database, const char *sql);
    ~Statement();
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    Statement &bind(const std::string &text);
    Statement &bind(std::int64_t number);

    /// True when there is a row to read.
    bool row();
    /// Runs a statement that has no rows. False on any error, such as a broken constraint.
    bool run();
    /// True when the last row() or run() failed; the end of the rows is no failure.
    bool failed() const { return m_failed; }

    std::string text(int column) const;
    std::int64_t number(int column) const;

private:
    sqlite3 *m_database;
    sqlite3_stmt *m_statement = nullptr;
    int m_bound = 0;
    bool m_failed = false;
};

/// One SQLite connection. Used by one thread at a time; its owner has the lock.
class Database
{
public:
    Database() = default;
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    /// Opens or makes the file, readable by its owner alone.
    bool open(const std::string &path);
    /// Runs statements without values.
    bool run(const char *sql);
    /// Rows that the last statement changed.
    int changes() const;
    std::string error() const;

    sqlite3 *handle() const { return m_handle; }

private:
    sqlite3 *m_handle = nullptr;
};

/// Undone at its end unless it was committed.
class Transaction
{
public:
    explicit Transaction(Database &database);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    bool commit();

private:
    Database &m_database;
    bool m_open;
};

} // namespace arkvale::service
