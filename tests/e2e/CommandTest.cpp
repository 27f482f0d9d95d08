#include "koraclient/Errors.h"
#include "tests/e2e/support/BridgeFixture.h"

#include <ctime>

using namespace e2e;
using com::tallowcrest::dds_::routing::LPR_LOCKED;
using com::tallowcrest::dds_::routing::LPR_PROTECTED;
using com::tallowcrest::dds_::routing::LPR_RELEASED;
using koraclient::LprCommand;

namespace
{

using Results = std::vector<std::uint32_t>;

class CommandTest : public BridgeFixture
{
protected:
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(startJoined()); }

    Results lpr(std::uint32_t output, LprCommand command, std::uint32_t lprId)
    {
        return m_client->setOutputLpr({{videoLevel, output, command, lprId}}).results;
    }

    koraclient::KoraClient& client()
    {
        if (!m_client)
        {
            m_client = std::make_unique<koraclient::KoraClient>(connectController());
        }
        return *m_client;
    }

private:
    std::unique_ptr<koraclient::KoraClient> m_client;
};

} // namespace

TEST_F(CommandTest, TakeReachesTheBusAndComesBackAsStatusAndTally)
{
    ASSERT_EQ(client().take({{videoLevel, 42, 5, 7}}), Results{0});

    const auto target = record().waitForTarget(Signal::Video, 7, [](const auto& t) { return t.macroXptInput == 5; });
    ASSERT_TRUE(target);
    EXPECT_EQ(target->lprId, 42U);
    EXPECT_EQ(target->lprState, LPR_RELEASED);
    EXPECT_EQ(target->when >> 24, 2U); // with no house timecode: midnight, drop-frame
    ASSERT_TRUE(waitForInput(client(), videoLevel, 7, 5));
    const auto tally = client().tally(videoLevel, 7, 1);
    EXPECT_EQ(tally.entries, (std::vector<koraclient::TallyEntry>{{0, 5}}));
}

TEST_F(CommandTest, CoherentTakeRoutesVideoAndAudioTogether)
{
    ASSERT_EQ(client().coherentTake({{videoLevel, 0, 8, 3}, {audioLevel, 0, 2304, 2304}}), (Results{0, 0}));

    EXPECT_TRUE(record().waitForTarget(Signal::Video, 3, [](const auto& t) { return t.macroXptInput == 8; }));
    EXPECT_TRUE(record().waitForTarget(Signal::Audio, 2304, [](const auto& t) { return t.macroXptInput == 2304; }));
    EXPECT_TRUE(waitForInput(client(), audioLevel, 2304, 2304));
}

TEST_F(CommandTest, EntriesOfOneTakeAreJudgedOneByOne)
{
    const auto results = client().take({{videoLevel, 0, 289, 1},   // input outside the level
                                        {videoLevel, 0, 1, 289},   // output outside the level
                                        {99, 0, 1, 1},             // no such level
                                        {videoLevel, 0, 288, 288}, // the last of each
                                        {videoLevel, 0, 0, 1}});   // numbers start at 1

    EXPECT_EQ(results, (Results{3, 4, 5, 0, 3}));
    EXPECT_TRUE(record().waitForTarget(Signal::Video, 288, [](const auto& t) { return t.macroXptInput == 288; }));
    EXPECT_EQ(record().targetCount(Signal::Video), 1U);
}

TEST_F(CommandTest, LockedOutputRefusesEverybodyUntilReleased)
{
    client();
    ASSERT_EQ(lpr(4, LprCommand::lock, 77), Results{0});
    const auto locked =
        record().waitForTarget(Signal::Video, 4, [](const auto& t) { return t.lprState == LPR_LOCKED; });
    ASSERT_TRUE(locked);
    EXPECT_EQ(locked->lprId, 77U);

    EXPECT_EQ(client().take({{videoLevel, 77, 1, 4}}), Results{12}); // the holder included
    EXPECT_EQ(client().take({{videoLevel, 0, 1, 4}}), Results{12});
    EXPECT_EQ(lpr(4, LprCommand::release, 5), Results{12});
    EXPECT_EQ(lpr(4, LprCommand::release, 77), Results{0});
    EXPECT_EQ(client().take({{videoLevel, 5, 1, 4}}), Results{0});
}

