#include "runtime/misc/TimingSamples.h"

#include "runtime/misc/Console.h"
#include "runtime/util/RegularFile.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <iostream>
#include <ostream>
#include <utility>

namespace com::tallowcrest::misc
{
namespace
{
using Text = std::array<char, 64>;

const char* nameOf(TimingSamples::Resolution resolution)
{
    switch (resolution)
    {
    case TimingSamples::Resolution::Native:
        return "Native";
    case TimingSamples::Resolution::Microseconds:
        return "Microseconds";
    case TimingSamples::Resolution::HundredthsOfMilliseconds:
        return "Hundredths of milliseconds";
    case TimingSamples::Resolution::TenthsOfMilliseconds:
        return "Tenths of milliseconds";
    case TimingSamples::Resolution::Milliseconds:
        return "Milliseconds";
    }
    return "";
}

Text timeText(std::int64_t microseconds, TimingSamples::Resolution resolution)
{
    Text text{};
    const auto decimals = [&](int count, std::int64_t units, double unitsPerMillisecond) {
        static_cast<void>(
            std::snprintf(text.data(), text.size(), "%.*f", count, static_cast<double>(units) / unitsPerMillisecond));
    };
    const auto integer = [&](std::int64_t value) {
        static_cast<void>(std::snprintf(text.data(), text.size(), "%" PRId64, value));
    };
    switch (resolution)
    {
    case TimingSamples::Resolution::Native:
        integer(microseconds);
        break;
    case TimingSamples::Resolution::Microseconds:
        decimals(3, microseconds, 1000.0);
        break;
    case TimingSamples::Resolution::HundredthsOfMilliseconds:
        decimals(2, microseconds / 10, 100.0);
        break;
    case TimingSamples::Resolution::TenthsOfMilliseconds:
        decimals(1, microseconds / 100, 10.0);
        break;
    case TimingSamples::Resolution::Milliseconds:
        integer(microseconds / 1000);
        break;
    }
    return text;
}
} // namespace

TimingSamples::TimingSamples(std::function<Clock::time_point()> now) : m_now(std::move(now)) {}

void TimingSamples::start()
{
    const std::lock_guard lock(m_mutex);
    m_ring.resize(capacity);
    m_resolution = Resolution::Microseconds;
    m_enabled.store(true, std::memory_order_relaxed);
}

void TimingSamples::stop(const std::string& path)
{
    const std::lock_guard lock(m_mutex);
    m_enabled.store(false, std::memory_order_relaxed);
    writeHeldToFile(path);
    m_writeIndex = 0;
    m_count = 0;
    m_oldestIndex = 0;
    m_ring = std::vector<Sample>(); // its memory too
}

std::size_t TimingSamples::count() const
{
    const std::lock_guard lock(m_mutex);
    return m_count;
}

TimingSamples::Resolution TimingSamples::resolution() const
{
    const std::lock_guard lock(m_mutex);
    return m_resolution;
}

void TimingSamples::setResolution(Resolution resolution)
{
    const std::lock_guard lock(m_mutex);
    m_resolution = resolution;
}

void TimingSamples::writeSamples(std::ostream& stream) const
{
    const std::lock_guard lock(m_mutex);
    writeHeld(stream);
}

void TimingSamples::writeFile(const std::string& path) const
{
    const std::lock_guard lock(m_mutex);
    writeHeldToFile(path);
}

void TimingSamples::showDescription() const
{
    using Period = std::chrono::high_resolution_clock::period;
    print("Time Resolution: %s\n", nameOf(resolution()));
    print("high_resolution_clock period: %" PRIdMAX "/%" PRIdMAX "\n", Period::num, Period::den);
}

void TimingSamples::store(std::uint32_t first, std::uint32_t second)
{
    const std::lock_guard lock(m_mutex);
    // `stop` may have come between the caller's look and the lock: a late sample must not open the next run.
    if (!m_enabled.load(std::memory_order_relaxed))
    {
        return;
    }
    m_ring[m_writeIndex] = {first, second, m_now().time_since_epoch().count()};
    m_writeIndex = (m_writeIndex + 1) % capacity;
    if (m_count < capacity)
    {
        ++m_count;
    }
    else
    {
        m_oldestIndex = m_writeIndex;
    }
}

void TimingSamples::writeHeld(std::ostream& stream) const
{
    for (std::size_t i = 0; i < m_count; ++i)
    {
        const Sample& sample = m_ring[(m_oldestIndex + i) % capacity];
        const Clock::duration sinceOldest(sample.ticks - m_ring[m_oldestIndex].ticks);
        const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(sinceOldest).count();
        Text values{};
        static_cast<void>(
            std::snprintf(values.data(), values.size(), ", %" PRIu32 ", 0x%" PRIx32 "\n", sample.first, sample.second));
        stream << timeText(microseconds, m_resolution).data() << values.data() << std::flush;
    }
    stream << std::flush;
}

void TimingSamples::writeHeldToFile(const std::string& path) const
{
    const util::UniqueFd file = util::openEmptyRegularFile(path);
    if (!file.isOpen())
    {
        std::cout << "Failed to open: '" << path << "' for writing" << std::endl;
        return;
    }
    util::DescriptorBuffer buffer(file.get());
    std::ostream stream(&buffer);
    writeHeld(stream);
    if (!stream)
    {
        std::cout << "Failed to write: '" << path << "' is not complete" << std::endl;
    }
}

TimingSamples& timingSamples()
{
    static TimingSamples recorder;
    return recorder;
}

} // namespace com::tallowcrest::misc
