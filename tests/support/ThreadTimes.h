#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace testsupport
{

/// What the system has counted for one thread since it began.
struct ThreadTimes
{
    std::chrono::nanoseconds ran{0};    ///< on a processor
    std::chrono::nanoseconds waited{0}; ///< ready to run while others had the processors
};

/// The folders that the system keeps for the threads of a process; none for one that has ended.
std::vector<std::filesystem::path> threadsOf(pid_t process);
/// Those of them whose names begin so.
std::vector<std::filesystem::path> threadsOf(pid_t process, const std::string& name);
/// The calling thread's.
std::filesystem::path ownThread();

/// Nothing for a thread that has ended.
std::optional<ThreadTimes> timesOf(const std::filesystem::path& thread);

} // namespace testsupport
