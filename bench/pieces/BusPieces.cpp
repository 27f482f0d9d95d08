// The bus: one write of a target, bare and as the bridge does it, and the checks before a take.

#include "bench/support/BusEndpoint.h"
#include "bustypes/TopicNames.h"
#include "ddskorabridge/LevelContainer.h"
#include "ddskorabridge/LevelImpl.h"
#include "ddskorabridge/MacroXptMgrStatus.h"
#include "ddskorabridge/MacroXptMgrTarget.h"
#include "tests/fakes/FakeApartment.h"
#include "tools/korasim/RouterEnds.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <memory>

namespace
{

using com::tallowcrest::routing::topicName;
using com::tallowcrest::routing::TopicName;

constexpr std::uint32_t outputs = 2304;
constexpr const char* partition = "R1";

void takeAll(dds_entity_t reader, void*)
{
    constexpr std::size_t atOnce = 16;
    std::array<void*, atOnce> samples{};
    std::array<dds_sample_info_t, atOnce> infos{};
    const dds_return_t count = dds_take(reader, samples.data(), infos.data(), atOnce, atOnce);
    if (count > 0)
    {
        static_cast<void>(dds_return_loan(reader, samples.data(), count));
    }
}

/// The DDS library alone, with and without a reader in this process that takes each sample at once.
void writeSample(benchmark::State& state)
{
    const dds_entity_t participant =
        dds::detail::check(dds_create_participant(DDS_DOMAIN_DEFAULT, nullptr, nullptr), "creating the participant");
    {
        bench::Writer<bench::Output> writer(participant, "bench", partition, DDS_DURABILITY_TRANSIENT_LOCAL);
        if (state.range(0) != 0)
        {
            dds_listener_t* const listener = dds_create_listener(nullptr);
            dds_lset_data_available(listener, &takeAll);
            bench::makeReader(participant, bench::OutputSupport::descriptor(), "bench", partition,
                              DDS_DURABILITY_TRANSIENT_LOCAL, listener);
            dds_delete_listener(listener);
        }
        bench::BusOutput sample{};
        for ([[maybe_unused]] auto _ : state)
        {
            sample.macroXptOutput = sample.macroXptOutput % outputs + 1;
            writer.write(sample);
        }
    }
    static_cast<void>(dds_delete(participant));
}
BENCHMARK(writeSample)->ArgName("localReaders")->Arg(0)->Arg(1);

/// The bridge's level with its managers on the bus, and a router that offers every crosspoint.
class Level
{
public:
    Level()
    {
        m_target->joinRouterPartition(partition);
        m_router.ranges(korasim::Signal::Audio)
            .write({.macroXptInputStart = 1,
                    .numMacroXptInputs = outputs,
                    .macroXptOutputStart = 1,
                    .numMacroXptOutputs = outputs});
        m_isReady = m_apartment->runUntil([this] { return m_target->checkTake(1, 1, 0) == 0; });
    }

    bool isReady() const { return m_isReady; }
    MacroXptMgrTarget& target() { return *m_target; }
    LevelImpl& level() { return m_level; }

private:
    std::shared_ptr<FakeApartment> m_apartment = std::make_shared<FakeApartment>();
    std::shared_ptr<MacroXptMgrTarget> m_target =
        std::make_shared<MacroXptMgrTarget>(m_apartment, topicName(TopicName::RouterMemberMacroXptsDxAudio), outputs,
                                            outputs, topicName(TopicName::MacroXptOutputAudioTarget));
    std::shared_ptr<MacroXptMgrStatus> m_status = std::make_shared<MacroXptMgrStatus>(
        m_apartment, outputs, topicName(TopicName::MacroXptOutputAudioStatus), std::make_shared<LevelContainer>());
    LevelImpl m_level{m_target,
                      m_status,
                      {.numXptsPer = 1,
                       .xptInputStart = 1,
                       .numXptInputs = outputs,
                       .controllerInputStart = 1,
                       .xptOutputStart = 1,
                       .numXptOutputs = outputs,
                       .controllerOutputStart = 1}};
    korasim::RouterWriters m_router{partition};
    bool m_isReady = false;
};

void checkTake(benchmark::State& state)
{
    Level level;
    std::uint32_t output = 1;
    if (!level.isReady())
    {
        state.SkipWithError("no router");
    }
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(level.target().checkTake(output, output, 1));
        output = output == outputs ? 1 : output + 1;
    }
}
BENCHMARK(checkTake);

/// Mapping, checks, the write with its keeping, and the table: all of a take but the link. Nobody remote reads.
void takeOnLevel(benchmark::State& state)
{
    Level level;
    std::uint32_t output = 1;
    if (!level.isReady())
    {
        state.SkipWithError("no router");
    }
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(level.level().take(1, output, output, 0));
        output = output == outputs ? 1 : output + 1;
    }
}
BENCHMARK(takeOnLevel);

void queryStatus(benchmark::State& state)
{
    Level level;
    std::uint32_t output = 1;
    std::uint32_t input = 0;
    std::uint32_t lprState = 0;
    std::uint32_t lprId = 0;
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(level.level().getOutputStatus(output, input, lprState, lprId));
        output = output == outputs ? 1 : output + 1;
    }
}
BENCHMARK(queryStatus);

} // namespace
