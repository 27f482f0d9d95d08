#include "tests/interop/FastRouter.h"

#include "tests/interop/FastLibrary.h"

#include <stdexcept>

using namespace com::tallowcrest::dds_::routing;
using eprosima::fastdds::dds::DataWriter;
using eprosima::fastdds::dds::InstanceHandle_t;
using eprosima::fastdds::dds::TypeSupport;

namespace
{

const std::string barePartition = "com:tallowcrest:routing:";

template <typename PubSubType>
TypeSupport typeSupport()
{
    return TypeSupport(new PubSubType());
}

template <typename T>
void apply(DataWriter& writer, Operation operation, T& sample)
{
    fastlib::ReturnCode_t result = fastlib::ok;
    switch (operation)
    {
    case Operation::Write:
        result = fastlib::codeOf(writer.write(&sample));
        break;
    case Operation::Dispose:
        result = writer.dispose(&sample, InstanceHandle_t());
        break;
    case Operation::Unregister:
        result = writer.unregister_instance(&sample, InstanceHandle_t());
        break;
    }
    if (result != fastlib::ok)
    {
        throw std::runtime_error("the writer refused the operation, code " + std::to_string(fastlib::numberOf(result)));
    }
}

SampleText describeOutput(const MacroXptOutput& sample)
{
    return {"output=" + std::to_string(sample.macroXptOutput()),
            {sample.macroXptOutput()},
            "input=" + std::to_string(sample.macroXptInput()) + " when=" + std::to_string(sample.when()) + " lprId=" +
                std::to_string(sample.lprId()) + " lprState=" + std::to_string(static_cast<int>(sample.lprState()))};
}

SampleText describeComponent(const ComponentInfo& sample)
{
    return {"frameId=" + std::to_string(sample.frameId()) + " componentId=" + std::to_string(sample.componentId()),
            {sample.frameId(), sample.componentId()},
            "name='" + sample.name().to_string() + "' description='" + sample.description().to_string() + "'"};
}

} // namespace

FastRouter::FastRouter(int domainId, const std::string& routerPartition)
    : m_videoTargets("video-target", describeOutput), m_audioTargets("audio-target", describeOutput),
      m_components("component", describeComponent), m_participant(domainId),
      m_member(m_participant.createWriter("TopicRouterMember", typeSupport<RouterMemberPubSubType>(), barePartition)),
      m_videoRanges(m_participant.createWriter("TopicRouterMemberMacroXptsDxVideo",
                                               typeSupport<RouterMemberMacroXptsPubSubType>(),
                                               barePartition + routerPartition)),
      m_audioRanges(m_participant.createWriter("TopicRouterMemberMacroXptsDxAudio",
                                               typeSupport<RouterMemberMacroXptsPubSubType>(),
                                               barePartition + routerPartition)),
      m_level(m_participant.createWriter("TopicMacroLevel", typeSupport<MacroLevelPubSubType>(),
                                         barePartition + routerPartition)),
      m_videoStatus(m_participant.createWriter(
          "TopicMacroXptOutputVideoStatus", typeSupport<MacroXptOutputPubSubType>(), barePartition + routerPartition)),
      m_audioStatus(m_participant.createWriter(
          "TopicMacroXptOutputAudioStatus", typeSupport<MacroXptOutputPubSubType>(), barePartition + routerPartition)),
      m_videoLocalTarget(m_participant.createWriter("TopicMacroXptOutputVideoLocalTarget",
                                                    typeSupport<MacroXptOutputPubSubType>(),
                                                    barePartition + routerPartition)),
      m_audioLocalTarget(m_participant.createWriter("TopicMacroXptOutputAudioLocalTarget",
                                                    typeSupport<MacroXptOutputPubSubType>(),
                                                    barePartition + routerPartition))
{
    m_participant.createReader("TopicMacroXptOutputVideoTarget", typeSupport<MacroXptOutputPubSubType>(),
                               barePartition + routerPartition, m_videoTargets);
    m_participant.createReader("TopicMacroXptOutputAudioTarget", typeSupport<MacroXptOutputPubSubType>(),
                               barePartition + routerPartition, m_audioTargets);
    m_participant.createReader("TopicComponentInfoKoraBridge", typeSupport<ComponentInfoPubSubType>(), barePartition,
                               m_components);
}

void FastRouter::member(Operation operation, RouterMember sample)
{
    apply(m_member, operation, sample);
}

void FastRouter::ranges(Operation operation, Signal signal, RouterMemberMacroXpts sample)
{
    apply(signal == Signal::Video ? m_videoRanges : m_audioRanges, operation, sample);
}

void FastRouter::level(Operation operation, MacroLevel sample)
{
    apply(m_level, operation, sample);
}

void FastRouter::status(Operation operation, Signal signal, MacroXptOutput sample)
{
    apply(signal == Signal::Video ? m_videoStatus : m_audioStatus, operation, sample);
}

void FastRouter::localTarget(Operation operation, Signal signal, MacroXptOutput sample)
{
    apply(signal == Signal::Video ? m_videoLocalTarget : m_audioLocalTarget, operation, sample);
}
