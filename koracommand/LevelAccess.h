#pragma once

#include "koracommand/ILevel.h"

#include <cstdint>
#include <memory>

/// Finds levels by number. Apartment-bound.
class ILevelAccess
{
public:
    ILevelAccess() = default;
    virtual ~ILevelAccess() = default;
    ILevelAccess(const ILevelAccess&) = delete;
    ILevelAccess& operator=(const ILevelAccess&) = delete;

    /// The level with that number, or the invalid level; never an empty pointer.
    virtual std::shared_ptr<ILevel> getLevelInstance(std::uint32_t levelNumber) = 0;
};

/// The process-wide slot through which commands reach the levels. Thread-safe.
void setLevelAccess(std::shared_ptr<ILevelAccess> access);
void resetLevelAccess();

/// The level with that number through the slot; the invalid level while the slot is empty. Apartment-bound.
std::shared_ptr<ILevel> getLevelInstance(std::uint32_t levelNumber);
