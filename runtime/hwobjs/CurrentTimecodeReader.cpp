#include "runtime/hwobjs/CurrentTimecodeReader.h"

#include "runtime/util/Slot.h"

#include <utility>

namespace com::tallowcrest::hwobjs
{

std::shared_ptr<ITimecodeReader> currentTimecodeReader()
{
    return util::processSlot<ITimecodeReader>().get();
}

void setCurrentTimecodeReader(std::shared_ptr<ITimecodeReader> reader)
{
    util::processSlot<ITimecodeReader>().set(std::move(reader));
}

void resetCurrentTimecodeReader()
{
    util::processSlot<ITimecodeReader>().reset();
}

util::Timecode currentTimecode()
{
    const std::shared_ptr<ITimecodeReader> reader = currentTimecodeReader();
    return reader != nullptr ? reader->getTimecode() : defaultTimecode();
}

} // namespace com::tallowcrest::hwobjs
