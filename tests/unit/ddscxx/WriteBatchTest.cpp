#include "tests/support/PacketCount.h"
#include "tests/unit/ddscxx/BusFixture.h"

#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace
{

/// A reliable writer repeats what a reader has not got, which would hide that it was never sent. Here it does so after
/// a minute only, which no test waits for.
class LateRepeats
{
protected:
    LateRepeats()
    {
        const char* const configured = std::getenv("CYCLONEDDS_URI");
        const std::string configuration =
            std::string(configured != nullptr ? configured : "") +
            ",<CycloneDDS><Domain><Internal><HeartbeatInterval minsched=\"60s\" min=\"60s\" max=\"60s\">60s"
            "</HeartbeatInterval></Internal></Domain></CycloneDDS>";
        setenv("CYCLONEDDS_URI", configuration.c_str(), 1);
    }
};

} // namespace

class WriteBatchTest : private LateRepeats, public BusFixture
{
protected:
    WriteBatchTest()
    {
        EXPECT_TRUE(waitForReaders(m_writer, 1));
        // What is written while the two get to know each other is repeated at once.
        m_writer.write(output(0));
        EXPECT_EQ(takeSamples(m_wireReader, 1).size(), 1U);
    }

    std::vector<std::uint32_t> inputsOnTheWire(std::size_t count)
    {
        std::vector<std::uint32_t> inputs;
        for (const auto& sample : takeSamples(m_wireReader, count))
        {
            inputs.push_back(sample.data().macroXptInput);
        }
        return inputs;
    }

    Topic m_topic = makeTopic(m_participant);
    Writer m_writer = makeWriter(m_topic);
    Reader m_wireReader = makeReader(makeTopic(m_wire.participant()));
};

using Inputs = std::vector<std::uint32_t>;

TEST_F(WriteBatchTest, WithoutABatchEachKindOfChangeIsSentAtOnce)
{
    m_writer.write(output(1, 10));
    EXPECT_EQ(inputsOnTheWire(1), Inputs({10}));

    m_writer.write(output(2, 20), dds::core::Time(1'600'000'000'000'000'000));
    EXPECT_EQ(inputsOnTheWire(1), Inputs({20}));

    m_writer.dispose_instance(m_writer.lookup_instance(output(1)));
    auto ends = takeSamples(m_wireReader, 1);
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_EQ(ends[0].info().state().instance_state(), InstanceState::NotAliveDisposed);

    m_writer.unregister_instance(m_writer.lookup_instance(output(2)));
    ends = takeSamples(m_wireReader, 1);
    ASSERT_EQ(ends.size(), 1U);
    EXPECT_EQ(ends[0].info().state().instance_state(), InstanceState::NotAliveNoWriters);
}

TEST_F(WriteBatchTest, TheEndOfABatchSendsWhatItsThreadWroteInOrder)
{
    {
        const dds::pub::WriteBatch sut;
        m_writer.write(output(1, 10));
        m_writer.write(output(2, 20));
        m_writer.write(output(3, 30));
    }

    EXPECT_EQ(inputsOnTheWire(3), Inputs({10, 20, 30}));
}

TEST_F(WriteBatchTest, ABatchNeedsFewerPacketsThanItHasSamples)
{
    constexpr std::uint32_t count = 1000; // far more than packets of other threads in that time
    const long before = testsupport::packetsSent();
    ASSERT_GE(before, 0);
    {
        const dds::pub::WriteBatch sut;
        for (std::uint32_t i = 0; i < count; ++i)
        {
            m_writer.write(output(i, i));
        }
    }

    const long sent = testsupport::packetsSent() - before;
    EXPECT_GT(sent, 0);
    EXPECT_LT(sent, count / 2);
    EXPECT_EQ(inputsOnTheWire(count).size(), count);
}

