#include "tools/korasim/CommandLine.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

using namespace korasim;

namespace
{

class CommandLineTest : public testing::Test
{
protected:
    std::optional<CommandLine> parse(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "korasim");
        std::vector<char*> argv;
        for (std::string& argument : arguments)
        {
            argv.push_back(argument.data());
        }
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        auto result = parseCommandLine(static_cast<int>(argv.size()), argv.data(), m_status);
        testing::internal::GetCapturedStdout();
        m_errors = testing::internal::GetCapturedStderr();
        return result;
    }

    int m_status = -1;
    std::string m_errors;
};

} // namespace

TEST_F(CommandLineTest, WithoutArgumentsIsTheUsualRouter)
{
    const auto sut = parse({});

    ASSERT_TRUE(sut);
    EXPECT_EQ(sut->router.partition, "R1");
    EXPECT_EQ(sut->router.video.outputs, 288U);
    EXPECT_EQ(sut->router.audio.inputs, 2304U);
    EXPECT_FALSE(sut->isExitingAtEof);
    EXPECT_FALSE(sut->isSilentStart);
}

TEST_F(CommandLineTest, EveryOptionReachesTheRouter)
{
    const auto sut = parse({"--frame",        "18",
                            "--partition",    "P2",
                            "--member-index", "3",
                            "--video-size",   "16x8",
                            "--audio-size",   "64x32",
                            "--level",        "3,video,1,16,2,1,8,4",
                            "--level",        "4,audio,1,64,1,1,32,1",
                            "--refuse",       "video:7",
                            "--refuse",       "audio:9",
                            "--status-delay", "250",
                            "--exit-at-eof",  "--silent"});

    ASSERT_TRUE(sut) << m_errors;
    EXPECT_EQ(sut->router.frameId, 18U);
    EXPECT_EQ(sut->router.partition, "P2");
    EXPECT_EQ(sut->router.memberIndex, 3U);
    EXPECT_EQ(sut->router.video.inputs, 16U);
    EXPECT_EQ(sut->router.video.outputs, 8U);
    EXPECT_EQ(sut->router.audio.inputs, 64U);
    EXPECT_EQ(sut->router.audio.outputs, 32U);
    ASSERT_EQ(sut->router.levels.size(), 2U);
    EXPECT_EQ(sut->router.levels[0].levelId, 3U);
    EXPECT_EQ(sut->router.levels[0].controllerInputStart, 2U);
    EXPECT_EQ(sut->router.levels[0].controllerOutputStart, 4U);
    EXPECT_EQ(sut->router.levels[1].numMacroXptOutputs, 32U);
    EXPECT_EQ(sut->router.refused,
              (std::set<std::pair<Signal, std::uint32_t>>{{Signal::Video, 7}, {Signal::Audio, 9}}));
    EXPECT_EQ(sut->router.statusDelay, std::chrono::milliseconds(250));
    EXPECT_TRUE(sut->isExitingAtEof);
    EXPECT_TRUE(sut->isSilentStart);
}

struct Complaint
{
    std::vector<std::string> arguments;
    std::string text;
};

class CommandLineComplaintTest : public CommandLineTest, public testing::WithParamInterface<Complaint>
{};

TEST_P(CommandLineComplaintTest, WrongArgumentEndsWithStatus2AndSaysWhatIsWrong)
{
    EXPECT_FALSE(parse(GetParam().arguments));

    EXPECT_EQ(m_status, 2);
    EXPECT_NE(m_errors.find(GetParam().text), std::string::npos) << m_errors;
}

INSTANTIATE_TEST_SUITE_P(
    All, CommandLineComplaintTest,
    testing::Values(Complaint{{"--video-size", "16"}, "--video-size: outputs is missing"},
                    Complaint{{"--audio-size", "16x8x4"}, "--audio-size: '4' is one word too many"},
                    Complaint{{"--refuse", "both:7"}, "--refuse: 'both' is neither video nor audio"},
                    Complaint{{"--refuse", "video:7:8"}, "--refuse: '8' is one word too many"},
                    Complaint{{"--level", "3,video,1,16,1,1,16,1,1"}, "--level: '1' is one word too many"},
                    Complaint{{"--partition", "seventeen letters"}, "longer than 16 characters"},
                    Complaint{{"--nonsense"}, "nonsense"}));
