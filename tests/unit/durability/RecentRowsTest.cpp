#include "durability/RecentRows.h"

#include "tests/support/FailingCall.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TempDir.h"

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

/// The file in memory of one store, and the lives of a process that use it one after the other.
class RecentRowsTest : public testing::Test
{
protected:
    RecentRowsTest()
    {
        ::setenv("KORABRIDGE_DURABLE_MEMORY", m_directory.path().c_str(), 1);
        testsupport::writeFile(m_store, "");
    }

    std::unique_ptr<RecentRows> life() const { return std::make_unique<RecentRows>(m_store); }
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
    std::unique_ptr<RecentRows> nextLife() const
    {
        std::filesystem::copy_file(m_directory.path() / "left", file(),
                                   std::filesystem::copy_options::overwrite_existing);
        return life();
    }
    static StoredRow row(const std::string& instance, SourceTime written, const std::string& payload = "{}")
    {
        return {name, instance, "Type", written, payload};
    }
    std::filesystem::path file() const { return RecentRows::fileOf(m_store); }
    static constexpr std::size_t longText = 20000;
    /// Appends until the file is full.
    void fill(RecentRows& sut) const
    {
        const std::string payload(longText, 'x');
        for (SourceTime time = 1; !sut.isFull(); ++time)
        {
            sut.append(row("filling", time, payload));
            sut.flush();
            ASSERT_LT(std::filesystem::file_size(file()), 2 * RecentRows::longestFile);
        }
    }
    /// The instances that a file holds, in order.
    std::vector<std::string> readAll(const std::filesystem::path& left) const
    {
        std::filesystem::path store = m_directory.path() / "other.db";
        testsupport::writeFile(store, "");
        std::filesystem::copy_file(left, RecentRows::fileOf(store));
        std::vector<std::string> instances;
        for (const StoredRow& each : RecentRows(store).takeLoaded(name))
        {
            instances.push_back(each.instance);
        }
        return instances;
    }

    testsupport::TempDir m_directory;
    std::filesystem::path m_store = m_directory.path() / "durable.db";
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
    std::filesystem::remove(m_store);

    EXPECT_TRUE(nextLife()->takeLoaded(name).empty());
}

TEST_F(RecentRowsTest, RowsOfAStoreThatCannotBeLookedAtAreKept)
{
    leave({row("7", 1)});
    std::filesystem::remove(m_store);
    std::filesystem::create_symlink(m_store, m_store);

    EXPECT_EQ(nextLife()->takeLoaded(name), std::vector<StoredRow>{row("7", 1)});
}

TEST_F(RecentRowsTest, WhatTheStoreHasIsForgottenAndTheFileRemoved)
{
    const auto sut = life();
    sut->append(row("7", 1));
    sut->flush();
    ASSERT_TRUE(std::filesystem::exists(file()));

    sut->forget();

    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(RecentRowsTest, EndLeavesTheFileUnlessTheStoreHasEverything)
{
    {
        const auto sut = life();
        sut->append(row("7", 1));
        sut->flush();
    }

    EXPECT_EQ(life()->takeLoaded(name), std::vector<StoredRow>{row("7", 1)});
}

TEST_F(RecentRowsTest, FileStaysWhileRowsOfAnEarlierLifeHaveNotBeenTaken)
{
    leave({row("7", 1)});
    const auto sut = nextLife();

    sut->forget();
    EXPECT_TRUE(std::filesystem::exists(file()));

    static_cast<void>(sut->takeLoaded(name));
    sut->forget();
    EXPECT_FALSE(std::filesystem::exists(file()));
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

TEST_F(RecentRowsTest, FileThatGrewIsFullAndBegunAnewHoldsWhatFollowsAlone)
{
    const auto sut = life();
    fill(*sut);
    EXPECT_LE(std::filesystem::file_size(file()), RecentRows::longestFile + 2 * longText);

    sut->beginAnew();
    sut->append(row("7", 5000));
    EXPECT_GT(std::filesystem::file_size(file()), RecentRows::longestFile) << "as it was until all is written";
    sut->flush();

    EXPECT_FALSE(sut->isFull());
    EXPECT_LT(std::filesystem::file_size(file()), 1000U);
    sut->append(row("8", 5001));
    sut->flush();
    std::filesystem::copy_file(file(), m_directory.path() / "left");
    EXPECT_EQ(readAll(m_directory.path() / "left"), (std::vector<std::string>{"7", "8"}));
}

TEST_F(RecentRowsTest, FileThatCannotBecomeMuchShorterIsFullOnlyAtDoubleItsLength)
{
    const auto sut = life();
    sut->beginAnew();
    const std::string payload(longText, 'x');
    std::size_t length = 0;
    for (std::uint32_t number = 0; length < RecentRows::longestFile; ++number)
    {
        sut->append(row(std::to_string(number), 1, payload));
        length += longText;
    }
    sut->flush();
    const std::uintmax_t shortest = std::filesystem::file_size(file());
    ASSERT_GT(shortest, RecentRows::longestFile);
    EXPECT_FALSE(sut->isFull());

    while (!sut->isFull())
    {
        sut->append(row("7", 2, payload));
        sut->flush();
        ASSERT_LT(std::filesystem::file_size(file()), 3 * shortest);
    }

    EXPECT_GT(std::filesystem::file_size(file()), 2 * shortest);
}

TEST_F(RecentRowsTest, FileThatCannotBeBegunAnewGrowsOnAndIsTriedAgainLater)
{
    const auto sut = life();
    fill(*sut);
    std::filesystem::create_directory(file().string() + ".next"); // stands in the way
    sut->beginAnew();
    sut->append(row("7", 5000));
    sut->flush();
    EXPECT_FALSE(sut->isFull());

    sut->append(row("8", 5001));
    sut->flush();

    std::filesystem::copy_file(file(), m_directory.path() / "left");
    const auto rows = readAll(m_directory.path() / "left");
    EXPECT_EQ(rows.back(), "8");
    EXPECT_EQ(rows.front(), "filling");
}

TEST_F(RecentRowsTest, FileBegunAnewHoldsTheRowsOfAnEarlierLifeThatHaveNotBeenTaken)
{
    StoredRow other = row("9", 5);
    other.channel.partition = "R2";
    leave({other});
    {
        const auto sut = nextLife();
        fill(*sut);
        sut->beginAnew();
        sut->flush();
        EXPECT_LT(std::filesystem::file_size(file()), 1000U);
    }

    EXPECT_EQ(life()->takeLoaded(other.channel), std::vector<StoredRow>{other});
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
        std::filesystem::remove(m_store);
        const auto sut = life();
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
        GTEST_SKIP() << testsupport::noFailingCalls;
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
        GTEST_SKIP() << testsupport::noFailingCalls;
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
