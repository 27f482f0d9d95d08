#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace chaos
{

/// Somebody on the bus who means ill: a process of its own that writes, on every topic and in both routers' partitions,
/// what no sound participant writes. What it writes is drawn from the seed; how much of it there can be is bounded.
/// Ends by itself after `length`. Returns how often it has done what.
std::map<std::string, std::size_t> beHostile(std::uint64_t seed, std::chrono::seconds length);

} // namespace chaos
