#include "bench/korabench/LoadRun.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "bench/korabench/LoadThread.h"

namespace korabench
{
namespace
{

using Controllers = std::vector<std::unique_ptr<Controller>>;

/// A bridge that has just lost its last controllers opens its port again within some seconds.
constexpr std::chrono::seconds connectTimeout{10};
constexpr std::chrono::milliseconds connectPause{20};

std::unique_ptr<Controller> connect(const Endpoint& endpoint, const std::vector<Request>& requests)
{
    for (const auto end = Clock::now() + connectTimeout;;)
    {
        try
        {
            auto controller = std::make_unique<Controller>(endpoint, requests);
            controller->probe();
            return controller;
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

/// The controllers of each thread.
std::vector<Controllers> connectAll(const CommandLine& commandLine)
{
    std::vector<Controllers> groups(commandLine.threads);
    for (std::uint32_t i = 0; i < commandLine.connections; ++i)
    {
        RequestShape shape = commandLine.shape;
        // Far apart from those of the others where the level is large enough.
        shape.offset = i * std::max(1U, shape.outputs / commandLine.connections);
        groups[i % commandLine.threads].push_back(
            connect(commandLine.endpoint, buildRequests(commandLine.order, shape)));
    }
    for (const Controllers& group : groups)
    {
        for (const auto& controller : group)
        {
            controller->drainChanges();
        }
    }
    return groups;
}

void runAll(std::vector<std::unique_ptr<LoadThread>>& loads)
{
    std::vector<std::exception_ptr> failures(loads.size());
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < loads.size(); ++i)
    {
        threads.emplace_back([&load = *loads[i], &failure = failures[i]] {
            try
            {
                load.run();
            }
            catch (...)
            {
                failure = std::current_exception();
            }
        });
    }
    try
    {
        loads.front()->run();
    }
    catch (...)
    {
        failures.front() = std::current_exception();
    }
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

} // namespace

Report runLoad(const CommandLine& commandLine)
{
    std::vector<Controllers> groups = connectAll(commandLine);
    if (commandLine.awaitedChanges != 0)
    {
        std::cout << "ready" << std::endl;
    }
    LoadPlan plan;
    plan.begin = Clock::now() + commandLine.warmUp;
    plan.end = plan.begin + commandLine.duration;
    plan.interval = commandLine.interval;
    plan.awaitedChanges = commandLine.awaitedChanges;
    std::vector<std::unique_ptr<LoadThread>> loads;
    for (Controllers& group : groups)
    {
        loads.push_back(std::make_unique<LoadThread>(std::move(group), plan));
    }
    runAll(loads);

    Report report;
    report.connections = commandLine.connections;
    const Clock::time_point end = std::min(plan.end, Clock::now());
    report.seconds = std::chrono::duration<double>(end - plan.begin).count();
    for (const auto& load : loads)
    {
        report.requests += load->requestCount();
        report.allRequests += load->allRequestCount();
        report.takes += load->entryCount();
        for (const auto& [command, stats] : load->latencies())
        {
            report.latencies[command].merge(stats);
        }
        if (commandLine.awaitedChanges != 0)
        {
            report.changesCompleteAt.insert(report.changesCompleteAt.end(), load->changesCompleteAt().begin(),
                                            load->changesCompleteAt().end());
        }
    }
    if (std::count(report.changesCompleteAt.begin(), report.changesCompleteAt.end(), Clock::time_point()) != 0)
    {
        throw std::runtime_error("not every controller saw the changes awaited");
    }
    return report;
}

} // namespace korabench
