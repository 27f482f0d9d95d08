#include "ddskorabridge/MacroXptMgrTarget.h"

#include "buswrappers/BusQos.h"
#include "buswrappers/Participant.h"
#include "dds/core/Exception.hpp"
#include "dds/sub/DataReader.hpp"
#include "dds/sub/Subscriber.hpp"
#include "dds/topic/Topic.hpp"
#include "koracommand/ResultCode.h"
#include "runtime/hwobjs/CurrentTimecodeReader.h"
#include "runtime/misc/Console.h"
#include "runtime/util/Log.h"

#include <chrono>
#include <utility>

using namespace com::tallowcrest::dds_::routing;
using com::tallowcrest::apartment::SendDoItEvent;
using com::tallowcrest::hwobjs::currentTimecode;
using com::tallowcrest::routing::busSubscriberQos;
using com::tallowcrest::routing::busTopicQos;
using com::tallowcrest::routing::durabilityKind;
using com::tallowcrest::routing::sharedParticipant;

namespace
{

/// A router that works answers within milliseconds; one that hangs must not hold up the others for long.
constexpr std::chrono::milliseconds readersTimeout{150};

/// Names an instance that no router has: outputs are numbered from 1.
MacroXptOutput noOutput()
{
    return {.macroXptOutput = 0};
}

} // namespace

MacroXptMgrTarget::MacroXptMgrTarget(std::shared_ptr<SendDoItEvent> apartment, const std::string& memberTopic,
                                     std::uint32_t maxInput, std::uint32_t maxOutput, const std::string& targetTopic,
                                     dds::core::Duration historyTimeout)
    : RouterMemberXptsSub(std::move(apartment), memberTopic), m_maxInput(maxInput), m_targets(maxOutput),
      m_targetTopic(targetTopic), m_historyTimeout(historyTimeout), m_publisher(targetTopic, true),
      m_logger(com::tallowcrest::util::bridgeLogger())
{}

void MacroXptMgrTarget::joinRouterPartition(const std::string& routerPartition)
{
    m_routerPartition = routerPartition;
    LOG_INFO_F(m_logger, "%s joinRouterPartition(routerPartition '%s')", m_targetTopic.c_str(),
               m_routerPartition.c_str());
    RouterMemberXptsSub::joinRouterPartition(m_routerPartition);
    m_publisher.joinRouterPartition(m_routerPartition);
    if (!m_publisher.waitForReaders(noOutput(), readersTimeout))
    {
        LOG_WARN_F(m_logger, "%s a reader has not answered the new writer within %d ms", m_targetTopic.c_str(),
                   static_cast<int>(readersTimeout.count()));
    }
    getDurableData();
}

void MacroXptMgrTarget::leaveRouterPartition()
{
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
    m_publisher.write(target); // first, so that a failure leaves the table as it was
    m_targets.store(target);
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
        m_publisher.write(target); // first, so that a failure leaves the table as it was
    }
    m_targets.store(target);
}

void MacroXptMgrTarget::onLocalTarget(const Sample& sample)
{
    if (!m_targets.contains(sample.macroXptOutput))
    {
        return;
    }
    if (m_targets.record(sample.macroXptOutput).macroXptInput > m_maxInput)
    {
        m_targets.store(sample);
    }
    m_publisher.write(m_targets.record(sample.macroXptOutput));
}

void MacroXptMgrTarget::onDurableTarget(const Sample& sample)
{
    if (!m_targets.contains(sample.macroXptOutput))
    {
        return;
    }
    m_targets.store(sample);
    m_publisher.write(sample);
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
    const dds::domain::DomainParticipant participant = sharedParticipant();
    const dds::topic::Topic<Sample> topic(participant, m_targetTopic, busTopicQos(participant, durabilityKind(true)));
    const dds::sub::Subscriber subscriber(participant, busSubscriberQos(participant, m_routerPartition));
    dds::sub::DataReader<Sample> reader(subscriber, topic, dds::sub::qos::DataReaderQos(topic.qos()));

    LOG_INFO_F(m_logger, "Before waiting for historical data)");
    try
    {
        reader.wait_for_historical_data(m_historyTimeout);
    }
    catch (const dds::core::TimeoutError&)
    {
        // What has arrived in time is used; the rest of the table keeps its contents.
    }
    LOG_INFO_F(m_logger, "Back  waiting for historical data)");

    const std::uint32_t now = currentTimecode().word();
    for (const auto& sample : reader.take())
    {
        if (sample.info().valid())
        {
            Sample target = sample.data();
            target.when = now;
            onDurableTarget(target);
        }
    }
}

void MacroXptMgrTarget::onDataAvailable()
{
    for (const auto& sample : takeAll())
    {
        if (sample.info().valid())
        {
            m_available.add(sample.data());
            logMember("add", sample.data());
        }
        else
        {
            m_available.remove(sample.data());
            logMember("remove", sample.data());
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
