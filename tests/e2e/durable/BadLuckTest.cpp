#include "bustypes/SampleText.h"
#include "bustypes/TypeSupport.h"
#include "durability/Sqlite.h"
#include "durability/Store.h"
#include "tests/e2e/durable/DurableFixture.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/WaitUntil.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <optional>

using namespace e2e;
using com::tallowcrest::durability::SqliteConnection;
using com::tallowcrest::durability::Store;

namespace
{

/// The program on a store that cannot be used: it says so once and serves its controllers all the same.
class BadLuckTest : public DurableFixture
{
protected:
    /// A bridge with its store on such a disk, and a take.
    void takeOnSmallDisk(const char* options)
    {
        m_disk.emplace(directory() / "disk", options);
        if (!m_disk->trouble().empty())
        {
            GTEST_SKIP() << m_disk->trouble();
        }
        setStore(m_disk->path() / "durable.db");
        router().announce();
        startJoinedOnStore();
        take(5, 7);
    }
    const testsupport::SmallDisk& disk() const { return *m_disk; }
    void TearDown() override
    {
        m_bridge.reset();
        m_disk.reset();
    }

    /// The lines of the program's log at WARN or above that are about the durable store; a slow machine has others.
    std::vector<std::string> complaints()
    {
        std::istringstream log(bridge().output());
        std::vector<std::string> lines;
        for (std::string line; std::getline(log, line);)
        {
            const bool isComplaint =
                line.find(" WARN ") != std::string::npos || line.find(" ERROR ") != std::string::npos;
            if (isComplaint && line.find("(durability/") != std::string::npos)
            {
                lines.push_back(line);
            }
        }
        return lines;
    }
    /// Exactly one complaint has been logged, and it names the store and the reason.
    void expectOneComplaint(const std::string& reason)
    {
        const std::vector<std::string> lines = complaints();
        ASSERT_EQ(lines.size(), 1U) << bridge().output();
        EXPECT_NE(lines[0].find("Durable store " + store().string()), std::string::npos) << lines[0];
        EXPECT_NE(lines[0].find(reason), std::string::npos) << lines[0];
    }
    /// The store holds an output's input now; looked at with a connection of the test's own.
    bool storeHolds(std::uint32_t input, std::uint32_t output) const
    {
        const std::string sql = "SELECT count(*) " + stored(input, output);
        return testsupport::waitUntil([&] { return storeText(sql.c_str()) == "1"; });
    }
    /// The process dies 100 ms after the last take, and the next one publishes the target.
    void expectTargetAfterRestart(std::uint32_t input, std::uint32_t output)
    {
        waitOutLossBound(bridge());
        kill();
        record().clear();
        startJoinedOnStore();
        EXPECT_TRUE(hasTarget(input, output));
    }

private:
    std::optional<testsupport::SmallDisk> m_disk;
};

} // namespace

TEST_F(BadLuckTest, MissingDirectoryIsMade)
{
    setStore(directory() / "not" / "there" / "durable.db");
    router().announce();
    startJoinedOnStore();
    take(5, 7);

    EXPECT_TRUE(storeHolds(5, 7));
    EXPECT_TRUE(complaints().empty()) << bridge().output();
    expectTargetAfterRestart(5, 7);
}

TEST_F(BadLuckTest, PlaceThatCannotBeWrittenIsOneComplaintAndTakesGoOn)
{
    ASSERT_NO_FATAL_FAILURE(takeOnSmallDisk("ro,size=4m"));
    if (IsSkipped())
    {
        return;
    }
    expectOneComplaint("cannot be opened");

    ASSERT_TRUE(disk().remount(0, "size=4m")) << std::strerror(errno);

    ASSERT_TRUE(bridge().waitForOutput("in use again"));
    EXPECT_TRUE(storeHolds(5, 7));
    expectOneComplaint("cannot be opened");
    expectTargetAfterRestart(5, 7);
}

TEST_F(BadLuckTest, DiskThatFillsUpIsOneComplaintAndWhatWasTakenMeanwhileIsStoredWhenThereIsRoom)
{
    ASSERT_NO_FATAL_FAILURE(takeOnSmallDisk("size=400k"));
    if (IsSkipped())
    {
        return;
    }
    ASSERT_TRUE(storeHolds(5, 7));
    disk().fill();

    auto client = connectController();
    for (std::uint32_t output = 1; output <= 200; ++output)
    {
        ASSERT_EQ(client.take({{videoLevel, 42, 9, output}}), std::vector<std::uint32_t>{0});
    }
    ASSERT_TRUE(bridge().waitForOutput("cannot be written"));
    take(8, 201);
    expectOneComplaint("full");
    disk().makeRoom();

    ASSERT_TRUE(bridge().waitForOutput("in use again"));
    EXPECT_TRUE(storeHolds(9, 200));
    EXPECT_TRUE(storeHolds(8, 201));
    expectOneComplaint("full");
    expectTargetAfterRestart(9, 7);
}

