#include "tools/korapanel/access/Origin.h"

#include <gtest/gtest.h>

using namespace korapanel;

struct HostCase
{
    const char* host;
    const char* name;
};

class NameOfHost : public testing::TestWithParam<HostCase>
{};

TEST_P(NameOfHost, IsWhatStandsBeforeThePort)
{
    EXPECT_EQ(nameOfHost(GetParam().host), GetParam().name) << GetParam().host;
}

INSTANTIATE_TEST_SUITE_P(Hosts, NameOfHost,
                         testing::Values(HostCase{"Panel.Example", "panel.example"}, HostCase{"panel:8090", "panel"},
                                         HostCase{"127.0.0.1:80", "127.0.0.1"}, HostCase{"[::1]:8090", "::1"},
                                         HostCase{"[::1]", "::1"}, HostCase{"", ""}, HostCase{"panel:", ""},
                                         HostCase{"panel:80x", ""}, HostCase{"panel:123456", ""}, HostCase{"[::1", ""},
                                         HostCase{"[::1]x", ""}, HostCase{"[]", ""}, HostCase{"a b", ""},
                                         HostCase{"user@panel", ""}, HostCase{"::1", ""}));

TEST(IsHostName, GivenNameOrAddressAloneIsOneAndNothingElse)
{
    for (const char* const name : {"panel", "Panel.Example", "10.0.0.5", "fd00::5"})
    {
        EXPECT_TRUE(isHostName(name)) << name;
    }
    for (const char* const name : {"", "panel:8090", "http://panel", "panel/", "a b", "[fd00::5]"})
    {
        EXPECT_FALSE(isHostName(name)) << name;
    }
}

TEST(OriginCheck, GivenLoopbackOwnAndLocalNamesKnowsThemAndNoOthers)
{
    const OriginCheck sut({"Panel.example"});

    for (const char* const host :
         {"localhost:8090", "LOCALHOST", "127.0.0.1", "[::1]:8090", "panel.example:443", "10.0.0.5:8090"})
    {
        EXPECT_TRUE(sut.isKnownHost(host, "10.0.0.5")) << host;
    }
    for (const char* const host : {"evil.example", "panel.example.evil", "10.0.0.6", "localhost.evil", ""})
    {
        EXPECT_FALSE(sut.isKnownHost(host, "10.0.0.5")) << host;
    }
}

TEST(OriginCheck, GivenOriginOfThisHostAndPortAloneIsOwn)
{
    for (const char* const origin : {"http://panel:8090", "https://panel:8090", "http://PANEL:8090"})
    {
        EXPECT_TRUE(OriginCheck::isOwnOrigin(origin, "panel:8090")) << origin;
    }
    for (const char* const origin : {"http://panel", "http://panel:9999", "http://evil", "null", "", "ftp://panel:8090",
                                     "http://panel:8090.evil", "http://panel:8090/"})
    {
        EXPECT_FALSE(OriginCheck::isOwnOrigin(origin, "panel:8090")) << origin;
    }
}
