#pragma once

namespace korasim
{

/// The two kinds of crosspoint; each has topics of its own on the bus.
enum class Signal
{
    Video,
    Audio
};

constexpr const char* toString(Signal signal)
{
    return signal == Signal::Video ? "video" : "audio";
}

} // namespace korasim
