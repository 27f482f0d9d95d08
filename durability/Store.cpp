#include "durability/Store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <system_error>
#include <utility>

namespace com::tallowcrest::durability
{

namespace
{

/// "KBDS": says in the file's header whose it is.
constexpr std::int64_t applicationId = 0x4b424453;

constexpr const char* schema = R"sql(
BEGIN;
CREATE TABLE durable_sample (
  partition TEXT NOT NULL,     -- the bus partition, "com:tallowcrest:routing:" and the router partition
  topic     TEXT NOT NULL,
  instance  TEXT NOT NULL,     -- the key members of the sample, separated by commas
  type      TEXT NOT NULL,     -- the registered name of the data type
  written   INTEGER NOT NULL,  -- source timestamp: microseconds since 1970 (UTC)
  payload   TEXT NOT NULL,     -- the sample as a JSON object
  PRIMARY KEY (partition, topic, instance)
) WITHOUT ROWID;
CREATE VIEW durable_readable AS
  SELECT partition, topic, instance,
         strftime('%Y-%m-%d %H:%M:%S', written / 1000000, 'unixepoch') || printf('.%06d', written % 1000000) AS written_utc,
         payload
  FROM durable_sample ORDER BY partition, topic, CAST(instance AS INTEGER), instance;
PRAGMA application_id = 0x4b424453;
PRAGMA user_version = 1;
COMMIT;
)sql";

/// Bytes that a file may claim to have beyond those that are there: pages that were free when the log was written may
/// not be in it.
constexpr std::uintmax_t missingAllowed = std::uintmax_t{64} * 1024 * 1024;

constexpr const char* putRow = R"sql(
INSERT INTO durable_sample (partition, topic, instance, type, written, payload) VALUES (?1, ?2, ?3, ?4, ?5, ?6)
ON CONFLICT (partition, topic, instance)
DO UPDATE SET type = excluded.type, written = excluded.written, payload = excluded.payload
)sql";

std::string systemText(int number)
{
    return std::generic_category().message(number);
}

util::UniqueFd lockFile(const std::filesystem::path& path)
{
    const std::string name = path.string() + ".lock";
    util::UniqueFd file(::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (!file.isOpen())
    {
        throw StoreError(StoreFailure::Unusable, "cannot make " + name + ": " + systemText(errno));
    }
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0)
    {
        const int number = errno;
        throw StoreError(number == EWOULDBLOCK ? StoreFailure::InUse : StoreFailure::Unusable,
                         number == EWOULDBLOCK ? "another process uses it"
                                               : "cannot lock " + name + ": " + systemText(number));
    }
    return file;
}

/// Whether there is memory for our statements: then a file for which SQLite finds none is to blame itself. A broken
/// schema makes SQLite say so at times.
bool isMemoryAvailable()
{
    try
    {
        SqliteConnection(":memory:").execute(schema);
        return true;
    }
    catch (const SqliteError&)
    {
        return false;
    }
}

/// More than this is no store of ours: it is not copied into memory.
constexpr std::uintmax_t largestCopy = std::uintmax_t{64} * 1024 * 1024;

/// Copies a file of a store; false when there is none.
bool copyInto(const std::filesystem::path& from, const std::filesystem::path& target)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(from, error);
    if (error == std::errc::no_such_file_or_directory)
    {
        return false;
    }
    if (!error && size > largestCopy)
    {
        throw StoreError(StoreFailure::Unusable, from.filename().string() + " is too large to be copied");
    }
    if (!error)
    {
        std::filesystem::copy_file(from, target, error);
    }
    if (error)
    {
        throw StoreError(StoreFailure::Unusable, "cannot copy " + from.filename().string() + ": " + error.message());
    }
    return true;
}

