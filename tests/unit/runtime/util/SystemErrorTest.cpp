#include "runtime/util/SystemError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace
{

using com::tallowcrest::util::systemErrorText;

TEST(SystemErrorTest, aKnownNumberHasTheSystemsText)
{
    EXPECT_EQ(systemErrorText(ECONNREFUSED), "Connection refused");
    EXPECT_EQ(systemErrorText(0), "Success");
}

TEST(SystemErrorTest, anUnknownNumberIsNamed)
{
    EXPECT_EQ(systemErrorText(9999), "Unknown error 9999");
}

TEST(SystemErrorTest, withoutANumberErrnoIsTaken)
{
    errno = EADDRINUSE;

    EXPECT_EQ(systemErrorText(), "Address already in use");
}

} // namespace
