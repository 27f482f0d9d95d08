#pragma once

#include "tests/chaos/Dice.h"
#include "tests/chaos/Plan.h"
#include "tests/support/TcpSocket.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace chaos
{

class Stopper;

/// A controller that behaves badly: carries out one peer's part of a plan. Owned by one thread. Nothing that the bridge
/// does to it is wrong.
class BadPeer
{
public:
    void perform(const std::vector<Step<PeerAct>>& steps, const Stopper& stopper);
    const std::map<PeerAct, std::size_t>& performed() const { return m_performed; }

private:
    using TcpSocket = testsupport::TcpSocket;

    void perform(const Step<PeerAct>& step, TcpSocket& socket, const Stopper& stopper);
    static void flood(TcpSocket& socket, Dice& dice, std::chrono::milliseconds duration, const Stopper& stopper);
    static void neverRead(TcpSocket& socket, std::chrono::milliseconds duration, const Stopper& stopper);
    static void drip(const TcpSocket& socket, const Stopper& stopper);
    static void storm(std::chrono::milliseconds duration, Dice& dice, const Stopper& stopper);

    std::map<PeerAct, std::size_t> m_performed;
};

/// `count` random bytes.
std::string noise(Dice& dice, std::size_t count);
/// Sends as much as the peer takes without waiting for it; false when the connection is at its end.
bool sendWhatFits(const testsupport::TcpSocket& socket, const std::string& bytes);

} // namespace chaos
