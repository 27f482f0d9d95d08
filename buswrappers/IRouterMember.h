#pragma once

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

} // namespace com::tallowcrest::routing
