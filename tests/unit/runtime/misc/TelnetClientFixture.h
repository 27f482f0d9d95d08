#pragma once

#include "runtime/misc/TelnetClient.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/Places.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>

/// The bridge's end of a connection and the operator's.
class TelnetClientFixture : public testing::Test
{
protected:
    TelnetClientFixture()
    {
        EXPECT_TRUE(m_listener.open(true));
        m_operator = testsupport::TcpSocket::connect(testsupport::telnetPort);
        std::optional<com::tallowcrest::misc::TelnetListener::Accepted> accepted;
        EXPECT_TRUE(m_operator && testsupport::waitUntil([&] {
                        accepted = m_listener.accept();
                        return accepted.has_value();
                    }));
        m_sut.emplace(testsupport::LogRecorder::logger(), std::move(*accepted), 7);
        m_descriptor = std::to_string(m_sut->fd());
        // Sizes of their own, so that the system does not make more room while text is kept.
        const int room = 65536;
        EXPECT_EQ(::setsockopt(m_sut->fd(), SOL_SOCKET, SO_SNDBUF, &room, sizeof(room)), 0);
        EXPECT_EQ(::setsockopt(m_operator->fd(), SOL_SOCKET, SO_RCVBUF, &room, sizeof(room)), 0);
    }

    /// Takes what has been typed, until there is a line.
    std::optional<std::string> readLine()
    {
        std::optional<std::string> line;
        testsupport::waitUntil([&] {
            EXPECT_TRUE(m_sut->receive());
            line = m_sut->takeLine();
            return line.has_value();
        });
        return line;
    }
    /// Sends until `condition` holds, which a few buffers' worth of text must achieve; returns what was sent before the
    /// last text and that text.
    template <typename Condition>
    std::pair<std::string, std::string> sendUntil(Condition condition)
    {
        std::string before;
        for (int i = 0; i < 1000; ++i)
        {
            const std::string text(10'000, static_cast<char>('a' + i % 26));
            m_sut->send(text);
            if (condition())
            {
                return {before, text};
            }
            before += text;
        }
        ADD_FAILURE() << "the socket takes any amount of text";
        return {before, {}};
    }
    /// Sends until text is kept because the socket takes no more; returns all that was sent.
    std::string sendUntilTextIsKept()
    {
        const auto [before, last] = sendUntil([this] { return m_sut->hasPendingText(); });
        return before + last;
    }
    /// Sends until more text is kept than the system takes later, when it has moved what it could to the operator's
    /// side, and less than is dropped.
    void sendUntilTextStaysKept()
    {
        sendUntilTextIsKept();
        for (int i = 0; i < 20; ++i)
        {
            m_sut->send(std::string(10'000, 'z'));
        }
        EXPECT_EQ(m_log.countHolding("is not reading"), 0U);
    }
    /// Sends until a text is dropped, which is not among what is returned.
    std::string sendUntilTextIsDropped()
    {
        return sendUntil([this] { return m_log.countHolding("is not reading") > 0; }).first;
    }
    /// Reads and flushes until so much has arrived.
    std::string readAndFlush(std::size_t size)
    {
        std::string read;
        testsupport::waitUntil([&] {
            m_sut->flush();
            read += m_operator->receive(size - read.size(), std::chrono::milliseconds(1));
            return read.size() == size;
        });
        return read;
    }
    int option(int level, int name) const
    {
        int value = 0;
        socklen_t size = sizeof(value);
        EXPECT_EQ(::getsockopt(m_sut->fd(), level, name, &value, &size), 0);
        return value;
    }

    testsupport::LogRecorder m_log;
    com::tallowcrest::misc::TelnetListener m_listener{testsupport::LogRecorder::logger(), testsupport::telnetPort};
    std::optional<testsupport::TcpSocket> m_operator;
    std::optional<com::tallowcrest::misc::TelnetClient> m_sut;
    std::string m_descriptor;
};