TEST_F(WriteBatchTest, AnExceptionInTheMiddleLeavesNothingUnsent)
{
    const auto failing = [this] {
        const dds::pub::WriteBatch sut;
        m_writer.write(output(1, 10));
        throw std::runtime_error("half done");
    };

    EXPECT_THROW(failing(), std::runtime_error);

    EXPECT_EQ(inputsOnTheWire(1), Inputs({10}));
}

TEST_F(WriteBatchTest, ARefusedChangeLeavesTheOthersOfTheBatchAlone)
{
    {
        const dds::pub::WriteBatch sut;
        m_writer.write(output(1, 10));
        EXPECT_THROW(m_writer.unregister_instance(dds::core::InstanceHandle(4711)), dds::core::Error);
        m_writer.write(output(2, 20));
    }

    EXPECT_EQ(inputsOnTheWire(2), Inputs({10, 20}));
}

TEST_F(WriteBatchTest, FlushSendsWhileTheBatchGoesOn)
{
    const dds::pub::WriteBatch sut;
    m_writer.write(output(1, 10));

    dds::pub::WriteBatch::flush();

    EXPECT_EQ(inputsOnTheWire(1), Inputs({10}));
    m_writer.write(output(2, 20));
    dds::pub::WriteBatch::flush();
    EXPECT_EQ(inputsOnTheWire(1), Inputs({20}));
}

TEST_F(WriteBatchTest, WhoWaitsForReadersWithinABatchHasSentBefore)
{
    const dds::pub::WriteBatch sut;
    m_writer.write(output(1, 10));

    // Readers are asked to confirm with the repeats, hardly in time. What counts is that it has left.
    try
    {
        m_writer.wait_for_acknowledgments(dds::core::Duration::from_millisecs(10));
    }
    catch (const dds::core::TimeoutError&) // NOLINT(bugprone-empty-catch)
    {}

    EXPECT_EQ(inputsOnTheWire(1), Inputs({10}));
}

TEST_F(WriteBatchTest, OfNestedBatchesTheOutermostSends)
{
    {
        const dds::pub::WriteBatch outer;
        {
            const dds::pub::WriteBatch inner;
            m_writer.write(output(1, 10));
        }
        m_writer.write(output(2, 20));
    }

    EXPECT_EQ(inputsOnTheWire(2), Inputs({10, 20}));
}

TEST_F(WriteBatchTest, MoreWritersThanABatchRemembersAreAllSent)
{
    constexpr std::uint32_t count = 20;
    std::vector<Writer> writers;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        writers.push_back(makeWriter(m_topic));
        ASSERT_TRUE(waitForReaders(writers.back(), 1));
    }
    {
        const dds::pub::WriteBatch sut;
        for (std::uint32_t i = 0; i < count; ++i)
        {
            writers[i].write(output(i, i));
        }
    }

    EXPECT_EQ(inputsOnTheWire(count).size(), count);
}

TEST_F(WriteBatchTest, AWriterThatGoesWithinTheBatchHasSentWhatItHad)
{
    const dds::pub::WriteBatch sut;
    m_writer.write(output(1, 10));

    m_writer = Writer(dds::core::null);

    const auto samples = takeSamples(m_wireReader, 1);
    ASSERT_FALSE(samples.empty());
    EXPECT_EQ(samples[0].data().macroXptInput, 10U);
}

TEST_F(WriteBatchTest, ABatchIsItsOwnThreadsAlone)
{
    const dds::pub::WriteBatch sut;

    std::thread([this] { m_writer.write(output(1, 10)); }).join();

    EXPECT_EQ(inputsOnTheWire(1), Inputs({10}));
}

TEST_F(WriteBatchTest, ReadersOfTheSameProcessAreServedBeforeTheBatchEnds)
{
    Reader local = makeReader(m_topic);
    const dds::pub::WriteBatch sut;

    m_writer.write(output(1, 10));

    const auto samples = takeSamples(local, 2); // the first one is that of the constructor
    ASSERT_EQ(samples.size(), 2U);
    EXPECT_EQ(samples[1].data().macroXptInput, 10U);
}
