#include "durability/StoreKeeper.h"

#include "tests/support/FailingCall.h"
#include "tests/support/ForcedFiles.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/durability/OutputCodec.h"
#include "tests/unit/durability/StoreFixture.h"

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>

using namespace com::tallowcrest::durability;
using testsupport::waitUntil;

namespace
{

class StoreKeeperTest : public StoreFixture
{
protected:
    StoreKeeperTest()
    {
        std::filesystem::create_directory(m_directory.path() / "memory");
        ::setenv("KORABRIDGE_DURABLE_MEMORY", (m_directory.path() / "memory").c_str(), 1);
    }
    void TearDown() override
    {
        m_sut.reset();
        m_disk.reset();
    }
    /// A small disk for the store, of this process's own.
    void mountDisk()
    {
        m_disk.emplace(m_directory.path() / "disk");
        if (!m_disk->trouble().empty())
        {
            GTEST_SKIP() << m_disk->trouble();
        }
        m_path = m_disk->path() / "durable.db";
    }
    void start()
    {
        m_sut = std::make_unique<StoreKeeper>(m_path, [this] { ++m_loaded; });
    }
    void take(std::uint32_t number, std::uint32_t input)
    {
        put(number, input);
        m_sut->wake();
    }
    void put(std::uint32_t number, std::uint32_t input)
    {
        StoredRow row{m_channel, std::to_string(number), "T", ++m_time, contentOf(number, input)};
        m_known.insert_or_assign(number, row);
        m_sut->put(std::move(row));
    }
    /// As the recorder does when the store was lost.
    void putAllAgain()
    {
        for (const auto& [number, row] : m_known)
        {
            m_sut->put(row);
        }
        m_sut->wake();
    }
    /// Ends the keeper and looks into the store.
    std::size_t storedRows()
    {
        m_sut.reset();
        return Store(m_path).load().size();
    }
    bool waitForRows(std::int64_t count) const
    {
        return waitUntil([&] {
            try
            {
                return SqliteConnection(m_path.string()).number("SELECT count(*) FROM durable_sample") == count;
            }
            catch (const SqliteError&)
            {
                return false;
            }
        });
    }
    /// The warnings so far; waits until there is one.
    std::vector<std::string> warnings()
    {
        waitUntil([this] {
            collect();
            return !m_warnings.empty();
        });
        return m_warnings;
    }
    void collect()
    {
        for (const std::string& line : m_log.takeTexts())
        {
            (line.starts_with("WARN") ? m_warnings : m_others).push_back(line);
        }
    }
    /// True when `text` was logged at another level.
    bool waitForOther(const std::string& text)
    {
        return waitUntil([&] {
            collect();
            for (const std::string& line : m_others)
            {
                if (line.find(text) != std::string::npos)
                {
                    return true;
                }
            }
            return false;
        });
    }

    std::optional<testsupport::SmallDisk> m_disk;
    std::vector<std::string> m_warnings;
    std::vector<std::string> m_others;
    const ChannelName m_channel{"R1", "Topic"};
    std::map<std::uint32_t, StoredRow> m_known;
    std::atomic<int> m_loaded{0};
    SourceTime m_time = 1000;
    std::unique_ptr<StoreKeeper> m_sut;
};

} // namespace

TEST_F(StoreKeeperTest, CommitsWhatIsDue)
{
    start();
    ASSERT_TRUE(waitUntil([this] { return m_sut->hasTried(m_channel); }));

    take(7, 5);

    ASSERT_TRUE(waitForRows(1));
    collect();
    EXPECT_TRUE(m_warnings.empty());
}

TEST_F(StoreKeeperTest, CommitsOnceMoreAtItsEnd)
{
    start();
    take(7, 5);

    EXPECT_EQ(storedRows(), 1U);
}

