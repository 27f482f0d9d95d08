#include "tests/chaos/BadPeer.h"

#include "koraclient/RequestEncoder.h"
#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"
#include "tests/chaos/Controller.h"
#include "tests/chaos/World.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

using namespace std::chrono_literals;

namespace chaos
{

namespace
{

using testsupport::asText;

/// A header and random words behind it.
std::string frame(Dice& dice, std::uint32_t type, std::uint32_t length, std::uint32_t id)
{
    std::vector<std::uint8_t> bytes(wireLayout::header::bytes);
    const WireWriter writer(bytes);
    writer.setBigEndianWordAt(wireLayout::header::protocolType, type);
    writer.setBigEndianWordAt(wireLayout::header::length, length);
    writer.setBigEndianWordAt(wireLayout::header::msgId, id);
    const std::size_t body = length > bytes.size() ? std::min<std::size_t>(length, 8192) - bytes.size() : 0;
    return asText(bytes) + noise(dice, body);
}

/// A proper request that concerns no output that somebody well-behaved owns.
std::string request(Dice& dice)
{
    constexpr std::uint32_t firstFreeVideo = 200;
    constexpr std::uint32_t firstFreeAudio = 1000;
    koraclient::RequestEncoder encoder(dice.between(0, 0xffff));
    switch (dice.between(0, 5))
    {
    case 0:
        return asText(encoder.tally(dice.between(0, 4), 1, 1020));
    case 1:
        return asText(encoder.outputStatus(0, 2, dice.between(0, 3000), 500));
    case 2:
        return asText(encoder.outputChanges(dice.between(0, 1), dice.between(1, 2)));
    case 3: {
        std::vector<koraclient::TakeEntry> entries;
        for (std::uint32_t i = 0; i < 50; ++i)
        {
            entries.push_back({2, 0, dice.between(1, 2304), dice.between(firstFreeAudio, 2304)});
        }
        return asText(encoder.take(entries));
    }
    case 4:
        return asText(encoder.take({{1, 0, dice.between(1, 288), dice.between(firstFreeVideo, 288)}}));
    default:
        return asText(encoder.systemStatus(dice.between(0, 8)));
    }
}

} // namespace

std::string noise(Dice& dice, std::size_t count)
{
    std::string bytes(count, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(dice.byte()); });
    return bytes;
}

bool sendWhatFits(const testsupport::TcpSocket& socket, const std::string& bytes)
{
    return ::send(socket.fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0 || errno == EAGAIN;
}

void BadPeer::perform(const std::vector<Step<PeerAct>>& steps, const Stopper& stopper)
{
    for (const auto& step : steps)
    {
        if (!stopper.pause(step.wait))
        {
            return;
        }
        auto socket = TcpSocket::connect(koraPort);
        if (!socket)
        {
            continue; // all slots are taken
        }
        ++m_performed[step.act];
        try
        {
            perform(step, *socket, stopper);
        }
        catch (const std::runtime_error&)
        {
            // The bridge ended the connection; it may.
        }
    }
}

void BadPeer::perform(const Step<PeerAct>& step, TcpSocket& socket, const Stopper& stopper)
{
    Dice dice(step.number);
    switch (step.act)
    {
    case PeerAct::Reset:
        socket.send(request(dice).substr(0, dice.between(0, 60)));
        socket.reset();
        break;
    case PeerAct::HalfClose:
        socket.send(request(dice));
        ::shutdown(socket.fd(), SHUT_WR);
        socket.waitForClose(step.duration);
        break;
    case PeerAct::StallInHeader:
        socket.send(request(dice).substr(0, dice.between(1, 15)));
        stopper.pause(step.duration);
        break;
    case PeerAct::StallInBody: {
        const std::string whole = request(dice);
        socket.send(whole.substr(0, whole.size() - 1));
        stopper.pause(step.duration);
        break;
    }
    case PeerAct::NeverRead:
        neverRead(socket, step.duration, stopper);
        break;
    case PeerAct::Garbage:
        socket.send(noise(dice, dice.between(1, 20000)));
        stopper.pause(step.duration / 4);
        break;
    case PeerAct::GarbageFrames:
        for (std::uint32_t i = dice.between(1, 40); i > 0; --i)
        {
            socket.send(
                frame(dice, wireLayout::routerControlProtocol, dice.between(0, 9000), dice.between(0x50, 0x60)));
        }
        stopper.pause(step.duration / 4);
        break;
    case PeerAct::OtherProtocols:
        for (std::uint32_t type = 10; type < 25; ++type)
        {
            socket.send(frame(dice, type == 12 ? 80 : type, dice.between(16, 200), 0x50));
        }
        break;
    case PeerAct::Flood:
        flood(socket, dice, step.duration, stopper);
        break;
    case PeerAct::UnknownCommands:
        for (std::uint32_t i = 0; i < 50; ++i)
        {
            socket.send(asText(koraclient::RequestEncoder(i).raw(dice.between(0x100, 0x3fff), {dice.between(0, 255)})));
        }
        socket.receive(24 * 50, step.duration);
        break;
    case PeerAct::Drip:
        drip(socket, stopper);
        break;
    case PeerAct::ConnectStorm:
        storm(step.duration, dice, stopper);
        break;
    case PeerAct::Silent:
        stopper.pause(step.duration);
        break;
    }
}

void BadPeer::flood(TcpSocket& socket, Dice& dice, std::chrono::milliseconds duration, const Stopper& stopper)
{
    constexpr std::size_t mostRequests = 5000; // of which some are logged
    const auto end = Clock::now() + duration;
    for (std::size_t i = 0; i < mostRequests && Clock::now() < end && !stopper.isStopped(); ++i)
    {
        socket.send(request(dice) + request(dice));
        socket.receive(1, 1s);
        // What else has come is thrown away.
        std::string rest(65536, '\0');
        while (::recv(socket.fd(), rest.data(), rest.size(), MSG_DONTWAIT) > 0)
        {}
    }
}

void BadPeer::neverRead(TcpSocket& socket, std::chrono::milliseconds duration, const Stopper& stopper)
{
    const std::string asks = asText(koraclient::RequestEncoder(1).tally(2, 1, 1020));
    const auto end = Clock::now() + duration;
    while (Clock::now() < end && sendWhatFits(socket, asks) && stopper.pause(1ms))
    {}
    socket.reset();
}

void BadPeer::drip(const TcpSocket& socket, const Stopper& stopper)
{
    for (const char byte : asText(koraclient::RequestEncoder(7).tally(1, 1, 3)))
    {
        socket.send(std::string(1, byte));
        stopper.pause(5ms);
    }
    socket.receive(56, 1s);
}

void BadPeer::storm(std::chrono::milliseconds duration, Dice& dice, const Stopper& stopper)
{
    std::vector<TcpSocket> sockets;
    for (std::uint32_t i = dice.between(3, 12); i > 0; --i)
    {
        if (auto socket = TcpSocket::connect(koraPort))
        {
            sockets.push_back(std::move(*socket));
        }
    }
    stopper.pause(duration);
    for (auto& socket : sockets)
    {
        socket.reset();
    }
}

} // namespace chaos
