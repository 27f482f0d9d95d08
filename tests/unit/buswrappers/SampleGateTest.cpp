#include "buswrappers/SampleGate.h"

#include "tests/support/LogRecorder.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using namespace com::tallowcrest::routing;
using com::tallowcrest::dds_::routing::MacroLevel;
using com::tallowcrest::dds_::routing::RouterMember;
using dds::sub::status::InstanceState;

namespace
{

using Lines = std::vector<std::string>;
using Members = dds::sub::LoanedSamples<RouterMember>;

dds::sub::Sample<RouterMember> member(std::uint32_t frameId, const std::string& partition, bool isValid = true)
{
    return {{frameId, partition, 0},
            dds::sub::SampleInfo(isValid, dds::sub::status::DataState(InstanceState::Alive), dds::core::Time(0),
                                 dds::core::InstanceHandle(frameId), dds::core::InstanceHandle(1))};
}

std::vector<std::uint32_t> framesOf(const Members& members)
{
    std::vector<std::uint32_t> frames;
    for (const auto& sample : members)
    {
        frames.push_back(sample.data().frameId);
    }
    return frames;
}

MacroLevel level(std::uint16_t levelId)
{
    return {.levelId = levelId};
}

} // namespace

TEST(SampleGate, FaultySamplesAreDroppedWithAWarningAndTheOthersKeepTheirOrder)
{
    const testsupport::LogRecorder log;
    SampleGate<RouterMember> sut("TopicX", {});

    const auto sound = sut.sound(Members({member(3, "R1"), member(4, "*"), member(5, "R1\n"), member(2, "R2")}));

    EXPECT_EQ(framesOf(sound), (std::vector<std::uint32_t>{3, 2}));
    EXPECT_EQ(log.texts(), (Lines{R"(WARN TopicX sample ignored: the partition holds a wildcard: )"
                                  R"({"frameId":4,"routerPartition":"*","memberIndex":0})",
                                  R"(WARN TopicX sample ignored: the partition is not printable ASCII: )"
                                  R"({"frameId":5,"routerPartition":"R1\n","memberIndex":0})"}));
}

TEST(SampleGate, TextOfAFaultySampleIsMadeVisible)
{
    for (const char* const partition : {"\x1b[2J", "\x7f*", "\u009b", "\u202e"})
    {
        const testsupport::LogRecorder log;
        SampleGate<RouterMember> sut("TopicX", {});

        sut.sound(Members({member(3, partition)}));

        ASSERT_EQ(log.texts().size(), 1U);
        EXPECT_TRUE(com::tallowcrest::util::isVisibleText(log.texts()[0])) << log.texts()[0];
    }
}

TEST(SampleGate, SamplesWithoutDataHaveNothingThatCouldBeWrong)
{
    SampleGate<RouterMember> sut("TopicX", {});

    EXPECT_EQ(framesOf(sut.sound(Members({member(3, "*", false)}))), std::vector<std::uint32_t>{3});
}

TEST(SampleGate, InstancesWithAPlaceAndTheFirstOthersComeIn)
{
    const auto sut = filterFor<MacroLevel>(
        {.has = [](const MacroLevel& sample) { return sample.levelId <= 10; }, .mostOthers = 2}, [] {});

    EXPECT_TRUE(sut(level(100)));
    EXPECT_TRUE(sut(level(101)));
    EXPECT_FALSE(sut(level(102)));
    EXPECT_TRUE(sut(level(10))) << "the others take nobody's place";
    EXPECT_TRUE(sut(level(100))) << "it has come in before";
}

TEST(SampleGate, ThatOthersAreTurnedAwayIsToldOnceAReader)
{
    const testsupport::LogRecorder log;
    int looks = 0;
    SampleGate<MacroLevel> sut("TopicX",
                               {.has = [](const MacroLevel&) { return false; }, .mostOthers = 2, .isFullNews = true});
    const auto filter = sut.filter([&looks] { ++looks; });

    for (std::uint16_t levelId = 0; levelId < 100; ++levelId)
    {
        filter(level(levelId));
        sut.sound({});
    }

    EXPECT_EQ(looks, 1);
    EXPECT_EQ(log.texts(), Lines{"WARN TopicX sample ignored: more instances than there is room for: 2"});
}

TEST(SampleGate, ANewReaderHasNewPlaces)
{
    SampleGate<MacroLevel> sut("TopicX", {.has = [](const MacroLevel&) { return false; }, .mostOthers = 1});
    const auto first = sut.filter([] {});
    EXPECT_TRUE(first(level(1)));
    EXPECT_FALSE(first(level(2)));

    const auto second = sut.filter([] {});

    EXPECT_TRUE(second(level(2)));
}

TEST(SampleGate, AnEndOfAnInstanceThatNoTableHasIsDroppedWithoutAWord)
{
    const testsupport::LogRecorder log;
    SampleGate<RouterMember> sut("TopicX", {.has = [](const RouterMember& sample) { return sample.frameId <= 10; }});

    EXPECT_EQ(framesOf(sut.sound(Members({member(10, "", false), member(11, "", false)}))),
              std::vector<std::uint32_t>{10});
    EXPECT_EQ(log.texts(), Lines{}) << "a larger router may give up outputs";
}

TEST(SampleGate, WhereTheFirstOnesHaveThePlacesEachEndIsTheHandlers)
{
    SampleGate<RouterMember> sut(
        "TopicX", {.has = [](const RouterMember&) { return false; }, .mostOthers = 1, .isFullNews = true});
    sut.filter([] {})({100, "R1", 0});
    const auto filterOfTheNextReader = sut.filter([] {});

    EXPECT_EQ(framesOf(sut.sound(Members({member(100, "", false)}))), std::vector<std::uint32_t>{100});
}

TEST(SampleGate, ManyEndsOfInstancesWithoutAPlaceAreWarnedOfOnceAReader)
{
    const testsupport::LogRecorder log;
    SampleGate<RouterMember> sut("TopicX", {.has = [](const RouterMember&) { return false; }});
    const auto end = [&sut](std::uint32_t frameId) { sut.sound(Members({member(frameId, "", false)})); };
    constexpr auto most = SampleGate<RouterMember>::mostQuietEnds;
    const auto filter = sut.filter([] {});

    for (std::uint32_t frame = 1; frame <= most; ++frame)
    {
        end(frame);
    }
    EXPECT_EQ(log.texts(), Lines{});
    end(9001);
    end(9002);
    EXPECT_EQ(log.texts(), Lines{"WARN TopicX sample ignored: more ends of instances than it has places for: "
                                 R"({"frameId":9001,"routerPartition":"","memberIndex":0})"});

    const auto next = sut.filter([] {});
    end(9003);
    EXPECT_EQ(log.texts().size(), 1U);
}
