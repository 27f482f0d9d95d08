#include "runtime/misc/TimingSamples.h"

#include "runtime/util/UniqueFd.h"
#include "tests/support/MeaningfulMemory.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/TempDir.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <sstream>
#include <thread>
#include <vector>

using com::tallowcrest::misc::TimingSamples;
using com::tallowcrest::misc::timingSamples;
using Resolution = TimingSamples::Resolution;

namespace
{

class TimingSamplesTest : public testing::Test
{
protected:
    void record(std::uint32_t first, std::uint32_t second, std::chrono::nanoseconds later = {})
    {
        m_now += std::chrono::duration_cast<TimingSamples::Clock::duration>(later);
        m_sut.record(first, second);
    }
    std::string written() const
    {
        std::ostringstream stream;
        m_sut.writeSamples(stream);
        return stream.str();
    }
    std::string path() const { return (m_directory.path() / "samples.csv").string(); }

    testsupport::TempDir m_directory;
    TimingSamples::Clock::time_point m_now{std::chrono::hours(1000)};
    TimingSamples m_sut{[this] { return m_now; }};
};

TEST_F(TimingSamplesTest, whenNeverStarted_recordsNothing)
{
    record(1, 2);

    EXPECT_FALSE(m_sut.isEnabled());
    EXPECT_EQ(0U, m_sut.count());
}

TEST_F(TimingSamplesTest, whenStarted_choosesMicroseconds)
{
    m_sut.setResolution(Resolution::Milliseconds);

    m_sut.start();

    EXPECT_TRUE(m_sut.isEnabled());
    EXPECT_EQ(Resolution::Microseconds, m_sut.resolution());
}

TEST_F(TimingSamplesTest, whenWritten_givesTimeSinceOldestFirstInDecimalSecondInHexadecimal)
{
    m_sut.start();
    record(80, 0xab);
    record(4294967295U, 0xffffffffU, std::chrono::microseconds(1234567));

    EXPECT_EQ("0.000, 80, 0xab\n1234.567, 4294967295, 0xffffffff\n", written());
}

TEST_F(TimingSamplesTest, whenStartedTwice_keepsWhatIsHeld)
{
    m_sut.start();
    record(1, 1);

    m_sut.start();
    record(2, 2, std::chrono::microseconds(5));

    EXPECT_EQ("0.000, 1, 0x1\n0.005, 2, 0x2\n", written());
}

TEST_F(TimingSamplesTest, whenStoppedWithoutStart_writesAnEmptyFile)
{
    testsupport::writeFile(path(), "of yesterday");

    m_sut.stop(path());

    EXPECT_TRUE(std::filesystem::exists(path()));
    EXPECT_EQ("", testsupport::readFile(path()));
}

TEST_F(TimingSamplesTest, whenStopped_writesTheFileAndEmptiesTheRing)
{
    m_sut.start();
    record(1, 0x10);

    m_sut.stop(path());
    record(2, 0x20);

    EXPECT_EQ("0.000, 1, 0x10\n", testsupport::readFile(path()));
    EXPECT_EQ(0U, m_sut.count());
}

TEST_F(TimingSamplesTest, whenOff_hasNoMemoryForSamples)
{
    if (!testsupport::isMemoryMeaningful)
    {
        GTEST_SKIP() << "a sanitizer has heaps of its own";
    }
    constexpr std::size_t ofSamples = TimingSamples::capacity * 2 * sizeof(std::uint32_t); // and more for their times
    const auto inUse = [] {
        const auto heap = ::mallinfo2();
        return heap.uordblks + heap.hblkhd;
    };
    const std::size_t before = inUse();
    m_sut.start();
    EXPECT_GE(inUse(), before + ofSamples);

    m_sut.stop(path());

    EXPECT_LT(inUse(), before + ofSamples / 2);
}

TEST_F(TimingSamplesTest, whenStartedAgain_beginsANewRun)
{
    m_sut.start();
    record(1, 1);
    m_sut.stop(path());

    m_sut.start();
    record(2, 2, std::chrono::seconds(9));
    record(3, 3, std::chrono::milliseconds(1));
    m_sut.stop(path());

    EXPECT_EQ("0.000, 2, 0x2\n1.000, 3, 0x3\n", testsupport::readFile(path()));
}

std::vector<std::string> splitLines(const std::string& text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

TEST_F(TimingSamplesTest, whenExactlyFull_holdsAll)
{
    m_sut.start();
    for (std::uint32_t i = 0; i < 20000; ++i)
    {
        record(i, i, std::chrono::microseconds(1));
    }

    const auto lines = splitLines(written());

    ASSERT_EQ(20000U, lines.size());
    EXPECT_EQ("0.000, 0, 0x0", lines.front());
    EXPECT_EQ("19.999, 19999, 0x4e1f", lines.back());
}

TEST_F(TimingSamplesTest, whenOneMoreThanFull_losesTheOldest)
{
    m_sut.start();
    for (std::uint32_t i = 0; i < 20001; ++i)
    {
        record(i, i, std::chrono::microseconds(1));
    }

    const auto lines = splitLines(written());

    ASSERT_EQ(20000U, lines.size());
    EXPECT_EQ("0.000, 1, 0x1", lines.front());
    EXPECT_EQ("19.999, 20000, 0x4e20", lines.back());
}

TEST_F(TimingSamplesTest, when25000AreRecorded_theFileHoldsTheLast20000MeasuredFromTheFirstOfThose)
{
    m_sut.start();
    for (std::uint32_t i = 0; i < 25000; ++i)
    {
        record(i, i + 1, std::chrono::microseconds(10));
    }

    m_sut.stop(path());

    const auto lines = splitLines(testsupport::readFile(path()));
    ASSERT_EQ(20000U, lines.size());
    for (std::uint32_t i = 0; i < 20000; ++i)
    {
        std::array<char, 64> expected{};
        static_cast<void>(std::snprintf(expected.data(), expected.size(), "%u.%02u0, %u, 0x%x", i / 100, i % 100,
                                        i + 5000, i + 5001));
        ASSERT_EQ(expected.data(), lines[i]);
    }
}

TEST_F(TimingSamplesTest, whenTheFileCannotBeOpened_saysSoAndEmptiesTheRing)
{
    m_sut.start();
    record(1, 1);
    const std::string missing = (m_directory.path() / "none" / "samples.csv").string();

    testing::internal::CaptureStdout();
    m_sut.stop(missing);

    EXPECT_EQ("Failed to open: '" + missing + "' for writing\n", testing::internal::GetCapturedStdout());
    EXPECT_EQ(0U, m_sut.count());
    EXPECT_FALSE(m_sut.isEnabled());
}

TEST_F(TimingSamplesTest, whenThePathIsADirectory_saysSo)
{
    testing::internal::CaptureStdout();
    m_sut.writeFile(m_directory.path().string());

    EXPECT_EQ("Failed to open: '" + m_directory.path().string() + "' for writing\n",
              testing::internal::GetCapturedStdout());
}

TEST_F(TimingSamplesTest, whenTheDiskIsFull_saysSo)
{
    const testsupport::SmallDisk disk(m_directory.path() / "disk");
    if (!disk.trouble().empty())
    {
        GTEST_SKIP() << disk.trouble();
    }
    m_sut.start();
    record(1, 1);
    const std::string file = (disk.path() / "samples.csv").string();
    disk.fill();

    testing::internal::CaptureStdout();
    m_sut.writeFile(file);

    EXPECT_EQ("Failed to write: '" + file + "' is not complete\n", testing::internal::GetCapturedStdout());
}

TEST_F(TimingSamplesTest, whenAnotherFileLiesThere_replacesItsText)
{
    testsupport::writeFile(path(), std::string(1000, 'x'));
    m_sut.start();
    record(1, 2);

    m_sut.writeFile(path());

    EXPECT_EQ("0.000, 1, 0x2\n", testsupport::readFile(path()));
}

TEST_F(TimingSamplesTest, whenALinkLiesThere_doesNotFollowIt)
{
    const auto victim = m_directory.path() / "victim";
    testsupport::writeFile(victim, "another's");
    std::filesystem::create_symlink(victim, path());

    testing::internal::CaptureStdout();
    m_sut.writeFile(path());

    EXPECT_EQ("Failed to open: '" + path() + "' for writing\n", testing::internal::GetCapturedStdout());
    EXPECT_EQ("another's", testsupport::readFile(victim));
}

TEST_F(TimingSamplesTest, whenAPipeLiesThere_isNotHeldUpAndWritesNothing)
{
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    for (const bool isRead : {false, true})
    {
        const com::tallowcrest::util::UniqueFd reader(isRead ? ::open(path().c_str(), O_RDONLY | O_NONBLOCK) : -1);

        testing::internal::CaptureStdout();
        m_sut.writeFile(path());

        EXPECT_EQ("Failed to open: '" + path() + "' for writing\n", testing::internal::GetCapturedStdout());
    }
}

TEST_F(TimingSamplesTest, whenADeviceLiesThere_writesNothing)
{
    testing::internal::CaptureStdout();
    m_sut.writeFile("/dev/null");

    EXPECT_EQ("Failed to open: '/dev/null' for writing\n", testing::internal::GetCapturedStdout());
}

TEST_F(TimingSamplesTest, whenTheClockWasSetBack_writesNegativeTimes)
{
    m_sut.start();
    record(1, 1);
    record(2, 2, std::chrono::milliseconds(-3));

    EXPECT_EQ("0.000, 1, 0x1\n-3.000, 2, 0x2\n", written());
}

struct ResolutionCase
{
    Resolution resolution;
    const char* name;
    const char* written;
};

class TimingSamplesResolution : public TimingSamplesTest, public testing::WithParamInterface<ResolutionCase>
{};

TEST_P(TimingSamplesResolution, whenWritten_usesIt)
{
    m_sut.start();
    m_sut.setResolution(GetParam().resolution);
    record(7, 7);
    record(7, 7, std::chrono::nanoseconds(1234987654));

    EXPECT_EQ(GetParam().written, written());
}

TEST_P(TimingSamplesResolution, whenDescribed_isNamed)
{
    m_sut.setResolution(GetParam().resolution);

    testing::internal::CaptureStdout();
    m_sut.showDescription();

    EXPECT_EQ(std::string("Time Resolution: ") + GetParam().name + "\nhigh_resolution_clock period: 1/1000000000\n",
              testing::internal::GetCapturedStdout());
}

INSTANTIATE_TEST_SUITE_P(
    All, TimingSamplesResolution,
    testing::Values(ResolutionCase{Resolution::Native, "Native", "0, 7, 0x7\n1234987, 7, 0x7\n"},
                    ResolutionCase{Resolution::Microseconds, "Microseconds", "0.000, 7, 0x7\n1234.987, 7, 0x7\n"},
                    ResolutionCase{Resolution::HundredthsOfMilliseconds, "Hundredths of milliseconds",
                                   "0.00, 7, 0x7\n1234.98, 7, 0x7\n"},
                    ResolutionCase{Resolution::TenthsOfMilliseconds, "Tenths of milliseconds",
                                   "0.0, 7, 0x7\n1234.9, 7, 0x7\n"},
                    ResolutionCase{Resolution::Milliseconds, "Milliseconds", "0, 7, 0x7\n1234, 7, 0x7\n"}),
    [](const testing::TestParamInfo<ResolutionCase>& value) {
        return std::to_string(static_cast<int>(value.param.resolution));
    });

TEST(TimingSamplesThreads, whenManyThreadsRecordWhileItIsSwitched_everyRunIsWhole)
{
    testsupport::TempDir directory;
    const std::string path = (directory.path() / "samples.csv").string();
    TimingSamples sut;
    std::atomic<bool> done{false};
    std::vector<std::thread> recorders;
    for (std::uint32_t i = 0; i < 3; ++i)
    {
        recorders.emplace_back([&sut, &done, i] {
            while (!done)
            {
                sut.record(i, 0xabc);
            }
        });
    }

    for (int run = 0; run < 5; ++run)
    {
        sut.start();
        while (sut.count() < 100)
        {
            std::this_thread::yield();
        }
        sut.stop(path);
        const auto lines = splitLines(testsupport::readFile(path));
        EXPECT_GE(lines.size(), 100U);
        EXPECT_EQ(0U, lines.front().find("0.000, "));
        EXPECT_EQ(0U, sut.count());
    }
    done = true;
    for (auto& recorder : recorders)
    {
        recorder.join();
    }
}

TEST(TimingSamplesProcess, hasOneRecorder)
{
    EXPECT_EQ(&timingSamples(), &timingSamples());
}

} // namespace
