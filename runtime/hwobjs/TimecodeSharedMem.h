#pragma once

#include "runtime/hwobjs/ITimecodeReader.h"
#include "runtime/hwobjs/ITimecodeWriter.h"

#include <cstddef>
#include <cstdint>

#include <sys/types.h>

namespace com::tallowcrest::hwobjs
{

/// The station's timecode in a System V shared-memory segment, which another process on the machine keeps up to date.
/// The first 4 bytes hold the timecode's word in native byte order; they are read and written as one, so any thread and
/// process may do so at any time. A segment that cannot be had is reported once on standard error; reading then gives
/// midnight in drop-frame and writing does nothing.
class TimecodeSharedMem final : public ITimecodeReader, public ITimecodeWriter
{
public:
    static constexpr key_t segmentKey = 1437;
    static constexpr std::size_t segmentSize = 32;

    /// Attaches the segment, and creates it where there is none. Never throws.
    TimecodeSharedMem() noexcept;
    /// Detaches the segment; it lives on in the machine.
    ~TimecodeSharedMem() override;

    /// The timecode in the segment; midnight in drop-frame while that one is undefined.
    util::Timecode getTimecode() const override;
    void setTimecode(const util::Timecode& timecode) override;

private:
    std::int32_t m_shmId = -1;
    /// Null when nothing is attached.
    std::uint32_t* m_word = nullptr;
};

} // namespace com::tallowcrest::hwobjs
