#include "durability/Recorder.h"

#include "dds/domain/DomainParticipant.hpp"
#include "tests/support/TempDir.h"
#include "tests/support/WaitUntil.h"
#include "tests/unit/durability/OutputCodec.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>

using namespace com::tallowcrest::durability;
using testsupport::waitUntil;

namespace
{

std::atomic<int> numTrims{0};

} // namespace

/// Stands before the system's own.
extern "C" int malloc_trim(std::size_t /*pad*/) noexcept
{
    ++numTrims;
    return 1;
}

namespace
{

class RecorderTest : public testing::Test
{
protected:
    RecorderTest()
    {
        numTrims = 0;
        m_channel->addUser();
    }
    void start(std::chrono::milliseconds calmTime)
    {
        m_sut = std::make_unique<Recorder>(m_participant.delegate()->handle(), Recorder::Clock::now(), m_channels,
                                           m_keeper, m_recent, m_wake, calmTime);
    }
    /// Hands `count` samples over and waits until the last has been recorded.
    void handOver(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            const BusOutput sample = busOutput(7, 5);
            m_channel->handOver(&sample, ++m_time);
        }
        ASSERT_TRUE(waitUntil([this] {
            const auto kept = m_channel->kept("7");
            return kept && kept->written == m_time;
        }));
    }
    /// Far more than what the recorder has memory for from the start comes between two looks.
    void handOverBurst() { handOver(100 * HandOver::initialSamples); }
    /// After two calls whatever follows from what was handed over before has been done.
    void handOverFew()
    {
        handOver(1);
        handOver(1);
    }

    testsupport::TempDir m_directory;
    dds::domain::DomainParticipant m_participant{dds::domain::default_id()};
    com::tallowcrest::util::WakeEvent m_wake;
    ChannelList m_channels{m_wake};
    std::shared_ptr<Channel> m_channel = m_channels.get({"R1", "TopicTarget"}, outputCodec());
    RecentRows m_recent{m_directory.path() / "a.db", m_channels, true};
    StoreKeeper m_keeper{m_directory.path() / "a.db", m_channels, [] {}};
    SourceTime m_time = 1000;
    std::unique_ptr<Recorder> m_sut;
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
