#include "runtime/util/SpareMemory.h"

#include "tests/support/CountedTrims.h"
#include "tests/support/MeaningfulMemory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

using com::tallowcrest::util::SpareMemory;
using testsupport::numTrims;

namespace
{

using namespace std::chrono_literals;

class SpareMemoryTest : public testing::Test
{
protected:
    using Block = std::vector<char>;

    void SetUp() override
    {
        if (!testsupport::isMemoryMeaningful)
        {
            GTEST_SKIP() << "a sanitizer has heaps of its own";
        }
        look();
        numTrims = 0;
    }
    /// After the interval, that is.
    void look() { m_sut.look(m_now += interval); }
    /// Small blocks between which the heap keeps what is freed.
    void allocate(std::size_t bytes)
    {
        constexpr std::size_t size = 2000;
        for (std::size_t all = 0; all < bytes; all += size)
        {
            m_blocks.push_back(std::make_unique<Block>(size));
        }
        m_blocks.shrink_to_fit();
    }
    /// All but the last one, above which nothing is free.
    void freeMost() { m_blocks.erase(m_blocks.begin(), m_blocks.end() - 1); }

    static constexpr auto interval = 5s;
    SpareMemory::Clock::time_point m_now = SpareMemory::Clock::now();
    SpareMemory m_sut{interval};
    std::vector<std::unique_ptr<Block>> m_blocks;
};

} // namespace

TEST_F(SpareMemoryTest, IsGivenBackOnceWhenMuchHasBecomeFree)
{
    allocate(4 * SpareMemory::worthwhile);
    look();
    EXPECT_EQ(numTrims, 0) << "it is all in use";

    freeMost();
    look();
    EXPECT_EQ(numTrims, 1);
    look();
    EXPECT_EQ(numTrims, 1) << "nothing more has become free";
}

TEST_F(SpareMemoryTest, IsGivenBackAgainAfterItHasBeenInUse)
{
    allocate(4 * SpareMemory::worthwhile);
    look();
    freeMost();
    look();
    allocate(4 * SpareMemory::worthwhile);
    look();

    freeMost();
    look();

    EXPECT_EQ(numTrims, 2);
}

TEST_F(SpareMemoryTest, LittleIsKept)
{
    allocate(SpareMemory::worthwhile / 2);
    freeMost();
    look();

    EXPECT_EQ(numTrims, 0);
}

TEST_F(SpareMemoryTest, IsNotLookedForMoreOftenThanTheIntervalSays)
{
    allocate(4 * SpareMemory::worthwhile);
    look();
    freeMost();

    m_sut.look(m_now + interval - 1ms);
    EXPECT_EQ(numTrims, 0);
    look();
    EXPECT_EQ(numTrims, 1);
}
