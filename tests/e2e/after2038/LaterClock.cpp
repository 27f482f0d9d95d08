#include "tests/e2e/after2038/LaterClock.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/time.h>

#include <cstdlib>
#include <ctime>

// Takes the place of the C library's clock, for the program that this is linked into and for its libraries. What waits
// until a time of that clock waits until the machine's: the system knows no other.

namespace
{

/// The names under which a 32-bit library keeps the calls that count time in 64 bits.
#ifdef __USE_TIME64_REDIRECTS
constexpr const char* clockCall = "__clock_gettime64";
constexpr const char* timedWaitCall = "__pthread_cond_timedwait64";
#else
constexpr const char* clockCall = "clock_gettime";
constexpr const char* timedWaitCall = "pthread_cond_timedwait";
#endif

template <typename Call>
Call* next(const char* name)
{
    return reinterpret_cast<Call*>(::dlsym(RTLD_NEXT, name));
}

/// KORABRIDGE_TEST_CLOCK_AHEAD, in seconds, when it is set.
std::int64_t laterBy()
{
    static const std::int64_t seconds = [] {
        const char* const text = std::getenv("KORABRIDGE_TEST_CLOCK_AHEAD"); // NOLINT(concurrency-mt-unsafe)
        return text == nullptr ? e2e::laterBySeconds : std::int64_t{std::strtoll(text, nullptr, 10)};
    }();
    return seconds;
}

/// What counts from 1970 and not from the machine's start.
constexpr std::time_t earliestDate = 1'000'000'000;

std::time_t shifted(std::time_t seconds, std::int64_t by)
{
    return static_cast<std::time_t>(std::int64_t{seconds} + by);
}

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    static auto* const call = next<int(clockid_t, timespec*)>(clockCall);
    const int result = call(clock, time);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
    {
        time->tv_sec = shifted(time->tv_sec, laterBy());
    }
    return result;
}

extern "C" int gettimeofday(timeval* time, void* /*zone*/) noexcept
{
    timespec now{};
    const int result = clock_gettime(CLOCK_REALTIME, &now);
    time->tv_sec = now.tv_sec;
    time->tv_usec = static_cast<decltype(time->tv_usec)>(now.tv_nsec / 1000);
    return result;
}

extern "C" std::time_t time(std::time_t* result) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr)
    {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}

extern "C" int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* until)
{
    static auto* const call = next<int(pthread_cond_t*, pthread_mutex_t*, const timespec*)>(timedWaitCall);
    timespec machines = *until;
    // The other clock that can be waited for counts from the machine's start.
    if (until->tv_sec > earliestDate)
    {
        machines.tv_sec = shifted(until->tv_sec, -laterBy());
    }
    return call(condition, mutex, &machines);
}
