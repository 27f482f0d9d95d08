#include "koracommand/KoraMessageBuffer.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace
{

TEST(MessageCopyTest, ReversesTheBytesOfEveryWord)
{
    const std::array<std::uint8_t, 8> message{1, 2, 3, 4, 5, 6, 7, 8};
    const auto copy = convertedCopy(message);
    EXPECT_EQ(std::vector<std::uint8_t>(copy->getData(), copy->getData() + copy->size()),
              (std::vector<std::uint8_t>{4, 3, 2, 1, 8, 7, 6, 5}));
}

TEST(MessageCopyTest, TrailingBytesThatFillNoWordAreDropped)
{
    const std::array<std::uint8_t, 7> message{1, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(convertedCopy(message)->size(), 4U);
}

TEST(MessageCopyTest, EmptyMessageGivesAnEmptyCopy)
{
    EXPECT_EQ(convertedCopy({})->size(), 0U);
}

TEST(MessageCopyTest, NoMoreThanTheLargestMessageIsCopied)
{
    const std::vector<std::uint8_t> message(8200, 0xff);
    EXPECT_EQ(convertedCopy(message)->size(), 8192U);
}

} // namespace