TEST_F(CommandTest, ProtectedOutputObeysItsHolderAndNobodyElse)
{
    client();
    ASSERT_EQ(lpr(4, LprCommand::protect, 77), Results{0});

    EXPECT_EQ(client().take({{videoLevel, 5, 1, 4}}), Results{13});
    EXPECT_EQ(lpr(4, LprCommand::lock, 5), Results{13});
    EXPECT_EQ(client().take({{videoLevel, 77, 1, 4}}), Results{0});
    ASSERT_TRUE(waitForInput(client(), videoLevel, 4, 1));
    const auto status = client().outputStatus(0, videoLevel, 4, 1).entries.at(0);
    EXPECT_EQ(status, (koraclient::OutputStatus{0, 1, 2, 77}));
}

TEST_F(CommandTest, ForcedReleaseOverridesAnyHolder)
{
    client();
    ASSERT_EQ(lpr(4, LprCommand::lock, 77), Results{0});

    EXPECT_EQ(lpr(4, LprCommand::forcedRelease, 5), Results{0});

    const auto released =
        record().waitForTarget(Signal::Video, 4, [](const auto& t) { return t.lprState == LPR_RELEASED; });
    ASSERT_TRUE(released);
    EXPECT_EQ(released->lprId, 5U);
    EXPECT_EQ(client().take({{videoLevel, 5, 1, 4}}), Results{0});
}

TEST_F(CommandTest, LprStatusWordTellsThatAnEntryFailedAndTheOthersWereDone)
{
    const auto answer = client().setOutputLpr({{videoLevel, 1, LprCommand::lock, 9},
                                               {videoLevel, 289, LprCommand::lock, 9},
                                               {videoLevel, 2, LprCommand::protect, 9}});

    EXPECT_EQ(answer.status, 0x80U);
    EXPECT_EQ(answer.results, (Results{0, 4, 0}));
    EXPECT_TRUE(record().waitForTarget(Signal::Video, 2, [](const auto& t) { return t.lprState == LPR_PROTECTED; }));
}

TEST_F(CommandTest, RangesThatAMemberNoLongerOffersRefuseTakes)
{
    router().disposeRanges(Signal::Video, 0);
    ASSERT_TRUE(bridge().waitForOutput("removeRouterMemberMacroXpts  TopicMacroXptOutputVideoTarget"));
    EXPECT_EQ(client().take({{videoLevel, 0, 1, 1}}), Results{3});

    router().publishRanges(Signal::Video, {0, 1, 288, 1, 10}); // outputs 1 to 10 only
    ASSERT_TRUE(testsupport::waitUntil([&] { return client().take({{videoLevel, 0, 1, 1}}) == Results{0}; }));
    EXPECT_EQ(client().take({{videoLevel, 0, 1, 11}}), Results{4});
}

TEST_F(CommandTest, StatusOfUnroutedOutputsAndBeyondTheLevel)
{
    const auto block = client().outputStatus(0, videoLevel, 287, 3);

    ASSERT_EQ(block.entries.size(), 3U);
    EXPECT_EQ(block.entries[0].result, 3U); // no route known: its source is outside the level
    EXPECT_EQ(block.entries[2], (koraclient::OutputStatus{4, 0, 0, 0}));
}

