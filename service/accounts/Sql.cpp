#include "Sql.h"

#include <sqlite3.h>

#include <fcntl.h>
#include <unistd.h>

namespace arkvale::service {

Statement::Statement(Database &database, const char *sql)
    : m_database(database.handle())
{
    m_failed = !m_database || sqlite3_prepare_v2(m_database, sql, -1, &m_statement, nullptr) != SQLITE_OK;
}

Statement::~Statement()
{
    sqlite3_finalize(m_statement);
}

Statement &Statement::bind(const std::string &text)
{
    if (!m_failed)
        m_failed = sqlite3_bind_text(m_statement, ++m_bound, text.data(), static_cast<int>(text.size()),
                                     SQLITE_TRANSIENT) != SQLITE_OK;
    return *this;
}

Statement &Statement::bind(std::int64_t number)
{
    if (!m_failed)
        m_failed = sqlite3_bind_int64(m_statement, ++m_bound, number) != SQLITE_OK;
    return *this;
}

bool Statement::row()
{
    if (m_failed)
        return false;
    const int result = sqlite3_step(m_statement);
    m_failed = result != SQLITE_ROW && result != SQLITE_DONE;
    return result == SQLITE_ROW;
}

bool Statement::run()
{
    if (m_failed)
        return false;
    m_failed = sqlite3_step(m_statement) != SQLITE_DONE;
    return !m_failed;
}

std::string Statement::text(int column) const
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(m_statement, column));
    return text ? std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)))
                : std::string();
}

std::int64_t Statement::number(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

Database::~Database()
{
    sqlite3_close(m_handle);
}

bool Database::open(const std::string &path)
{
    // Made here first, so that it is private from its first moment on; the journals take over its mode.
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd >= 0)
        ::close(fd);
    if (sqlite3_open_v2(path.c_str(), &m_handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK)
        return false;
    sqlite3_extended_result_codes(m_handle, 1);
    sqlite3_busy_timeout(m_handle, 5000);
    return run("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON;");
}

bool Database::run(const char *sql)
{
    return m_handle && sqlite3_exec(m_handle, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

int Database::changes() const
{
    return sqlite3_changes(m_handle);
}

std::string Database::error() const
{
    return m_handle ? sqlite3_errmsg(m_handle) : "out of memory";
}

Transaction::Transaction(Database &database)
    : m_database(database)
    , m_open(database.run("BEGIN IMMEDIATE"))
{
}

Transaction::~Transaction()
{
    if (m_open)
        m_database.run("ROLLBACK");
}

bool Transaction::commit()
{
    if (!m_open)
        return false;
    m_open = !m_database.run("COMMIT");
    return !m_open;
}

} // namespace arkvale::service