TEST_F(StoreKeeperTest, EveryCommitIsForcedToTheDiskAndTheyAreHalfASecondApart)
{
    const testsupport::ForcedFiles disk;
    start();
    const auto forcings = [&] { return disk.of(Store::logPath(m_path)); };
    ASSERT_TRUE(waitUntil([&] { return m_loaded == 1; }));
    std::vector<std::size_t> counts;
    for (std::uint32_t i = 1; i <= 3; ++i)
    {
        take(i, i);
        ASSERT_TRUE(waitForRows(i));
        ASSERT_TRUE(waitUntil([&] { return !m_sut->hasPending(m_channel); }));
        counts.push_back(forcings().size());
    }

    EXPECT_LT(counts[0], counts[1]);
    EXPECT_LT(counts[1], counts[2]);
    EXPECT_GE(forcings()[counts[2] - 1].when - forcings()[counts[1] - 1].when,
              StoreKeeper::commitInterval - std::chrono::milliseconds(20));
    EXPECT_EQ(forcings().back().size, std::filesystem::file_size(Store::logPath(m_path)));
}

TEST_F(StoreKeeperTest, LastCommitIsForcedToTheDiskAtTheEndAlsoWhereAReaderKeepsTheLog)
{
    const testsupport::ForcedFiles disk;
    start();
    take(7, 5);
    ASSERT_TRUE(waitForRows(1));
    const SqliteConnection reader(m_path.string());
    ASSERT_EQ(reader.number("SELECT count(*) FROM durable_sample"), 1);

    take(8, 6);
    EXPECT_TRUE(m_sut->finish());

    const auto forcings = disk.of(Store::logPath(m_path));
    ASSERT_FALSE(forcings.empty());
    EXPECT_EQ(forcings.back().size, std::filesystem::file_size(Store::logPath(m_path)));
    EXPECT_EQ(reader.number("SELECT count(*) FROM durable_sample"), 2);
}

TEST_F(StoreKeeperTest, DiskThatHangsHoldsUpNobodyWhoPutsSomething)
{
    testsupport::ForcedFiles disk;
    start();
    take(1, 5);
    ASSERT_TRUE(waitForRows(1));
    disk.hold();

    for (std::uint32_t i = 2; i <= 1000; ++i)
    {
        take(i, 5);
        EXPECT_TRUE(m_sut->takeLoaded(m_channel).empty());
    }
    EXPECT_TRUE(m_sut->hasPending(m_channel));

    disk.release();
    EXPECT_TRUE(waitForRows(1000));
}

TEST_F(StoreKeeperTest, RowPutWhileACommitOfItIsUnderWayIsNotLost)
{
    testsupport::ForcedFiles disk;
    start();
    take(7, 5);
    ASSERT_TRUE(waitForRows(1));
    disk.hold();
    take(7, 6);
    take(7, 7);
    disk.release();

    ASSERT_TRUE(waitUntil([&] { return !m_sut->hasPending(m_channel); }));

    m_sut.reset();
    EXPECT_EQ(Store(m_path).load(), std::vector<StoredRow>{m_known.at(7)});
}

TEST_F(StoreKeeperTest, HasPendingUntilTheStoreHasTheRowsOfThatChannel)
{
    start();
    put(7, 5);
    EXPECT_TRUE(m_sut->hasPending(m_channel));
    EXPECT_FALSE(m_sut->hasPending({"R1", "Topic2"}));
    EXPECT_FALSE(m_sut->hasPending({"R0", "Topic"}));
    m_sut->wake();

    EXPECT_TRUE(waitUntil([&] { return !m_sut->hasPending(m_channel); }));
    EXPECT_EQ(storedRows(), 1U);
}

TEST_F(StoreKeeperTest, WhatWasPutBeforeTheStoreCouldBeReadDoesNotReplaceWhatIsNewerThere)
{
    const StoredRow newer{m_channel, "7", "T", 5000, "newer"};
    const StoredRow older{m_channel, "8", "T", 1, "older"};
    const StoredRow nonsense{m_channel, "9", "T", latestOnBus, "nonsense"};
    auto other = std::make_unique<Store>(m_path);
    other->commit({newer, older, nonsense});
    start();
    ASSERT_EQ(warnings().size(), 1U);
    for (std::uint32_t number = 7; number <= 9; ++number)
    {
        put(number, 1); // of the times 1001 to 1003
    }
    m_sut->wake();

    other.reset();

    ASSERT_TRUE(waitForOther("in use again"));
    ASSERT_TRUE(waitUntil([&] { return !m_sut->hasPending(m_channel); }));
    EXPECT_EQ(m_sut->takeLoaded(m_channel), (std::vector<StoredRow>{newer, older, nonsense}));
    m_sut.reset();
    EXPECT_EQ(Store(m_path).load(), (std::vector<StoredRow>{newer, m_known.at(8), m_known.at(9)}));
}

