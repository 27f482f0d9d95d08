#pragma once

#include "runtime/util/Timecode.h"

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

} // namespace com::tallowcrest::hwobjs
