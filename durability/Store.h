#pragma once

#include "durability/Sqlite.h"
#include "durability/StoredRow.h"
#include "runtime/util/UniqueFd.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace com::tallowcrest::durability
{

/// Why a store could not be opened or written.
enum class StoreFailure
{
    Unusable,     ///< missing rights, no room, a broken disk: may pass
    InUse,        ///< another process has the store: may pass
    Corrupt,      ///< the file's bytes make no sense
    NewerVersion, ///< written by a later version of the program: left as it is
    Foreign       ///< a database of another program: left as it is
};

class StoreError : public std::runtime_error
{
public:
    StoreError(StoreFailure failure, const std::string& text) : std::runtime_error(text), m_failure(failure) {}

    StoreFailure failure() const { return m_failure; }

private:
    StoreFailure m_failure;
};

/// The database file: the newest sample of every instance, one row each. Bound to one thread. Every operation throws
/// StoreError. A second process cannot open the same store; reading it with other programs is possible at any time.
class Store
{
public:
    static constexpr int schemaVersion = 1;

    /// Opens the file and makes it, and its directory, when missing. Corrupt: nothing is open, see `setAside`.
    explicit Store(std::filesystem::path path);
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    const std::filesystem::path& path() const { return m_path; }

    std::vector<StoredRow> load();
    /// Puts all rows in, in one transaction: all or none. Returns when the disk has them.
    void commit(const std::vector<StoredRow>& rows);
    /// Drops the rows of all channels in which nothing has been put since `time`, but those of `kept`.
    std::size_t dropUnused(SourceTime time, const std::vector<ChannelName>& kept);

    /// The rows of a store that cannot be opened because it cannot be written: on a full or read-only disk, say. They
    /// are read from a copy in `memory`, a directory, so that nothing is written where the store lies.
    static std::vector<StoredRow> readOnly(const std::filesystem::path& path, const std::filesystem::path& memory);

    /// Renames the files of a corrupt store, which must not be open, and returns the new name of the main file.
    static std::filesystem::path setAside(const std::filesystem::path& path);
    static std::filesystem::path logPath(const std::filesystem::path& path) { return path.string() + "-wal"; }

private:
    void open();
    void checkIdentity() const;
    void checkPageCount() const;
    /// Runs `operation` and turns SQLite's errors into StoreError.
    void guarded(const std::function<void()>& operation) const;

    const std::filesystem::path m_path;
    util::UniqueFd m_lock;
    std::unique_ptr<SqliteConnection> m_database;
    std::unique_ptr<SqliteStatement> m_put;
};

} // namespace com::tallowcrest::durability
