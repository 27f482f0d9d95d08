#pragma once

#include "bench/korabench/Client.h"
#include "bench/korabench/Report.h"
#include "runtime/util/UniqueFd.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace korabench
{

/// When to send and what to measure.
struct LoadPlan
{
    /// Requests answered in this time count.
    Clock::time_point begin;
    Clock::time_point end;
    /// From one request of a client to its next; 0: the next follows on the answer.
    std::chrono::nanoseconds interval{0};
    /// When not 0: the run ends as soon as every client has seen this many changes.
    std::uint64_t awaitedChanges = 0;
    /// Set to end the run early; outlives it.
    const std::atomic<bool>* isStopped = nullptr;
};

/// Some clients driven by one thread: a single one waits in the receive itself, several by epoll. Owned by the
/// thread that calls `run`; the results belong to whoever joins it.
class LoadThread
{
public:
    LoadThread(std::vector<std::unique_ptr<Client>> clients, const LoadPlan& plan);

    /// Throws what a `Client` throws.
    void run();

    std::uint64_t requestCount() const { return m_requestCount; }
    /// Of the clients, since they were made.
    std::uint64_t allRequestCount() const;
    std::uint64_t entryCount() const { return m_entryCount; }
    const std::map<Command, LatencyStats>& latencies() const { return m_latencies; }
    /// When each client had seen the changes awaited; empty for one that never had.
    const std::vector<Clock::time_point>& changesCompleteAt() const { return m_changesCompleteAt; }

private:
    struct Slot
    {
        std::unique_ptr<Client> client;
        Clock::time_point dueAt;
        std::size_t index;
        /// At the begin of the run.
        std::uint64_t changesBefore;
    };

    void runOne(Slot& slot);
    void runMany();
    /// Sends what is due and tells when the next falls due; `end` when nothing is left to send.
    Clock::time_point sendDue(Clock::time_point now);
    void onResponse(Slot& slot);
    bool isWaiting() const;
    bool isDone(Clock::time_point now) const;

    LoadPlan m_plan;
    std::vector<Slot> m_slots;
    com::tallowcrest::util::UniqueFd m_epoll;
    std::uint64_t m_requestCount = 0;
    std::uint64_t m_entryCount = 0;
    std::map<Command, LatencyStats> m_latencies;
    std::vector<Clock::time_point> m_changesCompleteAt;
    std::size_t m_incomplete;
};

} // namespace korabench
