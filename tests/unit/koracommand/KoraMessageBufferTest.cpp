#include "koracommand/KoraMessageBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

namespace
{

TEST(KoraMessageBufferTest, StartsEmpty)
{
    const KoraMessageBuffer sut;
    EXPECT_EQ(sut.size(), 0U);
    EXPECT_FALSE(sut.reader().holdsWordAt(0));
}

TEST(KoraMessageBufferTest, BufferOfThePoolNeverShowsAnEarlierMessage)
{
    auto earlier = std::make_unique<KoraMessageBuffer>();
    earlier->resize(KoraMessageBuffer::capacity);
    for (std::size_t offset = 0; offset < KoraMessageBuffer::capacity; offset += 4)
    {
        earlier->writer().setHostWordAt(offset, 0xdeadbeef);
    }
    const void* const storage = earlier.get();
    earlier.reset();

    const auto sut = std::make_unique<KoraMessageBuffer>();
    ASSERT_EQ(sut.get(), storage) << "the pool was expected to hand out the same storage again";
    sut->resize(KoraMessageBuffer::capacity);

    const auto* const data = sut->getData();
    EXPECT_TRUE(std::all_of(data, data + sut->size(), [](std::uint8_t byte) { return byte == 0; }));
}

TEST(KoraMessageBufferTest, BytesThatWereCutOffComeBackAsZero)
{
    KoraMessageBuffer sut;
    sut.resize(8);
    sut.writer().setHostWordAt(4, 0xffffffff);
    sut.resize(4);
    sut.resize(8);
    EXPECT_EQ(sut.reader().hostWordAt(4), 0U);
}

TEST(KoraMessageBufferTest, GrowingKeepsWhatIsThere)
{
    KoraMessageBuffer sut;
    sut.resize(4);
    sut.writer().setHostWordAt(0, 0x12345678);
    sut.resize(KoraMessageBuffer::capacity);
    EXPECT_EQ(sut.reader().hostWordAt(0), 0x12345678U);
    EXPECT_EQ(sut.size(), 8192U);
}

TEST(KoraMessageBufferTest, ComesFromThePoolOfItsName)
{
    const auto before = KoraMessageBuffer::pool().snapshot();
    const auto sut = std::make_unique<KoraMessageBuffer>();
    const auto after = KoraMessageBuffer::pool().snapshot();
    EXPECT_EQ(after.name, "KoraMessageBuffer");
    EXPECT_EQ(after.available, before.available - 1);
    EXPECT_GE(after.stride, 8192);
}

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
