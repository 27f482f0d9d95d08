#pragma once

#include <cstdint>
#include <string>

namespace com::tallowcrest::apartment
{

/// Something that owns a thread and can be started and stopped. Every task enrols in the process-wide task table under
/// a name for as long as it lives. Creating and destroying tasks is thread-safe.
class Task
{
public:
    /// Takes the next task id (0, 1, 2, ... never reused) and enrols under `name`.
    explicit Task(const std::string& name);
    virtual ~Task();
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    virtual void start() = 0;
    virtual void stop() = 0;
    virtual bool isRunning() const = 0;

    std::uint32_t taskId() const { return m_taskId; }

private:
    std::uint32_t m_taskId = 0;
};

/// Prints the table of all tasks to the console: address, state, task id, name. Any thread.
void showTasks();

} // namespace com::tallowcrest::apartment
