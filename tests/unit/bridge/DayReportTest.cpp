#include "bridge/DayReport.h"

#include "runtime/util/Metrics.h"
#include "tests/fakes/FakeApartment.h"
#include "tests/fakes/ManualAlarmClock.h"
#include "tests/support/LogRecorder.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using com::tallowcrest::util::Counter;
using com::tallowcrest::util::Histogram;

namespace
{

constexpr std::array<std::uint32_t, 1> bounds{1000};

/// What counts beside the bridge's own metrics of these names.
class DayReportTest : public testing::Test
{
protected:
    Counter m_done{"korabridge_take_entries_total", "", "result=\"done\""};
    Counter m_locked{"korabridge_take_entries_total", "", "result=\"locked\""};
    Counter m_lockDone{"korabridge_lock_entries_total", "", "result=\"done\""};
    Counter m_lockRefused{"korabridge_lock_entries_total", "", "result=\"protected\""};
    Counter m_accepted{"korabridge_controllers_accepted_total", ""};
    Histogram m_joins{"korabridge_join_seconds", "", bounds};
    Counter m_dropped{"korabridge_gate_dropped_total", "", "reason=\"no_place\""};

    const testsupport::LogRecorder m_log;
    FakeApartment m_apartment;
    const std::shared_ptr<ManualAlarmClock> m_clock = std::make_shared<ManualAlarmClock>();
};

using Lines = std::vector<std::string>;

} // namespace

TEST_F(DayReportTest, TellsOnceADayWhatTheDayHasBrought)
{
    m_done.add(1000); // before it began to count
    DayReport sut(m_apartment, m_clock);
    m_apartment.runAll();
    m_done.add(7);
    m_locked.add(2);
    m_lockDone.add(50);
    m_lockRefused.add(1);
    m_accepted.add(4);
    m_joins.observe(5);
    m_dropped.add(9);

    m_clock->pass(24h - 1s);
    EXPECT_EQ(m_log.texts(), Lines{});
    m_clock->pass(1s);

    EXPECT_EQ(m_log.texts(),
              Lines{"INFO The last 24 hours: 7 takes, 3 refusals, 4 connections, 1 joins, 9 samples dropped"});
}

TEST_F(DayReportTest, EachDayIsCountedByItselfAndAQuietOneToo)
{
    DayReport sut(m_apartment, m_clock);
    m_apartment.runAll();
    m_done.add(5);
    m_clock->pass(24h);
    m_done.add(6);

    m_clock->pass(48h);

    EXPECT_EQ(m_log.texts(),
              (Lines{"INFO The last 24 hours: 5 takes, 0 refusals, 0 connections, 0 joins, 0 samples dropped",
                     "INFO The last 24 hours: 6 takes, 0 refusals, 0 connections, 0 joins, 0 samples dropped",
                     "INFO The last 24 hours: 0 takes, 0 refusals, 0 connections, 0 joins, 0 samples dropped"}));
}
