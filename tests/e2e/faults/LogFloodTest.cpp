#include "koraclient/RequestEncoder.h"
#include "tests/e2e/faults/ShippedLogFixture.h"
#include "tests/support/ThreadTimes.h"

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

constexpr std::uint32_t mostEntries = 509; ///< of a message

/// As many lines as a message can cause, all of them on the one thread that serves everybody: takes on no level.
FloodKind takesOnNoLevel()
{
    const std::vector<koraclient::TakeEntry> takes(mostEntries, {.level = 99, .lprId = 1, .input = 1, .output = 1});
    return {"takes on no level", asText(RequestEncoder(1).take(takes)), (mostEntries + 6) * 4};
}

/// A controller that sends one command after another without waiting for answers.
class Flooder
{
public:
    explicit Flooder(FloodKind kind)
        : m_kind(std::move(kind)), m_socket(TcpSocket::connect(koraPort).value()), m_reader([this] { read(); })
    {
        const int size = 32768; // so that all is answered soon after the flood
        EXPECT_EQ(::setsockopt(m_socket.fd(), SOL_SOCKET, SO_SNDBUF, &size, sizeof size), 0);
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
    /// The answers of a burst leave together, so that none came for a while says nothing.
    bool isAllAnswered() const { return m_answers == m_sent; }

private:
    void write()
    {
        std::string burst;
        std::size_t count = 0;
        for (; burst.size() < 1024; ++count)
        {
            burst += m_kind.request;
        }
        while (!m_isEnding)
        {
            m_isFlooding.wait(false);
            m_sent += count;
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
    std::atomic<std::size_t> m_sent{0}; ///< or about to be
    std::thread m_reader;
    std::thread m_writer;
};

/// A sanitizer makes a line of the log dearer than a take.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isOptimised = false;
#else
constexpr bool isOptimised = true;
#endif

using Times = std::vector<std::chrono::nanoseconds>;

/// The times of one controller's takes.
struct TakeTimes
{
    Times whole;
    Times worked; ///< without what the bridge's two threads and the controller's own waited for a processor
};

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

    /// Times takes of one controller while another floods and while it does not, by turns, and prints the medians. In
    /// every build a take waits for one message of the flood and no more. What it waits for a processor is no part of
    /// that: a flood takes the machine's processors as well, how many it has is not the bridge's doing.
    void measure(const FloodKind& kind);
    /// How long one message of the flood takes by itself.
    static Times timesOfOne(const FloodKind& kind);
    /// What has been waited for a processor by those that serve the one controller there is, and by this thread.
    std::chrono::nanoseconds waited() const;
    void listWhoServes();

    TakeTimes m_quiet;
    TakeTimes m_flooded;
    double m_one = 0; ///< microseconds of one message of the flood by itself

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

private:
    std::vector<std::filesystem::path> m_threads;
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

void LogFloodTest::listWhoServes()
{
    const auto apartment = testsupport::threadsOf(bridge().pid(), "Bridge Apart");
    const auto connection = testsupport::threadsOf(bridge().pid(), "Kora:");
    ASSERT_EQ(apartment.size(), 1U);
    ASSERT_EQ(connection.size(), 1U);
    m_threads = {apartment.front(), connection.front(), testsupport::ownThread()};
}

std::chrono::nanoseconds LogFloodTest::waited() const
{
    std::chrono::nanoseconds sum{0};
    for (const auto& thread : m_threads)
    {
        sum += testsupport::timesOf(thread).value().waited;
    }
    return sum;
}

void LogFloodTest::measure(const FloodKind& kind)
{
    startWithShippedLog("64m");
    auto controller = connectController();
    ASSERT_TRUE(takesReachTheRouter(controller, 1));
    listWhoServes();
    TakeTimes* current = &m_quiet;
    std::chrono::nanoseconds waitedBefore{0};
    controller.observeTimes([&](std::chrono::nanoseconds time) {
        const auto now = waited();
        current->whole.push_back(time);
        current->worked.push_back(time - (now - std::exchange(waitedBefore, now)));
    });
    m_one = microseconds(timesOfOne(kind), 0.5);
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
            ASSERT_TRUE(testsupport::waitUntil([&] { return flooder.isAllAnswered(); }, 60s));
        }
        current = isFlooding ? &m_flooded : &m_quiet;
        waitedBefore = waited();
        for (std::uint32_t i = 0; i < 1000; ++i)
        {
            ASSERT_EQ(controller.take({{.level = videoLevel, .lprId = 42, .input = 1 + i % 288, .output = 1 + i % 7}}),
                      std::vector<std::uint32_t>{0});
        }
    }

    std::cout << "beside a flood of " << kind.name << ", microseconds for a take:\n";
    for (const double quantile : {0.5, 0.99, 0.999})
    {
        std::cout << "quantile " << quantile << ": " << microseconds(m_quiet.whole, quantile) << " us alone, "
                  << microseconds(m_flooded.whole, quantile) << " us beside the flood; without waits for a processor "
                  << microseconds(m_quiet.worked, quantile) << " and " << microseconds(m_flooded.worked, quantile)
                  << '\n';
    }
    std::cout << "one message of the flood by itself: " << m_one << " us\nflood: " << flooder.answers()
              << " commands answered\n";
    EXPECT_LT(microseconds(m_flooded.worked, 0.5), microseconds(m_quiet.whole, 0.5) + 1.5 * m_one);
    EXPECT_EQ(stopBridge(), 0);
}

TEST_F(LogFloodTest, UnknownCommandsSlowAnotherControllerByABoundedFactor)
{
    measure(unknownCommands());
    if (isOptimised)
    {
        EXPECT_LT(microseconds(m_flooded.worked, 0.5), 1.5 * microseconds(m_quiet.whole, 0.5));
    }
}

TEST_F(LogFloodTest, RefusedTakesOfAnotherControllerAreWaitedForOneMessageAtATime)
{
    measure(takesOnNoLevel());
    if (isOptimised)
    {
        EXPECT_LT(m_one, 4.0 * mostEntries * testsupport::timeFactor()); // some two microseconds a line
    }
}

} // namespace e2e