TEST_F(StoreKeeperTest, RowsThatAreAskedForAreReadOnceMore)
{
    start();
    take(7, 5);
    ASSERT_TRUE(waitForRows(1));
    ASSERT_TRUE(m_sut->takeLoaded(m_channel).empty());
    const int before = m_loaded;

    m_sut->ask(m_channel);

    EXPECT_TRUE(waitUntil([&] { return m_sut->hasTried(m_channel); }));
    EXPECT_GT(m_loaded, before);
    EXPECT_EQ(m_sut->takeLoaded(m_channel), std::vector<StoredRow>{m_known.at(7)});
}

TEST_F(StoreKeeperTest, StoreHasBeenTriedWhenItIsReadAndWhatIsAskedForWhenThatIsReadToo)
{
    testsupport::ForcedFiles disk;
    disk.hold(); // the directory of a new store is forced
    start();
    EXPECT_FALSE(m_sut->hasTried(m_channel));
    disk.release();
    EXPECT_TRUE(waitUntil([&] { return m_sut->hasTried(m_channel); }));
    take(7, 5);
    ASSERT_TRUE(waitForRows(1));
    disk.hold();
    take(8, 5);

    m_sut->ask(m_channel);

    EXPECT_FALSE(m_sut->hasTried(m_channel));
    EXPECT_TRUE(m_sut->hasTried({"R1", "Other"}));
    disk.release();
    EXPECT_TRUE(waitUntil([&] { return m_sut->hasTried(m_channel); }));
}

TEST_F(StoreKeeperTest, ChannelsThatNobodyHasUsedForLongAreDroppedAndThatIsLogged)
{
    Store(m_path).commit({{{"old", "Topic"}, "7", "T", 99, "{}"},
                          {{"used", "Topic"}, "7", "T", 99, "{}"},
                          {{"new", "Topic"}, "7", "T", 100, "{}"}});
    start();

    m_sut->dropUnused(100, {{"used", "Topic"}});
    m_sut->wake();

    EXPECT_TRUE(waitForRows(2));
    EXPECT_TRUE(waitForOther("dropped 1 topics of partitions that nobody has used for long"));
}

TEST_F(StoreKeeperTest, WithoutAThreadItSaysSoOnceAndBeginsWhenThereIsOne)
{
    const bool isTried = testsupport::withFailingCalls(testsupport::failingThreadStart(), [&] {
        start();
        EXPECT_TRUE(m_sut->hasTried(m_channel)) << "nobody waits for it";
        take(7, 5);
    });
    if (!isTried)
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    ASSERT_EQ(warnings().size(), 1U);
    EXPECT_NE(warnings()[0].find("gets no thread: "), std::string::npos) << warnings()[0];

    m_sut->wake();

    EXPECT_TRUE(waitForRows(1));
    EXPECT_EQ(storedRows(), 1U);
}

TEST_F(StoreKeeperTest, WithoutAThreadToTheEndTheStoreDoesNotHaveEverything)
{
    const bool isTried = testsupport::withFailingCalls(testsupport::failingThreadStart(), [&] {
        start();
        put(7, 5);
        EXPECT_FALSE(m_sut->finish());
    });
    if (!isTried)
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
}

TEST_F(StoreKeeperTest, GivesTheRowsOfAChannelOnce)
{
    Store(m_path).commit({{{"R1", "Topic"}, "7", "T", 1, "{}"}, {{"R2", "Topic"}, "7", "T", 1, "{}"}});
    start();
    ASSERT_TRUE(waitUntil([this] { return m_loaded == 1; }));

    EXPECT_EQ(m_sut->takeLoaded({"R1", "Topic"}).size(), 1U);
    EXPECT_TRUE(m_sut->takeLoaded({"R1", "Topic"}).empty());
    EXPECT_EQ(m_sut->takeLoaded({"R2", "Topic"}).size(), 1U);
}