/// A directory of our own that goes with everything in it.
class PrivateDirectory
{
public:
    explicit PrivateDirectory(const std::filesystem::path& parent) : m_path((parent / "korabridge-XXXXXX").string())
    {
        if (::mkdtemp(m_path.data()) == nullptr)
        {
            throw StoreError(StoreFailure::Unusable,
                             "cannot make a directory in " + parent.string() + ": " + systemText(errno));
        }
    }
    ~PrivateDirectory()
    {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    PrivateDirectory(const PrivateDirectory&) = delete;
    PrivateDirectory& operator=(const PrivateDirectory&) = delete;

    std::filesystem::path path() const { return m_path; }

private:
    std::string m_path;
};

/// A new directory entry survives a power cut only when the directory itself has been written.
void syncDirectory(const std::filesystem::path& directory)
{
    const util::UniqueFd fd(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd.isOpen() || ::fsync(fd.get()) != 0)
    {
        throw StoreError(StoreFailure::Unusable,
                         "cannot write directory " + directory.string() + ": " + systemText(errno));
    }
}

} // namespace

Store::Store(std::filesystem::path path) : m_path(std::move(path))
{
    std::error_code error;
    const std::filesystem::path directory = m_path.has_parent_path() ? m_path.parent_path() : ".";
    std::filesystem::create_directories(directory, error);
    if (error)
    {
        throw StoreError(StoreFailure::Unusable,
                         "cannot make directory " + directory.string() + ": " + error.message());
    }
    m_lock = lockFile(m_path);
    const bool isNew = !std::filesystem::exists(m_path, error);
    guarded([this] { open(); });
    if (isNew)
    {
        syncDirectory(directory);
    }
}

void Store::open()
{
    m_database = std::make_unique<SqliteConnection>(m_path.string());
    const bool isNew =
        m_database->number("SELECT count(*) FROM sqlite_master") == 0 && m_database->number("PRAGMA user_version") == 0;
    if (!isNew)
    {
        checkIdentity();
    }
    if (m_database->isReadOnly())
    {
        // Either the system forbids it, or the file's own header does, which ours never would.
        const bool isAllowed = ::access(m_path.c_str(), W_OK) == 0;
        throw StoreError(isAllowed ? StoreFailure::Corrupt : StoreFailure::Unusable, "the file cannot be written");
    }
    if (isNew)
    {
        // A commit writes whole pages; rows are short.
        m_database->execute("PRAGMA page_size = 1024");
    }
    // The log lets operators read beside us. A commit returns when the disk has it.
    m_database->execute("PRAGMA journal_mode = WAL");
    m_database->execute("PRAGMA synchronous = FULL");
    // A reader beside us keeps the log from being moved into the file; it is cut once the reader has gone.
    m_database->execute("PRAGMA journal_size_limit = 1048576");
    m_database->execute("PRAGMA cache_size = -64"); // KiB: rows are written once and read at the start
    if (isNew)
    {
        m_database->execute(schema); // a transaction that fails goes with the connection
    }
    checkPageCount();
    const std::string verdict = m_database->text("PRAGMA quick_check(1)");
    if (verdict != "ok")
    {
        throw StoreError(StoreFailure::Corrupt, verdict);
    }
    m_put = std::make_unique<SqliteStatement>(*m_database, putRow);
}

void Store::checkIdentity() const
{
    if (m_database->number("PRAGMA application_id") != applicationId)
    {
        throw StoreError(StoreFailure::Foreign, "it is the database of another program");
    }
    const std::int64_t version = m_database->number("PRAGMA user_version");
    if (version > schemaVersion)
    {
        throw StoreError(StoreFailure::NewerVersion, "its schema version " + std::to_string(version) +
                                                         " is newer than " + std::to_string(schemaVersion));
    }
}

void Store::checkPageCount() const
{
    // The log can claim any number of pages. The check of the file would need a bit for each, and it does not mind
    // pages that are not there: SQLite would refuse only later, when the log is to be moved into the file.
    const auto claimed =
        static_cast<std::uintmax_t>(m_database->number("PRAGMA page_count") * m_database->number("PRAGMA page_size"));
    std::error_code error;
    std::error_code ignored; // there may be no log
    const auto size = std::filesystem::file_size(m_path, error);
    const auto log = std::filesystem::file_size(logPath(m_path), ignored);
    if (!error && claimed > size + (ignored ? 0 : log) + missingAllowed)
    {
        throw StoreError(StoreFailure::Corrupt, "it claims to have " + std::to_string(claimed) + " bytes");
    }
}

