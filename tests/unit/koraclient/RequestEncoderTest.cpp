#include "koraclient/RequestEncoder.h"

#include "tests/fakes/FakeBridge.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace koraclient;

namespace
{

constexpr std::uint32_t tag = 0x01020304;

} // namespace

TEST(RequestEncoder, WritesHeaderWordsMostSignificantByteFirst)
{
    const RequestEncoder sut(tag);

    const auto bytes = sut.portPresent();

    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0, 0, 0, 12, 1, 2, 3, 4, 0, 0, 0, 16, 0, 0, 0x40, 0}));
}

TEST(RequestEncoder, WritesTakeEntriesAsLevelHolderInputOutput)
{
    const RequestEncoder sut(tag);

    const auto bytes = sut.take({{.level = 1, .lprId = 5, .input = 12, .output = 7}, {.level = 2, .input = 3}});

    EXPECT_EQ(bytes, bytesOf({12, tag, 52, 0x50, 2, 1, 5, 12, 7, 2, 0, 3, 0}));
}

TEST(RequestEncoder, WritesCoherentTakeUnderItsOwnId)
{
    const RequestEncoder sut(tag);

    const auto bytes = sut.coherentTake({{.level = 1, .lprId = 5, .input = 12, .output = 7}});

    EXPECT_EQ(bytes, bytesOf({12, tag, 36, 0x55, 1, 1, 5, 12, 7}));
}

TEST(RequestEncoder, WritesLprEntriesAsLevelOutputCommandHolder)
{
    const RequestEncoder sut(tag);

    const auto bytes = sut.setOutputLpr({{.level = 1, .output = 7, .command = LprCommand::forcedRelease, .lprId = 9},
                                         {.level = 1, .output = 8, .command = LprCommand::protect, .lprId = 9}});

    EXPECT_EQ(bytes, bytesOf({12, tag, 52, 0x51, 2, 1, 7, 16, 9, 1, 8, 2, 9}));
}

TEST(RequestEncoder, WritesQueriesInWireOrder)
{
    const RequestEncoder sut(tag);

    EXPECT_EQ(sut.tally(1, 10, 4), bytesOf({12, tag, 28, 0x5e, 1, 10, 4}));
    EXPECT_EQ(sut.outputStatus(2, 1, 10, 4), bytesOf({12, tag, 32, 0x52, 2, 1, 10, 4}));
    EXPECT_EQ(sut.outputChanges(1, 3), bytesOf({12, tag, 24, 0x53, 1, 3}));
    EXPECT_EQ(sut.partitionInfo(), bytesOf({12, tag, 16, 0x59}));
    EXPECT_EQ(sut.systemStatus(6), bytesOf({12, tag, 20, 0x5000, 6}));
    EXPECT_EQ(sut.cardPresence(2), bytesOf({12, tag, 20, 0xa2, 2}));
    EXPECT_EQ(sut.raw(0x99, {1, 2}), bytesOf({12, tag, 24, 0x99, 1, 2}));
}

TEST(RequestEncoder, GivenMoreEntriesThanFitAMessageThrows)
{
    const RequestEncoder sut(tag);

    EXPECT_EQ(sut.take(std::vector<TakeEntry>(510)).size(), 8180U);
    EXPECT_THROW((void)sut.take(std::vector<TakeEntry>(511)), std::length_error);
    EXPECT_THROW((void)sut.setOutputLpr(std::vector<LprEntry>(511)), std::length_error);
    EXPECT_THROW((void)sut.raw(1, std::vector<std::uint32_t>(2045)), std::length_error);
}

TEST(RequestEncoder, GivenAnotherTagChangesNothingElse)
{
    auto bytes = RequestEncoder(tag).tally(1, 2, 3);

    RequestEncoder::setTag(bytes, 0xa1b2c3d4);

    EXPECT_EQ(bytes, RequestEncoder(0xa1b2c3d4).tally(1, 2, 3));
}
