#pragma once

#include "tests/unit/runtime/misc/ConsoleFixture.h"

#include <chrono>
#include <string>
#include <vector>

/// A telnet console whose lines the test's own thread, or a reader beside it, takes.
class TelnetIOTest : public ConsoleFixture
{
protected:
    using ConsoleFixture::ConsoleFixture;

    /// A line as the console reads it; nothing when the result is negative.
    struct Read
    {
        int result = 0;
        std::string text;
    };
    Read getline(int size = 256)
    {
        std::vector<char> buffer(static_cast<std::size_t>(size), '?');
        const int result = m_sut->Getline(buffer.data(), size);
        return {result, buffer.data()};
    }
    /// Connects and lets the reading thread (the test's) notice.
    testsupport::TcpSocket connectAndNotice()
    {
        m_sut->beginRound();
        auto client = connect();
        EXPECT_EQ(com::tallowcrest::misc::consoleSessionChanged, getline().result);
        m_sut->beginRound();
        return client;
    }
    /// Runs the reading thread so that it notices that the client has gone, until the console is free.
    void noticeThatClientLeft()
    {
        runAsReader([this] { getline(); });
        EXPECT_TRUE(testsupport::waitUntil([this] { return countLogged("Telnet Session Closed") > m_closed; }));
        ++m_closed;
    }
    void endReader()
    {
        com::tallowcrest::misc::requestConsoleStop();
        EXPECT_TRUE(waitForReader(std::chrono::seconds(2)));
        m_reader.join();
        com::tallowcrest::misc::clearConsoleStop();
    }

    std::ptrdiff_t m_closed = 0;
};
