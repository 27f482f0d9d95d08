#include "durability/Sqlite.h"

namespace com::tallowcrest::durability
{

namespace
{

constexpr int busyTimeoutMilliseconds = 200;

/// Of the whole process, in bytes. Our statements take 0.6 MiB when they move a log of 136 MiB; a broken file must not
/// ask for more than the machine has.
constexpr sqlite3_int64 memoryLimit = sqlite3_int64{32} * 1024 * 1024;

void check(int code, sqlite3* connection)
{
    if (code != SQLITE_OK)
    {
        throw SqliteError(code, connection == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(connection));
    }
}

} // namespace

bool SqliteError::isCorruption() const
{
    switch (m_code)
    {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_ERROR: // a table, a column or a file format that our statements do not know
    case SQLITE_SCHEMA:
    case SQLITE_CONSTRAINT: // a rule that is not ours
    case SQLITE_MISMATCH:
    case SQLITE_TOOBIG:
        return true;
    default:
        return false;
    }
}

SqliteConnection::SqliteConnection(const std::string& path)
{
    sqlite3_hard_heap_limit64(memoryLimit);
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &handle,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    m_handle.reset(handle);
    check(code, handle);
    check(sqlite3_busy_timeout(handle, busyTimeoutMilliseconds), handle);
}

void SqliteConnection::execute(const char* sql) const
{
    check(sqlite3_exec(m_handle.get(), sql, nullptr, nullptr, nullptr), m_handle.get());
}

std::int64_t SqliteConnection::number(const char* sql) const
{
    SqliteStatement statement(*this, sql);
    return statement.step() ? statement.number(0) : 0;
}

std::string SqliteConnection::text(const char* sql) const
{
    SqliteStatement statement(*this, sql);
    return statement.step() ? statement.text(0) : std::string();
}

SqliteStatement::SqliteStatement(const SqliteConnection& connection, const char* sql)
    : m_connection(connection.handle())
{
    sqlite3_stmt* handle = nullptr;
    const int code = sqlite3_prepare_v2(m_connection, sql, -1, &handle, nullptr);
    m_handle.reset(handle);
    check(code, m_connection);
}

void SqliteStatement::bind(int index, const std::string& text)
{
    check(sqlite3_bind_text(m_handle.get(), index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC),
          m_connection);
}

void SqliteStatement::bind(int index, std::int64_t number)
{
    check(sqlite3_bind_int64(m_handle.get(), index, number), m_connection);
}

bool SqliteStatement::step()
{
    const int code = sqlite3_step(m_handle.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE)
    {
        check(code, m_connection);
    }
    return code == SQLITE_ROW;
}

void SqliteStatement::reset()
{
    // Gives the code of the last step once more; that has been thrown already.
    sqlite3_reset(m_handle.get());
}

std::string SqliteStatement::text(int column) const
{
    const auto* const data = sqlite3_column_text(m_handle.get(), column);
    if (data == nullptr)
    {
        return {};
    }
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_handle.get(), column));
    // SQLite gives UTF-8 as unsigned char.
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace com::tallowcrest::durability
