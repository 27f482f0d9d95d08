#include "tools/korapanel/access/Sessions.h"

#include <gtest/gtest.h>

using namespace korapanel;

TEST(Sessions, GivenTimeIsFoundUntilItExpires)
{
    Sessions sut;
    const std::string secret = sut.begin({.token = "anna", .hash = "$", .expires = 100});

    ASSERT_NE(sut.find(secret, 99), nullptr);
    EXPECT_EQ(sut.find(secret, 99)->token, "anna");
    EXPECT_EQ(sut.find(secret, 100), nullptr);
    EXPECT_EQ(sut.find("other", 99), nullptr);
}

TEST(Sessions, GivenEndIsGone)
{
    Sessions sut;
    const std::string secret = sut.begin({.token = "anna", .hash = "$", .expires = 100});

    sut.end(secret);

    EXPECT_EQ(sut.find(secret, 1), nullptr);
}

TEST(Sessions, GivenOneMoreThanTheBoundTheOldestGoes)
{
    Sessions sut;
    const std::string oldest = sut.begin({.token = "anna", .hash = "$", .expires = 1});
    const std::string next = sut.begin({.token = "anna", .hash = "$", .expires = 2});
    for (std::size_t i = 2; i <= Sessions::most; ++i)
    {
        (void)sut.begin({.token = "anna", .hash = "$", .expires = 100});
    }

    EXPECT_EQ(sut.size(), Sessions::most);
    EXPECT_EQ(sut.find(oldest, 0), nullptr);
    EXPECT_NE(sut.find(next, 0), nullptr);
}
