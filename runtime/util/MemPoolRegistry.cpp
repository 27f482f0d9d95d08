#include "runtime/util/MemPoolRegistry.h"

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

} // namespace com::tallowcrest::util
