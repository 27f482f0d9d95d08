#pragma once

#include <chrono>

namespace koraclient
{

/// Tells a running command when to end. Asked on one thread.
class StopCondition
{
public:
    StopCondition() = default;
    virtual ~StopCondition() = default;
    StopCondition(const StopCondition&) = delete;
    StopCondition& operator=(const StopCondition&) = delete;

    /// Waits for the time given or until the end is wanted, whichever comes first; true when the end is wanted.
    virtual bool waitFor(std::chrono::milliseconds time) = 0;
};

} // namespace koraclient
