#include "tests/flatness/Figures.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <future>
#include <thread>
#include <vector>

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
