#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

namespace testsupport
{

/// Stands between the program and the system while it lives: writes down each file that is forced to the disk (fsync
/// and fdatasync, also those of SQLite), and lets that fail as it is told to. Thread-safe. One at a time.
class ForcedFiles
{
public:
    struct Forcing
    {
        std::uintmax_t size = 0; ///< of the file then
        std::chrono::steady_clock::time_point when;
        pid_t thread = 0;
    };

    ForcedFiles();
    ~ForcedFiles();
    ForcedFiles(const ForcedFiles&) = delete;
    ForcedFiles& operator=(const ForcedFiles&) = delete;

    /// How often `path` was forced so far; those that hang or were refused do not count.
    std::vector<Forcing> of(const std::filesystem::path& path) const;
    /// `listener` is called with each file that has been forced, on the thread that does it.
    void tell(std::function<void(const std::filesystem::path&)> listener);
    /// A disk that hangs: nobody who forces a file comes back before `release`.
    void hold();
    void release();
    /// Each file is refused with `error` from now on; 0 ends that.
    void fail(int error);
    /// How many were refused.
    std::size_t refused() const;
};

} // namespace testsupport
