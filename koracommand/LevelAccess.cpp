#include "koracommand/LevelAccess.h"

#include "koracommand/LevelInvalid.h"

#include <mutex>
#include <utility>

namespace
{

/// The slot and the level that answers while it is empty; created on first use, so that no order of static
/// initialisation matters.
struct Slot
{
    std::mutex mutex;
    std::shared_ptr<ILevelAccess> access;
    const std::shared_ptr<ILevel> invalidLevel = std::make_shared<LevelInvalid>();
};

Slot& slot()
{
    static Slot theSlot;
    return theSlot;
}

std::shared_ptr<ILevelAccess> currentAccess()
{
    const std::lock_guard lock(slot().mutex);
    return slot().access;
}

} // namespace

void setLevelAccess(std::shared_ptr<ILevelAccess> access)
{
    {
        const std::lock_guard lock(slot().mutex);
        slot().access.swap(access);
    }
    // The former access goes out of scope here, unlocked: its destructor may do anything.
}

void resetLevelAccess()
{
    setLevelAccess({});
}

std::shared_ptr<ILevel> getLevelInstance(std::uint32_t levelNumber)
{
    const auto access = currentAccess();
    if (access == nullptr)
    {
        return slot().invalidLevel;
    }
    auto level = access->getLevelInstance(levelNumber);
    return level != nullptr ? level : slot().invalidLevel;
}
