#include "runtime/util/MemPool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{

using com::tallowcrest::util::MemPool;
using testing::IsEmpty;

std::uint32_t guardOf(const void* buffer)
{
    std::uint32_t guard = 0;
    std::memcpy(&guard, static_cast<const std::byte*>(buffer) - sizeof(guard), sizeof(guard));
    return guard;
}

void overwriteGuard(void* buffer, std::uint32_t guard)
{
    std::memcpy(static_cast<std::byte*>(buffer) - sizeof(guard), &guard, sizeof(guard));
}

bool isAligned(const void* buffer)
{
    return reinterpret_cast<std::uintptr_t>(buffer) % 8 == 0;
}

template <typename Action>
std::string outputOf(Action&& action)
{
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

struct StrideCase
{
    std::size_t bufferSize;
    std::int32_t stride;
};

class MemPoolStrideTest : public testing::TestWithParam<StrideCase>
{};

TEST_P(MemPoolStrideTest, theStrideIsTheSizeWithItsGuardRoundedUpToEight)
{
    const MemPool sut("sut", GetParam().bufferSize);

    EXPECT_EQ(sut.snapshot().stride, GetParam().stride);
}

TEST_P(MemPoolStrideTest, everyBufferIsAlignedAndItsWholeSizeIsTheCallersOwn)
{
    constexpr std::size_t count = 7;
    const std::size_t size = GetParam().bufferSize;
    MemPool sut("sut", size, 3);
    std::vector<void*> buffers;

    for (std::size_t i = 0; i < count; ++i)
    {
        void* const buffer = sut.Get();
        ASSERT_NE(buffer, nullptr);
        EXPECT_TRUE(isAligned(buffer));
        std::memset(buffer, static_cast<int>(i + 1), size);
        buffers.push_back(buffer);
    }

    for (std::size_t i = 0; i < count; ++i)
    {
        const auto* bytes = static_cast<const unsigned char*>(buffers[i]);
        EXPECT_TRUE(std::all_of(bytes, bytes + size, [i](unsigned char byte) { return byte == i + 1; }));
        EXPECT_EQ(guardOf(buffers[i]), MemPool::guardInUse);
    }
    const std::string output = outputOf([&] {
        for (void* buffer : buffers)
        {
            sut.Put(buffer);
        }
    });
    EXPECT_THAT(output, IsEmpty());
    EXPECT_EQ(sut.snapshot().available, sut.snapshot().total);
}

INSTANTIATE_TEST_SUITE_P(Sizes, MemPoolStrideTest,
                         testing::Values(StrideCase{0, 8}, StrideCase{1, 8}, StrideCase{4, 8}, StrideCase{5, 16},
                                         StrideCase{8, 16}, StrideCase{12, 16}, StrideCase{13, 24}, StrideCase{16, 24},
                                         StrideCase{20, 24}, StrideCase{21, 32}, StrideCase{8192, 8200}));

TEST(MemPoolTest, aNewPoolHasOneBlockOfFreeBuffers)
{
    const MemPool sut("some pool", 16, 5);

    const MemPool::Snapshot row = sut.snapshot();
    EXPECT_EQ(row.name, "some pool");
    EXPECT_TRUE(row.canGrow);
    EXPECT_EQ(row.blockCount, 1);
    EXPECT_EQ(row.total, 5);
    EXPECT_EQ(row.available, 5);
}

TEST(MemPoolTest, aGrowCountBelowOneBecomesTwenty)
{
    EXPECT_EQ(MemPool("zero", 16, 0).snapshot().total, 20);
    EXPECT_EQ(MemPool("negative", 16, -3).snapshot().total, 20);
    EXPECT_EQ(MemPool("default", 16).snapshot().total, 20);
}

TEST(MemPoolTest, theTwentyFirstBufferAddsASecondBlock)
{
    MemPool sut("sut", 16);
    for (int i = 0; i < 20; ++i)
    {
        ASSERT_NE(sut.Get(), nullptr);
    }
    EXPECT_EQ(sut.snapshot().blockCount, 1);
    EXPECT_EQ(sut.snapshot().available, 0);

    ASSERT_NE(sut.Get(), nullptr);

    EXPECT_EQ(sut.snapshot().blockCount, 2);
    EXPECT_EQ(sut.snapshot().total, 40);
    EXPECT_EQ(sut.snapshot().available, 19);
}

TEST(MemPoolTest, theLastBufferOfABlockIsHandedOutFirst)
{
    MemPool sut("sut", 20, 3);

    auto* const first = static_cast<std::byte*>(sut.Get());
    auto* const second = static_cast<std::byte*>(sut.Get());
    auto* const third = static_cast<std::byte*>(sut.Get());

    EXPECT_EQ(first - second, 24);
    EXPECT_EQ(second - third, 24);
}

TEST(MemPoolTest, theBufferReturnedLastIsHandedOutNext)
{
    MemPool sut("sut", 16, 3);
    void* const first = sut.Get();
    void* const second = sut.Get();

    sut.Put(first);
    sut.Put(second);

    EXPECT_EQ(sut.Get(), second);
    EXPECT_EQ(sut.Get(), first);
}

TEST(MemPoolTest, theGuardWordSaysWhoHasTheBuffer)
{
    MemPool sut("sut", 16);

    void* const buffer = sut.Get();
    EXPECT_EQ(guardOf(buffer), 0x7f6e5d4cU);
    sut.Put(buffer);
    EXPECT_EQ(guardOf(buffer), 0x1a2b3c4dU);
}

TEST(MemPoolTest, aBufferReturnedTwiceIsReportedOnceAndTheCountsStay)
{
    MemPool sut("SomeCmd", 16);
    void* const buffer = sut.Get();
    sut.Put(buffer);

    EXPECT_EQ(outputOf([&] { sut.Put(buffer); }),
              "MemPool::Put()SomeCmd Attempt to return an unallocated pool buffer\n");

    EXPECT_EQ(sut.snapshot().available, 20);
    EXPECT_EQ(sut.Get(), buffer);
    EXPECT_NE(sut.Get(), buffer);
}

TEST(MemPoolTest, aBufferWithAnOverwrittenGuardIsReportedAndIgnored)
{
    MemPool sut("SomeCmd", 16);
    void* const buffer = sut.Get();
    overwriteGuard(buffer, 0xdeadbeef);

    EXPECT_EQ(outputOf([&] { sut.Put(buffer); }),
              "MemPool::Put()SomeCmd Pool buffer state is invalid - probable memory corruptionr\n");

    EXPECT_EQ(sut.snapshot().available, 19);
}

TEST(MemPoolTest, aNullBufferIsReportedAndIgnored)
{
    MemPool sut("SomeCmd", 16);

    EXPECT_EQ(outputOf([&] { sut.Put(nullptr); }),
              "MemPool::Put()SomeCmd Pool buffer state is invalid - probable memory corruptionr\n");

    EXPECT_EQ(sut.snapshot().available, 20);
}

TEST(MemPoolTest, aCorruptFreeBufferStopsTheHandingOutAndIsReportedEachTime)
{
    MemPool sut("SomeCmd", 16);
    void* const buffer = sut.Get();
    sut.Put(buffer);
    overwriteGuard(buffer, 0xdeadbeef);
    const char* const text =
        "MemPool::Get() SomeCmd pool buffer state indicates unavailable - probable memory corruption\n";

    EXPECT_EQ(outputOf([&] { EXPECT_EQ(sut.Get(), nullptr); }), text);
    EXPECT_EQ(outputOf([&] { EXPECT_EQ(sut.Get(), nullptr); }), text);
    EXPECT_EQ(sut.snapshot().available, 20);

    overwriteGuard(buffer, MemPool::guardFree);
    EXPECT_EQ(sut.Get(), buffer);
}

TEST(MemPoolTest, aPoolThatMayNotGrowAnswersNullUntilABufferComesBack)
{
    MemPool sut("sut", 16, 2);
    sut.setCanGrow(false);
    void* const first = sut.Get();
    ASSERT_NE(sut.Get(), nullptr);

    EXPECT_EQ(outputOf([&] { EXPECT_EQ(sut.Get(), nullptr); }), "");
    sut.Put(first);

    EXPECT_EQ(sut.Get(), first);
    EXPECT_FALSE(sut.snapshot().canGrow);
    EXPECT_EQ(sut.snapshot().blockCount, 1);
}

TEST(MemPoolTest, withoutMemoryThereIsNoBlockAndGetAnswersNull)
{
    MemPool sut("sut", std::size_t{1} << 30, std::numeric_limits<std::int32_t>::max());

    EXPECT_EQ(sut.snapshot().blockCount, 0);
    EXPECT_EQ(sut.snapshot().available, 0);
    EXPECT_EQ(sut.Get(), nullptr);
}

TEST(MemPoolTest, aSizeThatNoStrideCanHoldGivesNoBuffers)
{
    MemPool sut("sut", std::numeric_limits<std::size_t>::max());

    EXPECT_EQ(sut.snapshot().blockCount, 0);
    EXPECT_EQ(sut.Get(), nullptr);
}

TEST(MemPoolTest, aPoolWithoutBlocksReportsEveryReturn)
{
    MemPool owner("owner", 16);
    MemPool sut("SomeCmd", std::numeric_limits<std::size_t>::max());

    EXPECT_EQ(outputOf([&] { sut.Put(owner.Get()); }),
              "MemPool::Put()SomeCmd Malloced buffers gone, Put() ignored, probable timing/memory corruption error\n");
}

TEST(MemPoolTest, manyBlocksHandOutDistinctBuffersAndTakeThemAllBack)
{
    constexpr std::size_t count = 10000;
    MemPool sut("sut", 4);
    std::set<void*> buffers;

    for (std::size_t i = 0; i < count; ++i)
    {
        buffers.insert(sut.Get());
    }
    EXPECT_EQ(buffers.size(), count);
    EXPECT_EQ(sut.snapshot().blockCount, 500);
    for (void* buffer : buffers)
    {
        sut.Put(buffer);
    }

    EXPECT_EQ(sut.snapshot().available, static_cast<std::int32_t>(count));
    EXPECT_EQ(sut.snapshot().blockCount, 500);
}

TEST(MemPoolTest, threadsMayTakeAndReturnEachOthersBuffers)
{
    constexpr int rounds = 5000;
    MemPool sut("sut", 16, 4);
    std::mutex mutex;
    std::vector<void*> shared;
    std::atomic<bool> misaligned{false};

    const auto work = [&] {
        for (int i = 0; i < rounds; ++i)
        {
            void* buffer = sut.Get();
            misaligned = misaligned || !isAligned(buffer);
            std::memset(buffer, i, 16);
            {
                const std::lock_guard lock(mutex);
                shared.push_back(buffer);
                std::swap(shared.front(), shared.back());
                buffer = shared.back();
                shared.pop_back();
            }
            sut.Put(buffer);
        }
    };
    const std::string output = outputOf([&] {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
        {
            threads.emplace_back(work);
        }
        for (auto& thread : threads)
        {
            thread.join();
        }
    });

    EXPECT_THAT(output, IsEmpty());
    EXPECT_FALSE(misaligned);
    EXPECT_EQ(sut.snapshot().available, sut.snapshot().total);
}

#ifdef __SANITIZE_ADDRESS__
TEST(MemPoolDeathTest, theAddressSanitizerSeesTheUseOfAReturnedBuffer)
{
    MemPool sut("sut", 16);
    auto* const buffer = static_cast<volatile char*>(sut.Get());
    buffer[0] = 1;
    sut.Put(const_cast<char*>(buffer));

    EXPECT_DEATH(buffer[0] = 2, "use-after-poison");
}
#endif

} // namespace
