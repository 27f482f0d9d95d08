// A disk that takes its time, for a program that this library is loaded into before all others: each write to a place
// in a file, as databases do it, takes 5 ms longer, and each forcing of data to the disk 300 ms.

#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <thread>

namespace
{

constexpr std::chrono::milliseconds slowWrite{5};
constexpr std::chrono::milliseconds slowSync{300};

} // namespace

extern "C" ssize_t pwrite64(int fd, const void* data, std::size_t size, off64_t offset)
{
    std::this_thread::sleep_for(slowWrite);
    return ::syscall(SYS_pwrite64, fd, data, size, offset);
}
extern "C" int fsync(int fd)
{
    std::this_thread::sleep_for(slowSync);
    return static_cast<int>(::syscall(SYS_fsync, fd));
}
extern "C" int fdatasync(int fd)
{
    std::this_thread::sleep_for(slowSync);
    return static_cast<int>(::syscall(SYS_fdatasync, fd));
}
