#include "runtime/hwobjs/TimecodeSharedMem.h"

#include "tests/support/FailingCall.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

namespace
{

using com::tallowcrest::hwobjs::ITimecodeReader;
using com::tallowcrest::hwobjs::ITimecodeWriter;
using com::tallowcrest::hwobjs::TimecodeSharedMem;
using com::tallowcrest::util::Timecode;

constexpr key_t key = 1437;
constexpr std::uint32_t defaultWord = 0x02000000;

/// The segment as another process sees it; removed before and after each test.
class TimecodeSharedMemTest : public testing::Test
{
protected:
    TimecodeSharedMemTest() { removeSegment(); }
    ~TimecodeSharedMemTest() override { removeSegment(); }

    static void removeSegment()
    {
        const int id = ::shmget(key, 0, 0);
        if (id >= 0)
        {
            ::shmctl(id, IPC_RMID, nullptr);
        }
    }

    static shmid_ds segmentState()
    {
        shmid_ds state{};
        EXPECT_EQ(::shmctl(::shmget(key, 0, 0), IPC_STAT, &state), 0);
        return state;
    }
};

/// Attaches the existing segment as the station's own process does.
class OtherProcess
{
public:
    OtherProcess() : m_address(::shmat(::shmget(key, 0, 0), nullptr, 0)) {}
    ~OtherProcess() { ::shmdt(m_address); }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    void write(std::uint32_t word)
    {
        std::atomic_ref<std::uint32_t>(*static_cast<std::uint32_t*>(m_address)).store(word);
    }
    std::uint32_t read(std::size_t index = 0) const { return static_cast<const std::uint32_t*>(m_address)[index]; }

private:
    void* m_address;
};

TEST_F(TimecodeSharedMemTest, createsTheSegmentWithItsSizeAndPermissions)
{
    const TimecodeSharedMem sut;

    const shmid_ds state = segmentState();
    EXPECT_EQ(state.shm_segsz, 32U);
    EXPECT_EQ(state.shm_perm.mode & 0777, 0666);
    EXPECT_EQ(state.shm_nattch, 1U);
}

TEST_F(TimecodeSharedMemTest, readsWhatAnotherProcessWrites)
{
    const TimecodeSharedMem sut;
    OtherProcess other;

    other.write(0x01000064);
    EXPECT_EQ(sut.getTimecode().word(), 0x01000064U);
    other.write(0x03000065);
    EXPECT_EQ(sut.getTimecode().word(), 0x03000065U);
}

TEST_F(TimecodeSharedMemTest, aSegmentThatExistsKeepsItsContents)
{
    ASSERT_GE(::shmget(key, 32, IPC_CREAT | 0666), 0);
    OtherProcess().write(0x01000064);

    const TimecodeSharedMem sut;

    EXPECT_EQ(sut.getTimecode().word(), 0x01000064U);
}

TEST_F(TimecodeSharedMemTest, anUndefinedWordIsReadAsMidnightInDropFrame)
{
    const TimecodeSharedMem sut;
    OtherProcess other;

    EXPECT_EQ(sut.getTimecode().word(), defaultWord); // a new segment is all zeros
    for (const std::uint32_t word : {0x00000064U, 0x04000064U, 0x07ffffffU, 0xf8000001U})
    {
        other.write(word);
        EXPECT_EQ(sut.getTimecode().word(), defaultWord) << word;
    }
}

TEST_F(TimecodeSharedMemTest, theUpperBitsOfTheWordAreDropped)
{
    const TimecodeSharedMem sut;
    OtherProcess().write(0xf9000064);

    EXPECT_EQ(sut.getTimecode().word(), 0x01000064U);
}

TEST_F(TimecodeSharedMemTest, writesTheFirstWordAndNothingElse)
{
    TimecodeSharedMem sut;
    const OtherProcess other;

    sut.setTimecode(Timecode(0x03abcdef));

    EXPECT_EQ(other.read(), 0x03abcdefU);
    for (std::size_t i = 1; i < 8; ++i)
    {
        EXPECT_EQ(other.read(i), 0U);
    }
}

TEST_F(TimecodeSharedMemTest, isReaderAndWriter)
{
    TimecodeSharedMem sut;
    ITimecodeWriter& writer = sut;
    const ITimecodeReader& reader = sut;

    writer.setTimecode(Timecode(0x01000001));

    EXPECT_EQ(reader.getTimecode().word(), 0x01000001U);
}

TEST_F(TimecodeSharedMemTest, theDestructorDetachesAndLeavesTheSegment)
{
    {
        TimecodeSharedMem sut;
        sut.setTimecode(Timecode(0x01000064));
        EXPECT_EQ(segmentState().shm_nattch, 1U);
    }

    EXPECT_EQ(segmentState().shm_nattch, 0U);
    EXPECT_EQ(TimecodeSharedMem().getTimecode().word(), 0x01000064U);
}

TEST_F(TimecodeSharedMemTest, aSmallerSegmentIsReportedAndReplacedByTheDefault)
{
    ASSERT_GE(::shmget(key, 16, IPC_CREAT | 0666), 0);

    testing::internal::CaptureStderr();
    TimecodeSharedMem sut;
    const std::string report = testing::internal::GetCapturedStderr();

    EXPECT_EQ(report, "shmget: Invalid argument\nshmat: Invalid argument\n");
    EXPECT_EQ(sut.getTimecode().word(), defaultWord);
    sut.setTimecode(Timecode(0x01000064));
    EXPECT_EQ(sut.getTimecode().word(), defaultWord);
    EXPECT_EQ(segmentState().shm_nattch, 0U);
}

TEST_F(TimecodeSharedMemTest, aSegmentThatGetsItsRightSizeLaterIsAttachedWithOneLine)
{
    ASSERT_GE(::shmget(key, 16, IPC_CREAT | 0666), 0);
    testing::internal::CaptureStderr();
    const TimecodeSharedMem sut;
    EXPECT_EQ(sut.getTimecode().word(), defaultWord);

    removeSegment();
    ASSERT_GE(::shmget(key, 32, IPC_CREAT | 0666), 0);
    OtherProcess().write(0x01000064);

    EXPECT_TRUE(testsupport::waitUntil([&] { return sut.getTimecode().word() == 0x01000064U; }));
    EXPECT_EQ(sut.getTimecode().word(), 0x01000064U);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "shmget: Invalid argument\nshmat: Invalid argument\n"
                                                      "house timecode: shared-memory segment attached\n");
}

TEST_F(TimecodeSharedMemTest, aSegmentMayBeReadWhileItIsWritten)
{
    TimecodeSharedMem writer;
    const TimecodeSharedMem sut;
    std::atomic<bool> done{false};
    std::thread thread([&] {
        for (int i = 0; i < 20000; ++i)
        {
            writer.setTimecode(Timecode(i % 2 == 0 ? 0x01010101U : 0x03fefefeU));
        }
        done = true;
    });

    while (!done)
    {
        const std::uint32_t word = sut.getTimecode().word();
        EXPECT_TRUE(word == 0x01010101U || word == 0x03fefefeU || word == defaultWord) << word;
    }
    thread.join();
}

TEST_F(TimecodeSharedMemTest, segmentThatCannotBeDetachedIsToldAndTheEndGoesOn)
{
    testing::internal::CaptureStderr();

    const bool isTried = testsupport::withFailingCalls({{SYS_shmdt, EINVAL}}, [] { const TimecodeSharedMem sut; });

    const std::string errors = testing::internal::GetCapturedStderr();
    if (!isTried)
    {
        GTEST_SKIP() << testsupport::noFailingCalls;
    }
    EXPECT_EQ(errors, "shmdt: Invalid argument\n");
}

} // namespace
