#include "tests/flatness/PoolTable.h"

#include <gtest/gtest.h>

using namespace flatness;

namespace
{

constexpr const char* table =
    "                                                      Num     Size   Total  Avail In Use\n"
    "              Name                               Grow Blocks  Buf    Bufs   Bufs  Bufs  \n"
    "------------------------------------------------ ---- ------ ------ ------ ------ ------\n"
    "                                        ErrorRsp  Yes      1     24     20     20      0\n"
    "                               KoraMessageBuffer  Yes      3   8216     60     56      4\n"
    "                                           Fixed   No      1   8216     20     19      1\n\n";

} // namespace

TEST(PoolTableTest, RowsAreReadByName)
{
    const PoolTable sut = parsePoolTable(table);

    EXPECT_EQ(sut.size(), 3U);
    EXPECT_EQ(sut.at("KoraMessageBuffer").blocks, 3U);
    EXPECT_EQ(sut.at("KoraMessageBuffer").total, 60U);
    EXPECT_EQ(inUse(sut), 5U);
    EXPECT_EQ(blocks(sut), 5U);
}

TEST(PoolTableTest, TextWithoutATableIsAnError)
{
    EXPECT_THROW(parsePoolTable("The bridge is busy, try again.\n"), std::runtime_error);
}
