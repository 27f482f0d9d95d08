#pragma once

#include "runtime/util/Timecode.h"

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

} // namespace com::tallowcrest::hwobjs
