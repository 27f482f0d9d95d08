#include "durability/Recorder.h"

#include "CrowdOfNeighbours.h"
#include "runtime/util/Metrics.h"
#include "tests/support/CountedTrims.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TempDir.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/durability/OutputCodec.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

using namespace com::tallowcrest::durability;
using testsupport::numTrims;
using testsupport::waitUntil;

namespace
{

/// A bus with nobody on it.
class QuietTopic final : public IDurableTopic
{
public:
    void takeSeen(const Visitor& /*visit*/) override {}
    bool hasNewReader() override { return false; }
    bool haveReadersAnswered() override { return true; }
    void endHistory() override {}
};

class RecorderTest : public testing::Test
{
protected:
    RecorderTest()
    {
        std::filesystem::create_directory(m_directory.path() / "memory");
        ::setenv("KORABRIDGE_DURABLE_MEMORY", (m_directory.path() / "memory").c_str(), 1);
        numTrims = 0;
    }
    void start(std::chrono::milliseconds calmTime = std::chrono::hours(1))
    {
        m_sut = std::make_unique<Recorder>(m_participant, m_store, calmTime);
        m_channel = m_sut->channel(settings(), outputCodec());
    }
    static Channel::Settings settings() { return {.name = {"R1", "TopicTarget"}, .greatest = 2592, .isShared = false}; }
    void stop()
    {
        m_channel.reset();
        m_sut.reset();
    }
    void join()
    {
        m_channel->join(std::make_shared<QuietTopic>(), [this](const Channel::Delivery& delivery) {
            const std::lock_guard lock(m_mutex);
            m_deliveries.push_back(delivery);
        });
    }
    /// Waits for the history of a join; its contents, in order.
    std::vector<std::string> history()
    {
        std::vector<std::string> contents;
        EXPECT_TRUE(waitUntil([&] {
            const std::lock_guard lock(m_mutex);
            for (const Channel::Delivery& delivery : m_deliveries)
            {
                if (delivery.purpose == Channel::Delivery::Purpose::History)
                {
                    for (const Decision& decision : delivery.decisions)
                    {
                        contents.push_back(decision.content);
                    }
                    m_deliveries.clear();
                    return true;
                }
            }
            return false;
        }));
        return contents;
    }
    void take(std::uint32_t number, std::uint32_t input)
    {
        const Output value = output(number, input);
        m_channel->handOver(&value, ++m_time, false);
    }
    /// Hands `count` values over and waits until the last has been recorded.
    void handOver(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            take(7, ++m_input);
        }
        const std::string last = contentOf(7, m_input);
        ASSERT_TRUE(waitUntil(
            [&] { return testsupport::readFile(RecentRows::fileOf(m_store)).find(last) != std::string::npos; }));
    }
    /// Far more than what the recorder has memory for from the start comes between two looks.
    void handOverBurst() { handOver(100 * HandOver::initialValues); }
    /// After two calls whatever follows from what was handed over before has been done.
    void handOverFew()
    {
        handOver(1);
        handOver(1);
    }

    testsupport::TempDir m_directory;
    const std::filesystem::path m_store = m_directory.path() / "a.db";
    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    std::mutex m_mutex; ///< guards the deliveries
    std::vector<Channel::Delivery> m_deliveries;
    SourceTime m_time = 1'600'000'000'000'000;
    std::uint32_t m_input = 0;
    std::unique_ptr<Recorder> m_sut;
    std::shared_ptr<Channel> m_channel;
};

} // namespace

TEST_F(RecorderTest, MemoryOfABurstIsGivenBackOnceTheBurstIsOver)
{
    start(std::chrono::milliseconds(0));
    handOverFew();
    EXPECT_EQ(numTrims, 0) << "nothing to give back";

    handOverBurst();

    EXPECT_TRUE(waitUntil([] { return numTrims > 0; }));
    handOverFew();
    const int trims = numTrims;
    handOverFew();
    EXPECT_EQ(numTrims, trims) << "once";
}

TEST_F(RecorderTest, MemoryOfABurstIsKeptWhileItHasNotBeenCalmForAWhile)
{
    start(std::chrono::hours(1));

    handOverBurst();
    handOverFew();

    EXPECT_EQ(numTrims, 0);
}

TEST_F(RecorderTest, WhatWasDecidedOutlivesTheProcessAndNothingIsLeftInMemory)
{
    start();
    take(7, 4);
    take(7, 5);
    take(8, 6);
    stop();
    EXPECT_TRUE(std::filesystem::is_empty(m_directory.path() / "memory"));

    start();
    join();

    EXPECT_EQ(history(), (std::vector<std::string>{contentOf(7, 5), contentOf(8, 6)}));
}

TEST_F(RecorderTest, WhatIsWrittenWhileTheRecorderLooksIsNotLostWhenTheChannelIsLeftAtOnce)
{
    start();
    // In the look that delivers the history, behind the one at what was written before.
    std::promise<void> left;
    m_channel->join(std::make_shared<QuietTopic>(), [this, &left](const Channel::Delivery&) {
        take(7, 5);
        m_channel->leave();
        m_channel.reset();
        left.set_value();
    });
    ASSERT_EQ(left.get_future().wait_for(testsupport::scaled(std::chrono::seconds(10))), std::future_status::ready);
    stop();

    start();
    join();

    EXPECT_EQ(history(), std::vector<std::string>{contentOf(7, 5)});
}

