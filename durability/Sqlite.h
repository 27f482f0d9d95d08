#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace com::tallowcrest::durability
{

/// SQLite refused something; `code` is its primary result code.
class SqliteError : public std::runtime_error
{
public:
    SqliteError(int code, const std::string& text) : std::runtime_error(text), m_code(code & 0xff) {}

    int code() const { return m_code; }
    /// The file's bytes are to blame: it is no database, a broken one, or one in which our own statements make no
    /// sense. Not so for anything that the system or another process may be the cause of.
    bool isCorruption() const;
    bool isOutOfMemory() const { return m_code == SQLITE_NOMEM; }

private:
    int m_code;
};

/// One connection to a database file. Owned and used by one thread. Errors are SqliteError.
class SqliteConnection
{
public:
    explicit SqliteConnection(const std::string& path);

    void execute(const char* sql) const;
    /// The first column of the first row as a number; 0 when there is no row.
    std::int64_t number(const char* sql) const;
    /// The same as text.
    std::string text(const char* sql) const;
    bool isReadOnly() const { return sqlite3_db_readonly(m_handle.get(), "main") != 0; }
    sqlite3* handle() const { return m_handle.get(); }

private:
    struct Closer
    {
        void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
    };
    std::unique_ptr<sqlite3, Closer> m_handle;
};

/// One prepared statement. Texts that are bound must live until the next `reset`.
class SqliteStatement
{
public:
    SqliteStatement(const SqliteConnection& connection, const char* sql);

    void bind(int index, const std::string& text);
    void bind(int index, std::int64_t number);
    /// True when there is a row.
    bool step();
    void reset();
    std::string text(int column) const;
    std::int64_t number(int column) const { return sqlite3_column_int64(m_handle.get(), column); }

private:
    struct Finalizer
    {
        void operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }
    };
    sqlite3* m_connection;
    std::unique_ptr<sqlite3_stmt, Finalizer> m_handle;
};

} // namespace com::tallowcrest::durability
