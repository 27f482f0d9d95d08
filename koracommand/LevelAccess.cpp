#include "koracommand/LevelAccess.h"

#include "koracommand/LevelInvalid.h"
#include "runtime/util/Slot.h"

#include <utility>

using com::tallowcrest::util::processSlot;

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
