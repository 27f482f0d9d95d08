#include "tests/support/ForcedFiles.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>

namespace
{

using testsupport::ForcedFiles;

struct State
{
    std::mutex mutex;
    std::condition_variable released;
    bool isWatched = false;
    bool isHeld = false;
    int error = 0;
    std::size_t refused = 0;
    std::function<void(const std::filesystem::path&)> listener;
    std::vector<std::pair<std::filesystem::path, ForcedFiles::Forcing>> forcings;
};

State& state()
{
    static State& theState = *new State;
    return theState;
}

int force(long call, int fd)
{
    State& current = state();
    std::unique_lock lock(current.mutex);
    current.released.wait(lock, [&] { return !current.isHeld; });
    if (current.isWatched && current.error != 0)
    {
        ++current.refused;
        errno = current.error;
        return -1;
    }
    if (current.isWatched)
    {
        std::error_code problem;
        const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), problem);
        const auto size =
            std::filesystem::is_regular_file(path, problem) ? std::filesystem::file_size(path, problem) : 0;
        current.forcings.push_back({path, {size, std::chrono::steady_clock::now(), ::gettid()}});
        if (current.listener)
        {
            current.listener(path);
        }
    }
    return static_cast<int>(::syscall(call, fd));
}

} // namespace

extern "C" int fsync(int fd)
{
    return force(SYS_fsync, fd);
}

extern "C" int fdatasync(int fd)
{
    return force(SYS_fdatasync, fd);
}

namespace testsupport
{

ForcedFiles::ForcedFiles()
{
    const std::lock_guard lock(state().mutex);
    state().isWatched = true;
}

ForcedFiles::~ForcedFiles()
{
    State& current = state();
    const std::lock_guard lock(current.mutex);
    current.isWatched = false;
    current.isHeld = false;
    current.released.notify_all();
    current.error = 0;
    current.refused = 0;
    current.forcings.clear();
    current.listener = nullptr;
}

void ForcedFiles::tell(std::function<void(const std::filesystem::path&)> listener)
{
    const std::lock_guard lock(state().mutex);
    state().listener = std::move(listener);
}

std::vector<ForcedFiles::Forcing> ForcedFiles::of(const std::filesystem::path& path) const
{
    const std::lock_guard lock(state().mutex);
    std::vector<Forcing> result;
    for (const auto& [forced, forcing] : state().forcings)
    {
        if (forced == path)
        {
            result.push_back(forcing);
        }
    }
    return result;
}

void ForcedFiles::hold()
{
    const std::lock_guard lock(state().mutex);
    state().isHeld = true;
}

void ForcedFiles::release()
{
    const std::lock_guard lock(state().mutex);
    state().isHeld = false;
    state().released.notify_all();
}

void ForcedFiles::fail(int error)
{
    const std::lock_guard lock(state().mutex);
    state().error = error;
}

std::size_t ForcedFiles::refused() const
{
    const std::lock_guard lock(state().mutex);
    return state().refused;
}

} // namespace testsupport
