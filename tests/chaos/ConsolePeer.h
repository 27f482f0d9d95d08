#pragma once

#include "tests/chaos/Dice.h"
#include "tests/chaos/Plan.h"
#include "tests/support/TcpSocket.h"

#include <map>
#include <string>
#include <vector>

namespace chaos
{

class Stopper;
struct World;

/// Everybody who comes to the operator's console, one after another: those who behave badly, and in between an operator
/// who looks at the tables and must be served. Owned by one thread.
class ConsolePeer
{
public:
    explicit ConsolePeer(World& world) : m_world(world) {}

    void perform(const std::vector<Step<ConsoleAct>>& steps, const Stopper& stopper);
    /// The well-behaved operator: is served in time, and sees the threads running.
    void inspect();
    const std::map<ConsoleAct, std::size_t>& performed() const { return m_performed; }

private:
    using TcpSocket = testsupport::TcpSocket;

    void misbehave(const Step<ConsoleAct>& step, TcpSocket& socket, const Stopper& stopper);

    World& m_world;
    std::map<ConsoleAct, std::size_t> m_performed;
};

} // namespace chaos
