#pragma once

#include "koraclient/RequestEncoder.h"
#include "tests/e2e/support/BridgeFixture.h"
#include "tests/support/TcpSocket.h"
#include "tests/unit/koraserver/KoraBytes.h"

#include <string>

namespace e2e
{

using korabytes::header;
using testsupport::TcpSocket;

/// The real program, met by those who do not play by the rules.
class HostileFixture : public BridgeFixture
{
protected:
    static constexpr std::size_t answerBytes = 24;

    /// A connection to the controllers' port that says nothing by itself.
    static TcpSocket connectRaw(std::uint16_t port = koraPort)
    {
        auto socket = TcpSocket::connect(port);
        EXPECT_TRUE(socket.has_value());
        return *std::move(socket);
    }

    /// The shortest question, and its answer with the connection's `sequence`.
    static std::string portPresentRequest(std::uint32_t tag)
    {
        return testsupport::asText(koraclient::RequestEncoder(tag).portPresent());
    }
    static std::string portPresentAnswer(std::uint32_t sequence, std::uint32_t tag)
    {
        std::string bytes = header(12, sequence, answerBytes, 0x80004000);
        korabytes::appendWord(bytes, tag);
        korabytes::appendWord(bytes, 0);
        return bytes;
    }
};

} // namespace e2e
