#pragma once

#include "ddskorabridge/LevelContainer.h"
#include "ddskorabridge/MacroXptTable.h"
#include "runtime/apartment/DoItEvent.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

/// What the operator's menu prints of the apartment's state. The text is made on the apartment and printed on the
/// calling thread, so that a console that does not take it holds up nobody else. Never called on the apartment itself.
namespace operatorShow
{

/// How long the operator waits for the apartment. Longer than any event but a join, which may wait for stored targets.
inline constexpr std::chrono::milliseconds waitTimeout{3000};

/// Prints rows of a target or status table. False, and nothing printed, when the apartment does not answer in time.
bool showXpts(com::tallowcrest::apartment::SendDoItEvent& apartment, const std::shared_ptr<const IXptTable>& table,
              std::uint32_t first, std::uint32_t last, std::chrono::milliseconds timeout = waitTimeout);

/// Prints the levels of a container. False, and nothing printed, when the apartment does not answer in time.
bool showLevels(com::tallowcrest::apartment::SendDoItEvent& apartment,
                const std::shared_ptr<const LevelContainer>& levels, const std::string& title,
                std::chrono::milliseconds timeout = waitTimeout);

} // namespace operatorShow
