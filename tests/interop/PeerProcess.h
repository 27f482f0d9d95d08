#pragma once

#include "tests/support/ChildProcess.h"

#include <chrono>
#include <string>

/// The peer of the other DDS implementation as a program of its own. Owned by one test.
class PeerProcess
{
public:
    /// Starts it in a router partition and waits until it is ready.
    explicit PeerProcess(const std::string& routerPartition);

    /// Has a command carried out (see PeerCommands); throws std::runtime_error when the peer refuses it.
    void command(const std::string& line);
    /// Waits for a line of what the peer saw; `line` is the whole of it.
    bool waitForLine(const std::string& line, std::chrono::milliseconds deadline = std::chrono::seconds(15)) const;
    /// Waits for the begin of a line and returns the last line that begins so; empty when none comes.
    std::string waitForLineWith(const std::string& begin,
                                std::chrono::milliseconds deadline = std::chrono::seconds(15)) const;
    /// All that it has printed, its complaints too.
    std::string output() const { return m_process.output() + m_process.errors(); }

private:
    testsupport::ChildProcess m_process;
    std::size_t m_commandCount = 0;
};
