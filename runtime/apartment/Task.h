#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

namespace com::tallowcrest::apartment
{

class Task;

/// Is shown a task with its name and whether it runs.
using TaskVisitor = std::function<void(const Task& task, const std::string& name, bool isRunning)>;

/// Something that owns a thread and can be started and stopped. Every task enrols in the process-wide task table under
/// a name for as long as it lives. Creating and destroying tasks is thread-safe.
///
/// The base keeps the running flag, so that the table can be printed at any moment of a task's life, also while a
/// derived class is still being built or is already gone. Derived classes set it, have no flag of their own beside it,
/// and return it from `isRunning`.
class Task
{
public:
    /// Takes the next task id (0, 1, 2, ... never reused) and enrols under `name`.
    explicit Task(const std::string& name);
    /// Leaves the task table.
    virtual ~Task();
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    virtual void start() = 0;
    virtual void stop() = 0;
    virtual bool isRunning() const = 0;

    std::uint32_t taskId() const { return m_taskId; }

protected:
    /// What `isRunning` returns and the table shows. Any thread.
    std::atomic<bool> m_running{false};

private:
    friend void visitTasks(const TaskVisitor& visit);

    std::uint32_t m_taskId = 0;
};

/// Shows `visit` each task in turn, in no particular order; none comes or goes meanwhile. Any thread. A task may still
/// be in the making or already half gone: only what the base has may be asked of it.
void visitTasks(const TaskVisitor& visit);

/// Prints the table of all tasks to the console: address, state, task id, name. Any thread. Defined with the console.
void showTasks();

} // namespace com::tallowcrest::apartment
