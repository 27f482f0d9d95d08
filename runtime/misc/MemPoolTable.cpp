// The table of memory pools lies with the console, because the pools are the leaf's, which knows no console.
#include "runtime/misc/Console.h"
#include "runtime/util/MemPool.h"
#include "runtime/util/MemPoolRegistry.h"

namespace com::tallowcrest::util
{

void MemPoolRegistry::show()
{
    const std::lock_guard lock(m_mutex);
    misc::print("                                                      Num     Size   Total  Avail In Use\n"
                "              Name                               Grow Blocks  Buf    Bufs   Bufs  Bufs  \n"
                "------------------------------------------------ ---- ------ ------ ------ ------ ------\n");
    for (MemPoolListElement* element = m_head; element != nullptr; element = element->next())
    {
        const MemPool::Snapshot row = element->pool().snapshot();
        misc::print("%48s %4s %6d %6d %6d %6d %6d\n", row.name.c_str(), row.canGrow ? "Yes" : "No", row.blockCount,
                    row.stride, row.total, row.available, row.total - row.available);
    }
    misc::print("\n");
}

} // namespace com::tallowcrest::util
