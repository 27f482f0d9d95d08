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
        m_sut = std::make_unique<StoreKeeper>(m_path, m_channels, [this] { ++m_loaded; });
    }
    void take(std::uint32_t number, std::uint32_t input)
    {
        const BusOutput sample = busOutput(number, input);
        channel().apply(std::to_string(number), &sample, ++m_time, Channel::Origin::Writer);
        m_sut->wake();
    }
    Channel& channel() { return *m_channels.get({"R1", "Topic"}, outputCodec()); }
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
    com::tallowcrest::util::WakeEvent m_recorder;
    ChannelList m_channels{m_recorder};
    std::atomic<int> m_loaded{0};
    SourceTime m_time = 1000;
    std::unique_ptr<StoreKeeper> m_sut;
};

} // namespace

TEST_F(StoreKeeperTest, CommitsWhatIsDue)
{
    start();
    ASSERT_TRUE(waitUntil([this] { return m_sut->hasTried(); }));

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

TEST_F(StoreKeeperTest, LogIsForcedToTheDiskAfterEveryCommit)
{
    const testsupport::ForcedFiles disk;
    start();
    const auto forcings = [&] { return disk.of(Store::logPath(m_path)); };
    ASSERT_TRUE(waitUntil([&] { return m_loaded == 1 && !forcings().empty(); })) << "the beginning of a new log";
    const std::size_t before = forcings().size();
    const auto begin = std::chrono::steady_clock::now();

    for (std::uint32_t i = 1; i <= 2; ++i)
    {
        take(7, i);
        ASSERT_TRUE(waitUntil([&] { return forcings().size() >= before + i; })) << i;
    }

    EXPECT_GE(forcings()[before + 1].when - begin, LogForcer::usualInterval);
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
    m_sut.reset();

    const auto forcings = disk.of(Store::logPath(m_path));
    ASSERT_FALSE(forcings.empty());
    EXPECT_EQ(forcings.back().size, std::filesystem::file_size(Store::logPath(m_path)));
    EXPECT_EQ(reader.number("SELECT count(*) FROM durable_sample"), 2);
}

TEST_F(StoreKeeperTest, DiskThatHangsWhileTheLogIsForcedHoldsUpNoCommit)
{
    testsupport::ForcedFiles disk;
    start();
    take(1, 5);
    ASSERT_TRUE(waitForRows(1));
    disk.hold();

    for (std::uint32_t i = 2; i <= 4; ++i)
    {
        take(i, 5);
        EXPECT_TRUE(waitForRows(i));
    }

    disk.release();
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
}

TEST_F(StoreKeeperTest, StoreThatIsDamagedWhileInUseIsSetAsideAndNothingKnownIsLost)
{
    start();
    for (std::uint32_t i = 0; i < 2000; ++i)
    {
        take(i, 5);
    }
    ASSERT_TRUE(waitForRows(2000));
    SqliteConnection(m_path.string()).execute("PRAGMA wal_checkpoint(TRUNCATE)");
    {
        std::fstream file(m_path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(4096);
        file << std::string(static_cast<std::size_t>(std::filesystem::file_size(m_path)) - 4096, '\xa5');
    }

    for (std::uint32_t i = 0; i < 2000; ++i)
    {
        take(i, 6);
    }

    ASSERT_EQ(warnings().size(), 1U);
    EXPECT_NE(warnings()[0].find("is corrupt"), std::string::npos) << warnings()[0];
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
    EXPECT_EQ(m_loaded, 1);
}

TEST_F(StoreKeeperTest, CorruptStoreThatCannotBeSetAsideIsOneWarningAndLeftAsItIs)
{
    testsupport::writeFile(m_path, std::string(10000, 'x'));
    if (!testsupport::withFailingCalls(testsupport::failingRename(EROFS), [this] { start(); }))
    {
        GTEST_SKIP() << "system calls cannot be made to fail here";
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

TEST_F(StoreKeeperTest, LogThatAReaderKeptFromBeingMovedIsCutOnceTheReaderHasGone)
{
    start();
    take(0, 1);
    ASSERT_TRUE(waitForRows(1));
    const auto logSize = [this] { return std::filesystem::file_size(Store::logPath(m_path)); };
    auto reader = std::make_unique<SqliteConnection>(m_path.string());
    reader->execute("BEGIN");
    ASSERT_EQ(reader->number("SELECT count(*) FROM durable_sample"), 1); // holds the log from here on
    std::uint32_t input = 2;
    const auto takeMany = [&] {
        for (std::uint32_t i = 0; i < 2000; ++i)
        {
            take(i, input);
        }
        ++input;
    };
    ASSERT_TRUE(waitUntil(
        [&] {
            takeMany();
            return logSize() > StoreKeeper::longestLog;
        },
        std::chrono::seconds(150))); // as many commits, half a second apart

    reader.reset();

    EXPECT_TRUE(waitUntil([&] {
        take(0, input++);
        return logSize() < 1000000;
    }));
    collect();
    EXPECT_TRUE(m_warnings.empty()) << m_warnings[0];
    EXPECT_EQ(storedRows(), 2000U);
}
