// Levels: the mapping of controller numbers, and the walk over changed outputs.

#include "ddskorabridge/LevelOutputChanges.h"
#include "ddskorabridge/Mapping.h"

#include <benchmark/benchmark.h>

#include <cstdint>

namespace
{

void mapNumbers(benchmark::State& state)
{
    constexpr std::uint32_t size = 2304;
    const Mapping mapping({.numXptsPer = 1,
                           .xptInputStart = 1,
                           .numXptInputs = size,
                           .controllerInputStart = 1,
                           .xptOutputStart = 1,
                           .numXptOutputs = size,
                           .controllerOutputStart = 1});
    std::uint32_t number = 1;
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(mapping.controllerInputToXpt(number));
        benchmark::DoNotOptimize(mapping.controllerOutputToXpt(number));
        number = number == size ? 1 : number + 1;
    }
}
BENCHMARK(mapNumbers);

/// Marks some outputs, far apart, and walks over them as one poll does; 0 marks all of them.
void walkChanges(benchmark::State& state)
{
    const auto outputs = static_cast<std::uint32_t>(state.range(0));
    const auto changed = state.range(1) == 0 ? outputs : static_cast<std::uint32_t>(state.range(1));
    LevelOutputChanges changes(1, outputs);
    for ([[maybe_unused]] auto _ : state)
    {
        state.PauseTiming();
        for (std::uint32_t i = 0; i < changed; ++i)
        {
            changes.noteSourceChange(1 + i * (outputs / changed));
        }
        state.ResumeTiming();
        changes.beginOutputChanges(0);
        std::uint32_t output = 0;
        std::uint32_t found = 0;
        while (changes.next(output))
        {
            ++found;
        }
        if (found != changed)
        {
            state.SkipWithError("not every change was found");
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(changed));
}
BENCHMARK(walkChanges)->ArgNames({"outputs", "changed"})->ArgsProduct({{288, 2304, 73728}, {1, 10, 0}});

void walkNoChanges(benchmark::State& state)
{
    LevelOutputChanges changes(1, static_cast<std::uint32_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state)
    {
        changes.beginOutputChanges(0);
        std::uint32_t output = 0;
        benchmark::DoNotOptimize(changes.next(output));
    }
}
BENCHMARK(walkNoChanges)->ArgName("outputs")->Arg(288)->Arg(2304)->Arg(73728);

void markChange(benchmark::State& state)
{
    const auto outputs = static_cast<std::uint32_t>(state.range(0));
    LevelOutputChanges changes(1, outputs);
    std::uint32_t output = 1;
    for ([[maybe_unused]] auto _ : state)
    {
        changes.noteSourceChange(output);
        output = output == outputs ? 1 : output + 1;
    }
}
BENCHMARK(markChange)->ArgName("outputs")->Arg(288)->Arg(2304)->Arg(73728);

} // namespace