TEST_F(StoreKeeperTest, PlaceThatCannotBeWrittenIsOneWarningAndIsTriedAgain)
{
    testsupport::writeFile(m_directory.path() / "place", "no directory");
    m_path = m_directory.path() / "place" / "durable.db";
    start();
    ASSERT_TRUE(waitUntil([this] { return m_loaded == 1; }));
    take(7, 5);
    ASSERT_EQ(warnings().size(), 1U);
    EXPECT_NE(warnings()[0].find(m_path.string()), std::string::npos) << warnings()[0];
    EXPECT_NE(warnings()[0].find("Not a directory"), std::string::npos) << warnings()[0];

    std::filesystem::remove(m_directory.path() / "place");

    EXPECT_TRUE(waitForOther("in use again"));
    EXPECT_TRUE(waitForRows(1));
    EXPECT_EQ(warnings().size(), 1U);
}

TEST_F(StoreKeeperTest, StoreOfAnotherProcessIsOneWarningAndIsTakenWhenItIsFree)
{
    auto other = std::make_unique<Store>(m_path);
    start();
    take(7, 5);
    ASSERT_EQ(warnings().size(), 1U);
    EXPECT_NE(warnings()[0].find("another process"), std::string::npos) << warnings()[0];

    other.reset();

    EXPECT_TRUE(waitForOther("in use again"));
    EXPECT_TRUE(waitForRows(1));
    EXPECT_EQ(warnings().size(), 1U);
}

TEST_F(StoreKeeperTest, NewerSchemaIsOneWarningAndLeftAlone)
{
    Store(m_path).commit({{{"R1", "Topic"}, "7", "T", 1, "{}"}});
    SqliteConnection(m_path.string()).execute("PRAGMA user_version = 9");
    start();
    take(8, 5);

    ASSERT_EQ(warnings().size(), 1U);
    EXPECT_NE(warnings()[0].find("schema version 9"), std::string::npos) << warnings()[0];
    m_sut.reset();
    EXPECT_EQ(SqliteConnection(m_path.string()).number("SELECT count(*) FROM durable_sample"), 1);
}

TEST_F(StoreKeeperTest, CorruptStoreIsSetAsideAndEverythingKnownGoesIntoAFreshOne)
{
    testsupport::writeFile(m_path, std::string(10000, 'x'));
    start();
    take(7, 5);

    ASSERT_EQ(warnings().size(), 1U);
    EXPECT_NE(warnings()[0].find("is corrupt; it is now " + m_path.string() + ".corrupt-"), std::string::npos)
        << warnings()[0];
    EXPECT_TRUE(waitForRows(1));
    EXPECT_TRUE(m_sut->takeLost());
    EXPECT_FALSE(m_sut->takeLost()) << "once";
    EXPECT_TRUE(m_sut->hasTried(m_channel));
}

