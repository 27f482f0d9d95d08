// However many look, the bridge has one controller more.
#include "tests/e2e/panel/PanelFixture.h"

#include <sys/socket.h>

#include <ctime>
#include <map>
#include <sstream>

using namespace e2e;
using testsupport::EventStream;
using testsupport::httpGet;
using testsupport::httpPost;
using testsupport::waitUntil;

namespace
{

class StreamsTest : public PanelFixture
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(startJoined());
        ASSERT_NO_FATAL_FAILURE(startPanel());
    }

    /// The value of a metric without labels, or with them in its name.
    static double metric(const std::string& name)
    {
        std::istringstream lines(httpGet(port, "/metrics").body);
        for (std::string line; std::getline(lines, line);)
        {
            if (line.starts_with(name + " "))
            {
                return std::stod(line.substr(name.size() + 1));
            }
        }
        return -1;
    }

    /// What the bridge has used of a processor so far.
    std::chrono::nanoseconds bridgeTime()
    {
        clockid_t clock{};
        timespec used{};
        EXPECT_EQ(::clock_getcpuclockid(bridge().pid(), &clock), 0);
        EXPECT_EQ(::clock_gettime(clock, &used), 0);
        return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
    }

    /// How many requests the panel makes of the bridge in some time.
    static double requestsIn(std::chrono::milliseconds time)
    {
        const double before = metric("korapanel_link_answer_seconds_count");
        const auto end = std::chrono::steady_clock::now() + time;
        (void)waitUntil([&] { return std::chrono::steady_clock::now() >= end; }, time * 2);
        return metric("korapanel_link_answer_seconds_count") - before;
    }

    std::vector<std::unique_ptr<EventStream>> open(std::size_t count)
    {
        std::vector<std::unique_ptr<EventStream>> streams;
        for (std::size_t i = 0; i < count; ++i)
        {
            streams.push_back(std::make_unique<EventStream>(port));
            EXPECT_TRUE(streams.back()->waitFor("event: resync\n"));
        }
        return streams;
    }
};

} // namespace

TEST_F(StreamsTest, TwoHundredBrowsersCostTheBridgeNoMoreThanOne)
{
    const auto first = open(1);
    auto before = bridgeTime();
    const double withOne = requestsIn(std::chrono::seconds(2));
    const auto timeWithOne = bridgeTime() - before;
    const auto rest = open(199);
    ASSERT_EQ(metric("korapanel_streams"), 200);
    before = bridgeTime();
    const double withAll = requestsIn(std::chrono::seconds(2));
    const auto timeWithAll = bridgeTime() - before;

    // Quick polling of two levels, however busy this machine is; never more.
    const double most = 2 * 2 * 1000.0 / 25 + 20;
    EXPECT_GT(withOne, 0);
    EXPECT_LE(withOne, most);
    EXPECT_LE(withAll, most);
    // A request takes longer on a processor that others use as well; two hundred times as much it never takes.
    EXPECT_LE(timeWithAll, 3 * timeWithOne + std::chrono::milliseconds(20));
    // 15 of the 16 slots are free for others.
    std::vector<koraclient::KoraClient> controllers;
    for (int i = 0; i < 15; ++i)
    {
        controllers.push_back(connectController());
        EXPECT_EQ(controllers.back().portPresent(), 0U);
    }
    ASSERT_EQ(take(3, 7).status, 200);
    for (const auto& stream : rest)
    {
        EXPECT_TRUE(stream->waitFor(R"({"output":3,"input":7,)"));
    }
    RecordProperty("requests_with_1", std::to_string(withOne));
    RecordProperty("requests_with_200", std::to_string(withAll));
    RecordProperty("bridge_ns_with_1", std::to_string(timeWithOne.count()));
    RecordProperty("bridge_ns_with_200", std::to_string(timeWithAll.count()));
}

TEST_F(StreamsTest, BrowserThatDoesNotReadIsDroppedAndNobodyElseIs)
{
    const auto socket = testsupport::TcpSocket::connect(port);
    ASSERT_TRUE(socket);
    const int small = 4096;
    ASSERT_EQ(::setsockopt(socket->fd(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small), 0);
    socket->send(testsupport::httpText(port, "GET", "/api/events", {}, ""));
    EventStream reader(port);
    ASSERT_TRUE(waitUntil([] { return metric("korapanel_streams") == 2; }));
    std::string takes = R"({"takes":[)";
    for (int i = 0; i < 1000; ++i)
    {
        takes += std::string(i == 0 ? "" : ",") + R"({"level":1,"output":3,"input":70000})"; // refused, but pressed
    }
    takes += "]}";

    for (int i = 0; i < 5; ++i)
    {
        ASSERT_EQ(httpPost(port, "/api/takes", takes).status, 200);
        reader.clear();
        ASSERT_TRUE(reader.waitFor("70000"));
    }
    // It neither takes anything nor says anything.
    EXPECT_TRUE(waitUntil(
        [&] {
            (void)reader.waitFor(":\n\n", std::chrono::milliseconds(10));
            return metric("korapanel_streams") == 1;
        },
        std::chrono::seconds(60)));
    reader.clear();
    ASSERT_EQ(take(3, 7).status, 200);
    EXPECT_TRUE(reader.waitFor(R"("outputs":[{"output":3,"input":7,)"));
}
