#pragma once

#include "runtime/misc/Console.h"
#include "runtime/misc/TelnetIO.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/Places.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// A telnet console on port 8882 in the slot, with the log captured.
class ConsoleFixture : public testing::Test
{
protected:
    static constexpr std::uint16_t port = testsupport::telnetPort;
    static constexpr const char* banner = "* Telnet Session Connected *\n";

    explicit ConsoleFixture(bool telnetOnly = true)
        : m_sut(std::make_shared<com::tallowcrest::misc::TelnetIO>("KORABRIDGE", port, telnetOnly))
    {
        com::tallowcrest::misc::clearConsoleStop();
    }
    /// While the derived fixture's members, which the reader's body uses, are still there.
    void TearDown() override
    {
        com::tallowcrest::misc::requestConsoleStop();
        if (m_reader.joinable())
        {
            m_reader.join();
        }
        m_sut->stop();
        com::tallowcrest::misc::resetConsole();
        com::tallowcrest::misc::clearConsoleStop();
    }

    /// Returns once it listens and has said so.
    void start()
    {
        com::tallowcrest::misc::setConsole(m_sut);
        m_sut->start();
        ASSERT_TRUE(testsupport::waitForPort(port));
        ASSERT_TRUE(waitForLogged("bind IP addr"));
    }

    /// Connects and waits until the console has announced itself, to the client and to everybody else.
    testsupport::TcpSocket connect()
    {
        const auto before = countLogged("Telnet connected to ");
        auto client = testsupport::TcpSocket::connect(port);
        EXPECT_TRUE(client);
        EXPECT_EQ(banner, client->receive(std::string(banner).size()));
        EXPECT_TRUE(testsupport::waitUntil([&] { return countLogged("Telnet connected to ") > before; }));
        return std::move(*client);
    }

    /// Runs `body` on the thread that stands for the main thread.
    template <typename Body>
    void runAsReader(Body body)
    {
        m_readerIsDone = false;
        m_reader = std::thread([this, body] {
            body();
            m_readerIsDone = true;
        });
    }
    bool waitForReader(std::chrono::milliseconds deadline = std::chrono::seconds(10))
    {
        return testsupport::waitUntil([this] { return m_readerIsDone.load(); }, deadline);
    }

    std::ptrdiff_t countLogged(const std::string& part, const std::string& level = "INFO") const
    {
        const auto lines = m_log.lines();
        return std::count_if(lines.begin(), lines.end(), [&](const testsupport::LogRecorder::Line& line) {
            return line.text.find(part) != std::string::npos && line.level == level && line.logger == "KORABRIDGE";
        });
    }
    bool waitForLogged(const std::string& part) const
    {
        return testsupport::waitUntil([&] { return countLogged(part) > 0; });
    }

    testsupport::LogRecorder m_log;
    std::shared_ptr<com::tallowcrest::misc::TelnetIO> m_sut;
    std::thread m_reader;
    std::atomic<bool> m_readerIsDone{true};
};

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
        EXPECT_TRUE(waitForReader());
        m_reader.join();
        com::tallowcrest::misc::clearConsoleStop();
    }

    std::ptrdiff_t m_closed = 0;
};
