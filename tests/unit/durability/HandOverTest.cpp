#include "durability/HandOver.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

using namespace com::tallowcrest::durability;

namespace
{

class HandOverTest : public testing::Test
{
protected:
    bool push(std::uint32_t value, HandOver::Written written = {}) { return m_sut.push(&value, written); }
    std::vector<std::uint32_t> values() const
    {
        std::vector<std::uint32_t> all(m_batch.size());
        if (!all.empty())
        {
            std::memcpy(all.data(), m_batch.values.data(), m_batch.values.size());
        }
        return all;
    }

    HandOver m_sut{sizeof(std::uint32_t)};
    HandOver::Batch m_batch;
};

} // namespace

TEST_F(HandOverTest, GivesWhatWasPushedInOrderAndOnce)
{
    push(7, {.time = 100, .isHistory = true, .ticket = 3});
    push(8, {.time = 90, .isHistory = false, .ticket = 4});

    m_sut.exchange(m_batch);

    EXPECT_EQ(values(), (std::vector<std::uint32_t>{7, 8}));
    EXPECT_EQ(m_batch.written[0].time, 100);
    EXPECT_TRUE(m_batch.written[0].isHistory);
    EXPECT_EQ(m_batch.written[0].ticket, 3U);
    EXPECT_EQ(m_batch.written[1].time, 90);
    EXPECT_FALSE(m_batch.written[1].isHistory);
    EXPECT_EQ(m_batch.written[1].ticket, 4U);
    m_sut.exchange(m_batch);
    EXPECT_EQ(m_batch.size(), 0U);
}

TEST_F(HandOverTest, OnlyTheFirstOfABatchIsToWakeTheRecorder)
{
    EXPECT_TRUE(push(1));
    EXPECT_FALSE(push(2));

    m_sut.exchange(m_batch);

    EXPECT_TRUE(push(3));
}

TEST_F(HandOverTest, IsEmptyUntilSomethingIsPushedAndOnceItHasBeenTaken)
{
    EXPECT_TRUE(m_sut.isEmpty());
    push(1);
    EXPECT_FALSE(m_sut.isEmpty());

    m_sut.exchange(m_batch);

    EXPECT_TRUE(m_sut.isEmpty());
}

TEST_F(HandOverTest, MemoryOfABurstIsGivenBackOnBothSides)
{
    for (std::uint32_t burst = 0; burst < 2; ++burst)
    {
        for (std::uint32_t i = 0; i < 10 * HandOver::initialValues; ++i)
        {
            push(i);
        }
        m_sut.exchange(m_batch);
    }
    ASSERT_GT(m_batch.written.capacity(), HandOver::initialValues);

    m_sut.shrink(m_batch);

    for (int side = 0; side < 2; ++side)
    {
        EXPECT_EQ(m_batch.written.capacity(), HandOver::initialValues) << side;
        EXPECT_EQ(m_batch.values.capacity(), HandOver::initialValues * sizeof(std::uint32_t)) << side;
        m_sut.exchange(m_batch);
    }
}

TEST_F(HandOverTest, WhatIsPushedBetweenTheLastLookAndTheShrinkingIsNotLost)
{
    push(7);

    m_sut.shrink(m_batch);

    m_sut.exchange(m_batch);
    EXPECT_EQ(values(), std::vector<std::uint32_t>{7});
}