TEST_F(RecorderTest, JoinWithNothingBringsNothing)
{
    start();

    join();

    EXPECT_EQ(history(), std::vector<std::string>{});
}

TEST_F(RecorderTest, OfManyDecisionsAboutEachOutputTheLastIsKeptAndNoneIsPublishedOnceMore)
{
    start();
    join();
    history();
    constexpr std::uint32_t outputs = 5;
    constexpr std::uint32_t decisions = 1000;
    for (std::uint32_t input = 1; input <= decisions; ++input)
    {
        for (std::uint32_t number = 1; number <= outputs; ++number)
        {
            take(number, input);
        }
    }
    handOverFew();
    const std::lock_guard lock(m_mutex);
    EXPECT_TRUE(m_deliveries.empty());
    const std::string kept = testsupport::readFile(RecentRows::fileOf(m_store));
    for (std::uint32_t number = 1; number <= outputs; ++number)
    {
        EXPECT_NE(kept.find(contentOf(number, decisions)), std::string::npos) << number;
    }
}

TEST_F(RecorderTest, WhatTheStoreLacksAtTheEndStaysInMemory)
{
    testsupport::writeFile(m_directory.path() / "place", "in the way of a directory");
    const std::filesystem::path store = m_directory.path() / "place" / "a.db";
    {
        Recorder unstored(m_participant, store);
        const auto channel = unstored.channel(settings(), outputCodec());
        const Output value = output(7, 5);
        channel->handOver(&value, ++m_time, false);
    }

    EXPECT_NE(testsupport::readFile(RecentRows::fileOf(store)).find(contentOf(7, 5)), std::string::npos);
}

TEST_F(RecorderTest, ChannelThatWasLeftIsLetGoOfAndReadFromTheStoreAtTheNextJoin)
{
    start();
    join();
    history();
    take(7, 5);
    const std::weak_ptr<Channel> left = m_channel;

    m_channel->leave();
    m_channel.reset();
    ASSERT_TRUE(waitUntil([&] { return left.expired(); }));

    m_channel = m_sut->channel(settings(), outputCodec());
    join();
    EXPECT_EQ(history(), std::vector<std::string>{contentOf(7, 5)});
}

TEST_F(RecorderTest, ChannelThatWasLeftIsKeptWhileTheStoreLacksSomethingOfIt)
{
    testsupport::writeFile(m_directory.path() / "place", "in the way of a directory");
    Recorder unstored(m_participant, m_directory.path() / "place" / "a.db");
    m_channel = unstored.channel(settings(), outputCodec());
    take(7, 5);
    join();
    EXPECT_EQ(history(), std::vector<std::string>{contentOf(7, 5)});
    m_channel->leave();
    const Channel* const before = m_channel.get();
    m_channel.reset();
    const auto other =
        unstored.channel({.name = {"R2", "TopicTarget"}, .greatest = 1, .isShared = false}, outputCodec());
    other->join(std::make_shared<QuietTopic>(), [this](const Channel::Delivery& delivery) {
        const std::lock_guard lock(m_mutex);
        m_deliveries.push_back(delivery);
    });
    EXPECT_EQ(history(), std::vector<std::string>{}); // the recorder has looked since

    EXPECT_EQ(unstored.channel(settings(), outputCodec()).get(), before);
}

TEST_F(RecorderTest, FileInMemoryThatGrewIsBegunAnewWithTheNewestOfEachInstance)
{
    start();
    const std::filesystem::path memory = RecentRows::fileOf(m_store);
    take(9, 1);
    std::uintmax_t longest = 0;
    ASSERT_TRUE(waitUntil([&] {
        for (std::uint32_t number = 10; number < 2500; ++number)
        {
            take(number, m_input);
        }
        handOver(1);
        const std::uintmax_t length = std::filesystem::file_size(memory);
        const bool isBegunAnew = length < longest;
        longest = std::max(longest, length);
        return isBegunAnew;
    }));

    EXPECT_GT(longest, RecentRows::longestFile / 2);
    EXPECT_NE(testsupport::readFile(memory).find(contentOf(9, 1)), std::string::npos);
}

TEST_F(RecorderTest, ThoseWhoWatchAreToldHowManyOthersKeepTheTargets)
{
    using com::tallowcrest::util::gaugeValue;
    const auto shows = [](std::int64_t number) {
        return waitUntil([number] { return gaugeValue("korabridge_neighbours") == number; });
    };
    {
        CrowdOfNeighbours others(settings().name);
        others.add();
        others.add();
        start();
        join();
        EXPECT_TRUE(shows(2));
        others.add();
        EXPECT_TRUE(shows(3));
    }
    EXPECT_TRUE(shows(0));
}

TEST_F(RecorderTest, MoreNeighboursThanThereCanBeAreToldOfOnce)
{
    const testsupport::LogRecorder log;
    CrowdOfNeighbours others(settings().name);
    for (std::size_t i = 0; i < Neighbours::most + 1; ++i)
    {
        others.add();
    }
    start();

    const std::string told = "other participants keep it, 256 are heard, those with a bridge's component record first";
    EXPECT_TRUE(log.waitForHolding(told));
    others.add();
    join();
    EXPECT_EQ(history(), std::vector<std::string>{});
    EXPECT_EQ(log.countHolding(told), 1U);
}
