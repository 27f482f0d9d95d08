#include "tests/chaos/ConsolePeer.h"

#include "tests/chaos/BadPeer.h"
#include "tests/chaos/Controller.h"
#include "tests/support/Operator.h"

#include <sys/socket.h>

#include <algorithm>
#include <optional>
#include <stdexcept>

using namespace std::chrono_literals;

namespace chaos
{

namespace
{

/// Random lines, none of which says "q" or is a number: those could end the bridge.
std::string harmlessNoise(Dice& dice, std::size_t count)
{
    std::string bytes = noise(dice, count);
    std::replace_if(
        bytes.begin(), bytes.end(),
        [](char byte) { return byte == 'q' || byte == 'Q' || (byte >= '0' && byte <= '9'); }, 'x');
    return bytes;
}

} // namespace

void ConsolePeer::perform(const std::vector<Step<ConsoleAct>>& steps, const Stopper& stopper)
{
    for (const auto& step : steps)
    {
        if (!stopper.pause(step.wait))
        {
            return;
        }
        ++m_performed[step.act];
        if (step.act == ConsoleAct::Inspect)
        {
            inspect();
            continue;
        }
        try
        {
            if (auto socket = TcpSocket::connect(telnetPort))
            {
                misbehave(step, *socket, stopper);
            }
        }
        catch (const std::runtime_error&)
        {
            // The bridge ended the connection; it may.
        }
    }
}

void ConsolePeer::inspect()
{
    const auto patience = m_world.bounds.console;
    std::optional<testsupport::Operator> inspector;
    try
    {
        inspector.emplace(patience);
        m_world.answers.answered("(console's first menu)", Clock::now(), Clock::now());
    }
    catch (const std::runtime_error& error)
    {
        m_world.verdict.violation("console", "the console served no operator within " + milliseconds(patience) + ": " +
                                                 error.what());
        return;
    }
    try
    {
        const std::string tasks = inspector->choose("show tasks");
        for (const char* name : {"running      1 Bridge Apartment", "Kora Server", "TelnetIO"})
        {
            if (tasks.find(name) == std::string::npos || tasks.find("not running") != std::string::npos)
            {
                m_world.verdict.violation("console",
                                          "the console's tasks lack a running '" + std::string(name) + "': " + tasks);
            }
        }
    }
    catch (const std::runtime_error& error)
    {
        m_world.verdict.violation("console", std::string("the console ended an operator's session: ") + error.what());
    }
}

void ConsolePeer::misbehave(const Step<ConsoleAct>& step, TcpSocket& socket, const Stopper& stopper)
{
    Dice dice(step.number);
    switch (step.act)
    {
    case ConsoleAct::Reset:
        socket.send("show m\n");
        socket.reset();
        break;
    case ConsoleAct::HalfClose:
        socket.send("show t\n");
        ::shutdown(socket.fd(), SHUT_WR);
        socket.waitForClose(step.duration);
        break;
    case ConsoleAct::StallInLine:
        socket.send("show");
        stopper.pause(step.duration);
        break;
    case ConsoleAct::NeverRead: {
        const auto end = Clock::now() + step.duration;
        while (Clock::now() < end && sendWhatFits(socket, "show mem\n0\n7\n1\n") && stopper.pause(2ms))
        {}
        break;
    }
    case ConsoleAct::Garbage:
        socket.send(harmlessNoise(dice, dice.between(1, 5000)));
        stopper.pause(step.duration / 4);
        break;
    case ConsoleAct::LongLine:
        socket.send(std::string(100'000, 'z') + "\n");
        stopper.pause(step.duration / 4);
        break;
    case ConsoleAct::Flood:
        for (const auto end = Clock::now() + step.duration; Clock::now() < end && !stopper.isStopped();)
        {
            socket.send("0\n1\n2\n3\n6\n1\n9\n1\n10\n");
            socket.receive(2000, 200ms);
        }
        break;
    case ConsoleAct::SecondClient: {
        const auto second = TcpSocket::connect(telnetPort);
        if (second)
        {
            second->waitForClose(step.duration);
        }
        break;
    }
    default:
        socket.send("\xff\xfb\x1f\xff\xfa\x1f\x50\x18\xff\xf0\xff\xf4\xff\xfd\x06\r\n");
        stopper.pause(step.duration / 4);
        break;
    }
}

} // namespace chaos
