#include "koraclient/RequestEncoder.h"
#include "tests/e2e/faults/ShippedLogFixture.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <iostream>
#include <numeric>
#include <thread>

namespace e2e
{
namespace
{

using namespace std::chrono_literals;
using koraclient::RequestEncoder;
using testsupport::asText;
using testsupport::TcpSocket;

/// What a flood consists of.
struct FloodKind
{
    std::string name;
    std::string request;
    std::size_t answerSize = 0;
};

/// One line in the log each.
FloodKind unknownCommands()
{
    return {"unknown commands", asText(RequestEncoder(1).raw(0x99, {})), 24};
}

/// As many lines as a message can cause, all of them on the one thread that serves everybody: takes on no level.
FloodKind takesOnNoLevel()
{
    constexpr std::uint32_t entries = 509;
    const std::vector<koraclient::TakeEntry> takes(entries, {.level = 99, .lprId = 1, .input = 1, .output = 1});
    return {"takes on no level", asText(RequestEncoder(1).take(takes)), (entries + 6) * 4};
}

/// A controller that sends one command after another without waiting for answers.
class Flooder
{
public:
    explicit Flooder(FloodKind kind)
        : m_kind(std::move(kind)), m_socket(TcpSocket::connect(koraPort).value()), m_reader([this] { read(); })
    {
        m_writer = std::thread([this] { write(); });
    }
    ~Flooder()
    {
        m_isEnding = true;
        m_isFlooding = true;
        m_isFlooding.notify_all();
        ::shutdown(m_socket.fd(), SHUT_RDWR);
        m_writer.join();
        m_reader.join();
    }
    Flooder(const Flooder&) = delete;
    Flooder& operator=(const Flooder&) = delete;

    void setFlooding(bool isFlooding)
    {
        m_isFlooding = isFlooding;
        m_isFlooding.notify_all();
    }
    std::size_t answers() const { return m_answers; }

private:
    void write()
    {
        std::string burst;
        while (burst.size() < 1024)
        {
            burst += m_kind.request;
        }
        while (!m_isEnding)
        {
            m_isFlooding.wait(false);
            if (::send(m_socket.fd(), burst.data(), burst.size(), MSG_NOSIGNAL) < 0)
            {
                return;
            }
        }
    }
    void read()
    {
        std::array<char, 65536> bytes{};
        std::size_t total = 0;
        ssize_t count = 0;
        while ((count = ::recv(m_socket.fd(), bytes.data(), bytes.size(), 0)) > 0)
        {
            total += static_cast<std::size_t>(count);
            m_answers = total / m_kind.answerSize;
        }
    }

    const FloodKind m_kind;
    TcpSocket m_socket;
    std::atomic<bool> m_isEnding{false};
    std::atomic<bool> m_isFlooding{false};
    std::atomic<std::size_t> m_answers{0};
    std::thread m_reader;
    std::thread m_writer;
};

/// docs/reliability.md has the figures of an optimised build; a sanitizer makes a line of the log dearer than a take.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isOptimised = false;
#else
constexpr bool isOptimised = true;
#endif

using Times = std::vector<std::chrono::nanoseconds>;

double microseconds(Times times, double quantile)
{
    std::sort(times.begin(), times.end());
    const auto index = static_cast<std::size_t>(quantile * static_cast<double>(times.size() - 1));
    return static_cast<double>(times.at(index).count()) / 1000.0;
}

} // namespace

class LogFloodTest : public ShippedLogFixture
{
protected:
    struct LogFiles
    {
        std::size_t number = 0;
        std::uintmax_t bytes = 0;
    };

    /// Times takes of one controller while another floods and while it does not, by turns, and prints the ratios.
    /// `factor` is what the medians may differ by in an optimised build. In every build a take waits for one message of
    /// the flood and no more.
    void measure(const FloodKind& kind, double factor);
    /// How long one message of the flood takes by itself.
    static Times timesOfOne(const FloodKind& kind);

