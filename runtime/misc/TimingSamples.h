#pragma once

#include <cstdint>

namespace com::tallowcrest::misc
{

/// An in-memory ring of the latest 20000 time-stamped samples, switched on and off from the operator's menu.
/// Thread-safe.
class TimingSamples
{
public:
    /// Stores two values with the current time; returns at once while sampling is off.
    void record(std::uint32_t first, std::uint32_t second);
};

/// The process's one recorder.
TimingSamples& timingSamples();

} // namespace com::tallowcrest::misc
