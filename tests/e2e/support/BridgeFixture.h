#pragma once

#include "koraclient/KoraClient.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Places.h"
#include "tests/support/RouterRecord.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/TempDir.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace e2e
{

using testsupport::koraPort;
using testsupport::telnetPort;

inline constexpr std::uint32_t frameId = 17;
inline constexpr std::uint32_t bridgeId = 3;
inline constexpr std::uint32_t videoLevel = 1;
inline constexpr std::uint32_t audioLevel = 2;
inline constexpr std::uint32_t noInput = 0xffffffff;

using com::tallowcrest::dds_::routing::MacroXptOutput;
using korasim::Liveness;
using korasim::Signal;

/// The real program on a real bus, with a simulated router in the test's own process. Each test runs in a network
/// namespace of its own, so the fixed ports and the domain are its own too. Its bridges have a store of their own even
/// where tests share a process.
class BridgeFixture : public testing::Test
{
    const testsupport::TempDir m_storeDirectory; ///< there until the bridge has gone

protected:
    explicit BridgeFixture(korasim::RouterOptions options = {});
    ~BridgeFixture() override;

    /// Starts the program and nothing else.
    void startBridge(const std::vector<std::string>& arguments = {"17", "3", "Bridge One", "bridge under test"});
    /// Starts the program, announces the router and waits until the bridge serves controllers and knows the ranges.
    void startJoined();
    /// Waits until the controller port is open and the ranges of both signal types have arrived.
    void waitForJoin();
    /// Ends the program as a service manager does and returns its exit status; -1 when it does not end.
    int stopBridge();

    /// A controller. Waits for a free slot when the port is closed at the moment.
    static koraclient::KoraClient connectController();

    /// Takes each output of both levels to the input of its number, and waits until they show it.
    static void takeEverything(koraclient::KoraClient& client);
    /// Waits until an output shows an input in a controller's status request.
    static bool waitForInput(koraclient::KoraClient& client, std::uint32_t level, std::uint32_t output,
                             std::uint32_t input);
    /// Every change that is pending for a connection, however many requests that takes.
    static std::vector<koraclient::OutputChange> drainChanges(koraclient::KoraClient& client, std::uint32_t level,
                                                              std::uint32_t format = 0);
    /// Waits for a change of an output that satisfies `predicate`.
    static bool waitForChange(koraclient::KoraClient& client, std::uint32_t level,
                              const std::function<bool(const koraclient::OutputChange&)>& predicate);

    static MacroXptOutput
    xpt(std::uint32_t output, std::uint32_t input, std::uint32_t lprId = 0,
        com::tallowcrest::dds_::routing::LPRState state = com::tallowcrest::dds_::routing::LPR_RELEASED);

    testsupport::ChildProcess& bridge() { return *m_bridge; }
    korasim::SimulatedRouter& router() { return m_router; }
    testsupport::RouterRecord& record() { return m_router.record(); }

    std::unique_ptr<testsupport::ChildProcess> m_bridge;

private:
    testsupport::RecordedRouter m_router;
};

} // namespace e2e
