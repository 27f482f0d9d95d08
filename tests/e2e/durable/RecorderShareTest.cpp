// What keeping targets costs while takes come one after the other.
#include "tests/e2e/durable/DurableFixture.h"
#include "tests/support/ThreadTimes.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

using namespace e2e;

namespace
{

using Clock = std::chrono::steady_clock;

/// What a thread has used so far.
struct Used
{
    std::uint64_t nanoseconds = 0; ///< of a processor
    std::uint64_t waits = 0;       ///< how often it went to sleep
};

Used operator-(const Used& left, const Used& right)
{
    return {left.nanoseconds - right.nanoseconds, left.waits - right.waits};
}

class RecorderShareTest : public DurableFixture
{
protected:
    /// Of the bridge's recorder.
    Used used()
    {
        Used sum;
        for (const auto& thread : testsupport::threadsOf(bridge().pid(), "Durable record"))
        {
            if (const auto times = testsupport::timesOf(thread)) // it may have ended meanwhile
            {
                sum.nanoseconds += static_cast<std::uint64_t>(times->ran.count());
                sum.waits += waitsOf(thread);
            }
        }
        return sum;
    }

private:
    static std::uint64_t waitsOf(const std::filesystem::path& task)
    {
        std::ifstream status(task / "status");
        for (std::string word; status >> word;)
        {
            if (std::uint64_t waits = 0; word == "voluntary_ctxt_switches:" && status >> waits)
            {
                return waits;
            }
        }
        return 0;
    }
};

} // namespace

TEST_F(RecorderShareTest, RecorderWakesAtMostEveryTenMillisecondsAndLeavesTheProcessorToOthers)
{
    router().announce();
    startJoinedOnStore();
    auto controller = connectController();
    constexpr std::uint32_t outputs = 288;
    auto takeOn = [&, output = 0U](std::chrono::milliseconds time) mutable {
        const auto begin = Clock::now();
        std::size_t takes = 0;
        for (; Clock::now() - begin < time; ++takes)
        {
            output = output % outputs + 1;
            EXPECT_EQ(controller.take({{videoLevel, 0, output, output}}).at(0), 0U);
        }
        return takes;
    };
    takeOn(std::chrono::milliseconds(200)); // until the recorder knows that many come
    const Used before = used();
    const auto begin = Clock::now();

    const std::size_t takes = takeOn(std::chrono::seconds(2));

    const std::chrono::duration<double> time = Clock::now() - begin;
    const Used recorder = used() - before;
    ASSERT_GE(takes, 500U);
    ASSERT_GT(recorder.nanoseconds, 0U) << "nothing was kept";
    EXPECT_LE(static_cast<double>(recorder.waits), 110 * time.count());
    EXPECT_LE(static_cast<double>(recorder.nanoseconds) / 1e9, 0.04 * time.count());
}
