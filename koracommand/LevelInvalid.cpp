#include "koracommand/LevelInvalid.h"

#include "koracommand/ResultCode.h"
#include "runtime/misc/Console.h"

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
