#include "tests/support/SqliteLog.h"

namespace testsupport::sqliteLog
{

namespace
{

constexpr std::size_t saltOffset = 16;

/// The log's checksum over words in big-endian order.
struct Checksum
{
    std::uint32_t first = 0;
    std::uint32_t second = 0;

    void add(std::span<const std::uint8_t> bytes)
    {
        for (std::size_t at = 0; at + 8 <= bytes.size(); at += 8)
        {
            first = plus(plus(first, wordAt(bytes, at)), second);
            second = plus(plus(second, wordAt(bytes, at + 4)), first);
        }
    }

private:
    static std::uint32_t plus(std::uint32_t left, std::uint32_t right)
    {
        return static_cast<std::uint32_t>(std::uint64_t{left} + right);
    }
};

} // namespace

std::uint32_t wordAt(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return std::uint32_t{bytes[at]} << 24U | std::uint32_t{bytes[at + 1]} << 16U | std::uint32_t{bytes[at + 2]} << 8U |
           std::uint32_t{bytes[at + 3]};
}

void setWord(std::span<std::uint8_t> bytes, std::size_t at, std::uint32_t word)
{
    for (std::size_t i = 0; i < 4; ++i)
    {
        bytes[at + i] = static_cast<std::uint8_t>(word >> (24 - 8 * i));
    }
}

void repair(std::span<std::uint8_t> log)
{
    if (log.size() < headerBytes)
    {
        return;
    }
    setWord(log, 0, 0x377f0683);
    setWord(log, 4, 3007000);
    std::uint32_t pageBytes = wordAt(log, 8);
    if (pageBytes < 512 || pageBytes > 65536 || (pageBytes & (pageBytes - 1)) != 0)
    {
        pageBytes = 1024;
        setWord(log, 8, pageBytes);
    }
    Checksum sum;
    sum.add(log.first(24));
    setWord(log, 24, sum.first);
    setWord(log, 28, sum.second);
    const std::size_t frameBytes = frameHeaderBytes + pageBytes;
    for (std::size_t at = headerBytes; at + frameBytes <= log.size(); at += frameBytes)
    {
        const auto frame = log.subspan(at, frameBytes);
        setWord(frame, 8, wordAt(log, saltOffset));
        setWord(frame, 12, wordAt(log, saltOffset + 4));
        sum.add(frame.first(8));
        sum.add(frame.subspan(frameHeaderBytes));
        setWord(frame, 16, sum.first);
        setWord(frame, 20, sum.second);
    }
}

} // namespace testsupport::sqliteLog
