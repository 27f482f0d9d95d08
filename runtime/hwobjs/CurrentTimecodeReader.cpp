#include "runtime/hwobjs/CurrentTimecodeReader.h"

#include "runtime/hwobjs/DefaultTimecode.h"

#include <mutex>

namespace com::tallowcrest::hwobjs
{

namespace
{

struct Slot
{
    std::mutex mutex;
    std::shared_ptr<ITimecodeReader> reader;
};

/// Never destroyed: threads may still look into it while the process ends.
Slot& slot()
{
    static Slot& theSlot = *new Slot;
    return theSlot;
}

} // namespace

std::shared_ptr<ITimecodeReader> currentTimecodeReader()
{
    Slot& current = slot();
    const std::lock_guard lock(current.mutex);
    return current.reader;
}

void setCurrentTimecodeReader(std::shared_ptr<ITimecodeReader> reader)
{
    Slot& current = slot();
    // The former reader goes after the lock.
    const std::lock_guard lock(current.mutex);
    current.reader.swap(reader);
}

void resetCurrentTimecodeReader()
{
    setCurrentTimecodeReader(nullptr);
}

util::Timecode currentTimecode()
{
    const std::shared_ptr<ITimecodeReader> reader = currentTimecodeReader();
    return reader != nullptr ? reader->getTimecode() : defaultTimecode();
}

} // namespace com::tallowcrest::hwobjs
