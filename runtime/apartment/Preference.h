#pragma once

#include <cstdint>

namespace com::tallowcrest::apartment
{

/// Whether an apartment's thread shall run before ordinary ones. While one controller is busy it should: that one gets
/// its answer sooner. While several are it should not: the thread would run at each of their events, where it finds
/// them together when it comes last, and one round costs less than many. Judged by how often one waiter follows another
/// with a brief event; long ones have rounds of their own in any case. Bound to one thread.
class Preference
{
public:
    /// So many events are judged together, and so many changes of waiter among them mean several.
    static constexpr std::uint32_t numJudged = 64;
    static constexpr std::uint32_t several = numJudged / 2;

    /// An event is about to run whose answer `waiter` waits for; nobody: null. True when `isPreferred` has changed.
    bool note(const void* waiter, bool isBrief) noexcept
    {
        if (waiter == nullptr)
        {
            return false;
        }
        if (isBrief && waiter != m_latest)
        {
            m_latest = waiter;
            ++m_numChanges;
        }
        if (++m_numNoted < numJudged)
        {
            return false;
        }
        const bool wasPreferred = m_isPreferred;
        m_isPreferred = m_numChanges < several;
        m_numNoted = 0;
        m_numChanges = 0;
        return m_isPreferred != wasPreferred;
    }
    bool isPreferred() const noexcept { return m_isPreferred; }

private:
    const void* m_latest = nullptr; ///< may be gone
    std::uint32_t m_numNoted = 0;
    std::uint32_t m_numChanges = 0;
    bool m_isPreferred = true;
};

} // namespace com::tallowcrest::apartment
