#include "durability/Sqlite.h"
#include "koraclient/Errors.h"
#include "koraclient/KoraClient.h"
#include "tests/e2e/allocations/BridgeWithin.h"
#include "tests/support/BusCalls.h"
#include "tests/support/TimeFactor.h"
#include "tests/support/WaitUntil.h"

#include <cstdlib>
#include <string>
#include <vector>

using koraclient::KoraClient;
using testsupport::waitUntil;

namespace
{

constexpr std::uint32_t videoLevel = 1;
constexpr const char* videoTargets = "TopicMacroXptOutputVideoTarget";

/// A bus that refuses what the bridge writes, with a store that works.
class RefusedWriteTest : public BridgeWithin
{
protected:
    static std::vector<koraclient::TakeEntry> entry(std::uint32_t input, std::uint32_t output)
    {
        return {{.level = videoLevel, .lprId = 42, .input = input, .output = output}};
    }
    /// The input that the store keeps for an output; 0 for none.
    static std::int64_t stored(std::uint32_t output)
    {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes it
        const com::tallowcrest::durability::SqliteConnection store(std::getenv("KORABRIDGE_DURABLE_STORE"));
        const std::string sql = "SELECT json_extract(payload, '$.macroXptInput') FROM durable_sample WHERE topic = '" +
                                std::string(videoTargets) + "' AND instance = '" + std::to_string(output) + "'";
        return store.number(sql.c_str());
    }
};

} // namespace

TEST_F(RefusedWriteTest, TakeThatTheBusRefusesIsAnsweredWithTheErrorAndIsNotKept)
{
    KoraClient controller("127.0.0.1", koraPort, testsupport::scaled(std::chrono::seconds(10)));
    ASSERT_TRUE(waitUntil([&] { return controller.take(entry(5, 7)).at(0) == 0; }));
    ASSERT_TRUE(waitUntil([] { return stored(7) == 5; }));
    testsupport::BusCalls bus;
    bus.failWrites(videoTargets, DDS_RETCODE_TIMEOUT);

    try
    {
        controller.take(entry(6, 7));
        ADD_FAILURE() << "answered as if it had been done";
    }
    catch (const koraclient::ErrorResponse& error)
    {
        EXPECT_EQ(error.code(), 8U);
    }

    bus.failWrites(videoTargets, DDS_RETCODE_OK);
    ASSERT_EQ(controller.take(entry(9, 8)).at(0), 0U) << "the same connection works on";
    ASSERT_TRUE(waitUntil([] { return stored(8) == 9; }));
    EXPECT_EQ(stored(7), 5) << "what was kept before the later take";
}
