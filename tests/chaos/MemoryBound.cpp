#include "tests/chaos/MemoryBound.h"

#include "tests/chaos/World.h"
#include "tests/support/MeaningfulMemory.h"
#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>

namespace chaos
{

namespace
{

bool isMeaningful()
{
    return testsupport::isMemoryMeaningful && std::getenv("KORABRIDGE_EMULATOR") == nullptr;
}

} // namespace

std::optional<std::size_t> MemoryBound::ownMemory(pid_t process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string word; status >> word;)
    {
        std::size_t size = 0;
        if (word == "RssAnon:" && status >> size)
        {
            return size;
        }
    }
    return std::nullopt;
}

void MemoryBound::watch(pid_t process)
{
    m_process = process;
    m_before = std::max(m_before, ownMemory(process).value_or(0));
}

void MemoryBound::end()
{
    if (m_process < 0 || !isMeaningful())
    {
        return;
    }
    constexpr std::size_t pretended = 100'000;
    const std::size_t extra = m_world.takesSabotage(Sabotage::Growth) ? pretended : 0;
    const std::size_t most = m_before + m_world.bounds.growth;
    const bool isKept = testsupport::waitUntil(
        [&] {
            m_after = ownMemory(m_process).value_or(0) + extra;
            return m_after <= most;
        },
        m_world.bounds.rest);
    if (!isKept)
    {
        m_world.verdict.violation("memory", "somebody hostile has gone, and the bridge takes " +
                                                std::to_string(m_after) + " kB, where it took " +
                                                std::to_string(m_before) + " kB before him");
    }
}

} // namespace chaos
