#pragma once

#include "durability/Neighbours.h"

#include <exchange.h>

#include <cstdint>
#include <type_traits>
#include <vector>

// What the bridges of a partition tell each other, as values and as the bus carries it.

namespace com::tallowcrest::durability
{

/// What one bridge has to say.
struct StatusMessage
{
    NeighbourId bridge{};
    Status status;
};

/// What one bridge hands over.
struct RowsMessage
{
    NeighbourId bridge{};
    BucketRows rows;
};

/// A status for the bus, with the memory that it points to.
struct BusStatus : com_tallowcrest_durability__ChannelStatus
{
    explicit BusStatus(const StatusMessage& message);
    BusStatus(const BusStatus&) = delete;
    BusStatus& operator=(const BusStatus&) = delete;

private:
    std::vector<std::uint64_t> m_digests;
    std::vector<std::uint64_t> m_met;
    std::vector<com_tallowcrest_durability__Want> m_wants;
};

/// The same of a bucket's rows.
struct BusRows : com_tallowcrest_durability__ChannelRows
{
    explicit BusRows(const RowsMessage& message);
    BusRows(const BusRows&) = delete;
    BusRows& operator=(const BusRows&) = delete;

private:
    std::vector<com_tallowcrest_durability__Row> m_rows;
};

/// What the binding asks for.
struct StatusSupport
{
    using BusType = com_tallowcrest_durability__ChannelStatus;

    static const dds_topic_descriptor_t& descriptor() { return com_tallowcrest_durability__ChannelStatus_desc; }
    static BusStatus toBus(const StatusMessage& message) { return BusStatus(message); }
    static StatusMessage fromBus(const BusType& bus);
};
StatusSupport type_support_of(std::type_identity<StatusMessage>);

struct RowsSupport
{
    using BusType = com_tallowcrest_durability__ChannelRows;

    static const dds_topic_descriptor_t& descriptor() { return com_tallowcrest_durability__ChannelRows_desc; }
    static BusRows toBus(const RowsMessage& message) { return BusRows(message); }
    static RowsMessage fromBus(const BusType& bus);
};
RowsSupport type_support_of(std::type_identity<RowsMessage>);

} // namespace com::tallowcrest::durability
