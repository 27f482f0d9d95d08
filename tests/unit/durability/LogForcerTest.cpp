#include "durability/LogForcer.h"

#include "durability/Store.h"
#include "durability/StoreKeeper.h"
#include "tests/support/ForcedFiles.h"
#include "tests/unit/durability/StoreFixture.h"

#include <cerrno>

using namespace com::tallowcrest::durability;
using namespace std::chrono_literals;
using testsupport::waitUntil;

namespace
{

/// Counts below the store how often its log is forced to the disk.
class LogForcerTest : public StoreFixture
{
protected:
    void start(std::chrono::milliseconds interval) { m_sut = std::make_unique<LogForcer>(m_path, interval); }
    void commit()
    {
        m_store.commit({{{"R1", "Topic"}, std::to_string(++m_commits), "T", 1, "{}"}});
        m_sut->committed();
    }
    std::vector<testsupport::ForcedFiles::Forcing> forcings() const { return m_disk.of(log()); }
    bool waitForForcings(std::size_t count) const
    {
        return waitUntil([&] { return forcings().size() >= count; });
    }
    bool waitForRefused(std::size_t count) const
    {
        return waitUntil([&] { return m_disk.refused() >= count; });
    }
    std::filesystem::path log() const { return Store::logPath(m_path); }

    Store m_store{m_path};
    int m_commits = 0;
    testsupport::ForcedFiles m_disk;
    std::unique_ptr<LogForcer> m_sut;
};

} // namespace

TEST_F(LogForcerTest, WithWhatTheStoreKeeperWaitsAPowerCutCostsLessThanASecond)
{
    EXPECT_LT(LogForcer::usualInterval + StoreKeeper::commitInterval, 1s);
}

TEST_F(LogForcerTest, NothingIsForcedWithoutACommit)
{
    start(0ms);

    m_sut.reset();

    EXPECT_EQ(forcings().size(), 0U);
}

TEST_F(LogForcerTest, FirstCommitIsForcedAtOnceAndTheOthersOfAnIntervalTogetherAtTheEnd)
{
    start(std::chrono::hours(1));
    commit();
    ASSERT_TRUE(waitForForcings(1));
    EXPECT_EQ(forcings()[0].size, std::filesystem::file_size(log()));

    for (int i = 0; i < 10; ++i)
    {
        commit();
    }
    const auto size = std::filesystem::file_size(log());
    EXPECT_EQ(forcings().size(), 1U);
    m_sut.reset();

    ASSERT_EQ(forcings().size(), 2U);
    EXPECT_EQ(forcings()[1].size, size) << "all that was committed";
}

TEST_F(LogForcerTest, WhileCommitsGoOnTheLogIsForcedAgainAfterEachInterval)
{
    const auto begin = std::chrono::steady_clock::now();
    start(100ms);

    ASSERT_TRUE(waitUntil([this] {
        commit();
        return forcings().size() >= 4;
    }));

    const auto all = forcings();
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        EXPECT_GE(all[i].when - begin, i * 100ms);
    }
}

TEST_F(LogForcerTest, CommitAfterAPauseIsForcedWithoutAnother)
{
    start(1ms);
    commit();
    ASSERT_TRUE(waitForForcings(1));

    commit();

    EXPECT_TRUE(waitForForcings(2));
}

TEST_F(LogForcerTest, DiskThatRefusesIsReportedOnceAndTriedAgainWithTheNextCommit)
{
    m_disk.fail(EIO);
    start(1ms);
    commit();
    ASSERT_TRUE(waitForRefused(1));
    commit();
    ASSERT_TRUE(waitForRefused(2));
    const std::vector<std::string> warning{"WARN Durable store " + m_path.string() +
                                           ": its log cannot be forced to the disk: Input/output error; a power cut "
                                           "may lose the last targets"};

    m_disk.fail(0);
    commit();
    ASSERT_TRUE(waitForForcings(1));
    m_disk.fail(EIO);
    commit();
    ASSERT_TRUE(waitForRefused(3));
    m_sut.reset();

    EXPECT_EQ(m_log.takeTexts(), (std::vector<std::string>{warning[0], warning[0]})) << "news again after a success";
}

TEST_F(LogForcerTest, LongLogThatAnEarlierLifeLeftIsMovedIntoTheStore)
{
    const std::string payload(100'000, 'x');
    while (std::filesystem::file_size(log()) <= LogForcer::logSizeToMove)
    {
        m_store.commit({{{"R1", "Topic"}, std::to_string(++m_commits), "T", 1, payload}});
    }
    const auto before = std::filesystem::file_size(m_path);

    start(1h);
    m_sut.reset();

    EXPECT_GT(std::filesystem::file_size(m_path), before + LogForcer::logSizeToMove / 2);
    EXPECT_EQ(m_disk.of(m_path).size(), 1U);
}

TEST_F(LogForcerTest, LogThatHasNotGrownIsNotMoved)
{
    const auto before = std::filesystem::file_size(m_path);
    start(1ms);
    commit();
    ASSERT_TRUE(waitForForcings(1));

    m_sut.reset();

    EXPECT_EQ(std::filesystem::file_size(m_path), before);
}
