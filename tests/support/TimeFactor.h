#pragma once

#include <algorithm>
#include <cstdlib>

namespace testsupport
{

/// How many times longer than usual the tests allow things to take: 1 unless KORABRIDGE_TIME_FACTOR says otherwise.
/// What runs the tests on a slow machine (tests/support/in-qemu) sets it, so that no test has a time-out for such
/// machines.
inline int timeFactor()
{
    static const int factor = [] {
        const char* const text = std::getenv("KORABRIDGE_TIME_FACTOR"); // NOLINT(concurrency-mt-unsafe): nobody sets it
        return text == nullptr ? 1 : std::max(1, static_cast<int>(std::strtol(text, nullptr, 10)));
    }();
    return factor;
}

/// A time-out or an upper bound as it holds on this machine.
template <typename Duration>
Duration scaled(Duration duration)
{
    return duration * timeFactor();
}

} // namespace testsupport
