#pragma once

#include <sys/syscall.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace testsupport
{

/// A system call that fails with `error` each time it is made.
struct FailingCall
{
    long number; ///< e.g. SYS_listen
    int error;   ///< e.g. EADDRINUSE
    /// Only calls whose argument (counted from 0) has this value fail, e.g. {2, SO_LINGER}.
    std::vector<std::pair<std::uint32_t, std::uint32_t>> arguments{};
};

/// What `poll` and `rename` of the C library call, which differs from one processor to another.
std::vector<FailingCall> failingPoll(int error);
std::vector<FailingCall> failingRename(int error);
/// What the start of a thread calls.
std::vector<FailingCall> failingThreadStart();

/// Runs `body` on a thread of its own that cannot make `calls`, nor can the threads that it starts; the rest of the
/// process is not touched. False, and `body` has not run, where the system permits no such thing (an emulator).
[[nodiscard]] bool withFailingCalls(const std::vector<FailingCall>& calls, const std::function<void()>& body);

/// Why a case is skipped for which that is false.
inline constexpr const char* noFailingCalls = "system calls cannot be made to fail here";

/// The system's error in what `call` throws; 0 when it throws nothing.
template <typename Call>
int errorOf(Call&& call)
{
    try
    {
        call();
    }
    catch (const std::system_error& error)
    {
        return error.code().value();
    }
    return 0;
}

/// The system's error in what a start throws that finds no thread to be had; empty where calls cannot be made to fail.
template <typename Start>
std::optional<int> errorWithoutAThread(Start&& start)
{
    int error = 0;
    const bool isTried = withFailingCalls(failingThreadStart(), [&] { error = errorOf(start); });
    return isTried ? std::optional(error) : std::nullopt;
}

} // namespace testsupport
