#pragma once

#include <memory>
#include <string>

#include "buswrappers/IRouterMember.h"
#include "buswrappers/RouterMemberSub.h"

namespace com::tallowcrest::routing
{

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
