#include "runtime/apartment/AlarmClock.h"

#include "tests/fakes/ManualAlarmClock.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace
{

using com::tallowcrest::apartment::Alarm;
using namespace std::chrono_literals;

class AlarmClockTest : public testing::Test
{
protected:
    std::unique_ptr<Alarm> makeAlarm(char name)
    {
        return std::make_unique<Alarm>(m_sut, [this, name] { m_rung += name; });
    }

    const std::shared_ptr<ManualAlarmClock> m_sut = std::make_shared<ManualAlarmClock>();
    const ManualAlarmClock::Clock::time_point m_begin = m_sut->now();
    std::string m_rung;
};

TEST_F(AlarmClockTest, alarmThatIsNotSetIsNeverDue)
{
    const auto alarm = makeAlarm('a');

    EXPECT_FALSE(m_sut->nextDue());
    m_sut->pass(1h);

    EXPECT_EQ(m_rung, "");
}

TEST_F(AlarmClockTest, alarmIsDueOnceAtItsTime)
{
    const auto alarm = makeAlarm('a');
    alarm->set(m_begin + 1s);

    m_sut->pass(1s - 1ns);
    EXPECT_EQ(m_rung, "");
    EXPECT_EQ(m_sut->nextDue(), m_begin + 1s);

    m_sut->pass(1ns);
    EXPECT_EQ(m_rung, "a");
    EXPECT_FALSE(m_sut->nextDue());
    m_sut->pass(1h);
    EXPECT_EQ(m_rung, "a");
}

TEST_F(AlarmClockTest, alarmThatIsSetAnewIsDueAtTheNewTimeOnly)
{
    const auto alarm = makeAlarm('a');
    alarm->set(m_begin + 1s);
    alarm->set(m_begin + 3s);

    m_sut->pass(2s);
    EXPECT_EQ(m_rung, "");
    m_sut->pass(1s);
    EXPECT_EQ(m_rung, "a");
}

TEST_F(AlarmClockTest, alarmThatIsClearedOrGoneIsNotDue)
{
    const auto cleared = makeAlarm('a');
    auto gone = makeAlarm('b');
    cleared->set(m_begin + 1s);
    gone->set(m_begin + 1s);

    cleared->clear();
    gone.reset();
    m_sut->pass(1h);

    EXPECT_EQ(m_rung, "");
}

TEST_F(AlarmClockTest, alarmsRingInTheOrderInWhichTheyAreDue)
{
    const auto second = makeAlarm('b');
    const auto first = makeAlarm('a');
    second->set(m_begin + 2s);
    first->set(m_begin + 1s);

    EXPECT_EQ(m_sut->nextDue(), m_begin + 1s);
    m_sut->pass(2s);

    EXPECT_EQ(m_rung, "ab");
}

TEST_F(AlarmClockTest, alarmMayBeSetByItsOwnCall)
{
    std::unique_ptr<Alarm> alarm;
    alarm = std::make_unique<Alarm>(m_sut, [&] {
        m_rung += 'a';
        alarm->set(m_sut->now() + 1s);
    });
    alarm->set(m_begin + 1s);

    m_sut->pass(3s);

    EXPECT_EQ(m_rung, "aaa");
}

} // namespace
