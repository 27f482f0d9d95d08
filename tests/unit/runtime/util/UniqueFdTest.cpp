#include "runtime/util/UniqueFd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace
{

using com::tallowcrest::util::UniqueFd;

int openSomething()
{
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool isOpenInSystem(int fd)
{
    return ::fcntl(fd, F_GETFD) != -1;
}

TEST(UniqueFdTest, holdsNothingAtFirst)
{
    const UniqueFd sut;

    EXPECT_FALSE(sut.isOpen());
    EXPECT_EQ(sut.get(), -1);
}

TEST(UniqueFdTest, closesWhenDestroyed)
{
    const int fd = openSomething();
    {
        const UniqueFd sut(fd);
        EXPECT_TRUE(sut.isOpen());
        EXPECT_TRUE(isOpenInSystem(fd));
    }

    EXPECT_FALSE(isOpenInSystem(fd));
}

TEST(UniqueFdTest, descriptorZeroIsADescriptor)
{
    UniqueFd sut(0);

    EXPECT_TRUE(sut.isOpen());
    EXPECT_EQ(sut.release(), 0);
}

TEST(UniqueFdTest, releaseGivesUpWithoutClosing)
{
    const int fd = openSomething();
    {
        UniqueFd sut(fd);
        EXPECT_EQ(sut.release(), fd);
        EXPECT_FALSE(sut.isOpen());
    }

    EXPECT_TRUE(isOpenInSystem(fd));
    ::close(fd);
}

TEST(UniqueFdTest, resetClosesTheOldOneAndTakesTheNewOne)
{
    const int first = openSomething();
    const int second = openSomething();
    UniqueFd sut(first);

    sut.reset(second);

    EXPECT_FALSE(isOpenInSystem(first));
    EXPECT_TRUE(isOpenInSystem(second));
    EXPECT_EQ(sut.get(), second);
}

TEST(UniqueFdTest, resetToTheHeldOneKeepsItOpen)
{
    const int fd = openSomething();
    UniqueFd sut(fd);

    sut.reset(fd);

    EXPECT_TRUE(isOpenInSystem(fd));
}

TEST(UniqueFdTest, resetKeepsTheErrorNumber)
{
    UniqueFd sut(1 << 20); // nothing has this number, so that close fails
    errno = EADDRINUSE;

    sut.reset();

    EXPECT_EQ(errno, EADDRINUSE);
}

TEST(UniqueFdTest, moveConstructionHandsOver)
{
    const int fd = openSomething();
    UniqueFd source(fd);

    const UniqueFd sut(std::move(source));

    EXPECT_EQ(sut.get(), fd);
    EXPECT_FALSE(source.isOpen()); // NOLINT(bugprone-use-after-move): the moved-from state is what is tested
}

TEST(UniqueFdTest, moveAssignmentClosesTheOldOneAndHandsOver)
{
    const int first = openSomething();
    const int second = openSomething();
    UniqueFd sut(first);
    UniqueFd source(second);

    sut = std::move(source);

    EXPECT_FALSE(isOpenInSystem(first));
    EXPECT_EQ(sut.get(), second);
    EXPECT_FALSE(source.isOpen()); // NOLINT(bugprone-use-after-move): the moved-from state is what is tested
}

TEST(UniqueFdTest, selfAssignmentKeepsTheDescriptorOpen)
{
    const int fd = openSomething();
    UniqueFd sut(fd);
    UniqueFd& same = sut;

    sut = std::move(same);

    EXPECT_EQ(sut.get(), fd);
    EXPECT_TRUE(isOpenInSystem(fd));
}

} // namespace