    LogFiles logFiles()
    {
        LogFiles result;
        for (const auto& file : std::filesystem::directory_iterator(logDirectory() / "korabridge"))
        {
            ++result.number;
            result.bytes += file.file_size();
        }
        return result;
    }
};

TEST_F(LogFloodTest, LogStaysBoundedAndEveryLineIsLogged)
{
    startWithShippedLog("64m");
    {
        Flooder flooder(unknownCommands());
        flooder.setFlooding(true);
        ASSERT_TRUE(testsupport::waitUntil([&] { return flooder.answers() >= 5000; }, 60s));
    }
    // Few enough that no file was dropped yet: each command has its line.
    std::size_t lines = 0;
    ASSERT_TRUE(waitForLog("removed dead tcp connection"));
    for (const auto& file : std::filesystem::directory_iterator(logDirectory() / "korabridge"))
    {
        lines += countOf(testsupport::readFile(file.path()), "Unprocessed Cmd: 0x00000099 Unexpected Msg\n");
    }
    EXPECT_GE(lines, 5000U);

    const std::size_t enough = 160000; // more lines than all files together hold
    Flooder flooder(unknownCommands());
    flooder.setFlooding(true);
    ASSERT_TRUE(testsupport::waitUntil([&] { return flooder.answers() >= enough; }, 120s));
    flooder.setFlooding(false);

    const auto files = logFiles();
    EXPECT_EQ(files.number, 6U);
    EXPECT_LE(files.bytes, 6U * 2 * 1024 * 1024 + 6 * 200); // a file ends with the line that fills it
    auto controller = connectController();
    controller.request(0x98, {});
    EXPECT_TRUE(waitForLog("Unprocessed Cmd: 0x00000098 Unexpected Msg"));
    EXPECT_EQ(countOf(bridge().output(), "Unprocessed"), 0U); // the journal gets what needs somebody
    EXPECT_EQ(stopBridge(), 0);
}

Times LogFloodTest::timesOfOne(const FloodKind& kind)
{
    const auto socket = TcpSocket::connect(koraPort);
    Times times;
    for (int i = 0; i < 200; ++i)
    {
        const auto begin = std::chrono::steady_clock::now();
        socket->send(kind.request);
        EXPECT_EQ(socket->receive(kind.answerSize, testsupport::scaled(10s)).size(), kind.answerSize);
        times.push_back(std::chrono::steady_clock::now() - begin);
    }
    return times;
}

void LogFloodTest::measure(const FloodKind& kind, double factor)
{
    startWithShippedLog("64m");
    auto controller = connectController();
    Times quiet;
    Times flooded;
    Times* current = &quiet;
    controller.observeTimes([&](std::chrono::nanoseconds time) { current->push_back(time); });
    ASSERT_TRUE(takesReachTheRouter(controller, 1));
    const double one = microseconds(timesOfOne(kind), 0.5);
    Flooder flooder(kind);

    for (int turn = 0; turn < 8; ++turn) // by turns, so that the machine's own moods fall on both
    {
        const bool isFlooding = turn % 2 == 1;
        const std::size_t before = flooder.answers();
        flooder.setFlooding(isFlooding);
        if (isFlooding)
        {
            ASSERT_TRUE(testsupport::waitUntil([&] { return flooder.answers() > before + 10; }));
        }
        else
        {
            std::size_t last = 0;
            const auto isAllAnswered = [&] {
                std::this_thread::sleep_for(20ms);
                const std::size_t now = flooder.answers();
                return std::exchange(last, now) == now;
            };
            ASSERT_TRUE(testsupport::waitUntil(isAllAnswered, 60s));
        }
        current = isFlooding ? &flooded : &quiet;
        for (std::uint32_t i = 0; i < 1000; ++i)
        {
            ASSERT_EQ(controller.take({{.level = videoLevel, .lprId = 42, .input = 1 + i % 288, .output = 1 + i % 7}}),
                      std::vector<std::uint32_t>{0});
        }
    }

    std::cout << "beside a flood of " << kind.name << ", microseconds for a take:\n";
    for (const double quantile : {0.5, 0.99, 0.999})
    {
        std::cout << "quantile " << quantile << ": " << microseconds(quiet, quantile) << " us alone, "
                  << microseconds(flooded, quantile) << " us beside the flood, factor "
                  << microseconds(flooded, quantile) / microseconds(quiet, quantile) << '\n';
    }
    std::cout << "one message of the flood by itself: " << one << " us\nflood: " << flooder.answers()
              << " commands answered\n";
    EXPECT_LT(microseconds(flooded, 0.5), microseconds(quiet, 0.5) + 1.5 * one);
    if (isOptimised)
    {
        EXPECT_LT(microseconds(flooded, 0.5), factor * microseconds(quiet, 0.5));
    }
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(LogFloodTest, UnknownCommandsSlowAnotherControllerByABoundedFactor)
{
    measure(unknownCommands(), 1.5);
}

TEST_F(LogFloodTest, RefusedTakesSlowAnotherControllerByABoundedFactor)
{
    measure(takesOnNoLevel(), 16);
}

} // namespace e2e
