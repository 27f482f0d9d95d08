#pragma once

#include "runtime/util/Timecode.h"

#include <memory>

namespace com::tallowcrest::hwobjs
{

/// Reads the station's current timecode.
class ITimecodeReader
{
public:
    ITimecodeReader() = default;
    virtual ~ITimecodeReader() = default;
    ITimecodeReader(const ITimecodeReader&) = delete;
    ITimecodeReader& operator=(const ITimecodeReader&) = delete;

    /// The current timecode, always a defined one. Any thread.
    virtual util::Timecode getTimecode() const = 0;
};

/// The timecode of a station without one: midnight in drop-frame.
inline util::Timecode defaultTimecode()
{
    static const auto midnight = util::Timecode::parse("00:00:00:00.0", util::Timecode::Code::Fps2997Drop);
    return midnight;
}

/// The process-wide slot of the timecode reader in use. Thread-safe: guarded by a mutex of its own.
std::shared_ptr<ITimecodeReader> currentTimecodeReader();
void setCurrentTimecodeReader(std::shared_ptr<ITimecodeReader> reader);
void resetCurrentTimecodeReader();

/// The timecode of the reader in use; with an empty slot, midnight in drop-frame ("00:00:00;00").
util::Timecode currentTimecode();

} // namespace com::tallowcrest::hwobjs
