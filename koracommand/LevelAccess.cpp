#include "koracommand/LevelAccess.h"

#include "koracommand/ResultCode.h"
#include "runtime/misc/Console.h"
#include "runtime/util/Slot.h"

#include <utility>

using com::tallowcrest::util::processSlot;

bool LevelInvalid::isSame(const ILevel& other) const
{
    return dynamic_cast<const LevelInvalid*>(&other) != nullptr;
}

std::uint32_t LevelInvalid::take(std::uint32_t /*lprId*/, std::uint32_t /*controllerInput*/,
                                 std::uint32_t /*controllerOutput*/, std::uint32_t /*when*/)
{
    return resultCode::noSuchLevel;
}

std::uint32_t LevelInvalid::setOutputLPR(std::uint32_t /*controllerOutput*/, std::uint32_t /*lprCommand*/,
                                         std::uint32_t /*lprId*/, std::uint32_t /*when*/)
{
    return resultCode::noSuchLevel;
}

std::uint32_t LevelInvalid::getOutputStatus(std::uint32_t /*controllerOutput*/, std::uint32_t& /*controllerInput*/,
                                            std::uint32_t& /*lprState*/, std::uint32_t& /*lprId*/)
{
    return resultCode::noSuchLevel;
}

void LevelInvalid::beginOutputChanges(std::uint32_t /*connectionIndex*/) {}

bool LevelInvalid::getNextOutputChange(std::uint32_t& /*statusResult*/, std::uint32_t& /*controllerOutput*/,
                                       std::uint32_t& /*controllerInput*/, std::uint32_t& /*lprState*/,
                                       std::uint32_t& /*lprId*/)
{
    return false;
}

void LevelInvalid::noteSourceChange(std::uint32_t /*xptOutput*/) {}

void LevelInvalid::noteLprChange(std::uint32_t /*xptOutput*/) {}

void LevelInvalid::notifyNewConnection(std::uint32_t /*connectionIndex*/) {}

void LevelInvalid::show() const
{
    com::tallowcrest::misc::print("Invalid Level\n");
}

namespace
{

/// The level that answers while the slot is empty; made on first use, so that no order of static initialisation
/// matters.
const std::shared_ptr<ILevel>& invalidLevel()
{
    static const std::shared_ptr<ILevel> level = std::make_shared<LevelInvalid>();
    return level;
}

} // namespace

void setLevelAccess(std::shared_ptr<ILevelAccess> access)
{
    processSlot<ILevelAccess>().set(std::move(access));
}

void resetLevelAccess()
{
    processSlot<ILevelAccess>().reset();
}

std::shared_ptr<ILevel> getLevelInstance(std::uint32_t levelNumber)
{
    const auto access = processSlot<ILevelAccess>().get();
    if (access == nullptr)
    {
        return invalidLevel();
    }
    auto level = access->getLevelInstance(levelNumber);
    return level != nullptr ? level : invalidLevel();
}
