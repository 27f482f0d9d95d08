#include "durability/RecentRows.h"

#include "tests/support/FailingCall.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TempDir.h"
#include "tests/unit/durability/OutputCodec.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>

using namespace com::tallowcrest::durability;

namespace
{

const ChannelName name{"R1", "Topic"};
constexpr const char* noFailingCalls = "system calls cannot be made to fail here";

/// The file in memory of one store, and the lives of a process that use it one after the other.
class RecentRowsTest : public testing::Test
{
protected:
    RecentRowsTest() { ::setenv("KORABRIDGE_DURABLE_MEMORY", m_directory.path().c_str(), 1); }

    std::unique_ptr<RecentRows> life(bool isForgotten = false) const
    {
        return std::make_unique<RecentRows>(m_store, m_channels, isForgotten);
    }
    /// What a process leaves that is killed after these rows.
    void leave(const std::vector<StoredRow>& rows) const
    {
        const auto killed = life();
        for (const StoredRow& each : rows)
        {
            killed->append(each);
        }
        killed->flush();
        std::filesystem::copy_file(file(), m_directory.path() / "left",
                                   std::filesystem::copy_options::overwrite_existing);
    }
    /// After `leave`: the file as it was at the kill.
    std::unique_ptr<RecentRows> nextLife(bool isForgotten = false) const
    {
        std::filesystem::copy_file(m_directory.path() / "left", file(),
                                   std::filesystem::copy_options::overwrite_existing);
        return life(isForgotten);
    }
    static StoredRow row(const std::string& instance, SourceTime written, const std::string& payload = "{}")
    {
        return {name, instance, "Type", written, payload};
    }
    std::filesystem::path file() const { return RecentRows::fileOf(m_store); }

    testsupport::TempDir m_directory;
    std::filesystem::path m_store = m_directory.path() / "durable.db";
    com::tallowcrest::util::WakeEvent m_recorder;
    ChannelList m_channels{m_recorder};
};

} // namespace

TEST_F(RecentRowsTest, RowsOfAKilledProcessAreFoundByTheNextInOrderAndOnce)
{
    leave({row("7", 1), row("8", 2, R"({"a":"b c"})"), row("7", 3)});

    const auto sut = nextLife();

    EXPECT_EQ(sut->takeLoaded(name), (std::vector<StoredRow>{row("7", 1), row("8", 2, R"({"a":"b c"})"), row("7", 3)}));
    EXPECT_TRUE(sut->takeLoaded(name).empty());
}

TEST_F(RecentRowsTest, ChannelsAreKeptApart)
{
    StoredRow other = row("7", 5);
    other.channel.partition = "R2";
    leave({row("7", 1), other});

    const auto sut = nextLife();

    EXPECT_EQ(sut->takeLoaded({"R2", "Topic"}), std::vector<StoredRow>{other});
    EXPECT_EQ(sut->takeLoaded(name), std::vector<StoredRow>{row("7", 1)});
}

TEST_F(RecentRowsTest, TornLastLineIsLeftOutAndWhatFollowsIsWhole)
{
    leave({row("7", 1), row("8", 2)});
    std::filesystem::resize_file(m_directory.path() / "left",
                                 std::filesystem::file_size(m_directory.path() / "left") - 5);
    {
        const auto sut = nextLife();
        EXPECT_EQ(sut->takeLoaded(name), std::vector<StoredRow>{row("7", 1)});
        sut->append(row("9", 3));
        sut->flush();
        std::filesystem::copy_file(file(), m_directory.path() / "left",
                                   std::filesystem::copy_options::overwrite_existing);
    }

    EXPECT_EQ(nextLife()->takeLoaded(name), (std::vector<StoredRow>{row("7", 1), row("9", 3)}));
}

TEST_F(RecentRowsTest, LinesThatMakeNoSenseAreLeftOut)
{
    leave({row("7", 1)});
    std::ofstream(m_directory.path() / "left", std::ios::app) << "rubbish\nR1\tTopic\t8\tType\tnot a time\t{}\n\n";

    EXPECT_EQ(nextLife()->takeLoaded(name), std::vector<StoredRow>{row("7", 1)});
}

TEST_F(RecentRowsTest, NamesThatWouldBreakTheLinesAreNotWritten)
{
    StoredRow broken = row("7", 1);
    broken.channel.partition = "a\tb";
    leave({broken, row("8", 2)});

    EXPECT_EQ(nextLife()->takeLoaded(name), std::vector<StoredRow>{row("8", 2)});
}

