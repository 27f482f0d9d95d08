#include "bench/korabench/LoadThread.h"

#include "runtime/util/SystemError.h"

#include <sys/epoll.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <numeric>
#include <span>
#include <stdexcept>
#include <utility>

namespace korabench
{
namespace
{

using com::tallowcrest::util::systemErrorText;

/// Room for the latencies of one command on one thread.
constexpr std::size_t reservedLatencies = 1U << 20U;

timespec timespecOf(std::chrono::nanoseconds time)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    return {.tv_sec = static_cast<decltype(timespec::tv_sec)>(seconds.count()),
            .tv_nsec = static_cast<decltype(timespec::tv_nsec)>((time - seconds).count())};
}

/// The number of events, or a negative one as `epoll_wait`. Without a timeout it waits for as long as it takes.
int waitForEvents(int epoll, std::span<epoll_event> events, const timespec* timeout)
{
    const int count = static_cast<int>(events.size());
    const int ready = ::epoll_pwait2(epoll, events.data(), count, timeout, nullptr);
    if (ready >= 0 || errno != ENOSYS)
    {
        return ready;
    }
    // A kernel before 5.11, and the emulator of the board, know whole milliseconds only.
    int milliseconds = -1;
    if (timeout != nullptr)
    {
        const auto exact = std::chrono::seconds(timeout->tv_sec) + std::chrono::nanoseconds(timeout->tv_nsec);
        milliseconds = static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(exact).count());
    }
    return ::epoll_wait(epoll, events.data(), count, milliseconds);
}

} // namespace

LoadThread::LoadThread(std::vector<std::unique_ptr<Client>> clients, const LoadPlan& plan)
    : m_plan(plan), m_changesCompleteAt(clients.size()), m_incomplete(clients.size())
{
    for (std::size_t i = 0; i < clients.size(); ++i)
    {
        // With an interval the clients take turns.
        const auto share = m_plan.interval * i / clients.size();
        const std::uint64_t seen = clients[i]->changesSeen();
        m_slots.push_back(
            {.client = std::move(clients[i]), .dueAt = Clock::now() + share, .index = i, .changesBefore = seen});
    }
    m_latencies[Command::Publish];
    for (const Command command : mixCommands())
    {
        m_latencies[command]; // so that none is inserted while measuring
    }
}

void LoadThread::run()
{
    if (!m_slots.empty())
    {
        m_latencies[m_slots.front().client->lastCommand()].reserve(reservedLatencies);
    }
    if (m_slots.size() == 1 && m_plan.interval.count() == 0)
    {
        runOne(m_slots.front());
    }
    else
    {
        runMany();
    }
}

void LoadThread::runOne(Slot& slot)
{
    for (Clock::time_point now = Clock::now(); !isDone(now); now = slot.client->receivedAt())
    {
        slot.client->send();
        while (!slot.client->receive())
        {}
        onResponse(slot);
    }
}

void LoadThread::runMany()
{
    m_epoll.reset(::epoll_create1(EPOLL_CLOEXEC));
    for (Slot& slot : m_slots)
    {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.ptr = &slot;
        if (!m_epoll.isOpen() || ::epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, slot.client->fd(), &event) != 0)
        {
            throw std::runtime_error("epoll: " + systemErrorText());
        }
    }
    std::array<epoll_event, 64> events{};
    Clock::time_point nextDue = sendDue(Clock::now());
    while (!isDone(Clock::now()) || isWaiting())
    {
        const Clock::time_point now = Clock::now();
        const bool isTimed = m_plan.interval.count() != 0 && !isDone(now);
        const auto timeout = timespecOf(std::max(nextDue - now, Clock::duration::zero()));
        const int ready = waitForEvents(m_epoll.get(), events, isTimed ? &timeout : nullptr);
        if (ready < 0 && errno != EINTR)
        {
            throw std::runtime_error("epoll: " + systemErrorText());
        }
        for (int i = 0; i < ready; ++i)
        {
            auto& slot = *static_cast<Slot*>(events[static_cast<std::size_t>(i)].data.ptr);
            if (!slot.client->receive())
            {
                continue;
            }
            onResponse(slot);
            if (m_plan.interval.count() == 0 && !isDone(slot.client->receivedAt()))
            {
                slot.client->send();
            }
        }
        if (m_plan.interval.count() != 0)
        {
            nextDue = sendDue(Clock::now());
        }
    }
}

Clock::time_point LoadThread::sendDue(Clock::time_point now)
{
    Clock::time_point next = m_plan.end;
    for (Slot& slot : m_slots)
    {
        if (isDone(now))
        {
            return next;
        }
        if (!slot.client->isWaiting() && slot.dueAt <= now)
        {
            slot.client->send();
            slot.dueAt = std::max(slot.dueAt + m_plan.interval, now);
        }
        if (!slot.client->isWaiting())
        {
            next = std::min(next, slot.dueAt);
        }
    }
    return next;
}

void LoadThread::onResponse(Slot& slot)
{
    const Client& client = *slot.client;
    const Clock::time_point at = client.receivedAt();
    if (at >= m_plan.begin && at < m_plan.end)
    {
        ++m_requestCount;
        m_entryCount += client.lastEntries();
        m_latencies.find(client.lastCommand())->second.add(client.latency());
    }
    Clock::time_point& completeAt = m_changesCompleteAt[slot.index];
    if (m_plan.awaitedChanges != 0 && completeAt == Clock::time_point() &&
        client.changesSeen() - slot.changesBefore >= m_plan.awaitedChanges)
    {
        completeAt = at;
        --m_incomplete;
    }
}

std::uint64_t LoadThread::allRequestCount() const
{
    return std::accumulate(m_slots.begin(), m_slots.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const Slot& slot) { return sum + slot.client->responseCount(); });
}

bool LoadThread::isWaiting() const
{
    return std::any_of(m_slots.begin(), m_slots.end(), [](const Slot& slot) { return slot.client->isWaiting(); });
}

bool LoadThread::isDone(Clock::time_point now) const
{
    return now >= m_plan.end || (m_plan.isStopped != nullptr && m_plan.isStopped->load(std::memory_order_relaxed)) ||
           (m_plan.awaitedChanges != 0 && m_incomplete == 0);
}

} // namespace korabench
