#pragma once

#include "tests/support/TimeFactor.h"

#include <chrono>
#include <future>
#include <thread>
#include <utility>

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

/// True when `action`, on a thread of its own, ends before the deadline, scaled to the machine. For what would take
/// very much longer if it were wrong; its end is awaited in any case.
template <typename Action>
bool endsInTime(Action&& action, std::chrono::milliseconds deadline = std::chrono::seconds(30))
{
    const auto end = std::async(std::launch::async, std::forward<Action>(action));
    return end.wait_for(scaled(deadline)) == std::future_status::ready;
}

} // namespace testsupport
