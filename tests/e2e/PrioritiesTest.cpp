#include "tests/e2e/support/BridgeFixture.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>

using namespace e2e;

namespace
{

class PrioritiesTest : public BridgeFixture
{
protected:
    static int niceOf(id_t thread) { return ::getpriority(PRIO_PROCESS, thread); }
    /// Whether this process, and so the bridge, may prefer threads.
    static bool mayPrefer()
    {
        return std::async(std::launch::async,
                          [] { return ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), -10) == 0; })
            .get();
    }
    /// The nice values of the bridge's threads, by the threads' names.
    std::multimap<std::string, int> niceValues()
    {
        std::multimap<std::string, int> values;
        for (const auto& task :
             std::filesystem::directory_iterator("/proc/" + std::to_string(bridge().pid()) + "/task"))
        {
            errno = 0;
            const int nice = niceOf(static_cast<id_t>(std::stoi(task.path().filename())));
            std::ifstream file(task.path() / "comm");
            std::string name;
            if (errno == 0 && std::getline(file, name)) // else it has ended meanwhile
            {
                values.emplace(name, nice);
            }
        }
        return values;
    }
};

} // namespace

TEST_F(PrioritiesTest, AfterJoinsTheApartmentAloneIsPreferredAndTheStoreStandsBack)
{
    const int ordinary = niceOf(0);
    std::map<std::string, int> expected{{"Bridge Apartmen", mayPrefer() ? -10 : ordinary},
                                        {"Durable store", 10},
                                        {"Durable record", ordinary},
                                        {"Kora Server", ordinary}};
    startJoined();
    router().reAnnounce();
    auto controller = connectController();
    ASSERT_TRUE(testsupport::waitUntil([&] {
        return controller.take({{videoLevel, 0, 5, 7}}) == std::vector<std::uint32_t>{0};
    }));

    std::multimap<std::string, int> values;
    // A thread has its parent's name until it has given itself its own, and the apartment the ordinary priority while a
    // step of the join runs.
    EXPECT_TRUE(testsupport::waitUntil([&] {
        values = niceValues();
        return std::ranges::all_of(expected, [&](const auto& thread) {
            const auto found = values.find(thread.first);
            return values.count(thread.first) == 1 && found->second == thread.second;
        });
    }));
    for (const auto& [name, nice] : values)
    {
        const auto found = expected.find(name);
        EXPECT_EQ(nice, found == expected.end() ? ordinary : found->second) << name;
    }
}
