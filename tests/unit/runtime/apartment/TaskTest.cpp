#include "runtime/apartment/Task.h"

#include "runtime/apartment/Apartment.h"
#include "tests/support/ChildProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <thread>

namespace
{

using com::tallowcrest::apartment::Apartment;
using com::tallowcrest::apartment::showTasks;
using com::tallowcrest::apartment::Task;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* header = "Task Pointer       State  TaskId Name\n------------ -----------  ------ "
                               "-----------------------\n";

class FakeTask final : public Task
{
public:
    using Task::Task;
    void start() override { m_running = true; }
    void stop() override { m_running = false; }
    bool isRunning() const override { return m_running; }
};

std::string shownTasks()
{
    testing::internal::CaptureStdout();
    showTasks();
    return testing::internal::GetCapturedStdout();
}

/// The row that the table must have for `task`.
std::string row(const Task& task, const char* state, const char* name)
{
    std::array<char, 200> text{};
    std::snprintf(text.data(), text.size(), "  0x%08x %s %6d %s\n",
                  static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(&task)), state,
                  static_cast<int>(task.taskId()), name);
    return text.data();
}

TEST(TaskTest, idsCountUpAndAreNeverReused)
{
    auto first = std::make_unique<FakeTask>("first");
    const std::uint32_t firstId = first->taskId();
    const FakeTask second("second");
    first.reset();
    const FakeTask third("third");

    EXPECT_EQ(second.taskId(), firstId + 1);
    EXPECT_EQ(third.taskId(), firstId + 2);
}

TEST(TaskTest, theFirstIdOfAProcessIsZero)
{
    // Again in a process that made no task before.
    constexpr const char* isFresh = "KORABRIDGE_TEST_IN_FRESH_PROCESS";
    if (std::getenv(isFresh) == nullptr)
    {
        testsupport::ChildProcess fresh(std::filesystem::read_symlink("/proc/self/exe"),
                                        {"--gtest_filter=TaskTest.theFirstIdOfAProcessIsZero"}, {{{isFresh, "1"}}});
        EXPECT_EQ(fresh.waitForExit(), 0) << fresh.output();
        return;
    }
    EXPECT_EQ(FakeTask("first").taskId(), 0U);
}

TEST(TaskTest, theTableWithoutTasksIsItsHeader)
{
    EXPECT_EQ(shownTasks(), header);
}

TEST(TaskTest, aTaskIsShownWithAddressStateIdAndName)
{
    FakeTask sut("Some Task");

    EXPECT_EQ(shownTasks(), header + row(sut, "not running", "Some Task"));
    sut.start();
    EXPECT_EQ(shownTasks(), header + row(sut, "    running", "Some Task"));
    sut.stop();
    EXPECT_EQ(shownTasks(), header + row(sut, "not running", "Some Task"));
}

TEST(TaskTest, everyTaskIsShownOnce)
{
    FakeTask first("first");
    const FakeTask second("second");
    first.start();

    const std::string table = shownTasks();

    const std::string firstRow = row(first, "    running", "first");
    const std::string secondRow = row(second, "not running", "second");
    EXPECT_THAT(table, StartsWith(header));
    EXPECT_THAT(table, HasSubstr(firstRow));
    EXPECT_THAT(table, HasSubstr(secondRow));
    EXPECT_EQ(table.size(), std::string(header).size() + firstRow.size() + secondRow.size());
}

TEST(TaskTest, aDestroyedTaskLeavesTheTable)
{
    {
        const FakeTask sut("gone");
        EXPECT_THAT(shownTasks(), HasSubstr("gone"));
    }

    EXPECT_THAT(shownTasks(), Not(HasSubstr("gone")));
}

TEST(TaskTest, aLongNameIsShownWhole)
{
    const std::string name(300, 'n');
    const FakeTask sut(name);

    EXPECT_THAT(shownTasks(), HasSubstr(name));
}

TEST(TaskTest, aRunningApartmentIsShownAsRunning)
{
    Apartment sut("Bridge Apartment");

    EXPECT_EQ(shownTasks(), header + row(sut, "not running", "Bridge Apartment"));
    sut.start();
    EXPECT_EQ(shownTasks(), header + row(sut, "    running", "Bridge Apartment"));
    sut.stop();
    EXPECT_EQ(shownTasks(), header + row(sut, "not running", "Bridge Apartment"));
}

TEST(TaskTest, theTableMayBePrintedWhileTasksComeAndGo)
{
    std::atomic<bool> done{false};
    testing::internal::CaptureStdout();
    std::thread printer([&done] {
        do
        {
            showTasks();
        } while (!done);
    });

    for (int i = 0; i < 500; ++i)
    {
        Apartment task("short-lived");
        task.start();
    }
    done = true;
    printer.join();

    EXPECT_THAT(testing::internal::GetCapturedStdout(), StartsWith(header));
    EXPECT_EQ(shownTasks(), header);
}

} // namespace