std::vector<StoredRow> Store::load()
{
    std::vector<StoredRow> rows;
    guarded([&] {
        SqliteStatement all(*m_database,
                            "SELECT partition, topic, instance, type, written, payload FROM durable_sample");
        while (all.step())
        {
            rows.push_back({{all.text(0), all.text(1)}, all.text(2), all.text(3), all.number(4), all.text(5)});
        }
    });
    return rows;
}

void Store::commit(const std::vector<StoredRow>& rows)
{
    guarded([&] {
        m_database->execute("BEGIN IMMEDIATE");
        try
        {
            for (const StoredRow& row : rows)
            {
                m_put->bind(1, row.channel.partition);
                m_put->bind(2, row.channel.topic);
                m_put->bind(3, row.instance);
                m_put->bind(4, row.type);
                m_put->bind(5, row.written);
                m_put->bind(6, row.payload);
                m_put->step();
                m_put->reset();
            }
            m_database->execute("COMMIT");
        }
        catch (const SqliteError&)
        {
            m_put->reset();
            // Some errors have ended the transaction already; then there is nothing to roll back.
            if (sqlite3_get_autocommit(m_database->handle()) == 0)
            {
                m_database->execute("ROLLBACK");
            }
            throw;
        }
    });
}

std::size_t Store::dropUnused(SourceTime time, const std::vector<ChannelName>& kept)
{
    std::vector<ChannelName> unused;
    guarded([&] {
        SqliteStatement channels(*m_database,
                                 "SELECT partition, topic, max(written) FROM durable_sample GROUP BY 1, 2");
        while (channels.step())
        {
            const ChannelName name{channels.text(0), channels.text(1)};
            if (channels.number(2) < time && std::find(kept.begin(), kept.end(), name) == kept.end())
            {
                unused.push_back(name);
            }
        }
        SqliteStatement drop(*m_database, "DELETE FROM durable_sample WHERE partition = ?1 AND topic = ?2");
        for (const ChannelName& name : unused)
        {
            drop.bind(1, name.partition);
            drop.bind(2, name.topic);
            drop.step();
            drop.reset();
        }
    });
    return unused.size();
}

std::vector<StoredRow> Store::readOnly(const std::filesystem::path& path, const std::filesystem::path& memory)
{
    const PrivateDirectory directory(memory);
    const std::filesystem::path copy = directory.path() / "copy.db";
    if (!copyInto(path, copy))
    {
        return {};
    }
    // What the log of a process that ended suddenly holds is read with it.
    copyInto(logPath(path), logPath(copy));
    return Store(copy).load();
}

std::filesystem::path Store::setAside(const std::filesystem::path& path)
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    ::gmtime_r(&now, &utc);
    char stamp[32] = {};
    static_cast<void>(std::strftime(stamp, sizeof(stamp), "%Y%m%dT%H%M%SZ", &utc));
    const std::string base = path.string() + ".corrupt-" + stamp;
    std::filesystem::path target = base;
    std::error_code error;
    for (int i = 2; std::filesystem::exists(target, error); ++i)
    {
        target = base + "-" + std::to_string(i);
    }
    std::filesystem::rename(path, target, error);
    if (error)
    {
        throw StoreError(StoreFailure::Unusable, "cannot rename it to " + target.string() + ": " + error.message());
    }
    // The log belongs to the main file under the same name. What is left of it must not meet the new file.
    for (const char* suffix : {"-wal", "-shm"})
    {
        std::filesystem::rename(path.string() + suffix, target.string() + suffix, error);
        if (error && error != std::errc::no_such_file_or_directory)
        {
            throw StoreError(StoreFailure::Unusable,
                             "cannot rename " + path.string() + suffix + ": " + error.message());
        }
    }
    return target;
}

void Store::guarded(const std::function<void()>& operation) const
{
    try
    {
        operation();
    }
    catch (const SqliteError& error)
    {
        const bool isCorrupt = error.isCorruption() || (error.isOutOfMemory() && isMemoryAvailable());
        throw StoreError(isCorrupt ? StoreFailure::Corrupt : StoreFailure::Unusable, error.what());
    }
}

} // namespace com::tallowcrest::durability
