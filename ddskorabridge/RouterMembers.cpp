#include "ddskorabridge/RouterMembers.h"

#include "koraserver/Server.h"
#include "runtime/apartment/ThreadPriority.h"

#include <utility>

RouterMembers::RouterMembers(std::vector<std::shared_ptr<IPartitionBound>> parts, std::shared_ptr<Server> server)
    : m_parts(std::move(parts)), m_server(std::move(server))
{}

RouterMembers::~RouterMembers() = default;

void RouterMembers::joinRouterPartition(std::string routerPartition)
{
    // This may take seconds, and starts threads.
    const com::tallowcrest::apartment::OrdinaryPriority ordinary;
    for (const auto& part : m_parts)
    {
        part->joinRouterPartition(routerPartition);
    }
    m_server->connectToRouter();
}

void RouterMembers::leaveRouterPartition()
{
    for (const auto& part : m_parts)
    {
        part->leaveRouterPartition();
    }
    m_server->disconnectFromRouter();
}
