#include "durability/Store.h"

#include "durability/DurableSettings.h"
#include "tests/support/FailingCall.h"
#include "tests/support/ForcedFiles.h"
#include "tests/support/SqliteLog.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace com::tallowcrest::durability;

namespace
{

class StoreTest : public testing::Test
{
protected:
    static StoredRow row(const std::string& instance, SourceTime written = 100, const std::string& payload = "{}",
                         const std::string& partition = "R1")
    {
        return {{partition, "Topic"}, instance, "Type", written, payload};
    }
    static std::vector<StoredRow> rows(std::size_t count, SourceTime written)
    {
        std::vector<StoredRow> result;
        for (std::size_t i = 0; i < count; ++i)
        {
            result.push_back(row(std::to_string(i), written, R"({"macroXptOutput":1,"macroXptInput":2,"when":3})"));
        }
        return result;
    }
    /// A store without a log: the last connection that closes moves it into the file.
    void makeStore() const { const Store store(m_path); }
    /// What opening the file fails with.
    StoreFailure failure() const
    {
        try
        {
            const Store store(m_path);
        }
        catch (const StoreError& error)
        {
            return error.failure();
        }
        ADD_FAILURE() << "the store opened";
        return StoreFailure::Unusable;
    }
    /// Makes a store of one row that is still in the log, and makes that log claim that the file has `count` pages.
    void claimPages(std::uint32_t count) const
    {
        namespace log = testsupport::sqliteLog;
        const std::filesystem::path copy = m_path.string() + "-copy";
        std::vector<std::uint8_t> bytes;
        {
            Store store(m_path);
            store.commit({row("1")});
            std::ifstream file(m_path.string() + "-wal", std::ios::binary);
            bytes.assign(std::istreambuf_iterator<char>(file), {});
            std::filesystem::copy_file(m_path, copy); // the log is gone when the store is closed
        }
        const std::size_t frameBytes = log::frameHeaderBytes + log::wordAt(bytes, log::pageBytesOffset);
        ASSERT_GE(bytes.size(), log::headerBytes + frameBytes);
        ASSERT_EQ(log::wordAt(bytes, log::headerBytes), 1U) << "the first page comes first";
        // A change counter that does not match makes SQLite distrust the count of pages in the first page.
        constexpr std::size_t changeCounterOffset = 24;
        log::setWord(bytes, log::headerBytes + log::frameHeaderBytes + changeCounterOffset, 0xffffffffU);
        log::setWord(bytes, bytes.size() - frameBytes + log::pageCountOffset, count);
        log::repair(bytes);
        std::filesystem::rename(copy, m_path);
        std::ofstream file(m_path.string() + "-wal", std::ios::binary);
        for (const std::uint8_t byte : bytes)
        {
            file.put(static_cast<char>(byte));
        }
    }
    void overwrite(std::streamoff offset, std::size_t count) const
    {
        std::fstream file(m_path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(offset);
        file << std::string(count, '\xa5');
    }

    testsupport::TempDir m_directory;
    std::filesystem::path m_path = m_directory.path() / "some" / "where" / "durable.db";
};

} // namespace

TEST_F(StoreTest, MakesMissingDirectoryAndFile)
{
    Store sut(m_path);

    EXPECT_TRUE(std::filesystem::exists(m_path));
    EXPECT_TRUE(sut.load().empty());
}

TEST_F(StoreTest, GivesBackWhatWasCommittedBefore)
{
    const std::vector<StoredRow> written{row("1"), row("2", 200, "{\"a\":1}"), row("1", 300, "{}", "R2")};
    Store(m_path).commit(written);

    EXPECT_EQ(Store(m_path).load(), written);
}

TEST_F(StoreTest, KeepsOneRowForAnInstance)
{
    Store sut(m_path);
    sut.commit({row("1", 100, "old")});

    sut.commit({row("1", 200, "new")});

    EXPECT_EQ(sut.load(), std::vector<StoredRow>{row("1", 200, "new")});
}

TEST_F(StoreTest, SecondOpeningIsRefusedWhileTheFirstLastsAndNoLonger)
{
    const std::vector<StoredRow> written{row("1")};
    {
        Store first(m_path);
        EXPECT_EQ(failure(), StoreFailure::InUse);
        first.commit(written); // the refused one has done no harm
    }

    Store second(m_path);
    EXPECT_EQ(second.load(), written);
}

TEST_F(StoreTest, OthersCanReadWhileItIsOpen)
{
    Store sut(m_path);
    sut.commit({row("7", 1790000000123456, "{}")});

    const SqliteConnection reader(m_path.string());

    EXPECT_EQ(reader.text("SELECT written_utc FROM durable_readable WHERE instance = '7'"),
              "2026-09-21 14:13:20.123456");
    sut.commit({row("8")});
    EXPECT_EQ(reader.number("SELECT count(*) FROM durable_sample"), 2);
}

TEST_F(StoreTest, DirectoryThatCannotBeMadeIsUnusable)
{
    std::filesystem::create_directories(m_directory.path() / "some");
    testsupport::writeFile(m_directory.path() / "some" / "where", "a file");

    EXPECT_EQ(failure(), StoreFailure::Unusable);
}

TEST_F(StoreTest, DirectoryInPlaceOfTheFileIsUnusable)
{
    std::filesystem::create_directories(m_path);

    EXPECT_EQ(failure(), StoreFailure::Unusable);
}

TEST_F(StoreTest, FileOfNonsenseIsCorruptAndCanBeSetAside)
{
    std::filesystem::create_directories(m_path.parent_path());
    testsupport::writeFile(m_path, std::string(8192, 'x'));
    ASSERT_EQ(failure(), StoreFailure::Corrupt);

    const auto aside = Store::setAside(m_path);

    EXPECT_EQ(testsupport::readFile(aside), std::string(8192, 'x'));
    EXPECT_TRUE(Store(m_path).load().empty());
}

TEST_F(StoreTest, OverwrittenPageIsCorrupt)
{
    {
        Store store(m_path);
        store.commit(rows(2000, 100));
    }
    overwrite(3 * 4096, 4096);

    EXPECT_EQ(failure(), StoreFailure::Corrupt);
}

TEST_F(StoreTest, StoreWithoutItsTableIsCorrupt)
{
    Store(m_path).commit({row("1")});
    SqliteConnection(m_path.string()).execute("DROP TABLE durable_sample");

    EXPECT_EQ(failure(), StoreFailure::Corrupt);
}

TEST_F(StoreTest, LogThatClaimsBillionsOfPagesIsCorruptionAndTakesLittleMemory)
{
    claimPages(0xfffffff0U);
    sqlite3_memory_highwater(1);

    EXPECT_EQ(failure(), StoreFailure::Corrupt);

    EXPECT_LE(sqlite3_memory_highwater(0), 1024 * 1024);
    Store::setAside(m_path);
    EXPECT_TRUE(Store(m_path).load().empty());
}

TEST_F(StoreTest, LogThatClaimsAHundredMegabytesIsCorruptionAndMakesNoLargeFile)
{
    claimPages(100U * 1024U);

    EXPECT_EQ(failure(), StoreFailure::Corrupt);

    EXPECT_LT(std::filesystem::file_size(m_path), 1024U * 1024U);
}

TEST_F(StoreTest, LogThatClaimsAFewPagesTooManyIsBelieved)
{
    claimPages(100);

    EXPECT_EQ(Store(m_path).load(), (std::vector<StoredRow>{row("1")}));
}

TEST_F(StoreTest, NoStatementTakesMoreMemoryThanTheLimit)
{
    const SqliteConnection sut(":memory:");

    EXPECT_THROW(sut.text("SELECT length(zeroblob(64 * 1024 * 1024) || 'a')"), SqliteError);
}

TEST_F(StoreTest, RowThatAForeignRuleForbidsIsCorruption)
{
    {
        const Store store(m_path);
    }
    SqliteConnection(m_path.string())
        .execute("CREATE TRIGGER foreign_rule BEFORE INSERT ON durable_sample "
                 "BEGIN SELECT RAISE(ABORT, 'no'); END");
    Store sut(m_path);

    try
    {
        sut.commit({row("1")});
        ADD_FAILURE() << "the row was put in";
    }
    catch (const StoreError& error)
    {
        EXPECT_EQ(error.failure(), StoreFailure::Corrupt) << error.what();
    }
}

TEST_F(StoreTest, FormatOfALaterSqliteIsCorrupt)
{
    makeStore();
    constexpr std::streamoff schemaFormat = 44;
    overwrite(schemaFormat, 4);

    EXPECT_EQ(failure(), StoreFailure::Corrupt);
}

TEST_F(StoreTest, HeaderThatForbidsWritingIsCorrupt)
{
    makeStore();
    constexpr std::streamoff writeVersion = 18;
    overwrite(writeVersion, 1);

    EXPECT_EQ(failure(), StoreFailure::Corrupt);
}

TEST_F(StoreTest, TwoCorruptStoresInOneSecondAreBothKept)
{
    std::filesystem::create_directories(m_path.parent_path());
    testsupport::writeFile(m_path, "first");
    const auto first = Store::setAside(m_path);
    testsupport::writeFile(m_path, "second");

    const auto second = Store::setAside(m_path);

    EXPECT_EQ(testsupport::readFile(first), "first");
    EXPECT_EQ(testsupport::readFile(second), "second");
}

TEST_F(StoreTest, NewerSchemaIsLeftAsItIs)
{
    Store(m_path).commit({row("1")});
    SqliteConnection(m_path.string()).execute("PRAGMA user_version = 2");

    EXPECT_EQ(failure(), StoreFailure::NewerVersion);

    EXPECT_EQ(SqliteConnection(m_path.string()).number("SELECT count(*) FROM durable_sample"), 1);
    EXPECT_EQ(SqliteConnection(m_path.string()).number("PRAGMA user_version"), 2);
}

TEST_F(StoreTest, DatabaseOfAnotherProgramIsLeftAsItIs)
{
    std::filesystem::create_directories(m_path.parent_path());
    SqliteConnection(m_path.string()).execute("CREATE TABLE theirs (x)");

    EXPECT_EQ(failure(), StoreFailure::Foreign);

    EXPECT_EQ(SqliteConnection(m_path.string()).number("SELECT count(*) FROM sqlite_master"), 1);
}

TEST_F(StoreTest, CommitReturnsWhenTheDiskHasIt)
{
    const testsupport::ForcedFiles disk;
    Store sut(m_path);
    const auto log = Store::logPath(m_path);
    sut.commit({row("1")});
    const std::size_t before = disk.of(log).size();

    sut.commit({row("2")});

    const auto forcings = disk.of(log);
    ASSERT_GT(forcings.size(), before);
    EXPECT_EQ(forcings.back().size, std::filesystem::file_size(log));
}

TEST_F(StoreTest, LogIsMovedIntoTheFileOnTheWayAndWhenItIsClosed)
{
    {
        Store sut(m_path);
        for (int i = 0; i < 50; ++i)
        {
            sut.commit(rows(300, i));
            ASSERT_LT(std::filesystem::file_size(Store::logPath(m_path)), 2000000U) << i;
        }
    }

    EXPECT_FALSE(std::filesystem::exists(Store::logPath(m_path)));
    EXPECT_LT(std::filesystem::file_size(m_path), 200000U);
    EXPECT_EQ(Store(m_path).load().size(), 300U);
}

TEST_F(StoreTest, LogThatAReaderKeptFromBeingMovedIsCutOnceTheReaderHasGone)
{
    Store sut(m_path);
    sut.commit(rows(300, 1));
    const auto logSize = [this] { return std::filesystem::file_size(Store::logPath(m_path)); };
    auto reader = std::make_unique<SqliteConnection>(m_path.string());
    reader->execute("BEGIN");
    ASSERT_EQ(reader->number("SELECT count(*) FROM durable_sample"), 300); // holds the log from here on
    for (int i = 2; logSize() < 4000000U; ++i)
    {
        sut.commit(rows(300, i));
        ASSERT_LT(i, 1000) << "the log is not held";
    }

    reader.reset();
    // One commit moves the log, the next begins it anew, which cuts it.
    sut.commit({row("1")});
    sut.commit({row("2")});

    EXPECT_LE(logSize(), 1048576U);
    EXPECT_EQ(sut.load().size(), 300U);
}

TEST_F(StoreTest, ChannelsInWhichNothingHasBeenPutForLongAreDroppedUnlessTheyAreInUse)
{
    Store sut(m_path);
    const std::vector<StoredRow> stay{row("1", 199, "{}", "old and used"), row("1", 1, "{}", "partly new"),
                                      row("2", 200, "{}", "partly new")};
    sut.commit(stay);
    sut.commit({row("1", 199, "{}", "old"), row("2", 1, "{}", "old"), row("1", 5, "{}", "older")});

    EXPECT_EQ(sut.dropUnused(200, {{"old and used", "Topic"}}), 2U);

    EXPECT_EQ(sut.load(), stay);
    EXPECT_EQ(sut.dropUnused(200, {{"old and used", "Topic"}}), 0U);
}

TEST_F(StoreTest, StoreThatCannotBeWrittenIsReadFromACopyThatIsGoneAfterwards)
{
    const std::filesystem::path memory = m_directory.path() / "memory";
    std::filesystem::create_directory(memory);
    Store open(m_path); // its log holds the rows
    open.commit({row("1"), row("2", 200)});

    EXPECT_EQ(Store::readOnly(m_path, memory), (std::vector<StoredRow>{row("1"), row("2", 200)}));

    EXPECT_TRUE(std::filesystem::is_empty(memory));
}

TEST_F(StoreTest, FileThatIsNoStoreIsNotCopiedWhateverItsSize)
{
    const std::filesystem::path memory = m_directory.path() / "memory";
    std::filesystem::create_directory(memory);
    makeStore();
    std::filesystem::resize_file(m_path, (std::uintmax_t{64} << 20U) + 1);

    EXPECT_THROW(Store::readOnly(m_path, memory), StoreError);

    EXPECT_TRUE(std::filesystem::is_empty(memory));
    EXPECT_TRUE(Store::readOnly(m_path.string() + "-missing", memory).empty());
}

TEST_F(StoreTest, LockFileThatCannotBeMadeIsUnusable)
{
    std::filesystem::create_directories(m_path.string() + ".lock"); // a directory stands in its place

    EXPECT_EQ(failure(), StoreFailure::Unusable);
}

TEST_F(StoreTest, DirectoryThatCannotBeForcedToTheDiskIsUnusable)
{
    std::string text;

    const bool isTried = testsupport::withFailingCalls({{SYS_fsync, EIO}}, [&] {
        try
        {
            const Store store(m_path);
        }
        catch (const StoreError& error)
        {
            text = error.what();
        }
    });

    if (!isTried)
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    EXPECT_EQ(text, "cannot write directory " + m_path.parent_path().string() + ": Input/output error");
}

TEST_F(StoreTest, StoreThatIsNotThereCannotBeSetAside)
{
    try
    {
        Store::setAside(m_path);
        ADD_FAILURE() << "it was set aside";
    }
    catch (const StoreError& error)
    {
        EXPECT_EQ(error.failure(), StoreFailure::Unusable);
        const std::string text = error.what();
        EXPECT_EQ(text.rfind("cannot rename it to " + m_path.string() + ".corrupt-", 0), 0U) << text;
        EXPECT_NE(text.find(": No such file or directory"), std::string::npos) << text;
    }
}

TEST_F(StoreTest, ValueThatIsNullReadsAsAnEmptyText)
{
    const SqliteConnection sut(":memory:");

    EXPECT_EQ(sut.text("SELECT NULL"), "");
    EXPECT_EQ(sut.text("SELECT 'x'"), "x");
}

TEST(StorePathTest, IsWhatTheVariableNamesAndTheSystemsWithoutOne)
{
    const char* const before = std::getenv("KORABRIDGE_DURABLE_STORE");
    const auto kept = before != nullptr ? std::optional<std::string>(before) : std::nullopt;

    ::setenv("KORABRIDGE_DURABLE_STORE", "/somewhere/else.db", 1);
    EXPECT_EQ(storePath(), "/somewhere/else.db");
    ::setenv("KORABRIDGE_DURABLE_STORE", "", 1);
    EXPECT_EQ(storePath(), "/var/lib/korabridge/durable.db");
    ::unsetenv("KORABRIDGE_DURABLE_STORE");
    EXPECT_EQ(storePath(), "/var/lib/korabridge/durable.db");

    if (kept)
    {
        ::setenv("KORABRIDGE_DURABLE_STORE", kept->c_str(), 1);
    }
}
