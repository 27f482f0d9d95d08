#pragma once

#include "runtime/hwobjs/CurrentTimecodeReader.h"
#include "runtime/util/Timecode.h"

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace com::tallowcrest::hwobjs
{

/// Sets the station's current timecode.
class ITimecodeWriter
{
public:
    ITimecodeWriter() = default;
    virtual ~ITimecodeWriter() = default;
    ITimecodeWriter(const ITimecodeWriter&) = delete;
    ITimecodeWriter& operator=(const ITimecodeWriter&) = delete;

    virtual void setTimecode(const util::Timecode& timecode) = 0;
};

/// The station's timecode in a System V shared-memory segment, which another process on the machine keeps up to date.
/// The first 4 bytes hold the timecode's word in native byte order; they are read and written as one, so any thread and
/// process may do so at any time. A segment that cannot be had, for example because another program made it too small,
/// is reported once on standard error and tried again by whoever reads, at most once a second; until then reading gives
/// midnight in drop-frame and writing does nothing.
class TimecodeSharedMem final : public ITimecodeReader, public ITimecodeWriter
{
public:
    static constexpr key_t segmentKey = 1437;
    static constexpr std::size_t segmentSize = 32;
    static constexpr std::chrono::seconds retryTime{1};

    /// Attaches the segment, and creates it where there is none. Never throws.
    TimecodeSharedMem() noexcept;
    /// Detaches the segment; it lives on in the machine.
    ~TimecodeSharedMem() override;

    /// The timecode in the segment; midnight in drop-frame while that one is undefined.
    util::Timecode getTimecode() const override;
    void setTimecode(const util::Timecode& timecode) override;

private:
    enum class Report
    {
        Yes,
        No
    };

    void attach(Report report) const noexcept;
    void tryAgain() const noexcept;

    mutable std::int32_t m_shmId = -1;
    /// Null while nothing is attached.
    mutable std::atomic<std::uint32_t*> m_word{nullptr};
    mutable std::mutex m_attachMutex; ///< guards the identifier and the time of the last try
    mutable std::chrono::steady_clock::time_point m_triedAt;
};

} // namespace com::tallowcrest::hwobjs
