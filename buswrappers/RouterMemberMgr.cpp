#include "buswrappers/RouterMemberMgr.h"

#include "runtime/misc/Console.h"

#include <utility>

namespace com::tallowcrest::routing
{

RouterMemberMgr::RouterMemberMgr(std::shared_ptr<apartment::SendDoItEvent> apartment, const std::string& topicName,
                                 dds_::routing::FrameId frameId, std::shared_ptr<IRouterMember> routerMember)
    : RouterMemberSub(std::move(apartment), topicName,
                      [frameId](const Membership& membership) { return membership.frameId == frameId; }),
      m_frameId(frameId), m_routerMember(std::move(routerMember))
{
    // Last: from here on events may run on the apartment.
    RouterMemberSub::joinRouterPartition("");
}

void RouterMemberMgr::onDataAvailable()
{
    for (const auto& sample : takeAll())
    {
        if (sample.info().valid() && sample.data().frameId == m_frameId)
        {
            onMembership(sample.data());
        }
    }
}

void RouterMemberMgr::onMembership(const dds_::routing::RouterMember& membership)
{
    misc::print("=== [RouterMemberMgr] message received\n");
    misc::print("    frameId         : %d\n    routerPartition : %s\n    memberIndex     : %d\n",
                static_cast<int>(membership.frameId), membership.routerPartition.c_str(),
                static_cast<int>(membership.memberIndex));
    m_membership = membership;
    m_routerMember->joinRouterPartition(membership.routerPartition);
}

} // namespace com::tallowcrest::routing
