#include "runtime/util/MemPoolRegistry.h"

#include "runtime/misc/Console.h"
#include "runtime/util/MemPool.h"

#include <memory>

namespace com::tallowcrest::util
{

MemPoolRegistry& MemPoolRegistry::instance()
{
    static MemPoolRegistry& registry = *new MemPoolRegistry;
    return registry;
}

void MemPoolRegistry::add(MemPool& pool)
{
    const std::lock_guard lock(m_mutex);
    m_head = new MemPoolListElement(m_head, pool);
}

void MemPoolRegistry::remove(MemPool& pool)
{
    const std::lock_guard lock(m_mutex);
    MemPoolListElement** link = &m_head;
    while (*link != nullptr && &(*link)->pool() != &pool)
    {
        link = &(*link)->next();
    }
    if (*link != nullptr)
    {
        const std::unique_ptr<MemPoolListElement> removed(*link);
        *link = removed->next();
    }
}

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