TEST_F(RecentRowsTest, RowsOfAStoreThatWasRemovedAreForgotten)
{
    leave({row("7", 1)});

    EXPECT_TRUE(nextLife(true)->takeLoaded(name).empty());
}

TEST_F(RecentRowsTest, CleanEndRemovesTheFile)
{
    {
        const auto sut = life();
        sut->append(row("7", 1));
        sut->flush();
        ASSERT_TRUE(std::filesystem::exists(file()));
    }

    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(RecentRowsTest, EndLeavesTheFileWhileTheStoreLacksARow)
{
    const auto channel = m_channels.get(name, outputCodec());
    const BusOutput sample = busOutput(7, 5);
    ASSERT_TRUE(channel->apply("7", &sample, 1, Channel::Origin::Writer));
    {
        const auto sut = life();
        sut->append(channel->rowOf("7", &sample, 1));
        sut->flush();
    }

    EXPECT_EQ(life()->takeLoaded(name).size(), 1U);
}

TEST_F(RecentRowsTest, EndLeavesTheFileWhileRowsOfAnEarlierLifeHaveNotBeenTaken)
{
    leave({row("7", 1)});
    nextLife().reset();

    EXPECT_TRUE(std::filesystem::exists(file()));
}

TEST_F(RecentRowsTest, SecondProcessOnTheSameStoreLeavesTheFileAlone)
{
    const auto first = life();
    first->append(row("7", 1));
    first->flush();
    const auto size = std::filesystem::file_size(file());

    const auto second = life();
    EXPECT_TRUE(second->takeLoaded(name).empty());
    second->append(row("8", 2));
    second->flush();

    EXPECT_EQ(std::filesystem::file_size(file()), size);
}

TEST_F(RecentRowsTest, FileThatGrewIsRewrittenWithTheNewestOfEachInstance)
{
    const auto channel = m_channels.get(name, outputCodec());
    auto sut = life();
    std::size_t written = 0;
    for (SourceTime time = 1; written < RecentRows::longestFile + 1000; ++time)
    {
        const BusOutput sample = busOutput(7, static_cast<std::uint32_t>(time));
        ASSERT_TRUE(channel->apply("7", &sample, time, Channel::Origin::Writer));
        const StoredRow newest = channel->rowOf("7", &sample, time);
        sut->append(newest);
        sut->flush();
        written += newest.payload.size();
        ASSERT_LE(std::filesystem::file_size(file()), RecentRows::longestFile + 1000);
    }
    sut.reset();

    const auto rows = life()->takeLoaded(name);
    std::vector<StoredRow> all;
    channel->collectAll(all);
    ASSERT_FALSE(rows.empty());
    EXPECT_EQ(rows.back(), all.front());
}

TEST_F(RecentRowsTest, FileThatCannotBecomeShorterIsNotRewrittenWithEachRow)
{
    const auto channel = m_channels.get(name, outputCodec());
    const auto sut = life();
    constexpr std::uint32_t many = 60000; // more than the file holds before it is rewritten
    for (std::uint32_t number = 0; number < many; ++number)
    {
        const BusOutput sample = busOutput(number, 1);
        ASSERT_TRUE(channel->apply(std::to_string(number), &sample, 1, Channel::Origin::Writer));
        sut->append(channel->rowOf(std::to_string(number), &sample, 1));
    }
    sut->flush();
    ASSERT_GT(std::filesystem::file_size(file()), RecentRows::longestFile);
    const auto fileNumber = [this] {
        struct stat status
        {};
        return ::stat(file().c_str(), &status) == 0 ? status.st_ino : 0;
    };
    const auto before = fileNumber();

    sut->append(row("7", 2));
    sut->flush();

    EXPECT_EQ(fileNumber(), before); // a rewritten one is a new file under the old name
}

TEST_F(RecentRowsTest, PipeInItsPlaceIsNotWaitedFor)
{
    ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
    const auto sut = life();

    sut->append(row("7", 1));
    sut->flush();

    EXPECT_TRUE(sut->takeLoaded(name).empty());
}

TEST_F(RecentRowsTest, SymbolicLinkInItsPlaceIsNotFollowed)
{
    testsupport::writeFile(m_directory.path() / "precious", "keep me");
    std::filesystem::create_symlink(m_directory.path() / "precious", file());
    {
        const auto sut = life(true);
        sut->append(row("7", 1));
        sut->flush();
    }

    std::ifstream precious(m_directory.path() / "precious");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(precious), {}), "keep me");
}

