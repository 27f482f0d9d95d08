// The controller link: from received bytes to the bytes to send.

#include "koraclient/RequestEncoder.h"
#include "koracommand/CmdTable.h"
#include "koracommand/KoraMessageBuffer.h"
#include "koracommand/ListCommands.h"
#include "koracommand/RspBase.h"
#include "koracommand/RspQueue.h"
#include "koraserver/MessageCutter.h"
#include "runtime/apartment/Apartment.h"
#include "runtime/util/MemPool.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

using com::tallowcrest::apartment::Apartment;
using com::tallowcrest::apartment::DoItEvent;

std::vector<std::uint8_t> takeOf(std::int64_t entries)
{
    return koraclient::RequestEncoder(1).take(
        std::vector<koraclient::TakeEntry>(static_cast<std::size_t>(entries), {.level = 1, .input = 1, .output = 1}));
}

void cutFrames(benchmark::State& state)
{
    const auto message = takeOf(state.range(0));
    MessageCutter cutter;
    for ([[maybe_unused]] auto _ : state)
    {
        std::copy(message.begin(), message.end(), cutter.freeSpace().begin());
        cutter.stored(message.size());
        auto cut = cutter.next();
        benchmark::DoNotOptimize(cut);
    }
}
BENCHMARK(cutFrames)->ArgName("entries")->Arg(1)->Arg(64)->Arg(500);

void convertWords(benchmark::State& state)
{
    const auto message = takeOf(state.range(0));
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(convertedCopy(message));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(message.size()));
}
BENCHMARK(convertWords)->ArgName("entries")->Arg(1)->Arg(64)->Arg(500);

void getAndPut(benchmark::State& state)
{
    com::tallowcrest::util::MemPool pool("bench", 64);
    for ([[maybe_unused]] auto _ : state)
    {
        void* buffer = pool.Get();
        benchmark::DoNotOptimize(buffer);
        pool.Put(buffer);
    }
}
BENCHMARK(getAndPut);

/// Answers with itself: nothing but the way through the queue.
class PushEvent final : public DoItEvent
{
public:
    explicit PushEvent(RspQueue& queue) : m_queue(queue) {}
    void doIt() override { m_queue.push(nullptr); }

private:
    RspQueue& m_queue;
};

void postAndRunEvent(benchmark::State& state)
{
    Apartment apartment("bench apartment");
    apartment.start();
    RspQueue queue;
    for ([[maybe_unused]] auto _ : state)
    {
        com::tallowcrest::apartment::post(apartment, std::make_unique<PushEvent>(queue));
        benchmark::DoNotOptimize(queue.pop());
    }
    apartment.stop();
}
BENCHMARK(postAndRunEvent)->UseRealTime();

void pushAndPop(benchmark::State& state)
{
    RspQueue queue;
    for ([[maybe_unused]] auto _ : state)
    {
        queue.push(nullptr);
        benchmark::DoNotOptimize(queue.pop());
    }
}
BENCHMARK(pushAndPop);

/// A take of a level that does not exist, without threads: what the link's own objects cost.
void runRefusedTake(benchmark::State& state)
{
    const auto message = takeOf(state.range(0));
    const auto queue = std::make_shared<RspQueue>();
    const auto context = std::make_shared<ConnectionContext>(nullptr, 0, &std::chrono::system_clock::now);
    for ([[maybe_unused]] auto _ : state)
    {
        const auto cmd = findCmd(wireLayout::msgId::take)->create(message, queue, context);
        cmd->doIt();
        const RspInNetworkOrder rsp(*queue->pop());
        benchmark::DoNotOptimize(rsp.getData());
    }
}
BENCHMARK(runRefusedTake)->ArgName("entries")->Arg(1)->Arg(64)->Arg(500);

} // namespace
