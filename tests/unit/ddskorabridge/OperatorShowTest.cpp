#include "ddskorabridge/OperatorShow.h"

#include "runtime/apartment/Apartment.h"
#include "tests/fakes/FakeApartment.h"
#include "tests/fakes/FakeLevel.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

using com::tallowcrest::apartment::Apartment;
using namespace std::chrono_literals;

namespace
{

class FakeTable final : public IXptTable
{
public:
    std::string table(std::uint32_t first, std::uint32_t last) const override
    {
        thread = std::this_thread::get_id();
        return "rows " + std::to_string(first) + " to " + std::to_string(last) + "\nend\n";
    }

    mutable std::thread::id thread;
};

TEST(OperatorShow, ATableIsMadeOnTheApartmentAndPrintedByTheCaller)
{
    Apartment apartment("test");
    apartment.start();
    const auto table = std::make_shared<FakeTable>();
    testing::internal::CaptureStdout();

    const bool isShown = operatorShow::showXpts(apartment, table, 1, 10, 10s);

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "rows 1 to 10\nend\n");
    EXPECT_TRUE(isShown);
    EXPECT_NE(table->thread, std::this_thread::get_id());
    apartment.stop();
}

TEST(OperatorShow, LevelsAreCollectedOnTheApartmentAndPrintedByTheCaller)
{
    Apartment apartment("test");
    apartment.start();
    const auto levels = std::make_shared<LevelContainer>();
    levels->set(1, std::make_shared<FakeLevel>("one"));
    testing::internal::CaptureStdout();

    const bool isShown = operatorShow::showLevels(apartment, levels, "Video Levels", 10s);

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Video Levels\n    Lvl  1: one\n");
    EXPECT_TRUE(isShown);
    apartment.stop();
}

TEST(OperatorShow, AnApartmentThatDoesNotAnswerIsGivenUpAndNothingIsPrinted)
{
    FakeApartment apartment; // nobody runs its events
    testing::internal::CaptureStdout();

    const bool xptsShown = operatorShow::showXpts(apartment, std::make_shared<FakeTable>(), 1, 10, 1ms);
    const bool levelsShown = operatorShow::showLevels(apartment, std::make_shared<LevelContainer>(), "title", 1ms);

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(xptsShown);
    EXPECT_FALSE(levelsShown);
}

TEST(OperatorShow, WorkThatRunsAfterTheTimeOutPrintsNothing)
{
    FakeApartment apartment;
    const auto table = std::make_shared<FakeTable>();
    const auto levels = std::make_shared<LevelContainer>();
    operatorShow::showXpts(apartment, table, 1, 10, 1ms);
    operatorShow::showLevels(apartment, levels, "title", 1ms);
    testing::internal::CaptureStdout();

    apartment.runAll();

    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(table->thread, std::this_thread::get_id());
}

TEST(OperatorShow, WorkThatStaysInTheQueueKeepsNothingAlive)
{
    FakeApartment apartment;
    auto table = std::make_shared<FakeTable>();
    auto levels = std::make_shared<LevelContainer>();
    const std::weak_ptr<FakeTable> watchedTable = table;
    const std::weak_ptr<LevelContainer> watchedLevels = levels;
    operatorShow::showXpts(apartment, table, 1, 10, 1ms);
    operatorShow::showLevels(apartment, levels, "title", 1ms);

    table.reset();
    levels.reset();

    EXPECT_TRUE(watchedTable.expired());
    EXPECT_TRUE(watchedLevels.expired());
    apartment.runAll(); // nothing is left to look at
}

} // namespace
