#include "runtime/apartment/Task.h"

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

void visitTasks(const TaskVisitor& visit)
{
    TaskRegistry& tasks = registry();
    const std::lock_guard lock(tasks.mutex);
    for (const auto& [task, name] : tasks.names)
    {
        visit(*task, name, task->m_running);
    }
}

} // namespace com::tallowcrest::apartment
