#pragma once

#include <cstdint>

#include "dds/detail/Entity.hpp"

namespace dds::detail
{

/// A participant of the DDS library.
class ParticipantDelegate : public Entity
{
public:
    explicit ParticipantDelegate(std::uint32_t domainId);
};

} // namespace dds::detail
