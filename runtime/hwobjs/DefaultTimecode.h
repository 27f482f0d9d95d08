#pragma once

#include "runtime/util/Timecode.h"

namespace com::tallowcrest::hwobjs
{

/// The timecode of a station without one: midnight in drop-frame.
inline util::Timecode defaultTimecode()
{
    return util::Timecode::parse("00:00:00:00.0", util::Timecode::Code::Fps2997Drop);
}

} // namespace com::tallowcrest::hwobjs
