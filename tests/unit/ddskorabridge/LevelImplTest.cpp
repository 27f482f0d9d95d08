#include "ddskorabridge/LevelImpl.h"

#include "FakeXptStatus.h"
#include "RecordingXptTarget.h"
#include "koracommand/LevelAccess.h"
#include "tests/support/LogRecorder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <vector>

using namespace com::tallowcrest::dds_::routing;

namespace
{

using Calls = std::vector<std::string>;

// Inputs 1 to 10 are crosspoints 101 to 110, outputs 1 to 20 are crosspoints 201 to 220.
const MappingNumbers numbers{.numXptsPer = 1,
                             .xptInputStart = 101,
                             .numXptInputs = 10,
                             .controllerInputStart = 1,
                             .xptOutputStart = 201,
                             .numXptOutputs = 20,
                             .controllerOutputStart = 1};
// The same with four crosspoints per controller number: two inputs, five outputs.
const MappingNumbers groups{.numXptsPer = 4,
                            .xptInputStart = 101,
                            .numXptInputs = 10,
                            .controllerInputStart = 1,
                            .xptOutputStart = 201,
                            .numXptOutputs = 20,
                            .controllerOutputStart = 1};
constexpr std::uint32_t when = 0x02000007;
constexpr std::uint32_t last = std::numeric_limits<std::uint32_t>::max();

struct Status
{
    std::uint32_t result = 99;
    std::uint32_t output = 99;
    std::uint32_t input = 99;
    std::uint32_t lprState = 99;
    std::uint32_t lprId = 99;

    bool operator==(const Status&) const = default;
};

void PrintTo(const Status& status, std::ostream* os)
{
    *os << "result " << status.result << " output " << status.output << " input " << status.input << " lprState "
        << status.lprState << " lprId " << status.lprId;
}

class LevelImplTest : public testing::Test
{
protected:
    Status statusOf(LevelImpl& level, std::uint32_t output)
    {
        Status status;
        status.output = output;
        status.result = level.getOutputStatus(output, status.input, status.lprState, status.lprId);
        return status;
    }

    std::vector<Status> changesOf(LevelImpl& level, std::uint32_t connection)
    {
        std::vector<Status> changes;
        Status status;
        level.beginOutputChanges(connection);
        while (level.getNextOutputChange(status.result, status.output, status.input, status.lprState, status.lprId))
        {
            changes.push_back(status);
        }
        return changes;
    }

