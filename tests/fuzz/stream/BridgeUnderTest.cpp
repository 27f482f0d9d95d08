#include "tests/fuzz/stream/BridgeUnderTest.h"

#include "bustypes/TopicNames.h"
#include "koracommand/CmdHandlerImpl.h"
#include "koracommand/LevelAccess.h"
#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"
#include "runtime/apartment/Apartment.h"
#include "runtime/hwobjs/CurrentTimecodeReader.h"
#include "tests/fakes/FakeApartment.h"
#include "tests/fuzz/support/QuietLog.h"
#include "tests/fuzz/support/Require.h"

#include <chrono>
#include <utility>

namespace fuzz
{

namespace
{

using com::tallowcrest::dds_::routing::LPRState;
using com::tallowcrest::dds_::routing::LST_Audio;
using com::tallowcrest::dds_::routing::LST_Video;
using com::tallowcrest::dds_::routing::MacroLevelSignalType;
using com::tallowcrest::routing::partitionName;
using com::tallowcrest::routing::TopicName;
using com::tallowcrest::routing::topicName;

/// A timecode that stands still.
class FixedTimecode final : public com::tallowcrest::hwobjs::ITimecodeReader
{
public:
    com::tallowcrest::util::Timecode getTimecode() const override
    {
        return com::tallowcrest::util::Timecode(BridgeUnderTest::when);
    }
};

std::chrono::system_clock::time_point fixedClock()
{
    return std::chrono::system_clock::from_time_t(BridgeUnderTest::seconds);
}

/// What outlives an execution, and has no state of its own.
struct Process
{
    Process()
    {
        com::tallowcrest::apartment::setBridgeApartment(apartment);
        com::tallowcrest::hwobjs::setCurrentTimecodeReader(std::make_shared<FixedTimecode>());
    }