TEST_F(StoreKeeperTest, StoreThatIsDamagedWhileInUseIsSetAsideAndNothingKnownIsLost)
{
    start();
    for (std::uint32_t i = 0; i < 2000; ++i)
    {
        take(i, 5);
    }
    ASSERT_TRUE(waitForRows(2000));
    EXPECT_FALSE(m_sut->takeLost());
    SqliteConnection(m_path.string()).execute("PRAGMA wal_checkpoint(TRUNCATE)");
    {
        std::fstream file(m_path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(4096);
        file << std::string(static_cast<std::size_t>(std::filesystem::file_size(m_path)) - 4096, '\xa5');
    }

    for (std::uint32_t i = 0; i < 1000; ++i)
    {
        take(i, 6);
    }

    ASSERT_EQ(warnings().size(), 1U);
    EXPECT_NE(warnings()[0].find("is corrupt"), std::string::npos) << warnings()[0];
    ASSERT_TRUE(waitUntil([this] { return m_sut->takeLost(); }));
    putAllAgain();
    EXPECT_TRUE(waitForRows(2000));
    EXPECT_EQ(storedRows(), 2000U);
}

TEST_F(StoreKeeperTest, FullDiskIsOneWarningAndIsWrittenWhenThereIsRoom)
{
    ASSERT_NO_FATAL_FAILURE(mountDisk());
    if (IsSkipped())
    {
        return;
    }
    start();
    take(7, 5);
    ASSERT_TRUE(waitForRows(1));
    m_disk->fill();

    for (std::uint32_t i = 0; i < 200; ++i)
    {
        take(i, 6);
    }
    ASSERT_EQ(warnings().size(), 1U);
    EXPECT_NE(warnings()[0].find("full"), std::string::npos) << warnings()[0];
    m_disk->makeRoom();

    EXPECT_TRUE(waitForOther("in use again"));
    EXPECT_TRUE(waitForRows(200));
    EXPECT_EQ(storedRows(), 200U);
    EXPECT_EQ(m_warnings.size(), 1U);
}

TEST_F(StoreKeeperTest, StoreOnAFullDiskIsRead)
{
    ASSERT_NO_FATAL_FAILURE(mountDisk());
    if (IsSkipped())
    {
        return;
    }
    const StoredRow row{{"R1", "Topic"}, "7", "T", 1, "{}"};
    Store(m_path).commit({row});
    m_disk->fill();

    start();

    ASSERT_TRUE(waitUntil([this] { return m_loaded > 0; }));
    EXPECT_EQ(m_sut->takeLoaded({"R1", "Topic"}), std::vector<StoredRow>{row});
}

TEST_F(StoreKeeperTest, StoreOnAReadOnlyDiskIsReadWithTheLogOfAProcessThatWasKilled)
{
    ASSERT_NO_FATAL_FAILURE(mountDisk());
    if (IsSkipped())
    {
        return;
    }
    const StoredRow row{{"R1", "Topic"}, "7", "T", 1, "{}"};
    const std::filesystem::path other = m_directory.path() / "other.db";
    {
        Store killed(other);
        killed.commit({row});
        std::filesystem::copy_file(other, m_path);
        std::filesystem::copy_file(Store::logPath(other), Store::logPath(m_path));
    }
    ASSERT_TRUE(m_disk->remount(MS_RDONLY, "")) << std::strerror(errno);

    start();

    ASSERT_TRUE(waitUntil([this] { return m_loaded > 0; }));
    EXPECT_EQ(m_sut->takeLoaded({"R1", "Topic"}), std::vector<StoredRow>{row});
    EXPECT_TRUE(waitForOther("1 targets were read all the same"));
    ASSERT_EQ(warnings().size(), 1U);
    EXPECT_NE(warnings()[0].find("Read-only file system"), std::string::npos) << warnings()[0];
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_directory.path() / "memory"), {}), 0);
}

TEST_F(StoreKeeperTest, PathThatLeadsNowhereIsOneWarning)
{
    std::filesystem::create_symlink(m_path, m_path); // not even whether it exists can be told
    start();
    take(7, 5);

    ASSERT_EQ(warnings().size(), 1U);
    EXPECT_NE(warnings()[0].find("cannot be opened"), std::string::npos) << warnings()[0];
    EXPECT_TRUE(waitForOther("cannot be read either: cannot copy durable.db: Too many levels of symbolic links"));
    EXPECT_TRUE(waitUntil([this] { return m_loaded == 1; })) << "nobody waits for it";
}

TEST_F(StoreKeeperTest, CorruptStoreThatCannotBeSetAsideIsOneWarningAndLeftAsItIs)
{
    testsupport::writeFile(m_path, std::string(10000, 'x'));
    if (!testsupport::withFailingCalls(testsupport::failingRename(EROFS), [this] { start(); }))
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    take(7, 5);

    ASSERT_EQ(warnings().size(), 1U);
    EXPECT_NE(warnings()[0].find("is corrupt and cannot be begun anew: cannot rename it to "), std::string::npos)
        << warnings()[0];
    EXPECT_NE(warnings()[0].find("Read-only file system; targets are not kept until it can"), std::string::npos)
        << warnings()[0];
    take(8, 5);
    m_sut.reset();
    EXPECT_EQ(testsupport::readFile(m_path), std::string(10000, 'x'));
    EXPECT_EQ(warnings().size(), 1U);
}
