#pragma once

#include "bridge/Director.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Places.h"
#include "tests/support/TcpSocket.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

/// The whole bridge in this process, so that its allocations can be counted, and a router in another one, whose
/// statuses would count as the bridge's if it followed targets.
class BridgeWithin : public testing::Test
{
protected:
    static constexpr std::uint16_t koraPort = testsupport::koraPort;

    void SetUp() override
    {
        m_router.write("follow off\nburst audio 1 2304 5\n");
        ASSERT_TRUE(Director::startSystem(17, 3, "Bridge One", "counted"));
        ASSERT_TRUE(testsupport::waitForPort(koraPort, std::chrono::seconds(30)));
    }
    ~BridgeWithin() override { Director::stopSystem(); }

    testsupport::ChildProcess m_router{testsupport::programPath("korasim"), {}};
};
