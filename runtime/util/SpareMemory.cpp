#include "runtime/util/SpareMemory.h"

#include <malloc.h>

#include <algorithm>

namespace com::tallowcrest::util
{

void SpareMemory::look(Clock::time_point now)
{
    if (now < m_due)
    {
        return;
    }
    m_due = now + m_interval;
    const std::size_t free = ::mallinfo2().fordblks;
    m_givenBack = std::min(m_givenBack, free); // some of it may be in use again
    if (free - m_givenBack >= worthwhile)
    {
        giveBack();
    }
}

void SpareMemory::giveBack()
{
    ::malloc_trim(0); // what is free is spread over the heaps of all threads
    m_givenBack = ::mallinfo2().fordblks;
}

} // namespace com::tallowcrest::util
