#include "ddskorabridge/RouterMembers.h"

#include "koraserver/Server.h"
#include "runtime/apartment/ThreadPriority.h"

#include <utility>

RouterMembers::RouterMembers(std::vector<std::shared_ptr<IPartitionBound>> parts, std::shared_ptr<Server> server)
    : m_parts(std::move(parts)), m_server(std::move(server)), m_presence(*this)
{}

RouterMembers::~RouterMembers() = default;

void RouterMembers::joinRouterPartition(std::string routerPartition)
{
    if (m_isJoining)
    {
        m_next = std::move(routerPartition);
        return;
    }
    begin(routerPartition);
}

void RouterMembers::begin(const std::string& routerPartition)
{
    m_isJoining = true;
    m_routerPartition = routerPartition;
    step(0, ++m_join);
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
    catch (...)
    {
        if (join == m_join)
        {
            end();
        }
        throw;
    }
    end();
}

void RouterMembers::end()
{
    ++m_join; // nobody goes on with this one
    m_isJoining = false;
    if (const auto next = std::exchange(m_next, std::nullopt))
    {
        begin(*next);
    }
}

void RouterMembers::leaveRouterPartition()
{
    ++m_join;
    m_isJoining = false;
    m_next.reset();
    for (const auto& part : m_parts)
    {
        part->leaveRouterPartition();
    }
    m_server->disconnectFromRouter();
}
