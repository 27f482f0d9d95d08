#pragma once

#include "runtime/hwobjs/ITimecodeReader.h"

#include <memory>

namespace com::tallowcrest::hwobjs
{

/// The process-wide slot of the timecode reader in use. Thread-safe: guarded by a mutex of its own.
std::shared_ptr<ITimecodeReader> currentTimecodeReader();
void setCurrentTimecodeReader(std::shared_ptr<ITimecodeReader> reader);
void resetCurrentTimecodeReader();

/// The timecode of the reader in use; with an empty slot, midnight in drop-frame ("00:00:00;00").
util::Timecode currentTimecode();

} // namespace com::tallowcrest::hwobjs
