#include "ddskorabridge/MacroXptMgrTarget.h"

#include "koracommand/ResultCode.h"
#include "runtime/hwobjs/CurrentTimecodeReader.h"
#include "runtime/misc/Console.h"
#include "runtime/util/Log.h"

#include <algorithm>
#include <utility>

using namespace com::tallowcrest::dds_::routing;
using com::tallowcrest::apartment::SendDoItEvent;
using com::tallowcrest::hwobjs::currentTimecode;
using com::tallowcrest::routing::KeptXptOutput;
using com::tallowcrest::routing::KeptXptOutputs;
using com::tallowcrest::routing::SourceTime;
using com::tallowcrest::util::formatText;

MacroXptMgrTarget::MacroXptMgrTarget(std::shared_ptr<SendDoItEvent> apartment, const std::string& memberTopic,
                                     std::uint32_t maxInput, std::uint32_t maxOutput, const std::string& targetTopic)
    : RouterMemberXptsSub(apartment, memberTopic), m_maxInput(maxInput), m_targets(maxOutput),
      m_written(maxOutput + std::size_t{1}), m_targetTopic(targetTopic),
      m_publisher(std::move(apartment), targetTopic, maxOutput, *this), m_logger(com::tallowcrest::util::bridgeLogger())
{}

void MacroXptMgrTarget::joinRouterPartition(const std::string& routerPartition)
{
    m_joined = nullptr;
    m_routerPartition = routerPartition;
    if (m_routerPartition != m_lastPartition)
    {
        std::fill(m_written.begin(), m_written.end(), 0);
        m_lastPartition = m_routerPartition;
    }
    LOG_INFO_F(m_logger, "%s joinRouterPartition(routerPartition '%s')", m_targetTopic.c_str(),
               m_routerPartition.c_str());
    RouterMemberXptsSub::joinRouterPartition(m_routerPartition);
    m_publisher.joinRouterPartition(m_routerPartition);
    getDurableData();
}

void MacroXptMgrTarget::beginToJoin(const std::string& routerPartition, const std::function<void()>& joined)
{
    joinRouterPartition(routerPartition);
    m_joined = joined; // called by an event, so not before
}

void MacroXptMgrTarget::leaveRouterPartition()
{
    m_joined = nullptr;
    m_routerPartition.clear();
    LOG_INFO_F(m_logger, "%s leaveRouterPartition(routerPartition '%s')", m_targetTopic.c_str(),
               m_routerPartition.c_str());
    RouterMemberXptsSub::joinRouterPartition(m_routerPartition);
    m_publisher.joinRouterPartition(m_routerPartition);
}

bool MacroXptMgrTarget::isOutputOffered(std::uint32_t output) const
{
    return m_targets.contains(output) && m_available.isOutputAvailable(output);
}

std::uint32_t MacroXptMgrTarget::checkTake(std::uint32_t output, std::uint32_t input, std::uint32_t lprId) const
{
    if (input > m_maxInput || !m_available.isInputAvailable(input))
    {
        return resultCode::esfInvalidSrc;
    }
    if (!isOutputOffered(output))
    {
        return resultCode::esfInvalidDst;
    }
    const Sample& target = m_targets.record(output);
    switch (target.lprState)
    {
    case LPR_LOCKED:
        return resultCode::outputLocked;
    case LPR_PROTECTED:
        return lprId == 0 || lprId == target.lprId ? resultCode::done : resultCode::outputProtected;
    default:
        return resultCode::done;
    }
}

void MacroXptMgrTarget::take(std::uint32_t output, std::uint32_t input, std::uint32_t lprId, std::uint32_t when)
{
    if (!isJoined() || !m_targets.contains(output))
    {
        return;
    }
    Sample target = m_targets.record(output);
    target.macroXptInput = input;
    target.lprId = lprId;
    target.when = when;
    decide(target);
}

std::uint32_t MacroXptMgrTarget::checkLpr(std::uint32_t output, bool force, std::uint32_t lprId) const
{
    if (!isOutputOffered(output))
    {
        return resultCode::esfInvalidDst;
    }
    const Sample& target = m_targets.record(output);
    if (force || lprId == 0 || lprId == target.lprId)
    {
        return resultCode::done;
    }
    switch (target.lprState)
    {
    case LPR_LOCKED:
        return resultCode::outputLocked;
    case LPR_PROTECTED:
        return resultCode::outputProtected;
    default:
        return resultCode::done;
    }
}

void MacroXptMgrTarget::setLpr(std::uint32_t output, std::uint32_t lprId, LPRState lprState, std::uint32_t when)
{
    if (!m_targets.contains(output))
    {
        return;
    }
    Sample target = m_targets.record(output);
    target.lprId = lprId;
    target.lprState = lprState;
    target.when = when;
    if (isJoined())
    {
        decide(target);
    }
    else
    {
        m_targets.store(target);
    }
}

void MacroXptMgrTarget::decide(const Sample& target)
{
    const SourceTime written = m_publisher.decide(target); // first, so that a failure leaves the table as it was
    m_targets.store(target);
    m_written[target.macroXptOutput] = written;
}

