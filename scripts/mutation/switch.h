#pragma once
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>

/// What scripts/mutate puts before the steps of a source that it compiles together.
namespace mutation
{
/// As many steps as one build may hold; the size of the file that says which were reached.
inline constexpr std::size_t mostSteps = 4096;

/// The bytes of the file that KORABRIDGE_MUTATION_REACHED names, which all processes share; null when there is none.
inline volatile char* reachedSteps()
{
    const char* const name = std::getenv("KORABRIDGE_MUTATION_REACHED");
    const int file = name == nullptr ? -1 : ::open(name, O_RDWR | O_CLOEXEC);
    void* const bytes = file < 0 ? MAP_FAILED : ::mmap(nullptr, mostSteps, PROT_WRITE, MAP_SHARED, file, 0);
    if (file >= 0)
    {
        ::close(file);
    }
    return bytes == MAP_FAILED ? nullptr : static_cast<char*>(bytes);
}

/// Whether the step of this number is the one that KORABRIDGE_MUTATION turns on. No step has the number 0.
inline bool is(std::size_t step)
{
    static volatile char* const reached = reachedSteps();
    static const std::size_t turnedOn = [] {
        const char* const number = std::getenv("KORABRIDGE_MUTATION");
        return number == nullptr ? 0 : std::strtoul(number, nullptr, 10);
    }();
    if (reached != nullptr)
    {
        reached[step] = 1;
    }
    return turnedOn == step;
}
} // namespace mutation
