#include "runtime/hwobjs/TimecodeSharedMem.h"

#include "runtime/hwobjs/DefaultTimecode.h"

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

TimecodeSharedMem::TimecodeSharedMem() noexcept
    : m_shmId(::shmget(segmentKey, segmentSize, IPC_CREAT | segmentPermissions))
{
    if (m_shmId < 0)
    {
        std::perror("shmget");
    }
    void* const address = ::shmat(m_shmId, nullptr, 0);
    // The system's "nowhere" is the address of all ones.
    if (reinterpret_cast<std::intptr_t>(address) == -1)
    {
        std::perror("shmat");
        return;
    }
    m_word = static_cast<std::uint32_t*>(address);
}

TimecodeSharedMem::~TimecodeSharedMem()
{
    if (m_word != nullptr && ::shmdt(m_word) != 0)
    {
        std::perror("shmdt");
    }
}

util::Timecode TimecodeSharedMem::getTimecode() const
{
    if (m_word != nullptr)
    {
        const util::Timecode timecode(std::atomic_ref<std::uint32_t>(*m_word).load(std::memory_order_relaxed));
        if (!timecode.isUndefined())
        {
            return timecode;
        }
    }
    return defaultTimecode();
}

void TimecodeSharedMem::setTimecode(const util::Timecode& timecode)
{
    if (m_word != nullptr)
    {
        std::atomic_ref<std::uint32_t>(*m_word).store(timecode.word(), std::memory_order_relaxed);
    }
}

} // namespace com::tallowcrest::hwobjs
