#include "runtime/util/ThreadName.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <string>
#include <thread>

using com::tallowcrest::util::nameThread;

namespace
{

/// What the system calls a thread that was named `name`.
std::string nameInSystem(const std::string& name)
{
    std::array<char, 64> buffer{};
    std::thread([&] {
        nameThread(name);
        EXPECT_EQ(::pthread_getname_np(::pthread_self(), buffer.data(), buffer.size()), 0);
    }).join();
    return buffer.data();
}

TEST(ThreadNameTest, aNameOfFifteenBytesIsKeptWhole)
{
    EXPECT_EQ(nameInSystem("exactly fifteen"), "exactly fifteen");
}

TEST(ThreadNameTest, theEndOfALongerNameIsLost)
{
    EXPECT_EQ(nameInSystem("Bridge Apartment"), "Bridge Apartmen");
}

} // namespace
