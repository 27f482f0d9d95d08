#pragma once

#include <cstddef>
#include <string>

/// Counts how often each thread of this program asks `operator new` for memory, which is replaced for that. What the
/// DDS library and the system's own libraries take with malloc is not counted.
namespace threadAllocations
{

/// The calls so far of all threads that live now and whose names begin so.
std::size_t of(const std::string& name);
/// How many such threads there are.
std::size_t numThreads(const std::string& name);
/// What `operator new` has given to any thread, ever, and `operator delete` has not had back.
std::size_t numLive();

} // namespace threadAllocations
