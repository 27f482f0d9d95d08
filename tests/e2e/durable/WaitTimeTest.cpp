#include "durability/Store.h"
#include "tests/e2e/durable/DurableFixture.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"

#include <csignal>
#include <set>

using namespace e2e;
using com::tallowcrest::durability::Store;
using com::tallowcrest::durability::StoredRow;

namespace
{

constexpr std::uint32_t videoOutputs = 288;
constexpr std::uint32_t audioOutputs = 2304;

class WaitTimeTest : public DurableFixture
{
protected:
    static void addTargets(std::vector<StoredRow>& rows, const std::string& topic, std::uint32_t outputs)
    {
        for (std::uint32_t i = 1; i <= outputs; ++i)
        {
            rows.push_back({{"com:tallowcrest:routing:R1", topic},
                            std::to_string(i),
                            "com::tallowcrest::dds_::routing::MacroXptOutput",
                            1700000000000000 + i,
                            R"({"macroXptOutput":)" + std::to_string(i) + R"(,"macroXptInput":)" +
                                std::to_string(outputs + 1 - i) + R"(,"when":5,"lprId":0,"lprState":0})"});
        }
    }
    void fillStore() const
    {
        std::vector<StoredRow> rows;
        addTargets(rows, "TopicMacroXptOutputVideoTarget", videoOutputs);
        addTargets(rows, "TopicMacroXptOutputAudioTarget", audioOutputs);
        Store(store()).commit(rows);
    }
    void expectAll(Signal signal, std::uint32_t outputs)
    {
        for (std::uint32_t i = 1; i <= outputs; ++i)
        {
            const auto target = record().waitForTarget(signal, i);
            ASSERT_TRUE(target) << i;
            ASSERT_EQ(target->macroXptInput, outputs + 1 - i) << i;
        }
    }
};

} // namespace

TEST_F(WaitTimeTest, NothingStoredAndNobodyThereIsDoneInHalfASecond)
{
    startOnStore();
    ASSERT_TRUE(record().waitForComponent(frameId, bridgeId, Liveness::Alive));

    router().announce();
    waitForJoin();

    EXPECT_LE(joinTime(), testsupport::scaled(std::chrono::milliseconds(500)));
}

TEST_F(WaitTimeTest, BridgeThatFindsItsMembershipAtOnceIsDoneInHalfASecond)
{
    router().announce();

    startJoinedOnStore();

    EXPECT_LE(joinTime(), testsupport::scaled(std::chrono::milliseconds(500)));
}

TEST_F(WaitTimeTest, FullStoreIsPublishedWithinASecond)
{
    fillStore();
    router().announce();

    startJoinedOnStore();

    EXPECT_LE(joinTime(), testsupport::scaled(std::chrono::seconds(1)));
    expectAll(Signal::Video, videoOutputs);
    expectAll(Signal::Audio, audioOutputs);
}
