#include "koracommand/CmdTable.h"
#include "koracommand/RspBase.h"
#include "koracommand/RspQueue.h"
#include "tests/unit/koracommand/LevelFixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{
std::atomic<std::size_t> heapAllocations{0};
/// Makes the general heap have no memory for this thread.
thread_local bool isHeapEmpty = false;
} // namespace

// Replaces the general heap of this program; the pools do not come through here. Not inlined: the compiler would take
// the freeing of what "new" gave for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    ++heapAllocations;
    if (!isHeapEmpty)
    {
        if (void* const memory = std::malloc(size == 0 ? 1 : size))
        {
            return memory;
        }
    }
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    ++heapAllocations;
    return isHeapEmpty ? nullptr : std::malloc(size == 0 ? 1 : size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept
{
    std::free(memory);
}

namespace
{

/// Gives the same level for every number, without making anything.
class OneLevelAccess final : public ILevelAccess
{
public:
    std::shared_ptr<ILevel> getLevelInstance(std::uint32_t /*levelNumber*/) override { return m_level; }

private:
    std::shared_ptr<ILevel> m_level = std::make_shared<LevelInvalid>();
};

class AllocationTest : public LevelFixture
{
protected:
    AllocationTest() { setLevelAccess(std::make_shared<OneLevelAccess>()); }

    /// The way of a request from the received bytes to the bytes to send, without the threads.
    void run(const CmdTableEntry& entry, const Bytes& message)
    {
        const auto cmd = entry.create(message, m_queue, m_shared);
        cmd->doIt();
        const RspInNetworkOrder rsp(*m_queue->pop());
        ASSERT_EQ(WireReader({rsp.getData(), rsp.getLength()}).hostWordAt(0), hostToBigEndian(12));
    }

    std::shared_ptr<RspQueue> m_queue = std::make_shared<RspQueue>();
    std::shared_ptr<ConnectionContext> m_shared = std::make_shared<ConnectionContext>(nullptr, 3, &fixedClock);
};

TEST_F(AllocationTest, NoCommandTakesMemoryFromTheHeap)
{
    for (const CmdTableEntry& entry : cmdTable())
    {
        const Bytes message = networkRequest(entry.msgId, {2, 1, 7, 1, 5, 1, 7, 2, 6});
        run(entry, message);
        const std::size_t before = heapAllocations;
        for (int i = 0; i < 100; ++i)
        {
            run(entry, message);
        }
        EXPECT_EQ(heapAllocations - before, 0U) << entry.name;
    }
}

TEST(AllocationCounterTest, SeesTheHeapAtWork)
{
    const std::size_t before = heapAllocations;
    const auto memory = std::make_unique<std::array<std::byte, 1000>>();
    ASSERT_NE(memory, nullptr);
    EXPECT_GT(heapAllocations, before);
}

TEST(ResponseWithoutMemoryTest, ThatCannotBeQueuedIsLostAndReportedWithoutTheLog)
{
    constexpr int queued = 4; // what the queue has room for from the start
    RspQueue queue;
    ConnectionContext context(log4cxx::Logger::getLogger("KORABRIDGE"), 3, &fixedClock);
    for (int i = 0; i < queued; ++i)
    {
        deliver(nullptr, queue, context);
    }
    testing::internal::CaptureStderr();

    isHeapEmpty = true;
    deliver(nullptr, queue, context);
    isHeapEmpty = false;

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Response lost: std::bad_alloc (not logged: std::bad_alloc)\n");
    for (int i = 0; i < queued; ++i)
    {
        EXPECT_TRUE(queue.popWithin(std::chrono::milliseconds(0)).has_value());
    }
    EXPECT_FALSE(queue.popWithin(std::chrono::milliseconds(0)).has_value());
}

} // namespace
