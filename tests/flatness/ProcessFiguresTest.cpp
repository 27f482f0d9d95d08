#include "tests/flatness/ProcessFigures.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <future>
#include <thread>
#include <vector>

using namespace flatness;

TEST(ProcessFiguresTest, OpenDescriptorIsCounted)
{
    const auto before = ProcessFigures::of(getpid());

    const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);

    EXPECT_EQ(ProcessFigures::of(getpid()).descriptors, before.descriptors + 1);
    close(fd);
    EXPECT_EQ(ProcessFigures::of(getpid()).descriptors, before.descriptors);
}

TEST(ProcessFiguresTest, ThreadIsCounted)
{
    std::thread([] {}).join(); // a sanitizer starts one of its own beside the first
    const auto before = ProcessFigures::of(getpid());
    std::promise<void> end;

    std::thread thread([isOver = end.get_future()]() mutable { isOver.wait(); });

    EXPECT_EQ(ProcessFigures::of(getpid()).threads, before.threads + 1);
    end.set_value();
    thread.join();
}

TEST(ProcessFiguresTest, MemoryThatIsUsedIsCounted)
{
    constexpr std::size_t size = 64U << 20U;
    const auto before = ProcessFigures::of(getpid());

    std::vector<char> memory(size, 'x');

    EXPECT_GE(ProcessFigures::of(getpid()).residentKiB, before.residentKiB + size / 2048);
    EXPECT_EQ(memory.back(), 'x');
}

TEST(ProcessFiguresTest, ProcessThatIsNotThereHasNothing)
{
    const auto figures = ProcessFigures::of(-1);

    EXPECT_EQ(figures.residentKiB, 0U);
    EXPECT_EQ(figures.descriptors, 0U);
}
