#include "koracommand/WireWords.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace
{

constexpr std::array<std::uint8_t, 8> bytes{0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};

TEST(WireReaderTest, ReadsAWordInBigEndianOrder)
{
    const WireReader sut(bytes);
    EXPECT_EQ(sut.bigEndianWordAt(0), 0x01020304U);
    EXPECT_EQ(sut.bigEndianWordAt(4), 0x05060708U);
}

TEST(WireReaderTest, ReadsAWordThatIsNotAlignedInMemory)
{
    EXPECT_EQ(WireReader(bytes).bigEndianWordAt(3), 0x04050607U);
}

TEST(WireReaderTest, WordThatIsNotWhollyHeldReadsAsZero)
{
    const WireReader sut(bytes);
    EXPECT_EQ(sut.bigEndianWordAt(5), 0U);
    EXPECT_EQ(sut.hostWordAt(8), 0U);
    EXPECT_EQ(sut.hostWordAt(SIZE_MAX), 0U);
    EXPECT_EQ(sut.hostWordAt(SIZE_MAX - 3), 0U);
}

TEST(WireReaderTest, MessageShorterThanAWordHoldsNone)
{
    for (std::size_t size = 0; size < 4; ++size)
    {
        const WireReader sut(std::span<const std::uint8_t>(bytes).first(size));
        EXPECT_FALSE(sut.holdsWordAt(0)) << size;
        EXPECT_EQ(sut.hostWordAt(0), 0U) << size;
    }
    EXPECT_EQ(WireReader().hostWordAt(0), 0U);
}

TEST(WireReaderTest, SaysWhichWordsAreHeld)
{
    const WireReader sut(bytes);
    EXPECT_TRUE(sut.holdsWordAt(4));
    EXPECT_FALSE(sut.holdsWordAt(5));
}

TEST(WireWriterTest, WritesAWordInBigEndianOrder)
{
    std::array<std::uint8_t, 8> written{};
    WireWriter(written).setBigEndianWordAt(4, 0xa1b2c3d4);
    EXPECT_EQ(written, (std::array<std::uint8_t, 8>{0, 0, 0, 0, 0xa1, 0xb2, 0xc3, 0xd4}));
}

TEST(WireWriterTest, HostWordReadsBackAsWritten)
{
    std::array<std::uint8_t, 8> written{};
    WireWriter(written).setHostWordAt(1, 0xa1b2c3d4);
    EXPECT_EQ(WireReader(written).hostWordAt(1), 0xa1b2c3d4U);
}

TEST(WireWriterTest, NoWordsFitBehindTheLastByte)
{
    std::array<std::uint8_t, 8> written{};
    WireWriter(written).setHostWordsAt(written.size(), {});
    EXPECT_EQ(written, (std::array<std::uint8_t, 8>{}));
}

#ifndef NDEBUG
TEST(WireWriterDeathTest, WordThatDoesNotFitIsABug)
{
    std::array<std::uint8_t, 8> written{};
    EXPECT_DEATH(WireWriter(written).setHostWordAt(5, 1), "fits");
}
#else
TEST(WireWriterTest, WordThatDoesNotFitIsNotWritten)
{
    std::array<std::uint8_t, 8> written{};
    WireWriter(written).setHostWordAt(5, 0xffffffff);
    EXPECT_EQ(written, (std::array<std::uint8_t, 8>{}));
}
#endif

TEST(ByteOrderTest, SwappingReversesTheBytes)
{
    EXPECT_EQ(byteSwapped(0x01020304), 0x04030201U);
    EXPECT_EQ(byteSwapped(0x80000000), 0x00000080U);
}

} // namespace
