#include "runtime/util/RingQueue.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace
{

using com::tallowcrest::util::RingQueue;

std::vector<int> drained(RingQueue<int>& queue)
{
    std::vector<int> values;
    while (!queue.empty())
    {
        values.push_back(queue.front());
        queue.pop_front();
    }
    return values;
}

TEST(RingQueueTest, startsEmpty)
{
    const RingQueue<int> sut(3);

    EXPECT_TRUE(sut.empty());
    EXPECT_EQ(sut.size(), 0U);
}

TEST(RingQueueTest, givesTheOldestFirst)
{
    RingQueue<int> sut(3);

    sut.push_back(1);
    sut.push_back(2);
    sut.push_back(3);

    EXPECT_EQ(sut.size(), 3U);
    EXPECT_EQ(drained(sut), std::vector<int>({1, 2, 3}));
}

TEST(RingQueueTest, keepsTheOrderRoundItsEnd)
{
    RingQueue<int> sut(3);
    sut.push_back(1);
    sut.push_back(2);
    sut.pop_front();

    sut.push_back(3);
    sut.push_back(4);

    EXPECT_EQ(drained(sut), std::vector<int>({2, 3, 4}));
}

TEST(RingQueueTest, growsWhileItsBeginIsInTheMiddle)
{
    RingQueue<int> sut(2);
    sut.push_back(1);
    sut.push_back(2);
    sut.pop_front();
    sut.push_back(3);

    sut.push_back(4);
    sut.push_back(5);
    sut.push_back(6);

    EXPECT_EQ(drained(sut), std::vector<int>({2, 3, 4, 5, 6}));
}

TEST(RingQueueTest, growsFromNothing)
{
    RingQueue<int> sut(0);

    sut.push_back(1);
    sut.push_back(2);

    EXPECT_EQ(drained(sut), std::vector<int>({1, 2}));
}

TEST(RingQueueTest, keepsNothingAliveThatHasLeft)
{
    RingQueue<std::shared_ptr<int>> sut(2);
    const auto value = std::make_shared<int>(1);
    sut.push_back(value);

    sut.pop_front();

    EXPECT_EQ(value.use_count(), 1);
}

} // namespace
