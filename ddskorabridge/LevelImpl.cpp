#include "ddskorabridge/LevelImpl.h"

#include "koracommand/ResultCode.h"
#include "runtime/misc/Console.h"
#include "runtime/util/Log.h"

#include <algorithm>
#include <utility>

using namespace com::tallowcrest::dds_::routing;

namespace
{

// Lock, protect and release as controllers number them; the bus numbers lock and protect the other way round.
constexpr std::uint32_t controllerReleased = 0;
constexpr std::uint32_t controllerLock = 1;
constexpr std::uint32_t controllerProtect = 2;
constexpr std::uint32_t controllerForcedRelease = 16;

LPRState busState(std::uint32_t lprCommand)
{
    switch (lprCommand)
    {
    case controllerLock:
        return LPR_LOCKED;
    case controllerProtect:
        return LPR_PROTECTED;
    default:
        return LPR_RELEASED;
    }
}

std::uint32_t controllerState(LPRState lprState)
{
    switch (lprState)
    {
    case LPR_LOCKED:
        return controllerLock;
    case LPR_PROTECTED:
        return controllerProtect;
    default:
        return controllerReleased;
    }
}

/// What a crosspoint's source means for the controller; the one rule of every query. Member by member into its place: a
/// whole value that is returned and copied costs as much as all the rest.
template <typename Entry>
void setSource(Entry& entry, bool isInputOfLevel, std::uint32_t controllerInput)
{
    entry.result = isInputOfLevel ? resultCode::done : resultCode::esfInvalidSrc;
    entry.controllerInput = isInputOfLevel ? controllerInput : 0;
}

/// The same for its lock, as far as the entry carries it.
void setLock(OutputStatus& status, LPRState lprState, std::uint32_t lprId)
{
    status.lprState = controllerState(lprState);
    status.lprId = lprId;
}
void setLock(OutputSource& /*source*/, LPRState /*lprState*/, std::uint32_t /*lprId*/) {}

} // namespace

LevelImpl::LevelImpl(std::shared_ptr<IXptTarget> target, std::shared_ptr<IXptStatus> status,
                     const MappingNumbers& numbers)
    : m_target(std::move(target)), m_status(std::move(status)), m_mapping(numbers),
      m_changes(numbers.controllerOutputStart, numbers.numXptOutputs), m_logger(com::tallowcrest::util::bridgeLogger())
{}

bool LevelImpl::isSame(const ILevel& other) const
{
    const auto* level = dynamic_cast<const LevelImpl*>(&other);
    return level != nullptr && level->m_target == m_target && level->m_status == m_status &&
           level->m_mapping.numbers() == m_mapping.numbers();
}

std::uint32_t LevelImpl::take(std::uint32_t lprId, std::uint32_t controllerInput, std::uint32_t controllerOutput,
                              std::uint32_t when)
{
    const auto xptInput = m_mapping.controllerInputToXpt(controllerInput);
    if (!xptInput)
    {
        LOG_INFO_F(m_logger, "take(controllerInput %d, controllerOutput %d lprid %d) esfInvalidSrc",
                   static_cast<int>(controllerInput), static_cast<int>(controllerOutput), static_cast<int>(lprId));
        return resultCode::esfInvalidSrc;
    }
    const auto xptOutput = m_mapping.controllerOutputToXpt(controllerOutput);
    if (!xptOutput)
    {
        LOG_INFO_F(m_logger, "take(controllerInput %d, controllerOutput %d lprid %d) esfInvalidDst",
                   static_cast<int>(controllerInput), static_cast<int>(controllerOutput), static_cast<int>(lprId));
        return resultCode::esfInvalidDst;
    }
    const std::uint32_t numXpts = m_mapping.numXptsPer();
    std::uint32_t result = resultCode::done;
    for (std::uint32_t i = 0; i < numXpts && result == resultCode::done; ++i)
    {
        result = m_target->checkTake(*xptOutput + i, *xptInput + i, lprId);
    }
    if (result != resultCode::done)
    {
        LOG_INFO_F(m_logger, "take(controllerInput %d, controllerOutput %d lprid %d, result %d) not permitted",
                   static_cast<int>(controllerInput), static_cast<int>(controllerOutput), static_cast<int>(lprId),
                   static_cast<int>(result));
        return result;
    }
    for (std::uint32_t i = 0; i < numXpts; ++i)
    {
        m_target->take(*xptOutput + i, *xptInput + i, lprId, when);
    }
    return resultCode::done;
}

std::uint32_t LevelImpl::setOutputLPR(std::uint32_t controllerOutput, std::uint32_t lprCommand, std::uint32_t lprId,
                                      std::uint32_t when)
{
    const auto xptOutput = m_mapping.controllerOutputToXpt(controllerOutput);
    if (!xptOutput)
    {
        return resultCode::esfInvalidDst;
    }
    const LPRState state = busState(lprCommand);
    const bool force = lprCommand == controllerForcedRelease;
    const std::uint32_t numXpts = m_mapping.numXptsPer();
    std::uint32_t result = resultCode::done;
    for (std::uint32_t i = 0; i < numXpts && result == resultCode::done; ++i)
    {
        result = m_target->checkLpr(*xptOutput + i, force, lprId);
    }
    if (result != resultCode::done)
    {
        LOG_INFO_F(m_logger, "setLPR(controllerOutput %d lprid %d) not permitted", static_cast<int>(controllerOutput),
                   static_cast<int>(lprId));
        return result;
    }
    for (std::uint32_t i = 0; i < numXpts; ++i)
    {
        m_target->setLpr(*xptOutput + i, lprId, state, when);
    }
    return resultCode::done;
}

