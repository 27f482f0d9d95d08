#include "buswrappers/GateDrops.h"

#include "bustypes/SampleCheck.h"
#include "buswrappers/SampleGate.h"
#include "runtime/util/Metrics.h"
#include "tests/support/LogRecorder.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

using namespace com::tallowcrest::routing;
using com::tallowcrest::util::countOf;
namespace bus = com::tallowcrest::dds_::routing;

namespace
{

const std::vector<std::string> reasons{"partition_text", "partition_wildcard", "name_text", "topology",
                                       "level_size",     "block_range",        "no_place",  "other"};

/// By how much each reason's counter grows meanwhile; those that do not are left out.
std::map<std::string, std::uint64_t> growth(const std::function<void()>& meanwhile)
{
    const auto counts = [] {
        std::map<std::string, std::uint64_t> all;
        for (const std::string& reason : reasons)
        {
            all[reason] = countOf("korabridge_gate_dropped_total", "reason=\"" + reason + "\"");
        }
        return all;
    };
    const auto before = counts();
    meanwhile();
    std::map<std::string, std::uint64_t> grown;
    for (const auto& [reason, count] : counts())
    {
        if (count != before.at(reason))
        {
            grown[reason] = count - before.at(reason);
        }
    }
    return grown;
}

template <typename T>
void judge(const T& data)
{
    const dds::sub::SampleInfo info(true, dds::sub::status::DataState(dds::sub::status::InstanceState::Alive),
                                    dds::core::Time(0), dds::core::InstanceHandle(1), dds::core::InstanceHandle(1));
    SampleGate<T>("TopicX", {}).sound(dds::sub::LoanedSamples<T>({dds::sub::Sample<T>(data, info)}));
}

using Growth = std::map<std::string, std::uint64_t>;

} // namespace

TEST(GateDropsTest, EachFaultOfASampleHasACounterOfItsOwn)
{
    const testsupport::LogRecorder log;

    EXPECT_EQ(growth([] { judge(bus::RouterMember{3, "R1\n", 0}); }), (Growth{{"partition_text", 1}}));
    EXPECT_EQ(growth([] { judge(bus::RouterMember{3, "*", 0}); }), (Growth{{"partition_wildcard", 1}}));
    EXPECT_EQ(
        growth([] { judge(bus::ComponentInfo{.frameId = 1, .componentId = 2, .name = "\x1b", .description = ""}); }),
        (Growth{{"name_text", 1}}));
    EXPECT_EQ(growth([] { judge(bus::MacroLevel{.levelId = 1, .numMacroXptOutputs = 0}); }),
              (Growth{{"level_size", 1}}));
    EXPECT_EQ(growth([] {
                  judge(bus::MacroLevel{.levelId = 1, .macroXptOutputStart = 0xffffffff, .numMacroXptOutputs = 2});
              }),
              (Growth{{"block_range", 1}}));
    EXPECT_EQ(growth([] { countUnsound(bus::fault::topology); }), (Growth{{"topology", 1}}));
    EXPECT_EQ(growth([] { countUnsound("never said"); }), (Growth{{"other", 1}}));
    EXPECT_EQ(growth([] { judge(bus::RouterMember{3, "R1", 0}); }), Growth{});
}

TEST(GateDropsTest, EachSampleThatIsTurnedAwayCounts)
{
    const auto filter = filterFor<bus::MacroLevel>(
        {.has = [](const bus::MacroLevel& level) { return level.levelId <= 10; }, .mostOthers = 1}, [] {});
    const auto offer = [&](std::uint16_t levelId) { filter({.levelId = levelId}); };

    EXPECT_EQ(growth([&] {
                  offer(10);
                  offer(100);
              }),
              Growth{});
    EXPECT_EQ(growth([&] {
                  offer(101);
                  offer(101);
                  offer(102);
              }),
              (Growth{{"no_place", 3}}));
}
