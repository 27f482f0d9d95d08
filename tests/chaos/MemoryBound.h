#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace chaos
{

struct World;

/// Checks what memory somebody hostile costs: at rest, once he has gone, the bridge takes little more than it took
/// before he came. Says nothing where a sanitizer or an emulator has memory of its own in the process. Owned by one
/// thread.
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

    /// He has not come yet: remembers the most that the process takes for all others.
    void watch(pid_t process);
    /// He has gone: waits for the process to take no more than then, and the bound; else that is a violation.
    void end();

    /// The process's own memory in kB; nothing when it has gone.
    static std::optional<std::size_t> ownMemory(pid_t process);
    std::size_t before() const { return m_before; }
    std::size_t after() const { return m_after; }

private:
    World& m_world;
    pid_t m_process = -1;
    std::size_t m_before = 0;
    std::size_t m_after = 0;
};

} // namespace chaos
