#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace chaos
{

struct World;

/// Checks what memory somebody hostile costs: once all that he can make the bridge keep is kept, and until after he has
/// gone, it takes no more than that. Says nothing where a sanitizer or an emulator has memory of its own in the
/// process. Owned by one thread.
class MemoryBound
{
public:
    explicit MemoryBound(World& world) : m_world(world) {}

    /// What the process needs, so that memory that is free is seen to be free: one arena for all threads, none that
    /// they keep for themselves.
    static std::map<std::string, std::string> environment()
    {
        return {{"GLIBC_TUNABLES", "glibc.malloc.tcache_count=0:glibc.malloc.arena_max=1"}};
    }

    /// He comes: remembers what the process takes.
    void begin(pid_t process);
    /// He has done everything that he can.
    void goOn();
    /// He has gone: waits for the process to take no more than then, and the bound; else that is a violation.
    void end();

    /// The process's own memory in kB; nothing when it has gone.
    static std::optional<std::size_t> ownMemory(pid_t process);
    std::size_t before() const { return m_before; }
    std::size_t meanwhile() const { return m_meanwhile; }
    std::size_t after() const { return m_after; }

private:
    World& m_world;
    pid_t m_process = -1;
    std::size_t m_before = 0;
    std::size_t m_meanwhile = 0;
    std::size_t m_after = 0;
};

} // namespace chaos
