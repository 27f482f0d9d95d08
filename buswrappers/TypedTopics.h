#pragma once

#include "bustypes/RoutingTypes.h"
#include "buswrappers/TopicPub.h"
#include "buswrappers/TopicSub.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>

// The readers and writers that the bridge has, one for each type and direction. The topic's name is given by whoever
// makes one.

namespace com::tallowcrest::routing
{

/// Reads level descriptions. TRANSIENT_LOCAL.
class MacroLevelSub : public TopicSub<dds_::routing::MacroLevel>
{
public:
    /// Different ones since the last join. Controllers count levels in tens.
    static constexpr std::size_t mostLevels = 256;

    MacroLevelSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName)
        : TopicSub(std::move(apartment), std::move(topicName), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL,
                   {.has = [](const auto&) { return false; }, .mostOthers = mostLevels, .isFullNews = true})
    {}
};

/// Reads which router each frame is a member of. TRANSIENT_LOCAL.
class RouterMemberSub : public TopicSub<dds_::routing::RouterMember>
{
public:
    using Membership = dds_::routing::RouterMember;

    /// `isOfInterest` says which frames have a place; empty: all.
    RouterMemberSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName,
                    std::function<bool(const Membership&)> isOfInterest = nullptr)
        : TopicSub(std::move(apartment), std::move(topicName), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL,
                   {.has = std::move(isOfInterest)})
    {}
};

/// Reads the crosspoint ranges that the member frames of a router offer. TRANSIENT_LOCAL.
class RouterMemberXptsSub : public TopicSub<dds_::routing::RouterMemberMacroXpts>
{
public:
    /// Different ones since the last join. A router has a few frames.
    static constexpr std::size_t mostMembers = 256;

    RouterMemberXptsSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName)
        : TopicSub(std::move(apartment), std::move(topicName), dds::core::policy::DurabilityKind::TRANSIENT_LOCAL,
                   {.has = [](const auto&) { return false; }, .mostOthers = mostMembers, .isFullNews = true})
    {}
};

/// Reads crosspoint outputs: status, targets or local targets. PERSISTENT when durable, else TRANSIENT_LOCAL.
class MacroXptOutputSub : public TopicSub<dds_::routing::MacroXptOutput>
{
public:
    /// Outputs up to `greatest` have a place.
    MacroXptOutputSub(std::shared_ptr<apartment::SendDoItEvent> apartment, std::string topicName, bool durable,
                      std::uint32_t greatest = std::numeric_limits<std::uint32_t>::max())
        : TopicSub(std::move(apartment), std::move(topicName), durabilityKind(durable),
                   {.has = [greatest](const auto& sample) { return sample.macroXptOutput <= greatest; }})
    {}
};

/// Writes crosspoint outputs: targets. PERSISTENT when durable, else TRANSIENT_LOCAL.
class MacroXptOutputPub : public TopicPub<dds_::routing::MacroXptOutput>
{
public:
    MacroXptOutputPub(std::string topicName, bool durable) : TopicPub(std::move(topicName), durabilityKind(durable)) {}
};

} // namespace com::tallowcrest::routing
