#include "buswrappers/FaultLog.h"

#include "tests/support/LogRecorder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

using com::tallowcrest::routing::FaultLog;
using dds::core::InstanceHandle;

namespace
{

using Lines = std::vector<std::string>;

class FaultLogTest : public testing::Test
{
protected:
    testsupport::LogRecorder m_log;
    std::chrono::steady_clock::time_point m_now{std::chrono::hours(5)};
    FaultLog m_sut{[this] { return m_now; }};
};

} // namespace

TEST_F(FaultLogTest, EachKindOfFaultOfEachWriterIsWarnedOfOnce)
{
    for (int i = 0; i < 100; ++i)
    {
        m_sut.warn("TopicX", InstanceHandle(1), "too large", "{1}");
        m_sut.warn("TopicX", InstanceHandle(2), "too large", "{2}");
        m_sut.warn("TopicX", InstanceHandle(1), "too small", "{3}");
    }

    EXPECT_EQ(m_log.texts(),
              (Lines{"WARN TopicX sample ignored: too large: {1}", "WARN TopicX sample ignored: too large: {2}",
                     "WARN TopicX sample ignored: too small: {3}"}));
}

TEST_F(FaultLogTest, RepeatsAreCountedAndToldOnceAMinute)
{
    for (int i = 0; i < 100; ++i)
    {
        m_sut.warn("TopicX", InstanceHandle(1), "too large", "{1}");
    }
    m_log.takeTexts();

    m_now += std::chrono::minutes(1);
    m_sut.warn("TopicX", InstanceHandle(1), "too large", "{1}");
    m_sut.warn("TopicX", InstanceHandle(1), "too large", "{1}");

    EXPECT_EQ(m_log.takeTexts(), Lines{"WARN repeated 100 times: TopicX sample ignored: too large: {1}"});
}

TEST_F(FaultLogTest, MadeUpWritersBeyondTheFirstAreOne)
{
    for (std::uint64_t writer = 1; writer <= 10 * FaultLog::mostSources; ++writer)
    {
        m_sut.warn("TopicX", InstanceHandle(writer), "too large", "{1}");
    }

    EXPECT_EQ(m_log.texts().size(), FaultLog::mostSources + 1);
}