TEST_F(CommandTest, InformationCommandsAnswerTheirFixedWords)
{
    EXPECT_EQ(client().partitionInfo(),
              (koraclient::PartitionInfo{2, 1, 9, 1, 288, 1, 1, 288, 1, 2, 7, 1, 2304, 1, 1, 2304, 1}));
    EXPECT_EQ(client().portPresent(), 0U);
    const auto card = client().cardPresence(0xabcd);
    EXPECT_EQ(card.word, 0xabcdU);
    EXPECT_EQ(card.words, (std::array<std::uint32_t, 4>{0, 1, 0, 0}));
    const auto status = client().systemStatus(2);
    ASSERT_EQ(status.words.size(), 16U);
    EXPECT_NEAR(static_cast<double>(status.words.at(9)), static_cast<double>(std::time(nullptr)), 5.0);
}

TEST_F(CommandTest, UnsupportedSystemStatusFormatIsAnsweredAsFormatFour)
{
    EXPECT_EQ(client().systemStatus(3).format, 4U);
}

TEST_F(CommandTest, UnknownMessageGetsTheErrorResponseAndTheConnectionStays)
{
    const std::uint32_t tag = client().nextTag();

    const auto response = client().request(0x99, {1, 2, 3});

    EXPECT_EQ(response.words(), (std::vector<std::uint32_t>{12, 0, 24, 0x80000000, tag, 8}));
    EXPECT_EQ(client().portPresent(), 0U);
    EXPECT_TRUE(bridge().waitForOutput("Unprocessed Cmd: 0x00000099 Unexpected Msg"));
}

TEST_F(CommandTest, LocalTargetIsAdoptedByAnOutputWithoutATarget)
{
    router().localTarget(Signal::Video, xpt(20, 6));

    const auto target = record().waitForTarget(Signal::Video, 20);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->macroXptInput, 6U);
    EXPECT_TRUE(waitForInput(client(), videoLevel, 20, 6));
}

TEST_F(CommandTest, LocalTargetForARoutedOutputOnlyRepublishesItsTarget)
{
    ASSERT_EQ(client().take({{videoLevel, 0, 2, 21}}), Results{0});
    ASSERT_TRUE(waitForInput(client(), videoLevel, 21, 2));
    record().clear();

    router().localTarget(Signal::Video, xpt(21, 9));

    const auto target = record().waitForTarget(Signal::Video, 21);
    ASSERT_TRUE(target);
    EXPECT_EQ(target->macroXptInput, 2U);
}

TEST_F(CommandTest, LevelFromTheBusServesItsOwnNumbers)
{
    // Level 5: controller inputs from 101 and outputs from 201 onto macro inputs from 11 and outputs from 21.
    router().publishLevel({5, com::tallowcrest::dds_::routing::LST_Video, 11, 8, 101, 21, 4, 201});
    ASSERT_TRUE(testsupport::waitUntil([&] { return client().take({{5, 0, 101, 201}}) == Results{0}; }));

    EXPECT_TRUE(record().waitForTarget(Signal::Video, 21, [](const auto& t) { return t.macroXptInput == 11; }));
    EXPECT_EQ(client().take({{5, 0, 109, 201}, {5, 0, 101, 205}}), (Results{3, 4}));
    EXPECT_TRUE(waitForInput(client(), 5, 201, 101));

    router().disposeLevel(5); // a level that was built stays
    router().setStatus(Signal::Video, xpt(22, 12));
    EXPECT_TRUE(waitForInput(client(), 5, 202, 102));
}

TEST_F(CommandTest, AudioLevelWinsANumberThatBothSignalTypesHave)
{
    router().publishLevel({9, com::tallowcrest::dds_::routing::LST_Video, 1, 8, 1, 1, 8, 1});
    ASSERT_TRUE(testsupport::waitUntil([&] { return client().take({{9, 0, 1, 1}}) == Results{0}; }));
    router().publishLevel({9, com::tallowcrest::dds_::routing::LST_Audio, 1, 8, 1, 1, 8, 1});
    record().clear();

    EXPECT_TRUE(testsupport::waitUntil([&] {
        client().take({{9, 0, 2, 2}});
        return record().targetCount(Signal::Audio) > 0;
    }));
}
