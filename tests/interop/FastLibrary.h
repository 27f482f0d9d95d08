#pragma once

// What the two supported releases of the other DDS implementation (Debian 12: 2.9, Debian 13: 3.1) name differently.

// Generated at build time.
#if __has_include("FastRoutingPubSubTypes.hpp")
#include "FastRoutingPubSubTypes.hpp"
#else
#include "FastRoutingPubSubTypes.h"
#endif

#include <fastdds/dds/common/InstanceHandle.hpp>

#include <cstdint>

#if __has_include(<fastrtps/utils/IPLocator.h>)
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastrtps/types/TypesBase.h>
#include <fastrtps/utils/IPLocator.h>
#else
#include <fastdds/dds/core/ReturnCode.hpp>
#include <fastdds/dds/core/Time_t.hpp>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.hpp>
#include <fastdds/utils/IPLocator.hpp>
#endif

namespace fastlib
{

#if __has_include(<fastrtps/utils/IPLocator.h>)
using eprosima::fastrtps::Duration_t;
using eprosima::fastrtps::rtps::IPLocator;
using eprosima::fastrtps::rtps::Locator_t;
using eprosima::fastrtps::types::ReturnCode_t;
inline const ReturnCode_t ok = ReturnCode_t::RETCODE_OK;
inline const ReturnCode_t error = ReturnCode_t::RETCODE_ERROR;
inline std::uint32_t numberOf(const ReturnCode_t& code)
{
    return code();
}
#else
using eprosima::fastdds::dds::Duration_t;
using eprosima::fastdds::dds::ReturnCode_t;
using eprosima::fastdds::rtps::IPLocator;
using eprosima::fastdds::rtps::Locator_t;
inline constexpr ReturnCode_t ok = eprosima::fastdds::dds::RETCODE_OK;
inline constexpr ReturnCode_t error = eprosima::fastdds::dds::RETCODE_ERROR;
inline ReturnCode_t numberOf(ReturnCode_t code)
{
    return code;
}
#endif

/// What a write returns: whether it has been done, or a code.
inline ReturnCode_t codeOf(bool done)
{
    return done ? ok : error;
}
inline ReturnCode_t codeOf(const ReturnCode_t& code)
{
    return code;
}

} // namespace fastlib
