#include "koraclient/Message.h"

#include "tests/fakes/FakeBridge.h"

#include <gtest/gtest.h>

using namespace koraclient;

namespace
{

std::vector<std::uint8_t> header(std::uint32_t length)
{
    return bytesOf({12, 0, length, 0x80000050});
}

} // namespace

TEST(MessageCutter, GivenEverySplitOfTwoMessagesCutsEachOnce)
{
    auto stream = bytesOf({12, 0, 20, 0x80000050, 1});
    const auto second = bytesOf({12, 1, 24, 0x80004000, 2, 0});
    stream.insert(stream.end(), second.begin(), second.end());
    for (std::size_t split = 0; split <= stream.size(); ++split)
    {
        MessageCutter sut;
        std::vector<std::uint32_t> ids;
        const std::span<const std::uint8_t> all(stream);
        for (const auto part : {all.first(split), all.subspan(split)})
        {
            sut.append(part);
            while (const auto message = sut.next())
            {
                ASSERT_TRUE(message->isOk());
                ids.push_back(message->value().id());
            }
        }

        EXPECT_EQ(ids, (std::vector<std::uint32_t>{0x80000050, 0x80004000})) << "split at " << split;
        EXPECT_EQ(sut.heldBytes(), 0U);
    }
}

TEST(MessageCutter, GivenFifteenBytesWaitsForMore)
{
    MessageCutter sut;
    auto bytes = header(0);
    bytes.pop_back();

    sut.append(bytes);

    EXPECT_FALSE(sut.next().has_value());
}

class MessageCutterLength : public testing::TestWithParam<std::uint32_t>
{};

TEST_P(MessageCutterLength, GivenImpossibleLengthReportsIt)
{
    MessageCutter sut;

    sut.append(header(GetParam()));
    const auto message = sut.next();

    ASSERT_TRUE(message.has_value());
    ASSERT_FALSE(message->isOk());
    EXPECT_EQ(message->fault().text, "a message with the impossible length " + std::to_string(GetParam()) + " came");
}

INSTANTIATE_TEST_SUITE_P(Lengths, MessageCutterLength, testing::Values(0U, 15U, 18U, 8193U, 8196U, 0xffffffffU));

TEST(MessageCutter, GivenLargestLengthCutsTheMessage)
{
    MessageCutter sut;
    auto bytes = header(8192);
    bytes.resize(8192);

    sut.append(bytes);
    const auto message = sut.next();

    ASSERT_TRUE(message.has_value() && message->isOk());
    EXPECT_EQ(message->value().size(), 8192U);
}
