#include "ddskorabridge/MacroXptMgrStatus.h"

#include "koracommand/ResultCode.h"
#include "runtime/misc/Console.h"
#include "runtime/util/Log.h"

#include <utility>

MacroXptMgrStatus::MacroXptMgrStatus(std::shared_ptr<com::tallowcrest::apartment::SendDoItEvent> apartment,
                                     std::uint32_t maxOutput, const std::string& statusTopic,
                                     std::shared_ptr<LevelContainer> levels)
    : MacroXptOutputSub(std::move(apartment), statusTopic, false, maxOutput), m_levels(std::move(levels)),
      m_status(maxOutput), m_logger(com::tallowcrest::util::bridgeLogger())
{}

void MacroXptMgrStatus::joinRouterPartition(const std::string& routerPartition)
{
    m_routerPartition = routerPartition;
    LOG_INFO_F(m_logger, "%s joinRouterPartition(routerPartition '%s')", topicName().c_str(),
               m_routerPartition.c_str());
    MacroXptOutputSub::joinRouterPartition(m_routerPartition);
}

void MacroXptMgrStatus::leaveRouterPartition()
{
    m_routerPartition.clear();
    LOG_INFO_F(m_logger, "%s leaveRouterPartition(routerPartition '%s')", topicName().c_str(),
               m_routerPartition.c_str());
    MacroXptOutputSub::joinRouterPartition(m_routerPartition);
}

std::uint32_t MacroXptMgrStatus::getStatus(std::uint32_t output, std::uint32_t& input, LPRState& lprState,
                                           std::uint32_t& lprId) const
{
    const auto found = records(output, 1);
    if (found.empty())
    {
        return resultCode::esfInvalidDst;
    }
    input = found.front().macroXptInput;
    lprState = found.front().lprState;
    lprId = found.front().lprId;
    return resultCode::done;
}

std::span<const MacroXptMgrStatus::Sample> MacroXptMgrStatus::records(std::uint32_t firstOutput,
                                                                      std::size_t count) const
{
    return m_status.records(firstOutput, count);
}

void MacroXptMgrStatus::onDataAvailable()
{
    for (const auto& sample : takeAll())
    {
        if (!m_status.contains(sample.data().macroXptOutput))
        {
            continue;
        }
        if (sample.info().valid())
        {
            onStatus(sample.data());
        }
        else
        {
            onStatusLost(sample.data());
        }
    }
}

void MacroXptMgrStatus::onStatus(const Sample& sample)
{
    const Sample& before = m_status.record(sample.macroXptOutput);
    if (sample.macroXptInput != before.macroXptInput)
    {
        m_levels->noteSourceChange(sample.macroXptOutput);
    }
    if (sample.lprId != before.lprId || sample.lprState != before.lprState)
    {
        m_levels->noteLprChange(sample.macroXptOutput);
    }
    m_status.store(sample);
}

void MacroXptMgrStatus::onStatusLost(const Sample& sample)
{
    m_levels->noteSourceChange(sample.macroXptOutput);
    m_levels->noteLprChange(sample.macroXptOutput);
    m_status.reset(sample.macroXptOutput);
    printInvalid(sample);
}

void MacroXptMgrStatus::printInvalid(const Sample& sample) const
{
    com::tallowcrest::misc::print("=== [MacroXptMgrStatus] invalid message received\n"
                                  "    routerPartition: %s\n"
                                  "    output:          %d\n"
                                  "    input:           %d\n"
                                  "    when:            %d\n"
                                  "    lprId:           %d\n"
                                  "    lprState:        %d\n",
                                  m_routerPartition.c_str(), static_cast<int>(sample.macroXptOutput),
                                  static_cast<int>(sample.macroXptInput), static_cast<int>(sample.when),
                                  static_cast<int>(sample.lprId), static_cast<int>(sample.lprState));
}

std::string MacroXptMgrStatus::table(std::uint32_t first, std::uint32_t last) const
{
    return m_status.text(m_routerPartition, first, last);
}

void MacroXptMgrStatus::show(std::uint32_t first, std::uint32_t last) const
{
    com::tallowcrest::misc::printLines(table(first, last));
}
