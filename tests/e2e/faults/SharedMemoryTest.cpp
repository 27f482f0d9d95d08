#include "tests/e2e/faults/FaultFixture.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <atomic>
#include <stdexcept>

namespace e2e
{
namespace
{

constexpr key_t timecodeKey = 1437;
/// 25 frames a second, 100 fields after midnight.
constexpr std::uint32_t someTime = 0x01000064;
/// Midnight in drop-frame: what stands for a time that is not to be had.
constexpr std::uint32_t noTime = 0x02000000;

/// The process that keeps the station's time, with a segment of any size.
class TimeKeeper
{
public:
    explicit TimeKeeper(std::size_t size) : m_id(::shmget(timecodeKey, size, IPC_CREAT | 0666))
    {
        void* const address = ::shmat(m_id, nullptr, 0);
        if (m_id < 0 || reinterpret_cast<std::intptr_t>(address) == -1)
        {
            throw std::runtime_error("no shared memory");
        }
        m_word = static_cast<std::uint32_t*>(address);
        std::atomic_ref(*m_word).store(someTime);
    }
    ~TimeKeeper()
    {
        ::shmctl(m_id, IPC_RMID, nullptr);
        ::shmdt(m_word);
    }
    TimeKeeper(const TimeKeeper&) = delete;
    TimeKeeper& operator=(const TimeKeeper&) = delete;

private:
    int m_id;
    std::uint32_t* m_word = nullptr;
};

class SharedMemoryTest : public FaultFixture
{
protected:
    SharedMemoryTest()
    {
        if (const int id = ::shmget(timecodeKey, 0, 0); id >= 0) // where tests share a namespace
        {
            ::shmctl(id, IPC_RMID, nullptr);
        }
    }

    /// The time with which a take is stamped at the moment.
    std::uint32_t stampOfATake(koraclient::KoraClient& controller)
    {
        EXPECT_TRUE(takesReachTheRouter(controller, 9));
        const auto target = record().lastTarget(Signal::Video, 9);
        return target ? target->when : 0;
    }
};

TEST_F(SharedMemoryTest, SegmentTooSmallIsReportedOnceAndTheRightOneUsedWhenItComes)
{
    auto keeper = std::make_unique<TimeKeeper>(16);
    startJoined();
    auto controller = connectController();

    EXPECT_EQ(stampOfATake(controller), noTime);
    EXPECT_EQ(stampOfATake(controller), noTime);
    EXPECT_NE(bridge().errors().find("shmget: Invalid argument\nshmat: Invalid argument\n"), std::string::npos);
    EXPECT_EQ(countOf(bridge().errors(), "Invalid argument"), 2U);

    keeper.reset();
    keeper = std::make_unique<TimeKeeper>(32);
    EXPECT_TRUE(testsupport::waitUntil([&] { return stampOfATake(controller) == someTime; }));
    EXPECT_EQ(countOf(bridge().errors(), "house timecode: shared-memory segment attached"), 1U);
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(SharedMemoryTest, SegmentLargerThanNeededIsUsed)
{
    const TimeKeeper keeper(4096);
    startJoined();
    auto controller = connectController();

    EXPECT_EQ(stampOfATake(controller), someTime);
    EXPECT_EQ(bridge().errors().find("shm"), std::string::npos);
    EXPECT_EQ(stopBridge(), 0);
}

} // namespace
} // namespace e2e
