// The tables of tasks and memory pools lie with the console, because what they show lies below it and knows no console.
#include "runtime/apartment/Task.h"
#include "runtime/misc/Console.h"
#include "runtime/util/MemPool.h"

namespace com::tallowcrest::misc
{

void printLines(std::string_view text)
{
    while (!text.empty())
    {
        const std::size_t lineEnd = text.find('\n');
        const std::size_t length = lineEnd == std::string_view::npos ? text.size() : lineEnd + 1;
        print("%.*s", static_cast<int>(length), text.data());
        text.remove_prefix(length);
    }
}

} // namespace com::tallowcrest::misc

namespace com::tallowcrest::apartment
{

void showTasks()
{
    misc::print("Task Pointer       State  TaskId Name\n------------ -----------  ------ -----------------------\n");
    visitTasks([](const Task& task, const std::string& name, bool isRunning) {
        // Eight digits of the address tell tasks apart well enough on a 64-bit machine.
        misc::print("  0x%08x %11s %6d %s\n", static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(&task)),
                    isRunning ? "    running" : "not running", static_cast<int>(task.taskId()), name.c_str());
    });
}

} // namespace com::tallowcrest::apartment

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
