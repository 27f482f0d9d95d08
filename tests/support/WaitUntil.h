#pragma once

#include <chrono>
#include <thread>

#include "tests/support/TimeFactor.h"

namespace testsupport
{

/// Waits until `condition()` holds, looking again every few milliseconds; false when the deadline, scaled to the
/// machine, passes first.
template <typename Condition>
bool waitUntil(Condition&& condition, std::chrono::milliseconds deadline = std::chrono::seconds(10))
{
    const auto end = std::chrono::steady_clock::now() + scaled(deadline);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() >= end)
        {
            return condition();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace testsupport
