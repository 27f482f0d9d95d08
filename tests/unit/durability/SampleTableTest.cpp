#include "durability/SampleTable.h"

#include "tests/unit/durability/OutputCodec.h"

#include <gtest/gtest.h>

#include <string>

using namespace com::tallowcrest::durability;

namespace
{

class SampleTableTest : public testing::Test
{
protected:
    SampleTable::Change apply(std::uint32_t number, std::uint32_t input, SourceTime written)
    {
        const BusOutput sample = busOutput(number, input);
        return m_sut.apply(std::to_string(number), &sample, written);
    }

    SampleTable m_sut{outputCodec()};
};

} // namespace

TEST_F(SampleTableTest, KeepsTheFirstSampleOfAnInstance)
{
    EXPECT_EQ(apply(7, 5, 100), SampleTable::Change::Stored);

    ASSERT_NE(m_sut.find("7"), nullptr);
    EXPECT_EQ(inputOf(*m_sut.find("7")), 5U);
    EXPECT_EQ(m_sut.find("7")->written, 100);
    EXPECT_EQ(m_sut.find("8"), nullptr);
}

TEST_F(SampleTableTest, NewerSampleReplacesAndOlderDoesNot)
{
    apply(7, 5, 100);

    EXPECT_EQ(apply(7, 4, 99), SampleTable::Change::None);
    EXPECT_EQ(apply(7, 6, 101), SampleTable::Change::Stored);

    EXPECT_EQ(inputOf(*m_sut.find("7")), 6U);
    EXPECT_EQ(m_sut.size(), 1U);
}

TEST_F(SampleTableTest, SameSampleAgainIsNoChange)
{
    apply(7, 5, 100);

    EXPECT_EQ(apply(7, 5, 100), SampleTable::Change::None);
}

TEST_F(SampleTableTest, OfTwoWithTheSameTimeTheSameOneIsKeptInEitherOrder)
{
    SampleTable other(outputCodec());
    const BusOutput first = busOutput(7, 5);
    const BusOutput second = busOutput(7, 6);

    apply(7, 5, 100);
    apply(7, 6, 100);
    other.apply("7", &second, 100);
    other.apply("7", &first, 100);

    EXPECT_EQ(inputOf(*m_sut.find("7")), inputOf(*other.find("7")));
}

TEST_F(SampleTableTest, RefusesInstancesBeyondTheLimitAndStillUpdatesTheOthers)
{
    for (std::uint32_t i = 0; i < SampleTable::maxInstances; ++i)
    {
        ASSERT_EQ(apply(i, 1, 100), SampleTable::Change::Stored);
    }

    EXPECT_EQ(apply(1000000, 1, 100), SampleTable::Change::Refused);
    EXPECT_EQ(apply(7, 2, 101), SampleTable::Change::Stored);
    EXPECT_EQ(m_sut.size(), SampleTable::maxInstances);
}
