#include "koraserver/UnexpectedProtocols.h"

#include "tests/support/LogRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>

namespace
{

struct NameCase
{
    std::uint32_t type;
    std::string name;
};

class UnexpectedProtocolName : public testing::TestWithParam<NameCase>
{};

std::string shown(const UnexpectedProtocols& sut)
{
    testing::internal::CaptureStdout();
    sut.show();
    return testing::internal::GetCapturedStdout();
}

} // namespace

TEST_P(UnexpectedProtocolName, IsTheOneOfTheTable)
{
    EXPECT_EQ(UnexpectedProtocols::nameOf(GetParam().type), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(Types, UnexpectedProtocolName,
                         testing::Values(NameCase{10, "nptGeneralPurposeProtocolType"},
                                         NameCase{14, "nptZT4100ProtocolType"},
                                         NameCase{16, "nptMasterCtrlProtocolType"}, NameCase{19, "nptPLVXProtocolType"},
                                         NameCase{20, "nptUDPDiscoveryProtocol"}, NameCase{21, "nptSCPProtocol"},
                                         NameCase{80, "nptMasterCtrlProtocolTypeExtended"},
                                         NameCase{0, "Unknown Protocol"}, NameCase{11, "Unknown Protocol"},
                                         NameCase{81, "Unknown Protocol"}, NameCase{0xffffffff, "Unknown Protocol"}));

TEST(UnexpectedProtocols, TableOfNoneIsTheHeadingAlone)
{
    const UnexpectedProtocols sut(nullptr);

    EXPECT_EQ(shown(sut), "               ----- Unexpected Protocols -----\n");
}

TEST(UnexpectedProtocols, SecondMessageOfATypeIsLoggedAndAddsNoRow)
{
    const testsupport::LogRecorder log;
    UnexpectedProtocols sut(log.logger());

    sut.addUnexpectedProtocol(14, "nptZT4100ProtocolType");
    sut.addUnexpectedProtocol(14, "nptZT4100ProtocolType");

    EXPECT_EQ(log.count("INFO Unexpected Protocol: nptZT4100ProtocolType 0xe"), 2U);
    EXPECT_EQ(shown(sut),
              "               ----- Unexpected Protocols -----\n               0x0e nptZT4100ProtocolType\n");
}

TEST(UnexpectedProtocols, TableStopsGrowingAtItsLimit)
{
    UnexpectedProtocols sut(nullptr);

    for (std::uint32_t type = 1000; type < 1000 + 2 * UnexpectedProtocols::maxListedTypes; ++type)
    {
        sut.addUnexpectedProtocol(type, "Unknown Protocol");
    }

    const std::string table = shown(sut);
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 1 + UnexpectedProtocols::maxListedTypes);
}

TEST(UnexpectedProtocols, LargeTypesAreShownInFull)
{
    UnexpectedProtocols sut(nullptr);

    sut.addUnexpectedProtocol(0xdeadbeef, "Unknown Protocol");

    EXPECT_EQ(shown(sut),
              "               ----- Unexpected Protocols -----\n               0xdeadbeef Unknown Protocol\n");
}
