#include "runtime/hwobjs/TimecodeSharedMem.h"

#include "runtime/hwobjs/CurrentTimecodeReader.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <atomic>
#include <cstdio>

namespace com::tallowcrest::hwobjs
{

namespace
{

static_assert(std::atomic_ref<std::uint32_t>::is_always_lock_free, "the word is shared between processes");

/// Everybody may read and set the station's time.
constexpr int segmentPermissions = 0666;

} // namespace

TimecodeSharedMem::TimecodeSharedMem() noexcept : m_triedAt(std::chrono::steady_clock::now())
{
    attach(Report::Yes);
}

TimecodeSharedMem::~TimecodeSharedMem()
{
    const std::uint32_t* const word = m_word;
    if (word != nullptr && ::shmdt(word) != 0)
    {
        std::perror("shmdt");
    }
}

void TimecodeSharedMem::attach(Report report) const noexcept
{
    m_shmId = ::shmget(segmentKey, segmentSize, IPC_CREAT | segmentPermissions);
    if (m_shmId < 0 && report == Report::Yes)
    {
        std::perror("shmget");
    }
    void* const address = ::shmat(m_shmId, nullptr, 0);
    // The system's "nowhere" is the address of all ones.
    if (reinterpret_cast<std::intptr_t>(address) != -1)
    {
        m_word = static_cast<std::uint32_t*>(address);
    }
    else if (report == Report::Yes)
    {
        std::perror("shmat");
    }
}

void TimecodeSharedMem::tryAgain() const noexcept
{
    const std::unique_lock lock(m_attachMutex, std::try_to_lock);
    const auto now = std::chrono::steady_clock::now();
    if (!lock.owns_lock() || m_word != nullptr || now - m_triedAt < retryTime)
    {
        return;
    }
    m_triedAt = now;
    attach(Report::No);
    if (m_word != nullptr)
    {
        static_cast<void>(std::fputs("house timecode: shared-memory segment attached\n", stderr));
    }
}

util::Timecode TimecodeSharedMem::getTimecode() const
{
    if (m_word == nullptr)
    {
        tryAgain();
    }
    if (std::uint32_t* const word = m_word)
    {
        const util::Timecode timecode(std::atomic_ref<std::uint32_t>(*word).load(std::memory_order_relaxed));
        if (!timecode.isUndefined())
        {
            return timecode;
        }
    }
    return defaultTimecode();
}

void TimecodeSharedMem::setTimecode(const util::Timecode& timecode)
{
    if (std::uint32_t* const word = m_word)
    {
        std::atomic_ref<std::uint32_t>(*word).store(timecode.word(), std::memory_order_relaxed);
    }
}

} // namespace com::tallowcrest::hwobjs
