#pragma once

#include "ddskorabridge/LevelContainer.h"
#include "ddskorabridge/LevelMgr.h"
#include "ddskorabridge/MacroXptMgrLocalTarget.h"
#include "ddskorabridge/MacroXptMgrStatus.h"
#include "ddskorabridge/MacroXptMgrTarget.h"
#include "koracommand/CmdHandler.h"
#include "koraserver/UnexpectedProtocols.h"
#include "tests/fuzz/stream/RouterModel.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace fuzz
{

/// The bridge's levels, crosspoint managers and command handlers over the FuzzBus, made as the Director makes them, and
/// the model beside them. Made anew for each execution: nothing is left of the one before.
///
/// Messages of the protocol types from `controlProtocol` on are orders of the harness (a sample on the bus, another
/// connection, another partition), so that one stream of messages drives all sides.
class BridgeUnderTest
{
public:
    static constexpr std::uint32_t controlProtocol = 0x46555a00; ///< "FUZ"
    static constexpr std::uint32_t when = 0x01000123;            ///< the timecode stands still
    static constexpr std::uint32_t seconds = 1700000000;         ///< so does the clock

    BridgeUnderTest();
    ~BridgeUnderTest();
    BridgeUnderTest(const BridgeUnderTest&) = delete;
    BridgeUnderTest& operator=(const BridgeUnderTest&) = delete;

    /// A whole message as a connection gets it.
    void handleMessage(std::span<const std::uint8_t> message);

private:
    using Signal = RouterModel::Signal;

    void join(const std::string& partition);
    void publishLevel(const RouterModel::Level& level);
    void publishMember(Signal signal, const RouterModel::Member& member, bool isValid);
    void publishStatus(Signal signal, const RouterModel::Output& status, bool isValid);
    void publishLocalTarget(Signal signal, const RouterModel::Output& target);
    void connect(std::uint32_t connection);

    /// False when it is no order.
    bool obey(std::uint32_t protocolType, const RouterModel::Words& words);
    void request(std::span<const std::uint8_t> message, const RouterModel::Words& words);
    void compareWrites();

    std::shared_ptr<LevelContainer> m_audioLevels = std::make_shared<LevelContainer>();
    std::shared_ptr<LevelContainer> m_videoLevels = std::make_shared<LevelContainer>();
    std::shared_ptr<MacroXptMgrTarget> m_audioTarget;
    std::shared_ptr<MacroXptMgrTarget> m_videoTarget;
    std::shared_ptr<MacroXptMgrStatus> m_audioStatus;
    std::shared_ptr<MacroXptMgrStatus> m_videoStatus;
    std::shared_ptr<MacroXptMgrLocalTarget> m_audioLocalTarget;
    std::shared_ptr<MacroXptMgrLocalTarget> m_videoLocalTarget;
    std::shared_ptr<LevelMgr> m_levelMgr;
    std::string m_partition;

    UnexpectedProtocols m_unexpectedProtocols;
    std::array<std::unique_ptr<CmdHandler>, 16> m_handlers;
    std::uint32_t m_connection = 0;
    std::uint32_t m_responseSequence = 0;

    RouterModel m_model{when, seconds};
};

} // namespace fuzz