/// False when the table knows of something later, or of no such output.
bool MacroXptMgrTarget::isNewest(const Sample& target, SourceTime written) const
{
    return m_targets.contains(target.macroXptOutput) && written >= m_written[target.macroXptOutput];
}

bool MacroXptMgrTarget::adopt(const Sample& target, SourceTime written)
{
    if (!isNewest(target, written))
    {
        return false;
    }
    m_targets.store(target);
    m_written[target.macroXptOutput] = written;
    return true;
}

void MacroXptMgrTarget::onLocalTarget(const Sample& sample)
{
    if (!m_targets.contains(sample.macroXptOutput))
    {
        return;
    }
    const bool isAdopted = m_targets.record(sample.macroXptOutput).macroXptInput > m_maxInput;
    const Sample target = isAdopted ? sample : m_targets.record(sample.macroXptOutput);
    const SourceTime written = m_written[sample.macroXptOutput];
    if (isAdopted || written == 0)
    {
        decide(target);
    }
    else
    {
        m_publisher.repeat(target, written);
    }
}

void MacroXptMgrTarget::onDurableTarget(const Sample& sample, SourceTime written)
{
    if (adopt(sample, written))
    {
        m_publisher.repeat(sample, written);
    }
}

std::uint32_t MacroXptMgrTarget::getTarget(std::uint32_t output, std::uint32_t& input, LPRState& lprState,
                                           std::uint32_t& lprId) const
{
    if (!m_targets.contains(output))
    {
        return resultCode::esfInvalidDst;
    }
    const Sample& target = m_targets.record(output);
    input = target.macroXptInput;
    lprState = target.lprState;
    lprId = target.lprId;
    return m_available.isInputAvailable(input) ? resultCode::done : resultCode::esfInvalidSrc;
}

void MacroXptMgrTarget::getDurableData()
{
    LOG_INFO_F(m_logger, "%s getDurableData for routerPartition '%s'", m_targetTopic.c_str(),
               m_routerPartition.c_str());
    LOG_INFO_F(m_logger, "Before waiting for historical data)");
}

void MacroXptMgrTarget::onKept(const KeptXptOutputs& kept)
{
    using Purpose = KeptXptOutputs::Purpose;
    if (kept.purpose == Purpose::History)
    {
        LOG_INFO_F(m_logger, "Back  waiting for historical data)");
        if (!kept.haveReadersAnswered)
        {
            LOG_WARN_F(m_logger, "%s a reader has not answered the new writer within %d ms", m_targetTopic.c_str(),
                       static_cast<int>(m_publisher.readersAnswer.count()));
        }
    }
    const std::uint32_t now = currentTimecode().word();
    for (const KeptXptOutput& output : kept.outputs)
    {
        Sample target = output.sample;
        target.when = now;
        switch (kept.purpose)
        {
        case Purpose::History:
            onDurableTarget(target, output.written);
            break;
        case Purpose::Adopt:
            adopt(target, output.written);
            break;
        case Purpose::Repeat:
            if (isNewest(target, output.written))
            {
                m_publisher.repeat(target, output.written);
            }
            break;
        }
    }
    const std::function<void()> joined = kept.purpose == Purpose::History ? std::exchange(m_joined, nullptr) : nullptr;
    if (joined)
    {
        joined();
    }
}

void MacroXptMgrTarget::onDataAvailable()
{
    for (const auto& sample : takeAll())
    {
        if (!sample.info().valid())
        {
            m_available.remove(sample.data());
            logMember("remove", sample.data());
        }
        else if (m_available.add(sample.data()))
        {
            logMember("add", sample.data());
        }
        else
        {
            m_tooManyMembers.warn(
                {"members", formatText("%s router member %d ignored: there are %zu", m_targetTopic.c_str(),
                                       static_cast<int>(sample.data().memberIndex), MacroXptAvailable::mostMembers)});
        }
    }
}

void MacroXptMgrTarget::logMember(const char* operation, const MemberSample& sample) const
{
    LOG_INFO_F(m_logger,
               "%sRouterMemberMacroXpts  %s\n rtr         : %s\n member idx  : %d\n MacroInStrt : %d\n"
               " numInputs   : %d\n MacroOutStrt: %d\n numOutputs  : %d",
               operation, m_targetTopic.c_str(), m_routerPartition.c_str(), static_cast<int>(sample.memberIndex),
               static_cast<int>(sample.macroXptInputStart), static_cast<int>(sample.numMacroXptInputs),
               static_cast<int>(sample.macroXptOutputStart), static_cast<int>(sample.numMacroXptOutputs));
}

std::string MacroXptMgrTarget::table(std::uint32_t first, std::uint32_t last) const
{
    return m_targets.text(m_routerPartition, first, last);
}

void MacroXptMgrTarget::show(std::uint32_t first, std::uint32_t last) const
{
    com::tallowcrest::misc::printLines(table(first, last));
}
