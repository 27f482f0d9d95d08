#include "tests/e2e/durable/DurableFixture.h"

#include "durability/Sqlite.h"

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <utility>

namespace e2e
{

namespace
{

/// The milliseconds since its start that the program's log prints in front of a line with `text`; -1 when missing.
long logTime(const std::string& log, const std::string& text)
{
    const std::size_t at = log.find(text);
    if (at == std::string::npos)
    {
        return -1;
    }
    const std::size_t line = log.rfind('\n', at) + 1;
    // "2026-11-21 04:12:12,862 305 INFO ..."
    const std::size_t second = log.find(' ', log.find(' ', line) + 1);
    return std::strtol(log.c_str() + second, nullptr, 10);
}

} // namespace

void DurableFixture::startOnStore(std::map<std::string, std::string> environment)
{
    environment.emplace("KORABRIDGE_DURABLE_STORE", m_store.string());
    m_started = std::chrono::steady_clock::now();
    m_bridge = std::make_unique<testsupport::ChildProcess>(
        m_program, std::vector<std::string>{"17", "3", "Bridge One", "bridge under test"},
        testsupport::ChildProcess::Options{std::move(environment), false});
    m_stalls.watch(m_bridge->pid());
}

void DurableFixture::startJoinedOnStore(std::map<std::string, std::string> environment)
{
    startOnStore(std::move(environment));
    waitForJoin();
}

void DurableFixture::kill()
{
    bridge().signal(SIGKILL);
    ASSERT_EQ(bridge().waitForExit(), 128 + SIGKILL);
}

void DurableFixture::waitOutLossBound(testsupport::ChildProcess& bridge)
{
    testsupport::StallMeter stalls;
    stalls.watch(bridge.pid());
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(testsupport::waitUntil([&] { return stalls.workedSince(begin) > lossBound; }));
}

void DurableFixture::take(std::uint32_t input, std::uint32_t output)
{
    auto client = connectController();
    ASSERT_EQ(client.take({{videoLevel, 42, input, output}}), std::vector<std::uint32_t>{0});
    ASSERT_TRUE(hasTarget(input, output));
}

bool DurableFixture::hasTarget(std::uint32_t input, std::uint32_t output)
{
    return record()
        .waitForTarget(Signal::Video, output, [&](const auto& target) { return target.macroXptInput == input; })
        .has_value();
}

std::chrono::milliseconds DurableFixture::joinTime()
{
    const std::string log = bridge().output();
    const long begin = logTime(log, "TopicMacroLevel joinRouterPartition");
    const long end = logTime(log, "Port: 5194");
    EXPECT_GE(begin, 0) << log;
    EXPECT_GE(end, begin) << log;
    // The log counts from a moment shortly after the start: what it is off by is no longer than that.
    const auto stalled = m_stalls.stalledBetween(m_started + std::chrono::milliseconds(begin),
                                                 m_started + std::chrono::milliseconds(end));
    return std::chrono::milliseconds(end - begin) - std::chrono::duration_cast<std::chrono::milliseconds>(stalled);
}

std::string DurableFixture::storeText(const char* sql) const
{
    return com::tallowcrest::durability::SqliteConnection(m_store.string()).text(sql);
}

std::string DurableFixture::stored(std::uint32_t input, std::uint32_t output)
{
    return "FROM durable_sample WHERE instance = '" + std::to_string(output) +
           "' AND json_extract(payload, '$.macroXptInput') = " + std::to_string(input);
}

std::size_t numberFromEnvironment(const char* name, std::size_t otherwise)
{
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoul(text, nullptr, 10);
}

} // namespace e2e
