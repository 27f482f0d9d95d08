#pragma once

#include "runtime/util/UniqueFd.h"

#include <chrono>
#include <optional>
#include <string>

namespace korasim
{

/// The lines of standard input, and the end of the program by SIGINT or SIGTERM. Made first thing in `main`, while
/// there is one thread: it blocks both signals for every thread to come, and takes them from a descriptor instead.
class ScriptInput
{
public:
    ScriptInput();

    /// The next line, without its end; nothing when the input has ended or a signal came.
    std::optional<std::string> nextLine();
    /// Waits for a signal; returns at once when one has come.
    void waitForSignal();
    /// Waits for a while; false, and at once, when a signal comes or has come.
    bool pause(std::chrono::milliseconds time);

private:
    /// Waits until there is a signal or, when asked for, input, or the time (negative: for ever) is up; true when there
    /// is input.
    bool waitForInput(bool isInputWanted, int milliseconds);

    com::tallowcrest::util::UniqueFd m_signals;
    std::string m_buffer;
    bool m_isInputEnded = false;
    bool m_isSignalled = false;
};

} // namespace korasim