    QuietLog log;
    std::shared_ptr<FakeApartment> apartment = std::make_shared<FakeApartment>(FakeApartment::Sent::RunsAtOnce);
    CmdHandlerFactoryImpl handlerFactory{"KORABRIDGE", &fixedClock};
};

Process& process()
{
    static Process& theProcess = *new Process;
    return theProcess;
}

/// Fewer than a router has, for speed, and more than one answer about changes takes.
constexpr std::uint32_t audioOutputs = 720;

const RouterModel::Level videoLevel{.levelId = 1,
                                    .levelSignalType = LST_Video,
                                    .macroXptInputStart = 1,
                                    .numMacroXptInputs = 288,
                                    .controllerInputStart = 1,
                                    .macroXptOutputStart = 1,
                                    .numMacroXptOutputs = 288,
                                    .controllerOutputStart = 1};
const RouterModel::Level audioLevel{.levelId = 2,
                                    .levelSignalType = LST_Audio,
                                    .macroXptInputStart = 1,
                                    .numMacroXptInputs = audioOutputs,
                                    .controllerInputStart = 1,
                                    .macroXptOutputStart = 1,
                                    .numMacroXptOutputs = audioOutputs,
                                    .controllerOutputStart = 1};

bool isSame(const FuzzBus::Write& left, const FuzzBus::Write& right)
{
    return left.topic == right.topic && left.partition == right.partition &&
           left.sample.macroXptOutput == right.sample.macroXptOutput &&
           left.sample.macroXptInput == right.sample.macroXptInput && left.sample.when == right.sample.when &&
           left.sample.lprId == right.sample.lprId && left.sample.lprState == right.sample.lprState;
}

} // namespace

BridgeUnderTest::BridgeUnderTest() : m_unexpectedProtocols(log4cxx::Logger::getLogger("KORABRIDGE"))
{
    const auto& apartment = process().apartment;
    FuzzBus::instance().reset();
    m_audioTarget =
        std::make_shared<MacroXptMgrTarget>(apartment, topicName(TopicName::RouterMemberMacroXptsDxAudio), audioOutputs,
                                            audioOutputs, topicName(TopicName::MacroXptOutputAudioTarget));
    m_videoTarget = std::make_shared<MacroXptMgrTarget>(apartment, topicName(TopicName::RouterMemberMacroXptsDxVideo),
                                                        288, 288, topicName(TopicName::MacroXptOutputVideoTarget));
    m_audioStatus = std::make_shared<MacroXptMgrStatus>(apartment, audioOutputs,
                                                        topicName(TopicName::MacroXptOutputAudioStatus), m_audioLevels);
    m_videoStatus = std::make_shared<MacroXptMgrStatus>(apartment, 288, topicName(TopicName::MacroXptOutputVideoStatus),
                                                        m_videoLevels);
    m_videoLocalTarget = std::make_shared<MacroXptMgrLocalTarget>(
        apartment, topicName(TopicName::MacroXptOutputVideoLocalTarget), m_videoTarget);
    m_audioLocalTarget = std::make_shared<MacroXptMgrLocalTarget>(
        apartment, topicName(TopicName::MacroXptOutputAudioLocalTarget), m_audioTarget);
    m_levelMgr = std::make_shared<LevelMgr>(apartment, topicName(TopicName::MacroLevel), m_audioTarget, m_videoTarget,
                                            m_audioStatus, m_videoStatus, m_audioLevels, m_videoLevels);
    setLevelAccess(m_levelMgr);
    m_levelMgr->handleSample(videoLevel);
    m_levelMgr->handleSample(audioLevel);
    m_model.onLevel(videoLevel);
    m_model.onLevel(audioLevel);

    // A router whose members offer part of what it could have.
    join("A");
    publishMember(Signal::Video, {0, 0, 144, 0, 144}, true);
    publishMember(Signal::Video, {1, 200, 50, 200, 50}, true);
    publishMember(Signal::Audio, {0, 0, 600, 0, 600}, true);
    connect(0);
}

BridgeUnderTest::~BridgeUnderTest()
{
    resetLevelAccess();
    // A level holds its status manager, which holds the levels.
    m_audioLevels->clear();
    m_videoLevels->clear();
}

void BridgeUnderTest::join(const std::string& partition)
{
    m_partition = partition;
    m_model.join(partition);
    if (partition.empty())
    {
        m_levelMgr->leaveRouterPartition();
        m_audioTarget->leaveRouterPartition();
        m_videoTarget->leaveRouterPartition();
        m_audioStatus->leaveRouterPartition();
        m_videoStatus->leaveRouterPartition();
        m_audioLocalTarget->leaveRouterPartition();
        m_videoLocalTarget->leaveRouterPartition();
        return;
    }
    m_levelMgr->joinRouterPartition(partition);
    m_audioTarget->joinRouterPartition(partition);
    m_videoTarget->joinRouterPartition(partition);
    m_audioStatus->joinRouterPartition(partition);
    m_videoStatus->joinRouterPartition(partition);
    m_audioLocalTarget->joinRouterPartition(partition);
    m_videoLocalTarget->joinRouterPartition(partition);
    FuzzBus::instance().deliverHistory();
}

void BridgeUnderTest::publishLevel(const RouterModel::Level& level)
{
    m_model.onLevel(level);
    FuzzBus::instance().publish(topicName(TopicName::MacroLevel), partitionName(m_partition), level, true);
}

void BridgeUnderTest::publishMember(Signal signal, const RouterModel::Member& member, bool isValid)
{
    m_model.onMember(signal, member, isValid);
    const auto topic =
        signal == Signal::Video ? TopicName::RouterMemberMacroXptsDxVideo : TopicName::RouterMemberMacroXptsDxAudio;
    FuzzBus::instance().publish(topicName(topic), partitionName(m_partition), member, isValid);
}

void BridgeUnderTest::publishStatus(Signal signal, const RouterModel::Output& status, bool isValid)
{
    m_model.onStatus(signal, status, isValid);
    const auto topic =
        signal == Signal::Video ? TopicName::MacroXptOutputVideoStatus : TopicName::MacroXptOutputAudioStatus;
    FuzzBus::instance().publish(topicName(topic), partitionName(m_partition), status, isValid);
}

void BridgeUnderTest::publishLocalTarget(Signal signal, const RouterModel::Output& target)
{
    m_model.onLocalTarget(signal, target);
    const auto topic =
        signal == Signal::Video ? TopicName::MacroXptOutputVideoLocalTarget : TopicName::MacroXptOutputAudioLocalTarget;
    FuzzBus::instance().publish(topicName(topic), partitionName(m_partition), target, true);
}

void BridgeUnderTest::connect(std::uint32_t connection)
{
    m_connection = connection;
    m_responseSequence = 0;
    m_model.onConnection(connection);
    m_levelMgr->notifyNewConnection(connection);
    m_handlers.at(connection) = process().handlerFactory.createCmdHandler(connection);
}

bool BridgeUnderTest::obey(std::uint32_t protocolType, const RouterModel::Words& words)
{
    const auto word = [&words](std::size_t index) { return index + 4 < words.size() ? words[index + 4] : 0; };
    const Signal signal = (word(0) & 1U) == 0 ? Signal::Video : Signal::Audio;
    const bool isValid = (word(0) & 2U) == 0;
    const RouterModel::Output output{word(1), word(2), word(3), word(4), static_cast<LPRState>(word(5))};
    switch (protocolType)
    {
    case controlProtocol:
        connect(word(0) & 15U);
        return true;
    case controlProtocol + 1:
        publishStatus(signal, output, isValid);
        return true;
    case controlProtocol + 2:
        publishLocalTarget(signal, output);
        return true;
    case controlProtocol + 3:
        publishMember(signal, {static_cast<std::uint16_t>(word(1)), word(2), word(3), word(4), word(5)}, isValid);
        return true;
    case controlProtocol + 4:
        publishLevel({static_cast<std::uint16_t>(word(0)), static_cast<MacroLevelSignalType>(word(1)), word(2), word(3),
                      word(4), word(5), word(6), word(7)});
        return true;
    case controlProtocol + 5:
        join(std::array<const char*, 4>{"", "A", "B", "A"}.at(word(0) & 3U));
        return true;
    default:
        return false;
    }
}

void BridgeUnderTest::handleMessage(std::span<const std::uint8_t> message)
{
    const WireReader reader(message);
    RouterModel::Words words;
    for (std::size_t at = 0; at + wireLayout::wordBytes <= message.size(); at += wireLayout::wordBytes)
    {
        words.push_back(reader.bigEndianWordAt(at));
    }
    const std::uint32_t protocolType = words.at(0);
    if (protocolType == wireLayout::routerControlProtocol)
    {
        request(message, words);
    }
    else if (!obey(protocolType, words))
    {
        m_unexpectedProtocols.addUnexpectedProtocol(protocolType, UnexpectedProtocols::nameOf(protocolType));
    }
    compareWrites();
}

void BridgeUnderTest::request(std::span<const std::uint8_t> message, const RouterModel::Words& words)
{
    RouterModel::Words expected = m_model.answer(words, m_connection);
    auto& handler = m_handlers.at(m_connection);
    if (handler == nullptr)
    {
        handler = process().handlerFactory.createCmdHandler(m_connection);
    }
    const auto response = handler->handle(message);
    require(response != nullptr, "a request has a response");
    expected.at(1) = m_responseSequence;
    response->setSequence(m_responseSequence++);

    const std::size_t bytes = response->getLength();
    require(bytes == expected.size() * wireLayout::wordBytes, "the response has the length that its request asks for");
    require(bytes <= wireLayout::maxMessageBytes, "the response fits a message");
    const WireReader answer({response->getData(), bytes});
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        if (answer.bigEndianWordAt(i * wireLayout::wordBytes) != expected[i])
        {
            require(false, "response word at " + std::to_string(i * wireLayout::wordBytes) + " is " +
                               std::to_string(answer.bigEndianWordAt(i * wireLayout::wordBytes)) + ", expected " +
                               std::to_string(expected[i]));
        }
    }
}

void BridgeUnderTest::compareWrites()
{
    const auto written = FuzzBus::instance().takeWrites();
    const auto expected = m_model.takeWrites();
    require(written.size() == expected.size(),
            "the bridge writes " + std::to_string(expected.size()) + " samples, not " + std::to_string(written.size()));
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        require(isSame(written[i], expected[i]), "a written sample is the expected one, in its order");
    }
}

} // namespace fuzz
