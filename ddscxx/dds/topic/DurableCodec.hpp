#pragma once

#include "bustypes/SampleText.h"
#include "dds/topic/TopicTraits.hpp"
#include "durability/TypeCodec.h"

#include <string>

namespace dds::topic
{

/// What the keeping of PERSISTENT data must know of a data type.
template <typename T>
const com::tallowcrest::durability::TypeCodec& durable_codec()
{
    namespace routing = com::tallowcrest::dds_::routing;
    using Support = topic_type_support<T>;
    using BusType = typename Support::BusType;
    static constexpr auto value = [](const void* sample) {
        return Support::fromBus(*static_cast<const BusType*>(sample));
    };
    static const com::tallowcrest::durability::TypeCodec codec{
        &Support::descriptor(),
        sizeof(BusType),
        Support::descriptor().m_typename,
        [](const void* sample) { return routing::keyText(value(sample)); },
        [](const void* sample) { return routing::jsonText(value(sample)); },
        [](const std::string& payload, void* sample) {
            T parsed;
            if (!routing::parseJson(payload, parsed))
            {
                return false;
            }
            *static_cast<BusType*>(sample) = Support::toBus(parsed);
            return true;
        },
        [](const void* left, const void* right) { return routing::sameButWhen(value(left), value(right)); }};
    return codec;
}

} // namespace dds::topic
