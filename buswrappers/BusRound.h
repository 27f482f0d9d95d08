#pragma once

#include "dds/pub/WriteBatch.hpp"
#include "runtime/apartment/Round.h"

#include <optional>

namespace com::tallowcrest::routing
{

/// Gathers what the events of a round write on the bus and sends it when the round ends. Owned by the apartment, bound
/// to its thread.
class BusRound final : public apartment::RoundBracket
{
public:
    void begin() noexcept override { m_batch.emplace(); }
    void end() noexcept override { m_batch.reset(); }

private:
    std::optional<dds::pub::WriteBatch> m_batch;
};

} // namespace com::tallowcrest::routing