std::uint32_t LevelImpl::getOutputStatus(std::uint32_t controllerOutput, std::uint32_t& controllerInput,
                                         std::uint32_t& lprState, std::uint32_t& lprId)
{
    OutputStatus status{.result = resultCode::esfInvalidDst};
    if (const auto xptOutput = m_mapping.controllerOutputToXpt(controllerOutput))
    {
        std::uint32_t xptInput = 0;
        LPRState xptState = LPR_RELEASED;
        status.result = m_status->getStatus(*xptOutput, xptInput, xptState, status.lprId);
        if (status.result == resultCode::done)
        {
            const auto input = m_mapping.xptInputToController(xptInput);
            setSource(status, input.has_value(), input.value_or(0));
            setLock(status, xptState, status.lprId);
        }
        if (status.result == resultCode::done)
        {
            status.result = checkGroup(*xptOutput, xptInput);
        }
    }
    controllerInput = status.controllerInput;
    lprState = status.lprState;
    lprId = status.lprId;
    return status.result;
}

std::uint32_t LevelImpl::checkGroup(std::uint32_t xptOutput, std::uint32_t xptInput) const
{
    for (std::uint32_t i = 1; i < m_mapping.numXptsPer(); ++i)
    {
        std::uint32_t input = 0;
        LPRState state = LPR_RELEASED;
        std::uint32_t holder = 0;
        const std::uint32_t result = m_status->getStatus(xptOutput + i, input, state, holder);
        if (result != resultCode::done)
        {
            return result;
        }
        if (input != xptInput + i)
        {
            return resultCode::groupDisagrees;
        }
    }
    return resultCode::done;
}

void LevelImpl::getOutputStatuses(std::uint32_t firstOutput, std::span<OutputStatus> statuses)
{
    readOutputs(firstOutput, statuses);
}

void LevelImpl::getOutputStatuses(std::uint32_t firstOutput, std::span<OutputSource> sources)
{
    readOutputs(firstOutput, sources);
}

template <typename Entry>
void LevelImpl::readOutputs(std::uint32_t firstOutput, std::span<Entry> entries)
{
    if (m_mapping.numXptsPer() != 1)
    {
        ILevel::getOutputStatuses(firstOutput, entries);
        return;
    }
    while (!entries.empty())
    {
        const auto xptOutput = m_mapping.controllerOutputToXpt(firstOutput);
        std::size_t count = 1;
        if (xptOutput)
        {
            count = std::min<std::size_t>(entries.size(), m_mapping.outputs().controllersFrom(firstOutput));
            readCrosspoints(*xptOutput, entries.first(count));
        }
        else
        {
            entries.front() = {.result = resultCode::esfInvalidDst};
        }
        firstOutput += static_cast<std::uint32_t>(count);
        entries = entries.subspan(count);
    }
}

template <typename Entry>
void LevelImpl::readCrosspoints(std::uint32_t xptOutput, std::span<Entry> entries) const
{
    const NumberBlock inputs = m_mapping.inputs(); // as a member it would be read again after each word that is written
    while (!entries.empty())
    {
        const auto records = m_status->records(xptOutput, entries.size());
        for (std::size_t i = 0; i < records.size(); ++i)
        {
            const auto& record = records[i];
            setSource(entries[i], inputs.hasController(record.macroXptInput),
                      record.macroXptInput + inputs.shiftToController());
            setLock(entries[i], record.lprState, record.lprId);
        }
        std::size_t count = records.size();
        if (records.empty())
        {
            entries.front() = {.result = resultCode::esfInvalidDst};
            count = 1;
        }
        xptOutput += static_cast<std::uint32_t>(count);
        entries = entries.subspan(count);
    }
}

void LevelImpl::beginOutputChanges(std::uint32_t connectionIndex)
{
    m_changes.beginOutputChanges(connectionIndex);
}

bool LevelImpl::getNextOutputChange(std::uint32_t& statusResult, std::uint32_t& controllerOutput,
                                    std::uint32_t& controllerInput, std::uint32_t& lprState, std::uint32_t& lprId)
{
    if (!m_changes.next(controllerOutput))
    {
        return false;
    }
    statusResult = getOutputStatus(controllerOutput, controllerInput, lprState, lprId);
    return true;
}

void LevelImpl::noteSourceChange(std::uint32_t xptOutput)
{
    if (const auto controllerOutput = m_mapping.xptOutputToController(xptOutput))
    {
        m_changes.noteSourceChange(*controllerOutput);
    }
}

void LevelImpl::noteLprChange(std::uint32_t xptOutput)
{
    if (const auto controllerOutput = m_mapping.xptOutputToController(xptOutput))
    {
        m_changes.noteLprChange(*controllerOutput);
    }
}

void LevelImpl::notifyNewConnection(std::uint32_t connectionIndex)
{
    m_changes.markAllForConnection(connectionIndex);
}

void LevelImpl::show() const
{
    const MappingNumbers& numbers = m_mapping.numbers();
    com::tallowcrest::misc::print("numXptsPer %1d, IN (xpt %5d, num %5d, ctl %5d)   OUT (xpt %5d num %5d ctl %5d)\n",
                                  static_cast<int>(numbers.numXptsPer), static_cast<int>(numbers.xptInputStart),
                                  static_cast<int>(numbers.numXptInputs),
                                  static_cast<int>(numbers.controllerInputStart),
                                  static_cast<int>(numbers.xptOutputStart), static_cast<int>(numbers.numXptOutputs),
                                  static_cast<int>(numbers.controllerOutputStart));
}
