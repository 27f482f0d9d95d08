#include "ddskorabridge/RouterMembers.h"

#include "koraserver/Server.h"
#include "runtime/apartment/ThreadPriority.h"
#include "runtime/util/Log.h"
#include "runtime/util/Metrics.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <exception>
#include <utility>

using com::tallowcrest::apartment::AlarmClock;
using com::tallowcrest::util::Counter;
using com::tallowcrest::util::Histogram;

namespace
{

constexpr std::array<std::uint32_t, 11> joinTimeBounds{10000,   20000,   50000,   100000,   200000,  500000,
                                                       1000000, 2000000, 5000000, 10000000, 60000000};
Histogram joinTimes("korabridge_join_seconds", "Joins of a router's partition, from their beginning to their end.",
                    joinTimeBounds);
Counter failedJoins("korabridge_join_failures_total", "Joins that failed on the way and were taken up again.");

} // namespace

RouterMembers::RouterMembers(std::vector<std::shared_ptr<IPartitionBound>> parts, std::shared_ptr<Server> server,
                             std::shared_ptr<AlarmClock> clock)
    : m_parts(std::move(parts)), m_server(std::move(server)), m_failures(com::tallowcrest::util::bridgeLogger()),
      m_alarm(std::move(clock), [this] { goOn(); }), m_presence(*this)
{}

RouterMembers::~RouterMembers() = default;

void RouterMembers::joinRouterPartition(std::string routerPartition)
{
    m_next = std::move(routerPartition);
    m_failed.reset();
    goOn();
}

void RouterMembers::goOn()
{
    if (m_isJoining || (!m_next && !m_failed))
    {
        return;
    }
    const AlarmClock::Clock::time_point now = m_alarm.now();
    const AlarmClock::Clock::time_point due = !m_next ? m_failed->due : m_begun ? *m_begun + joinInterval : now;
    if (now < due)
    {
        m_alarm.set(due);
        return;
    }
    m_isJoining = true;
    std::size_t part = 0;
    if (m_next)
    {
        m_routerPartition = *std::exchange(m_next, std::nullopt);
        m_begun = now;
    }
    else
    {
        part = m_failed->part;
    }
    m_failed.reset();
    step(part, ++m_join);
}

void RouterMembers::step(std::size_t part, std::uint64_t join)
{
    if (join != m_join)
    {
        return; // it has been left meanwhile
    }
    // This may take a while, and starts threads.
    const com::tallowcrest::apartment::OrdinaryPriority ordinary;
    try
    {
        if (part == 0)
        {
            expect();
        }
        if (part < m_parts.size())
        {
            m_parts[part]->beginToJoin(m_routerPartition, [presence = m_presence.weak(), next = part + 1, join] {
                if (const auto self = presence.lock())
                {
                    self->step(next, join);
                }
            });
            return;
        }
        m_server->connectToRouter();
    }
    catch (const std::exception& error)
    {
        fail(part, join, error.what());
        return;
    }
    catch (...)
    {
        fail(part, join, "unknown exception");
        return;
    }
    end();
}

void RouterMembers::expect()
{
    for (const auto& part : m_parts)
    {
        part->expectToJoin(m_routerPartition);
    }
}

void RouterMembers::fail(std::size_t part, std::uint64_t join, const char* reason)
{
    if (join == m_join)
    {
        // First what needs no memory: whatever fails behind it, the join is taken up again.
        ++m_join;
        m_isJoining = false;
        failedJoins.add();
        m_failed = {.part = part, .due = m_alarm.now() + repeatsAfter};
        m_alarm.set(m_failed->due);
        if (m_openFor && *m_openFor != m_routerPartition)
        {
            // Some parts have moved and some have not.
            m_openFor.reset();
            m_server->disconnectFromRouter();
        }
    }
    m_failures.warn(
        {reason, com::tallowcrest::util::formatText("joining router partition '%s' failed and is tried again: %s",
                                                    m_routerPartition.c_str(), reason)});
    goOn(); // with what has been asked for meanwhile
}

void RouterMembers::end()
{
    ++m_join; // nobody goes on with this one
    m_isJoining = false;
    m_openFor = m_routerPartition;
    const auto taken = std::chrono::duration_cast<std::chrono::microseconds>(m_alarm.now() - *m_begun);
    joinTimes.observe(static_cast<std::uint64_t>(taken.count()));
    m_failures.succeeded();
    goOn();
}

void RouterMembers::leaveRouterPartition()
{
    ++m_join;
    m_isJoining = false;
    m_next.reset();
    m_failed.reset();
    m_begun.reset();
    m_openFor.reset();
    m_alarm.clear();
    for (const auto& part : m_parts)
    {
        part->leaveRouterPartition();
    }
    m_server->disconnectFromRouter();
    m_failures.succeeded();
}
