#include "runtime/util/MemPool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

namespace
{

using com::tallowcrest::util::MemPool;
using com::tallowcrest::util::MemPoolRegistry;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* header =
    "                                                      Num     Size   Total  Avail In Use\n"
    "              Name                               Grow Blocks  Buf    Bufs   Bufs  Bufs  \n"
    "------------------------------------------------ ---- ------ ------ ------ ------ ------\n";

std::string shownPools()
{
    testing::internal::CaptureStdout();
    MemPoolRegistry::instance().show();
    return testing::internal::GetCapturedStdout();
}

/// What the table has before the pools that were there when the test began.
std::string newRows(const std::string& tableBefore)
{
    const std::string table = shownPools();
    const std::string oldRows = tableBefore.substr(std::string(header).size());
    EXPECT_THAT(table, StartsWith(header));
    EXPECT_THAT(table, EndsWith(oldRows));
    return table.substr(std::string(header).size(), table.size() - tableBefore.size());
}

TEST(MemPoolRegistryTest, theTableBeginsWithItsHeaderAndEndsWithAnEmptyLine)
{
    const std::string table = shownPools();

    EXPECT_THAT(table, StartsWith(header));
    EXPECT_THAT(table, EndsWith("\n\n"));
}

TEST(MemPoolRegistryTest, poolsAreShownNewestFirst)
{
    const std::string before = shownPools();
    const MemPool first("first", 16, 5);
    const MemPool second("second", 8, 2);

    EXPECT_EQ(newRows(before),
              "                                          second  Yes      1     16      2      2      0\n"
              "                                           first  Yes      1     24      5      5      0\n");
}

TEST(MemPoolRegistryTest, aPoolOfTwoBlocksIsShownWithItsNumbers)
{
    const std::string before = shownPools();
    MemPool pool("CcPresenceCmd", 20);
    for (int i = 0; i < 21; ++i)
    {
        pool.Get();
    }

    EXPECT_EQ(newRows(before),
              "                                   CcPresenceCmd  Yes      2     24     40     19     21\n");
}

TEST(MemPoolRegistryTest, aPoolThatMayNotGrowSaysNo)
{
    const std::string before = shownPools();
    MemPool pool("fixed", 16, 1);
    pool.setCanGrow(false);

    EXPECT_EQ(newRows(before),
              "                                           fixed   No      1     24      1      1      0\n");
}

TEST(MemPoolRegistryTest, aLongNameIsShownWhole)
{
    const std::string before = shownPools();
    const std::string name(60, 'n');
    const MemPool pool(name, 16, 1);

    EXPECT_EQ(newRows(before), name + "  Yes      1     24      1      1      0\n");
}

TEST(MemPoolRegistryTest, poolsLeaveFromAnyPlaceInTheList)
{
    const std::string before = shownPools();
    auto oldest = std::make_unique<MemPool>("oldest", 16);
    auto middle = std::make_unique<MemPool>("middle", 16);
    auto newest = std::make_unique<MemPool>("newest", 16);

    middle.reset();
    EXPECT_THAT(newRows(before), Not(HasSubstr("middle")));
    newest.reset();
    EXPECT_THAT(newRows(before), HasSubstr("oldest"));
    oldest.reset();

    EXPECT_EQ(shownPools(), before);
}

TEST(MemPoolRegistryTest, removingAPoolTwiceChangesNothing)
{
    const std::string before = shownPools();
    MemPool pool("removed", 16);

    MemPoolRegistry::instance().remove(pool);
    MemPoolRegistry::instance().remove(pool);

    EXPECT_EQ(shownPools(), before);
}

TEST(MemPoolRegistryTest, theTableMayBePrintedWhilePoolsWorkAndComeAndGo)
{
    const std::string before = shownPools();
    std::atomic<bool> done{false};
    testing::internal::CaptureStdout();
    std::thread printer([&done] {
        do
        {
            MemPoolRegistry::instance().show();
        } while (!done);
    });

    MemPool lasting("lasting", 16, 3);
    for (int i = 0; i < 300; ++i)
    {
        MemPool shortLived("short-lived", 16, 3);
        lasting.Get();
        shortLived.Put(shortLived.Get());
    }
    done = true;
    printer.join();

    EXPECT_THAT(testing::internal::GetCapturedStdout(), StartsWith(header));
    EXPECT_EQ(newRows(before),
              "                                         lasting  Yes    100     24    300      0    300\n");
}

} // namespace
