#include "bridge/StartResources.h"

#include "runtime/misc/ConsoleStop.h"
#include "tests/support/TypeCheck.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <thread>

#include <sys/resource.h>

namespace
{

namespace misc = com::tallowcrest::misc;
using namespace std::chrono_literals;

/// Lowers a limit of this process for its own life.
class LoweredLimit
{
public:
    LoweredLimit(__rlimit_resource resource, rlim_t value) : m_resource(resource)
    {
        ::getrlimit(m_resource, &m_before);
        rlimit lowered = m_before;
        lowered.rlim_cur = value;
        ::setrlimit(m_resource, &lowered);
    }
    ~LoweredLimit() { ::setrlimit(m_resource, &m_before); }
    LoweredLimit(const LoweredLimit&) = delete;
    LoweredLimit& operator=(const LoweredLimit&) = delete;

private:
    __rlimit_resource m_resource;
    rlimit m_before{};
};

constexpr StartResources few{4, 2, 4096};

std::string messageOf(const StartResources& needed, std::chrono::milliseconds patience)
{
    try
    {
        awaitStartResources(nullptr, needed, patience);
        return "";
    }
    catch (const std::runtime_error& error)
    {
        return error.what();
    }
}

} // namespace

TEST(StartResourcesTest, NothingIsMissingOnAMachineThatHasIt)
{
    EXPECT_EQ(bridgeStartResources.missing(), "");
}

TEST(StartResourcesTest, TellsHowManyDescriptorsThereAre)
{
    const LoweredLimit limit(RLIMIT_NOFILE, 0);

    EXPECT_EQ(few.missing(), "0 of 4 descriptors available (ulimit -n), Too many open files");
}

TEST(StartResourcesTest, LookingHoldsNoDescriptorAfterwards)
{
    for (int i = 0; i < 200; ++i)
    {
        ASSERT_EQ((StartResources{100, 0, 1}.missing()), "");
    }
}

TEST(StartResourcesTest, TellsMissingMemory)
{
    constexpr std::size_t half = std::size_t{1} << (std::numeric_limits<std::size_t>::digits - 1); // of all addresses

    EXPECT_EQ((StartResources{0, 0, half}.missing()),
              "less than " + std::to_string(half / 1024) +
                  " KiB of memory available (ulimit -v), Cannot allocate memory");
}

TEST(StartResourcesTest, WaitingReturnsAtOnceWhenAllIsThere)
{
    EXPECT_EQ(messageOf(few, 0ms), "");
}

TEST(StartResourcesTest, WaitingEndsWithWhatIsMissing)
{
    if constexpr (testsupport::typeCheckNeedsDescriptors)
    {
        GTEST_SKIP() << testsupport::typeCheckReason;
    }
    const LoweredLimit limit(RLIMIT_NOFILE, 0);

    EXPECT_EQ(messageOf(few, 50ms),
              "not enough resources to start: 0 of 4 descriptors available (ulimit -n), Too many open files");
}

TEST(StartResourcesTest, WaitingReturnsWhenTheResourcesCome)
{
    if constexpr (testsupport::typeCheckNeedsDescriptors)
    {
        GTEST_SKIP() << testsupport::typeCheckReason;
    }
    std::thread mender;
    std::string message;
    {
        auto limit = std::make_unique<LoweredLimit>(RLIMIT_NOFILE, 0);
        mender = std::thread([&] {
            std::this_thread::sleep_for(100ms); // the waiting must have begun; how far it got decides nothing
            limit.reset();
        });
        message = messageOf(few, 20s);
        mender.join();
    }

    EXPECT_EQ(message, "");
}

TEST(StartResourcesTest, OperatorsEndIsNotHeldUp)
{
    if constexpr (testsupport::typeCheckNeedsDescriptors)
    {
        GTEST_SKIP() << testsupport::typeCheckReason;
    }
    const LoweredLimit limit(RLIMIT_NOFILE, 0);
    misc::requestConsoleStop();
    const auto begin = std::chrono::steady_clock::now();

    EXPECT_NE(messageOf(few, 60s), "");

    EXPECT_LT(std::chrono::steady_clock::now() - begin, 30s);
    misc::clearConsoleStop();
}
