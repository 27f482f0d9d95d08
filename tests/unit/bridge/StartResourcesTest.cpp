#include "bridge/StartResources.h"

#include "runtime/misc/Console.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>
#include <log4cxx/appenderskeleton.h>
#include <log4cxx/logger.h>
#include <sys/resource.h>

#include <chrono>
#include <ctime>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>

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

std::string messageOf(const StartResources& needed, std::chrono::milliseconds patience,
                      const log4cxx::LoggerPtr& logger = nullptr)
{
    try
    {
        awaitStartResources(logger, needed, patience);
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
    const LoweredLimit limit(RLIMIT_NOFILE, 0);

    EXPECT_EQ(messageOf(few, 50ms),
              "not enough resources to start: 0 of 4 descriptors available (ulimit -n), Too many open files");
}

TEST(StartResourcesTest, WaitingLeavesTheProcessorToOthers)
{
    const LoweredLimit limit(RLIMIT_NOFILE, 1);
    const auto used = [] {
        timespec time{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    };
    const auto before = used();

    EXPECT_NE(messageOf(few, 400ms), "");

    EXPECT_LT(used() - before, 100ms); // a quarter of it, on a machine with nothing else to do
}

TEST(StartResourcesTest, WaitingReturnsWhenTheResourcesCome)
{
    // Lifts the limit when the line comes that is logged before the waiting.
    class Mender final : public log4cxx::AppenderSkeleton
    {
    public:
        void append(const log4cxx::spi::LoggingEventPtr& /*event*/, log4cxx::helpers::Pool& /*pool*/) override
        {
            m_limit.reset();
        }
        void close() override {}
        bool requiresLayout() const override { return false; }
        bool isDone() const { return !m_limit; }

    private:
        std::optional<LoweredLimit> m_limit{std::in_place, RLIMIT_NOFILE, 0};
    };
    const auto logger = log4cxx::Logger::getLogger("StartResourcesTest");
    const auto mender = std::make_shared<Mender>();
    logger->setLevel(log4cxx::Level::getWarn());
    logger->addAppender(mender);

    const std::string message = messageOf(few, 20s, logger);

    logger->removeAppender(mender);
    EXPECT_EQ(message, "");
    EXPECT_TRUE(mender->isDone());
}

TEST(StartResourcesTest, OperatorsEndIsNotHeldUp)
{
    const LoweredLimit limit(RLIMIT_NOFILE, 0);
    misc::requestConsoleStop();

    EXPECT_TRUE(testsupport::endsInTime([] { EXPECT_NE(messageOf(few, 120s), ""); }));

    misc::clearConsoleStop();
}
