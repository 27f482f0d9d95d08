#pragma once

#include "buswrappers/RouterMemberMgr.h"

#include <memory>
#include <string>
#include <vector>

class Server;

/// A part of the bridge that lives in a router's partition. Apartment-bound.
class IPartitionBound
{
public:
    IPartitionBound() = default;
    virtual ~IPartitionBound() = default;
    IPartitionBound(const IPartitionBound&) = delete;
    IPartitionBound& operator=(const IPartitionBound&) = delete;

    /// Moves into the partition; called again for the same one to refresh what is read and written there.
    virtual void joinRouterPartition(const std::string& routerPartition) = 0;
    /// Moves out of every router's partition.
    virtual void leaveRouterPartition() = 0;
};

/// Moves every part of the bridge that lives in a router's partition, and the controller server last: levels and
/// crosspoints are in the partition before a controller can connect, and the server is the last to hear that the router
/// is gone. Owned by the Director, called by the router member manager. Apartment-bound. When one part throws, those
/// behind it are not called.
class RouterMembers : public com::tallowcrest::routing::IRouterMember
{
public:
    /// The parts move in the order given.
    RouterMembers(std::vector<std::shared_ptr<IPartitionBound>> parts, std::shared_ptr<Server> server);
    ~RouterMembers() override;

    // IRouterMember
    void joinRouterPartition(std::string routerPartition) override;
    void leaveRouterPartition() override;

private:
    const std::vector<std::shared_ptr<IPartitionBound>> m_parts;
    const std::shared_ptr<Server> m_server;
};