TEST_F(BadLuckTest, LockHoldsOverAStartOnAFullDisk)
{
    ASSERT_NO_FATAL_FAILURE(takeOnSmallDisk("size=400k"));
    if (IsSkipped())
    {
        return;
    }
    ASSERT_EQ(
        connectController()
            .setOutputLpr({{.level = videoLevel, .output = 7, .command = koraclient::LprCommand::lock, .lprId = 42}})
            .results,
        std::vector<std::uint32_t>{0});
    ASSERT_EQ(stopBridge(), 0);
    disk().fill();

    startJoinedOnStore();

    auto stranger = connectController();
    EXPECT_EQ(stranger.take({{videoLevel, 43, 6, 7}}), std::vector<std::uint32_t>{12});
    EXPECT_TRUE(bridge().waitForOutput("were read all the same"));
}

TEST_F(BadLuckTest, CorruptStoreIsSetAsideWithOneComplaintAndKeepingGoesOn)
{
    router().announce();
    startJoinedOnStore();
    take(5, 7);
    ASSERT_TRUE(storeHolds(5, 7));
    ASSERT_EQ(stopBridge(), 0);
    {
        std::fstream file(store(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(0);
        file << std::string(2048, '\x5a');
        ASSERT_TRUE(file.flush());
    }
    record().clear();

    startJoinedOnStore();
    take(6, 8);

    expectOneComplaint("is corrupt");
    EXPECT_TRUE(storeHolds(6, 8));
    std::size_t setAside = 0;
    for (const auto& entry : std::filesystem::directory_iterator(store().parent_path()))
    {
        setAside += entry.path().filename().string().starts_with("durable.db.corrupt-") ? 1U : 0U;
    }
    EXPECT_EQ(setAside, 1U);
    expectTargetAfterRestart(6, 8);
}

TEST_F(BadLuckTest, StoreDamagedUnderARunningBridgeCostsNothingThatItKnows)
{
    router().announce();
    startJoinedOnStore();
    take(5, 7);
    ASSERT_TRUE(storeHolds(5, 7));
    {
        // What a failing disk does: every page is rubbish from here on, in the file and in its log.
        for (const char* const suffix : {"", "-wal"})
        {
            const std::filesystem::path path = store().string() + suffix;
            const auto size = static_cast<std::size_t>(std::filesystem::file_size(path));
            std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
            file << std::string(size, '\x5a');
            ASSERT_TRUE(file.flush());
        }
    }
    auto client = connectController();
    for (std::uint32_t output = 100; output < 140; ++output)
    {
        ASSERT_EQ(client.take({{videoLevel, 42, 9, output}}), std::vector<std::uint32_t>{0});
    }

    expectTargetAfterRestart(9, 139);
    EXPECT_TRUE(hasTarget(5, 7));
    EXPECT_TRUE(hasTarget(9, 100));
}

TEST_F(BadLuckTest, StoreOfALaterVersionIsLeftAsItIs)
{
    router().announce();
    startJoinedOnStore();
    take(5, 7);
    ASSERT_EQ(stopBridge(), 0);
    SqliteConnection(store().string()).text("PRAGMA user_version = 99");
    const std::string before = storeText("SELECT group_concat(instance || written || payload) FROM durable_sample");
    record().clear();

    startJoinedOnStore();
    take(6, 8);

    ASSERT_TRUE(bridge().waitForOutput("it stays as it is"));
    expectOneComplaint("version");
    ASSERT_EQ(stopBridge(), 0);
    EXPECT_EQ(storeText("PRAGMA user_version"), "99");
    EXPECT_EQ(storeText("SELECT group_concat(instance || written || payload) FROM durable_sample"), before);
}

TEST_F(BadLuckTest, StoreThatAnotherProcessHasIsOneComplaintAndTakenWhenItIsFree)
{
    std::optional<Store> other(std::in_place, store());
    using com::tallowcrest::dds_::routing::TypeSupport;
    other->commit({{{"com:tallowcrest:routing:R1", "TopicMacroXptOutputVideoTarget"},
                    "8",
                    TypeSupport<MacroXptOutput>::descriptor().m_typename,
                    1,
                    com::tallowcrest::dds_::routing::jsonText(xpt(8, 6))}});
    router().announce();
    startJoinedOnStore();
    take(5, 7);
    expectOneComplaint("another process");
    EXPECT_FALSE(record().lastTarget(Signal::Video, 8));

    other.reset();

    ASSERT_TRUE(bridge().waitForOutput("in use again"));
    EXPECT_TRUE(storeHolds(5, 7));
    EXPECT_TRUE(hasTarget(6, 8)) << "what is read late reaches the router";
    expectOneComplaint("another process");
    expectTargetAfterRestart(5, 7);
}
