#include "durability/Exchange.h"

namespace com::tallowcrest::durability
{

namespace
{

/// A sequence that looks at somebody else's vector.
template <typename Sequence, typename Element>
void look(Sequence& sequence, std::vector<Element>& elements)
{
    sequence._maximum = static_cast<std::uint32_t>(elements.size());
    sequence._length = sequence._maximum;
    sequence._buffer = elements.data();
}

} // namespace

BusStatus::BusStatus(const StatusMessage& message)
    : com_tallowcrest_durability__ChannelStatus{}, m_digests(message.status.digests), m_met(message.status.met)
{
    for (const Status::Want& want : message.status.wants)
    {
        m_wants.push_back({want.of, want.bucket});
    }
    bridge = message.bridge;
    look(digests, m_digests);
    look(met, m_met);
    look(wants, m_wants);
}

BusRows::BusRows(const RowsMessage& message)
    : com_tallowcrest_durability__ChannelRows{}, m_rows(message.rows.rows.size())
{
    for (std::size_t i = 0; i < m_rows.size(); ++i)
    {
        const BucketRows::Row& row = message.rows.rows[i];
        m_rows[i].instance = row.instance;
        m_rows[i].written = row.decision.written;
        static_cast<void>(row.decision.content.copy(m_rows[i].content, sizeof(m_rows[i].content) - 1));
    }
    bridge = message.bridge;
    bucket = message.rows.bucket;
    digest = message.rows.digest;
    look(rows, m_rows);
}

StatusMessage StatusSupport::fromBus(const BusType& bus)
{
    StatusMessage message{.bridge = bus.bridge, .status = {}};
    Status& status = message.status;
    status.digests.assign(bus.digests._buffer, bus.digests._buffer + bus.digests._length);
    status.met.assign(bus.met._buffer, bus.met._buffer + bus.met._length);
    for (std::uint32_t i = 0; i < bus.wants._length; ++i)
    {
        status.wants.push_back({bus.wants._buffer[i].bridge, bus.wants._buffer[i].bucket});
    }
    return message;
}

RowsMessage RowsSupport::fromBus(const BusType& bus)
{
    RowsMessage message{.bridge = bus.bridge, .rows = {.bucket = bus.bucket, .digest = bus.digest, .rows = {}}};
    for (std::uint32_t i = 0; i < bus.rows._length; ++i)
    {
        const auto& row = bus.rows._buffer[i];
        message.rows.rows.push_back({row.instance, {.written = row.written, .content = row.content}});
    }
    return message;
}

} // namespace com::tallowcrest::durability
