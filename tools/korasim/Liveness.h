#pragma once

namespace korasim
{

/// What the bus says of an instance: somebody writes it, its writers went without a word, or it was disposed of.
enum class Liveness
{
    Alive,
    NoWriters,
    Disposed
};

constexpr const char* toString(Liveness liveness)
{
    switch (liveness)
    {
    case Liveness::Alive:
        return "alive";
    case Liveness::NoWriters:
        return "no writers";
    case Liveness::Disposed:
        return "disposed";
    }
    return "";
}

} // namespace korasim
