#include "tests/support/ThreadTimes.h"

#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <system_error>

namespace testsupport
{

std::vector<std::filesystem::path> threadsOf(pid_t process)
{
    std::error_code none; // an ended process has no threads
    std::vector<std::filesystem::path> threads;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", none))
    {
        threads.push_back(thread.path());
    }
    return threads;
}

std::vector<std::filesystem::path> threadsOf(pid_t process, const std::string& name)
{
    auto threads = threadsOf(process);
    std::erase_if(threads, [&](const std::filesystem::path& thread) {
        std::ifstream file(thread / "comm");
        std::string its;
        return !std::getline(file, its) || !its.starts_with(name); // it may have ended meanwhile
    });
    return threads;
}

std::filesystem::path ownThread()
{
    return "/proc/" + std::to_string(::getpid()) + "/task/" + std::to_string(::gettid());
}

std::optional<ThreadTimes> timesOf(const std::filesystem::path& thread)
{
    std::ifstream file(thread / "schedstat");
    std::int64_t ran = 0;
    std::int64_t waited = 0;
    if (!(file >> ran >> waited))
    {
        return std::nullopt;
    }
    return ThreadTimes{std::chrono::nanoseconds(ran), std::chrono::nanoseconds(waited)};
}

} // namespace testsupport
