#include "durability/NewestSamples.h"

#include "tests/unit/durability/OutputCodec.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

namespace
{

using com::tallowcrest::durability::HandOver;
using com::tallowcrest::durability::NewestSamples;
using com::tallowcrest::durability::SourceTime;

class NewestSamplesTest : public testing::Test
{
protected:
    void handOver(std::uint32_t number, std::uint32_t input, SourceTime written)
    {
        const BusOutput sample = busOutput(number, input);
        m_handOver.push(&sample, written);
    }
    /// The inputs that were found, by instance.
    std::map<std::string, std::uint32_t> find()
    {
        m_handOver.exchange(m_batch);
        std::map<std::string, std::uint32_t> inputs;
        for (const auto& [instance, index] : m_sut.find(m_batch, outputCodec()))
        {
            BusOutput bus;
            std::memcpy(&bus, &m_batch.samples[index * sizeof(bus)], sizeof(bus));
            EXPECT_TRUE(inputs.emplace(*instance, bus.macroXptInput).second) << *instance << " twice";
        }
        return inputs;
    }

    HandOver m_handOver{sizeof(BusOutput)};
    HandOver::Batch m_batch;
    NewestSamples m_sut;
};

using Inputs = std::map<std::string, std::uint32_t>;

TEST_F(NewestSamplesTest, NothingGivesNothing)
{
    EXPECT_EQ(find(), Inputs());
}

TEST_F(NewestSamplesTest, OfEachInstanceTheNewestIsFound)
{
    handOver(1, 10, 100);
    handOver(2, 20, 101);
    handOver(1, 11, 102);
    handOver(3, 30, 103);
    handOver(1, 12, 104);

    EXPECT_EQ(find(), Inputs({{"1", 12}, {"2", 20}, {"3", 30}}));
}

TEST_F(NewestSamplesTest, TheTimeDecidesAndNotTheOrder)
{
    handOver(1, 10, 102);
    handOver(1, 11, 101);

    EXPECT_EQ(find(), Inputs({{"1", 10}}));
}

TEST_F(NewestSamplesTest, OfTheSameTimeTheLaterOneIsTaken)
{
    handOver(1, 10, 100);
    handOver(1, 11, 100);

    EXPECT_EQ(find(), Inputs({{"1", 11}}));
}

TEST_F(NewestSamplesTest, ABatchKnowsNothingOfTheOneBefore)
{
    handOver(1, 10, 100);
    find();
    handOver(2, 20, 50);

    EXPECT_EQ(find(), Inputs({{"2", 20}}));
}

} // namespace
