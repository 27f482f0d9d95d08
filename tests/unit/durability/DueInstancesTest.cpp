#include "durability/DueInstances.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using com::tallowcrest::durability::DueInstances;
using testing::ElementsAre;

/// What is handled until `last` has been, which is refused; everything when there is no `last`.
std::vector<std::string> handled(DueInstances& sut, const std::string& last = "")
{
    std::vector<std::string> instances;
    sut.handleAll([&](const std::string& instance) {
        instances.push_back(instance);
        return instance != last;
    });
    return instances;
}

TEST(DueInstancesTest, EachIsHandledOnceInTheOrderInWhichItBecameDue)
{
    DueInstances sut;
    EXPECT_TRUE(sut.empty());
    sut.add("b");
    sut.add("a");
    sut.add("b");

    EXPECT_FALSE(sut.empty());
    EXPECT_THAT(handled(sut), ElementsAre("b", "a"));
    EXPECT_TRUE(sut.empty());
    EXPECT_THAT(handled(sut), ElementsAre());
}

TEST(DueInstancesTest, WhatIsRefusedAndWhatFollowsStaysDue)
{
    DueInstances sut;
    for (const char* const instance : {"a", "b", "c"})
    {
        sut.add(instance);
    }

    EXPECT_THAT(handled(sut, "b"), ElementsAre("a", "b"));

    sut.add("a");
    sut.add("c");
    EXPECT_THAT(handled(sut), ElementsAre("b", "c", "a"));
}

TEST(DueInstancesTest, ClearForgetsAll)
{
    DueInstances sut;
    sut.add("a");

    sut.clear();

    EXPECT_TRUE(sut.empty());
    sut.add("a");
    EXPECT_THAT(handled(sut), ElementsAre("a"));
}

} // namespace
