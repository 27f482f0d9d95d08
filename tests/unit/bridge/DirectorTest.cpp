#include "bridge/Director.h"

#include "bridge/DayReport.h"
#include "dds/core/Exception.hpp"
#include "ddskorabridge/LevelContainer.h"
#include "ddskorabridge/MacroXptMgrStatus.h"
#include "ddskorabridge/MacroXptMgrTarget.h"
#include "koracommand/LevelAccess.h"
#include "koraserver/Server.h"
#include "runtime/apartment/Apartment.h"
#include "runtime/apartment/ApartmentCall.h"
#include "runtime/hwobjs/CurrentTimecodeReader.h"
#include "runtime/misc/Console.h"
#include "runtime/misc/TelnetIO.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

using namespace std::chrono_literals;
using com::tallowcrest::apartment::AlarmClock;
using com::tallowcrest::apartment::bridgeApartment;
using com::tallowcrest::apartment::callOnApartment;
using com::tallowcrest::hwobjs::currentTimecodeReader;
using com::tallowcrest::misc::console;

namespace
{

class DirectorTest : public testing::Test
{
protected:
    ~DirectorTest() override { Director::stopSystem(); }

    static bool start() { return Director::startSystem(17, 3, "Bridge One", "under test"); }
    static bool isInvalid(std::uint32_t levelNumber) { return getLevelInstance(levelNumber)->isSame(LevelInvalid()); }
};

} // namespace

TEST_F(DirectorTest, StopWithoutStartDoesNothing)
{
    EXPECT_TRUE(Director::stopSystem());
    EXPECT_FALSE(Director::isStarted());
}

TEST_F(DirectorTest, StartFillsEverySlotAndRunsEveryTask)
{
    EXPECT_TRUE(start());

    EXPECT_TRUE(Director::isStarted());
    ASSERT_NE(bridgeApartment(), nullptr);
    EXPECT_TRUE(bridgeApartment()->isRunning());
    ASSERT_NE(console(), nullptr);
    EXPECT_TRUE(console()->isRunning());
    EXPECT_NE(currentTimecodeReader(), nullptr);
    ASSERT_NE(Director::server(), nullptr);
    EXPECT_TRUE(Director::server()->isRunning());
    EXPECT_FALSE(Director::server()->isConnectedToRouter());
}

TEST_F(DirectorTest, TheTwoFixedLevelsAreThereFromTheStart)
{
    start();

    EXPECT_FALSE(isInvalid(1));
    EXPECT_FALSE(isInvalid(2));
    EXPECT_TRUE(isInvalid(3));
    std::uint32_t input = 0;
    std::uint32_t state = 0;
    std::uint32_t holder = 0;
    EXPECT_EQ(getLevelInstance(1)->getOutputStatus(288, input, state, holder), 3U); // within the level, no route yet
    EXPECT_EQ(getLevelInstance(1)->getOutputStatus(289, input, state, holder), 4U);
    EXPECT_EQ(getLevelInstance(2)->getOutputStatus(2304, input, state, holder), 3U);
    EXPECT_EQ(getLevelInstance(2)->getOutputStatus(2305, input, state, holder), 4U);
}

TEST_F(DirectorTest, FirstReportOfTheDayIsDueADayAfterTheStart)
{
    const auto before = AlarmClock::Clock::now();
    start();
    const auto apartment = bridgeApartment();

    // No router is there and nobody manages the service, so no other alarm is set.
    const auto due = callOnApartment<std::optional<AlarmClock::Clock::time_point>>(
        *apartment, [clock = apartment->alarmClock()] { return clock->nextDue(); }, 10s);

    ASSERT_TRUE(due && *due);
    EXPECT_GE(**due, before + DayReport::day);
    EXPECT_LE(**due, AlarmClock::Clock::now() + DayReport::day);
}

TEST_F(DirectorTest, SecondStartChangesNothing)
{
    start();
    const auto server = Director::server();
    const auto apartment = bridgeApartment();

    EXPECT_TRUE(Director::startSystem(18, 4, "Bridge Two", "ignored"));

    EXPECT_EQ(Director::server(), server);
    EXPECT_EQ(bridgeApartment(), apartment);
}

TEST_F(DirectorTest, StopEmptiesEverySlotAndReleasesWhatItHeld)
{
    start();
    const std::weak_ptr<Server> server = Director::server();
    const std::weak_ptr<com::tallowcrest::apartment::Apartment> apartment = bridgeApartment();
    const std::weak_ptr<com::tallowcrest::misc::TelnetIO> telnet = console();
    const std::weak_ptr<MacroXptMgrTarget> target = Director::audioTargetMgr();
    const std::weak_ptr<MacroXptMgrStatus> status = Director::videoStatusMgr();
    const std::weak_ptr<LevelContainer> levels = Director::videoLevels();

    EXPECT_TRUE(Director::stopSystem());

    EXPECT_FALSE(Director::isStarted());
    EXPECT_TRUE(server.expired());
    EXPECT_TRUE(apartment.expired());
    EXPECT_TRUE(telnet.expired());
    EXPECT_TRUE(target.expired());
    EXPECT_TRUE(status.expired());
    EXPECT_TRUE(levels.expired());
    EXPECT_EQ(bridgeApartment(), nullptr);
    EXPECT_EQ(console(), nullptr);
    EXPECT_EQ(currentTimecodeReader(), nullptr);
    EXPECT_EQ(Director::server(), nullptr);
    EXPECT_EQ(Director::audioTargetMgr(), nullptr);
    EXPECT_EQ(Director::videoLevels(), nullptr);
    EXPECT_TRUE(isInvalid(1));
    EXPECT_TRUE(Director::stopSystem());
}

TEST_F(DirectorTest, StartsAgainAfterAStop)
{
    start();
    Director::stopSystem();

    EXPECT_TRUE(start());

    EXPECT_TRUE(bridgeApartment()->isRunning());
    EXPECT_FALSE(isInvalid(2));
}

TEST_F(DirectorTest, StartThatFailsOnTheWayIsTakenDownAndCanBeRepeated)
{
    const char* const configured = std::getenv("CYCLONEDDS_URI");
    const std::string usual = configured != nullptr ? configured : "";
    setenv("CYCLONEDDS_URI", "<CycloneDDS><Domain><General><NoSuchSetting/></General></Domain></CycloneDDS>", 1);
    ASSERT_THROW(start(), dds::core::Error);
    EXPECT_EQ(Director::server(), nullptr);

    EXPECT_TRUE(Director::stopSystem());

    EXPECT_FALSE(Director::isStarted());
    EXPECT_EQ(bridgeApartment(), nullptr);
    EXPECT_EQ(console(), nullptr);
    EXPECT_EQ(currentTimecodeReader(), nullptr);
    setenv("CYCLONEDDS_URI", usual.c_str(), 1);
    EXPECT_TRUE(start());
    EXPECT_NE(Director::server(), nullptr);
}
