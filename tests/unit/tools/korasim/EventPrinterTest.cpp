#include "tools/korasim/EventPrinter.h"

#include <gtest/gtest.h>

#include <sstream>

namespace korasim
{
namespace
{

TEST(EventPrinter, GivenControlCharactersInANameWritesThemOut)
{
    std::ostringstream out;
    EventPrinter sut(out);

    sut.onComponent({.frameId = 17, .componentId = 2, .name = "\x1b[2J", .description = "a\nb"}, Liveness::Alive);

    EXPECT_EQ(out.str(), "component frame 17 id 2 '\\x1b[2J' 'a\\nb' alive\n");
}

} // namespace
} // namespace korasim
