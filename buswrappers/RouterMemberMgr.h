#pragma once

#include "buswrappers/TypedTopics.h"

#include <memory>
#include <string>

namespace com::tallowcrest::routing
{

/// Told which router the bridge's own frame is a member of. Called on the bridge apartment.
class IRouterMember
{
public:
    IRouterMember() = default;
    virtual ~IRouterMember() = default;
    IRouterMember(const IRouterMember&) = delete;
    IRouterMember& operator=(const IRouterMember&) = delete;

    /// The frame is a member of `routerPartition` (at most 16 characters); also called again for the same one.
    virtual void joinRouterPartition(std::string routerPartition) = 0;
    virtual void leaveRouterPartition() = 0;
};

/// Watches the memberships on the bus and tells the bridge to join the router of its own frame: at every announcement,
/// also of an unchanged partition, so that an announcement repeated refreshes the whole bridge. A membership that is
/// disposed or loses its writer is ignored. Made on the main thread, then apartment-bound. An exception of the join
/// goes to the apartment.
class RouterMemberMgr final : public RouterMemberSub
{
public:
    /// Starts reading at once, in the bare partition; it never joins a router's.
    RouterMemberMgr(std::shared_ptr<apartment::SendDoItEvent> apartment, const std::string& topicName,
                    dds_::routing::FrameId frameId, std::shared_ptr<IRouterMember> routerMember);

    void onDataAvailable() override;

private:
    void onMembership(const dds_::routing::RouterMember& membership);

    const dds_::routing::FrameId m_frameId;
    dds_::routing::RouterMember m_membership; ///< the last one received
    const std::shared_ptr<IRouterMember> m_routerMember;
};

} // namespace com::tallowcrest::routing
