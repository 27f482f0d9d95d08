#pragma once

#include "koracommand/ILevel.h"

#include <cstdint>
#include <memory>

/// Stands for every unknown level number, so that callers never test for an absent level. Has no state; every operation
/// refuses with "no such level" or does nothing, and leaves out values untouched. Thread-safe.
class LevelInvalid final : public ILevel
{
public:
    /// True exactly when the other one is invalid as well.
    bool isSame(const ILevel& other) const override;
    std::uint32_t take(std::uint32_t lprId, std::uint32_t controllerInput, std::uint32_t controllerOutput,
                       std::uint32_t when) override;
    std::uint32_t setOutputLPR(std::uint32_t controllerOutput, std::uint32_t lprCommand, std::uint32_t lprId,
                               std::uint32_t when) override;
    std::uint32_t getOutputStatus(std::uint32_t controllerOutput, std::uint32_t& controllerInput,
                                  std::uint32_t& lprState, std::uint32_t& lprId) override;
    void beginOutputChanges(std::uint32_t connectionIndex) override;
    bool getNextOutputChange(std::uint32_t& statusResult, std::uint32_t& controllerOutput,
                             std::uint32_t& controllerInput, std::uint32_t& lprState, std::uint32_t& lprId) override;
    void noteSourceChange(std::uint32_t xptOutput) override;
    void noteLprChange(std::uint32_t xptOutput) override;
    void notifyNewConnection(std::uint32_t connectionIndex) override;
    void show() const override;
};

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
