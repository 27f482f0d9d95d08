#include "bench/korabench/LoadRun.h"

#include "bench/korabench/Controller.h"
#include "bench/korabench/LoadThread.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace korabench
{
namespace
{

using Clients = std::vector<std::unique_ptr<Client>>;

/// A bridge that has just lost its last controllers opens its port again within some seconds.
constexpr std::chrono::seconds connectTimeout{10};
constexpr std::chrono::milliseconds connectPause{20};

std::unique_ptr<Client> connect(const ClientFactory& makeClient, std::uint32_t index)
{
    for (const auto end = Clock::now() + connectTimeout;;)
    {
        try
        {
            return makeClient(index);
        }
        catch (const NotConnected&)
        {
            if (Clock::now() >= end)
            {
                throw;
            }
        }
        std::this_thread::sleep_for(connectPause);
    }
}

/// The clients of each thread.
std::vector<Clients> connectAll(const LoadOptions& options, const ClientFactory& makeClient)
{
    std::vector<Clients> groups(std::min(options.threads, options.connections));
    for (std::uint32_t i = 0; i < options.connections; ++i)
    {
        groups[i % groups.size()].push_back(connect(makeClient, i));
    }
    return groups;
}

/// Stops all of them when one fails.
void runAll(std::vector<std::unique_ptr<LoadThread>>& loads, std::atomic<bool>& isStopped)
{
    std::vector<std::exception_ptr> failures(loads.size());
    const auto run = [&](std::size_t index) {
        try
        {
            loads[index]->run();
        }
        catch (...)
        {
            failures[index] = std::current_exception();
            isStopped = true;
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < loads.size(); ++i)
    {
        threads.emplace_back(run, i);
    }
    run(0);
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    for (const std::exception_ptr& failure : failures)
    {
        if (failure != nullptr)
        {
            std::rethrow_exception(failure);
        }
    }
}

void addTo(Report& report, const LoadThread& load, bool areChangesAwaited)
{
    report.requests += load.requestCount();
    report.allRequests += load.allRequestCount();
    report.takes += load.entryCount();
    for (const auto& [command, stats] : load.latencies())
    {
        report.latencies[command].merge(stats);
    }
    if (areChangesAwaited)
    {
        report.changesCompleteAt.insert(report.changesCompleteAt.end(), load.changesCompleteAt().begin(),
                                        load.changesCompleteAt().end());
    }
}

} // namespace

Report runLoad(const LoadOptions& options, const ClientFactory& makeClient)
{
    std::vector<Clients> groups = connectAll(options, makeClient);
    if (options.awaitedChanges != 0)
    {
        std::cout << "ready" << std::endl;
    }
    LoadPlan plan;
    plan.begin = Clock::now() + options.warmUp();
    plan.end = plan.begin + options.duration();
    plan.interval = options.interval();
    plan.awaitedChanges = options.awaitedChanges;
    std::atomic<bool> isStopped{false};
    plan.isStopped = &isStopped;
    std::vector<std::unique_ptr<LoadThread>> loads;
    for (Clients& group : groups)
    {
        loads.push_back(std::make_unique<LoadThread>(std::move(group), plan));
    }
    runAll(loads, isStopped);

    Report report;
    report.connections = options.connections;
    report.seconds = std::chrono::duration<double>(std::min(plan.end, Clock::now()) - plan.begin).count();
    for (const auto& load : loads)
    {
        addTo(report, *load, options.awaitedChanges != 0);
    }
    if (std::count(report.changesCompleteAt.begin(), report.changesCompleteAt.end(), Clock::time_point()) != 0)
    {
        throw std::runtime_error("not every controller saw the changes awaited");
    }
    return report;
}

ClientFactory controllerFactory(const CommandLine& commandLine)
{
    return [commandLine](std::uint32_t index) {
        RequestShape shape = commandLine.shape;
        // Far apart from those of the others where the level is large enough.
        shape.offset = index * std::max(1U, shape.outputs / commandLine.load.connections);
        auto controller = std::make_unique<Controller>(commandLine.endpoint, buildRequests(commandLine.order, shape));
        controller->probe();
        controller->drainChanges();
        return controller;
    };
}

} // namespace korabench