TEST_F(RecentRowsTest, DirectoryThatIsMissingIsNoFailure)
{
    ::setenv("KORABRIDGE_DURABLE_MEMORY", (m_directory.path() / "missing").c_str(), 1);
    const auto sut = life();

    sut->append(row("7", 1));
    sut->flush();

    EXPECT_TRUE(sut->takeLoaded(name).empty());
}

TEST_F(RecentRowsTest, SameStoreHasTheSameFileHoweverItIsNamed)
{
    EXPECT_EQ(RecentRows::fileOf(m_directory.path() / "x" / ".." / "durable.db"), file());
    EXPECT_NE(RecentRows::fileOf(m_directory.path() / "other.db"), file());
}

TEST_F(RecentRowsTest, FileThatCannotBeWrittenIsOneWarningAndLeftAsItIs)
{
    testsupport::LogRecorder log;
    const auto sut = life();
    sut->append(row("7", 1));
    sut->flush();
    const auto size = std::filesystem::file_size(file());

    // Of this size alone: a sanitizer writes, too.
    const std::vector<testsupport::FailingCall> calls{{SYS_write, ENOSPC, {{2, static_cast<std::uint32_t>(size)}}}};
    const bool isTried = testsupport::withFailingCalls(calls, [&] {
        for (SourceTime time = 2; time < 5; ++time)
        {
            sut->append(row("7", time));
            sut->flush();
        }
    });

    if (!isTried)
    {
        GTEST_SKIP() << noFailingCalls;
    }
    EXPECT_EQ(log.takeTexts(),
              std::vector<std::string>{"WARN Durable targets: cannot write " + file().string() +
                                       ": No space left on device; a slow disk may delay what is kept of "
                                       "the last moment"});
    EXPECT_EQ(std::filesystem::file_size(file()), size);
}

TEST_F(RecentRowsTest, TornLastLineThatCannotBeEndedIsNotWrittenBehind)
{
    leave({row("7", 1), row("8", 2)});
    std::filesystem::resize_file(m_directory.path() / "left",
                                 std::filesystem::file_size(m_directory.path() / "left") - 5);
    std::unique_ptr<RecentRows> sut;

    if (!testsupport::withFailingCalls({{SYS_write, ENOSPC, {{2, 1}}}}, [&] { sut = nextLife(); }))
    {
        GTEST_SKIP() << noFailingCalls;
    }

    const auto size = std::filesystem::file_size(file());
    EXPECT_EQ(sut->takeLoaded(name), std::vector<StoredRow>{row("7", 1)});
    sut->append(row("9", 3));
    sut->flush();
    EXPECT_EQ(std::filesystem::file_size(file()), size);
}

TEST_F(RecentRowsTest, FileOfAnotherUserIsNotUsed)
{
    testsupport::LogRecorder log;
    testsupport::writeFile(file(), "theirs\n");
    constexpr uid_t somebodyElse = 1;
    if (::chown(file().c_str(), somebodyElse, static_cast<gid_t>(-1)) != 0)
    {
        GTEST_SKIP() << "a file can be given to another user by root alone";
    }
    const auto sut = life();

    sut->append(row("7", 1));
    sut->flush();

    EXPECT_EQ(testsupport::readFile(file()), "theirs\n");
    const auto lines = log.takeTexts();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find(" cannot be used: Operation not permitted"), std::string::npos) << lines[0];
}

TEST_F(RecentRowsTest, FileThatGrewIsRewrittenWithTheRowsOfAnEarlierLifeThatHaveNotBeenTaken)
{
    StoredRow other = row("9", 5);
    other.channel.partition = "R2";
    leave({other});
    const auto channel = m_channels.get(name, outputCodec());
    auto sut = nextLife();
    std::size_t written = 0;
    for (SourceTime time = 1; written < RecentRows::longestFile + 1000; ++time)
    {
        const BusOutput sample = busOutput(7, static_cast<std::uint32_t>(time));
        ASSERT_TRUE(channel->apply("7", &sample, time, Channel::Origin::Writer));
        const StoredRow newest = channel->rowOf("7", &sample, time);
        sut->append(newest);
        sut->flush();
        written += newest.payload.size();
    }
    ASSERT_LE(std::filesystem::file_size(file()), RecentRows::longestFile);
    sut.reset();

    EXPECT_EQ(life()->takeLoaded(other.channel), std::vector<StoredRow>{other});
}