    testsupport::LogRecorder m_log;
    std::shared_ptr<RecordingXptTarget> m_target = std::make_shared<RecordingXptTarget>();
    std::shared_ptr<FakeXptStatus> m_status = std::make_shared<FakeXptStatus>();
};

TEST_F(LevelImplTest, TakeChecksThenSetsTheMappedCrosspoint)
{
    LevelImpl sut(m_target, m_status, numbers);

    EXPECT_EQ(sut.take(42, 3, 20, when), 0U);

    EXPECT_EQ(m_target->calls, (Calls{"checkTake 220 103 42", "take 220 103 42 33554439"}));
    EXPECT_EQ(m_log.takeTexts(), Calls{});
}

TEST_F(LevelImplTest, TakeOfAnInputOutsideTheLevelIsRefused)
{
    LevelImpl sut(m_target, m_status, numbers);

    EXPECT_EQ(sut.take(42, 11, 21, when), 3U);

    EXPECT_EQ(m_target->calls, Calls{});
    EXPECT_EQ(m_log.takeTexts(), Calls{"INFO take(controllerInput 11, controllerOutput 21 lprid 42) esfInvalidSrc"});
}

TEST_F(LevelImplTest, TakeToAnOutputOutsideTheLevelIsRefused)
{
    LevelImpl sut(m_target, m_status, numbers);

    EXPECT_EQ(sut.take(last, 10, 21, when), 4U);

    EXPECT_EQ(m_target->calls, Calls{});
    EXPECT_EQ(m_log.takeTexts(), Calls{"INFO take(controllerInput 10, controllerOutput 21 lprid -1) esfInvalidDst"});
}

TEST_F(LevelImplTest, TakeThatTheTargetsRefuseSetsNothing)
{
    LevelImpl sut(m_target, m_status, numbers);
    m_target->results[205] = 12;

    EXPECT_EQ(sut.take(42, 1, 5, when), 12U);

    EXPECT_EQ(m_target->calls, Calls{"checkTake 205 101 42"});
    EXPECT_EQ(m_log.takeTexts(),
              Calls{"INFO take(controllerInput 1, controllerOutput 5 lprid 42, result 12) not permitted"});
}

TEST_F(LevelImplTest, TakeOfAGroupChecksAllBeforeItSetsAny)
{
    LevelImpl sut(m_target, m_status, groups);

    EXPECT_EQ(sut.take(1, 2, 5, when), 0U);

    EXPECT_EQ(m_target->calls, (Calls{"checkTake 217 105 1", "checkTake 218 106 1", "checkTake 219 107 1",
                                      "checkTake 220 108 1", "take 217 105 1 33554439", "take 218 106 1 33554439",
                                      "take 219 107 1 33554439", "take 220 108 1 33554439"}));
}

TEST_F(LevelImplTest, TakeOfAGroupStopsAtTheFirstRefusal)
{
    LevelImpl sut(m_target, m_status, groups);
    m_target->results[218] = 13;
    m_target->results[219] = 4;

    EXPECT_EQ(sut.take(1, 2, 5, when), 13U);

    EXPECT_EQ(m_target->calls, (Calls{"checkTake 217 105 1", "checkTake 218 106 1"}));
}

struct LprCommand
{
    std::uint32_t command;
    std::uint32_t force;
    LPRState state;
};

class LevelImplLprTest : public LevelImplTest, public testing::WithParamInterface<LprCommand>
{};

TEST_P(LevelImplLprTest, ACommandIsCheckedThenSetAsTheBusState)
{
    LevelImpl sut(m_target, m_status, numbers);

    EXPECT_EQ(sut.setOutputLPR(1, GetParam().command, 42, when), 0U);

    EXPECT_EQ(m_target->calls, (Calls{"checkLpr 201 " + std::to_string(GetParam().force) + " 42",
                                      "setLpr 201 42 " + std::to_string(GetParam().state) + " 33554439"}));
    EXPECT_EQ(m_log.takeTexts(), Calls{});
}

INSTANTIATE_TEST_SUITE_P(Commands, LevelImplLprTest,
                         testing::Values(LprCommand{0, 0, LPR_RELEASED}, LprCommand{1, 0, LPR_LOCKED},
                                         LprCommand{2, 0, LPR_PROTECTED}, LprCommand{3, 0, LPR_RELEASED},
                                         LprCommand{16, 1, LPR_RELEASED}, LprCommand{17, 0, LPR_RELEASED},
                                         LprCommand{last, 0, LPR_RELEASED}),
                         [](const auto& command) { return "Command" + std::to_string(command.param.command); });

TEST_F(LevelImplTest, LprOfAnOutputOutsideTheLevelIsRefusedWithoutALine)
{
    LevelImpl sut(m_target, m_status, numbers);

    EXPECT_EQ(sut.setOutputLPR(21, 1, 42, when), 4U);
    EXPECT_EQ(sut.setOutputLPR(0, 16, 42, when), 4U);

    EXPECT_EQ(m_target->calls, Calls{});
    EXPECT_EQ(m_log.takeTexts(), Calls{});
}

TEST_F(LevelImplTest, LprThatTheTargetsRefuseSetsNothing)
{
    LevelImpl sut(m_target, m_status, groups);
    m_target->results[202] = 13;

    EXPECT_EQ(sut.setOutputLPR(1, 2, 42, when), 13U);

    EXPECT_EQ(m_target->calls, (Calls{"checkLpr 201 0 42", "checkLpr 202 0 42"}));
    EXPECT_EQ(m_log.takeTexts(), Calls{"INFO setLPR(controllerOutput 1 lprid 42) not permitted"});
}

TEST_F(LevelImplTest, StatusIsReportedInControllerNumbersAndCodes)
{
    LevelImpl sut(m_target, m_status, numbers);
    m_status->outputs[201] = {101, LPR_RELEASED, 0};
    m_status->outputs[202] = {105, LPR_PROTECTED, 7};
    m_status->outputs[203] = {110, LPR_LOCKED, 8};
    m_status->outputs[204] = {110, static_cast<LPRState>(3), 9};

    EXPECT_EQ(statusOf(sut, 1), (Status{0, 1, 1, 0, 0}));
    EXPECT_EQ(statusOf(sut, 2), (Status{0, 2, 5, 2, 7}));
    EXPECT_EQ(statusOf(sut, 3), (Status{0, 3, 10, 1, 8}));
    EXPECT_EQ(statusOf(sut, 4), (Status{0, 4, 10, 0, 9}));
}

TEST_F(LevelImplTest, StatusOfAnOutputOutsideTheLevelIsZeroes)
{
    LevelImpl sut(m_target, m_status, numbers);

    EXPECT_EQ(statusOf(sut, 21), (Status{4, 21, 0, 0, 0}));
}

TEST_F(LevelImplTest, StatusOfAnOutputBeyondTheTableIsZeroes)
{
    LevelImpl sut(m_target, m_status, numbers);

    EXPECT_EQ(statusOf(sut, 20), (Status{4, 20, 0, 0, 0}));

    LevelImpl withInputZero(m_target, m_status, {.numXptInputs = 9, .controllerInputStart = 5, .numXptOutputs = 9});

    EXPECT_EQ(statusOf(withInputZero, 8), (Status{4, 8, 0, 0, 0}));
}

TEST_F(LevelImplTest, StatusWithASourceOutsideTheLevelKeepsHolderAndState)
{
    LevelImpl sut(m_target, m_status, numbers);
    m_status->outputs[201] = {111, LPR_LOCKED, 8};
    m_status->outputs[202] = {last, LPR_PROTECTED, 9};

    EXPECT_EQ(statusOf(sut, 1), (Status{3, 1, 0, 1, 8}));
    EXPECT_EQ(statusOf(sut, 2), (Status{3, 2, 0, 2, 9}));
}

TEST_F(LevelImplTest, StatusOfAGroupNeedsConsecutiveSources)
{
    LevelImpl sut(m_target, m_status, groups);
    for (std::uint32_t i = 0; i < 8; ++i)
    {
        m_status->outputs[201 + i] = {105 + i % 4, LPR_RELEASED, 0};
    }

    EXPECT_EQ(statusOf(sut, 1), (Status{0, 1, 2, 0, 0}));

    m_status->outputs[204].input = 107;
    m_status->outputs[208].lprState = LPR_LOCKED;

    EXPECT_EQ(statusOf(sut, 1).result, 25U);
    EXPECT_EQ(statusOf(sut, 2).result, 0U);

    m_status->outputs.erase(207);

    EXPECT_EQ(statusOf(sut, 2).result, 4U);
}

/// Ranges of outputs that begin or end inside or outside the block, or wrap; one crosspoint per number or four.
class LevelImplStatusesTest : public LevelImplTest, public testing::WithParamInterface<MappingNumbers>
{};

TEST_P(LevelImplStatusesTest, StatusesOfARangeAreThoseOfItsOutputs)
{
    LevelImpl sut(m_target, m_status, GetParam());
    for (std::uint32_t i = 0; i < 300; i += i % 7 == 6 ? 2U : 1U) // some are beyond the table
    {
        m_status->outputs[i] = {i * 5 % 330, static_cast<LPRState>(i % 3), i + 1};
    }
    for (const std::uint32_t first : {0U, 1U, 70U, last - 3})
    {
        for (const std::uint32_t count : {0U, 1U, 64U, 65U, 300U})
        {
            std::vector<OutputStatus> statuses(count, OutputStatus{99, 99, 99, 99});
            std::vector<OutputSource> sources(count, OutputSource{99, 99});

            sut.getOutputStatuses(first, std::span(statuses));
            sut.getOutputStatuses(first, std::span(sources));

            for (std::uint32_t i = 0; i < count; ++i)
            {
                const Status alone = statusOf(sut, first + i);
                ASSERT_EQ(statuses[i], (OutputStatus{alone.result, alone.input, alone.lprState, alone.lprId}))
                    << "output " << first + i << " of " << count << " from " << first;
                ASSERT_EQ(sources[i], (OutputSource{alone.result, alone.input}))
                    << "output " << first + i << " of " << count << " from " << first;
            }
        }
    }
}

constexpr MappingNumbers statusesNumbers(std::uint32_t numXptsPer, std::uint32_t xptOutputStart)
{
    return {.numXptsPer = numXptsPer,
            .xptInputStart = 0,
            .numXptInputs = 320,
            .controllerInputStart = 1,
            .xptOutputStart = xptOutputStart,
            .numXptOutputs = 288,
            .controllerOutputStart = 1};
}

INSTANTIATE_TEST_SUITE_P(Levels, LevelImplStatusesTest,
                         testing::Values(statusesNumbers(1, 0), statusesNumbers(1, 50), statusesNumbers(1, last - 9),
                                         statusesNumbers(4, 0)));

TEST_F(LevelImplTest, ChangesCarryTheStatusOfTheOutput)
{
    LevelImpl sut(m_target, m_status, numbers);
    m_status->outputs[205] = {103, LPR_LOCKED, 42};

    sut.noteSourceChange(205);
    sut.noteLprChange(220);

    const std::vector<Status> expected = {{0, 5, 3, 1, 42}, {4, 20, 0, 0, 0}};
    EXPECT_EQ(changesOf(sut, 0), expected);
    EXPECT_EQ(changesOf(sut, 0), std::vector<Status>{});
    EXPECT_EQ(changesOf(sut, 15), expected);
}

TEST_F(LevelImplTest, ChangesOfCrosspointsOutsideTheLevelAreIgnored)
{
    LevelImpl sut(m_target, m_status, numbers);

    sut.noteSourceChange(200);
    sut.noteSourceChange(221);
    sut.noteLprChange(1);

    EXPECT_EQ(changesOf(sut, 0), std::vector<Status>{});
}

TEST_F(LevelImplTest, ANewConnectionIsGivenEveryOutput)
{
    LevelImpl sut(m_target, m_status, numbers);

    sut.notifyNewConnection(3);

    EXPECT_EQ(changesOf(sut, 2).size(), 0U);
    EXPECT_EQ(changesOf(sut, 3).size(), 20U);
}

TEST_F(LevelImplTest, IsSameComparesManagersAndNumbers)
{
    const LevelImpl sut(m_target, m_status, numbers);
    MappingNumbers otherNumbers = numbers;
    otherNumbers.controllerOutputStart = 2;

    EXPECT_TRUE(sut.isSame(LevelImpl(m_target, m_status, numbers)));
    EXPECT_FALSE(sut.isSame(LevelImpl(m_target, m_status, otherNumbers)));
    EXPECT_FALSE(sut.isSame(LevelImpl(std::make_shared<RecordingXptTarget>(), m_status, numbers)));
    EXPECT_FALSE(sut.isSame(LevelImpl(m_target, std::make_shared<FakeXptStatus>(), numbers)));
    EXPECT_FALSE(sut.isSame(LevelInvalid()));
}

TEST_F(LevelImplTest, ShowPrintsTheSevenNumbers)
{
    const LevelImpl sut(m_target, m_status,
                        {.numXptsPer = 1,
                         .xptInputStart = 1,
                         .numXptInputs = 2304,
                         .controllerInputStart = 10,
                         .xptOutputStart = 100,
                         .numXptOutputs = 288,
                         .controllerOutputStart = last});
    testing::internal::CaptureStdout();

    sut.show();

    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "numXptsPer 1, IN (xpt     1, num  2304, ctl    10)   OUT (xpt   100 num   288 ctl    -1)\n");
}

} // namespace
