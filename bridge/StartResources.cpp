#include "bridge/StartResources.h"

#include "runtime/misc/Console.h"
#include "runtime/util/FailureLog.h"
#include "runtime/util/Log.h"
#include "runtime/util/SystemError.h"
#include "runtime/util/UniqueFd.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <latch>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

namespace misc = com::tallowcrest::misc;
using com::tallowcrest::util::LogLimit;
using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

namespace
{

constexpr std::chrono::milliseconds retryTime{1000};

std::string lack(const char* what, const char* limit, std::size_t got, std::size_t needed, const std::string& reason)
{
    return std::to_string(got) + " of " + std::to_string(needed) + " " + what + " available (" + limit + "), " + reason;
}

std::string missingDescriptors(std::size_t needed)
{
    std::vector<UniqueFd> held;
    held.reserve(needed);
    while (held.size() < needed)
    {
        UniqueFd next(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (!next.isOpen())
        {
            return lack("descriptors", "ulimit -n", held.size(), needed, systemErrorText(errno));
        }
        held.push_back(std::move(next));
    }
    return "";
}

/// Threads that live until the object goes. Each takes a little memory, because its first allocation reserves address
/// space of its own.
class HeldThreads
{
public:
    explicit HeldThreads(std::size_t number) { m_threads.reserve(number); }
    ~HeldThreads()
    {
        m_end.count_down();
        for (auto& thread : m_threads)
        {
            thread.join();
        }
    }
    HeldThreads(const HeldThreads&) = delete;
    HeldThreads& operator=(const HeldThreads&) = delete;

    std::size_t size() const { return m_threads.size(); }
    /// Throws std::system_error when there is none to be had.
    void add()
    {
        m_threads.emplace_back([this] {
            {
                const std::lock_guard lock(m_mutex);
                try
                {
                    m_memory.push_back(std::make_unique<char[]>(1));
                }
                catch (const std::bad_alloc&)
                {
                    m_isShortOfMemory = true;
                }
            }
            m_end.wait();
        });
    }
    bool isShortOfMemory()
    {
        const std::lock_guard lock(m_mutex);
        return m_isShortOfMemory;
    }

private:
    std::latch m_end{1};
    std::mutex m_mutex;
    std::vector<std::unique_ptr<char[]>> m_memory;
    bool m_isShortOfMemory = false;
    std::vector<std::thread> m_threads;
};

std::string missingThreadsOrMemory(std::size_t threads, std::size_t memory)
{
    HeldThreads held(threads);
    try
    {
        while (held.size() < threads)
        {
            held.add();
        }
    }
    catch (const std::system_error& error)
    {
        return lack("threads", "ulimit -u, TasksMax=, ulimit -v", held.size(), threads, error.code().message());
    }
    const std::unique_ptr<char[]> heap(new (std::nothrow) char[memory]);
    if (heap == nullptr || held.isShortOfMemory())
    {
        return "less than " + std::to_string(memory / 1024) + " KiB of memory available (ulimit -v), " +
               systemErrorText(ENOMEM);
    }
    return "";
}

void waitOrStop(std::chrono::milliseconds time)
{
    pollfd stop{misc::consoleStopFd(), POLLIN, 0};
    static_cast<void>(::poll(&stop, 1, static_cast<int>(time.count()))); // a signal makes the next look come early
}

} // namespace

std::string StartResources::missing() const
{
    std::string result = missingDescriptors(descriptors);
    return result.empty() ? missingThreadsOrMemory(threads, memory) : result;
}

void awaitStartResources(const log4cxx::LoggerPtr& logger, const StartResources& needed,
                         std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    LogLimit notice = LogLimit::once();
    while (true)
    {
        const std::string missing = needed.missing();
        if (missing.empty())
        {
            return;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left <= left.zero() || misc::consoleStopRequested())
        {
            throw std::runtime_error("not enough resources to start: " + missing);
        }
        if (notice.allow())
        {
            LOG_WARN_F(logger, "not enough resources to start: %s; checking again every second", missing.c_str());
        }
        waitOrStop(std::min(left, retryTime));
    }
}
