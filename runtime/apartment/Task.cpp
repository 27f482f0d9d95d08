#include "runtime/apartment/Task.h"

#include "runtime/misc/Console.h"

#include <mutex>
#include <unordered_map>

namespace com::tallowcrest::apartment
{

namespace
{

struct TaskRegistry
{
    std::mutex mutex;
    std::unordered_map<const Task*, std::string> names;
    std::uint32_t nextTaskId = 0;
};

/// Made at first use and never destroyed, so that tasks with static storage may come before it and go after it.
TaskRegistry& registry()
{
    static TaskRegistry& theRegistry = *new TaskRegistry;
    return theRegistry;
}

} // namespace

Task::Task(const std::string& name)
{
    TaskRegistry& tasks = registry();
    const std::lock_guard lock(tasks.mutex);
    tasks.names.emplace(this, name);
    m_taskId = tasks.nextTaskId++;
}

Task::~Task()
{
    TaskRegistry& tasks = registry();
    const std::lock_guard lock(tasks.mutex);
    tasks.names.erase(this);
}

void showTasks()
{
    TaskRegistry& tasks = registry();
    const std::lock_guard lock(tasks.mutex);
    misc::print("Task Pointer       State  TaskId Name\n------------ -----------  ------ -----------------------\n");
    for (const auto& [task, name] : tasks.names)
    {
        // Eight digits of the address tell tasks apart well enough on a 64-bit machine.
        misc::print("  0x%08x %11s %6d %s\n", static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(task)),
                    task->m_running ? "    running" : "not running", static_cast<int>(task->taskId()), name.c_str());
    }
}

} // namespace com::tallowcrest::apartment
