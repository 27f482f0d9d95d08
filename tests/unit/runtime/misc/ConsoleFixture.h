#pragma once

#include "runtime/misc/Console.h"
#include "runtime/misc/ConsoleSlot.h"
#include "runtime/misc/StandardInput.h"
#include "runtime/misc/TelnetIO.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TcpSocket.h"
#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include <unistd.h>

/// Standard input comes from a pipe while this lives.
class ReplacedInput
{
public:
    ReplacedInput() : m_saved(::dup(STDIN_FILENO))
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(0, ::pipe(ends.data()));
        ::dup2(ends[0], STDIN_FILENO);
        ::close(ends[0]);
        m_writeEnd = ends[1];
        // What an earlier test of the same process did not read.
        auto& input = com::tallowcrest::misc::standardInput();
        while (input.takeLine())
        {}
        input.takeEnd();
    }
    ~ReplacedInput()
    {
        end();
        ::dup2(m_saved, STDIN_FILENO);
        ::close(m_saved);
    }
    ReplacedInput(const ReplacedInput&) = delete;
    ReplacedInput& operator=(const ReplacedInput&) = delete;

    void write(const std::string& text) const
    {
        EXPECT_EQ(static_cast<ssize_t>(text.size()), ::write(m_writeEnd, text.data(), text.size()));
    }
    void end()
    {
        if (m_writeEnd >= 0)
        {
            ::close(std::exchange(m_writeEnd, -1));
        }
    }

private:
    const int m_saved;
    int m_writeEnd = -1;
};

/// A telnet console on port 8882 in the slot, with the log captured.
class ConsoleFixture : public testing::Test
{
protected:
    static constexpr std::uint16_t port = 8882;
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

    void start()
    {
        com::tallowcrest::misc::setConsole(m_sut);
        m_sut->start();
        ASSERT_TRUE(testsupport::waitForPort(port));
    }

    /// Connects and waits until the console has announced itself.
    static testsupport::TcpSocket connect()
    {
        auto client = testsupport::TcpSocket::connect(port);
        EXPECT_TRUE(client);
        EXPECT_EQ(banner, client->receive(std::string(banner).size()));
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
