#pragma once

#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/Operator.h"
#include "tests/support/TempDir.h"

#include <filesystem>
#include <string>
#include <vector>

namespace e2e
{

using testsupport::greeting;
using testsupport::menuScreen;
using testsupport::Operator;
using testsupport::xptPrompt;

/// The real program and what its operator needs.
class OperatorFixture : public BridgeFixture
{
protected:
    /// Starts the program where /var/log is a directory of the test's own, and joins. False when the system permits no
    /// mount namespace.
    bool startJoinedWithOwnLogDirectory();
    const std::filesystem::path& logDirectory() const { return m_logDirectory.path(); }

    /// The rows of the connection table: one per controller, by socket as the log tells them.
    std::vector<int> controllerSockets();

    static std::vector<std::string> lines(const std::string& text);
    /// One row of a crosspoint table; an input of -1 is none.
    static std::string row(int output, int input, const std::string& when, int lprId, const std::string& state);
    static std::string tableHeader();

private:
    testsupport::TempDir m_logDirectory;
};

} // namespace e2e
