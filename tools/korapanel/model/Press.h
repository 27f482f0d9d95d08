#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace korapanel
{

/// Who asks: a token's name, and the address of the other end.
struct Presser
{
    std::string name;
    std::string address;
};

/// One entry of what somebody pressed, with what became of it. Plain value.
struct Press
{
    double time = 0; ///< seconds since 1970
    Presser who;
    std::string what; ///< take, coherent take, lock, protect, release, salvo NAME
    std::uint32_t level = 0;
    std::uint32_t output = 0;
    std::optional<std::uint32_t> input; ///< where one is part of it
    std::optional<std::uint32_t> code;  ///< the link's result; nothing when no answer came
    std::string text;                   ///< the result in words
};

} // namespace korapanel
