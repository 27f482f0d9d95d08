#pragma once

#include "buswrappers/RouterMemberMgr.h"
#include "runtime/apartment/Presence.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
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
    /// The same. `joined`, on the apartment, says that all of it has been done: at once, or later in a part that waits
    /// for others. Not when the part throws, leaves or joins once more.
    virtual void beginToJoin(const std::string& routerPartition, const std::function<void()>& joined)
    {
        joinRouterPartition(routerPartition);
        joined();
    }
    /// Moves out of every router's partition.
    virtual void leaveRouterPartition() = 0;
};

/// Moves every part of the bridge that lives in a router's partition, and the controller server last: levels and
/// crosspoints are in the partition before a controller can connect, and the server is the last to hear that the router
/// is gone. A part that waits holds up those behind it and nobody else; a join that is asked for meanwhile follows, the
/// last of them when there are several. Owned by the Director, called by the router member manager. Apartment-bound.
/// When one part throws, those behind it are not called.
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
    void begin(const std::string& routerPartition);
    void step(std::size_t part, std::uint64_t join);
    void end();

    const std::vector<std::shared_ptr<IPartitionBound>> m_parts;
    const std::shared_ptr<Server> m_server;
    std::uint64_t m_join = 0; ///< counts them
    bool m_isJoining = false;
    std::string m_routerPartition;                                         ///< of the join under way
    std::optional<std::string> m_next;                                     ///< to be joined after it
    const com::tallowcrest::apartment::Presence<RouterMembers> m_presence; ///< for parts that wait
};
