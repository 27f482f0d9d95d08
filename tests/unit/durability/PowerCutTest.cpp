#include "durability/Store.h"
#include "tests/support/DiskRecord.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

using namespace com::tallowcrest::durability;

namespace
{

/// What each output was when: one state for each commit.
using State = std::map<std::string, SourceTime>;

State stateOf(Store& store)
{
    State state;
    for (const StoredRow& row : store.load())
    {
        state[row.instance] = row.written;
    }
    return state;
}

/// A store that is written for a while, and every operation below it.
class PowerCutTest : public testing::Test
{
protected:
    static constexpr std::size_t numCommits = 200; ///< the log is moved into the file several times
    static constexpr std::size_t numCuts = 250;

    PowerCutTest()
    {
        std::filesystem::create_directories(m_path.parent_path());
        Store(m_path).commit({row(1)});
    }

    StoredRow row(std::uint32_t output)
    {
        return {{"com:tallowcrest:routing:R1", "TopicMacroXptOutputVideoTarget"},
                std::to_string(output),
                "type",
                ++m_written,
                "{\"macroXptOutput\":" + std::to_string(output) + "}"};
    }

    /// Below `end`.
    std::uint32_t number(std::uint32_t end) { return static_cast<std::uint32_t>(m_random() % end); }

    testsupport::TempDir m_directory;
    const std::filesystem::path m_path = m_directory.path() / "store" / "durable.db";
    SourceTime m_written = 0;
    std::mt19937 m_random{1};
};

TEST_F(PowerCutTest, StoreOpensAfterACutAtAnyMomentAndMissesNothingThatWasCommitted)
{
    const testsupport::DiskRecord disk(m_path.parent_path());
    std::vector<State> states;
    std::vector<std::size_t> ends; // of each commit, in operations
    {
        Store store(m_path);
        states.push_back(stateOf(store));
        ends.push_back(disk.size());
        for (std::size_t commit = 0; commit < numCommits; ++commit)
        {
            std::vector<StoredRow> rows;
            State state = states.back();
            for (std::uint32_t i = number(40); i < 40; ++i)
            {
                rows.push_back(row(1 + number(288)));
                state[rows.back().instance] = rows.back().written;
            }
            store.commit(rows);
            states.push_back(state);
            ends.push_back(disk.size());
        }
    }

    for (std::size_t cut = 0; cut < numCuts && !HasFailure(); ++cut)
    {
        const std::size_t end = ends.front() + m_random() % (ends.back() - ends.front() + 1);
        SCOPED_TRACE("before operation " + std::to_string(end) + " of " + std::to_string(disk.size()));
        const std::filesystem::path place = m_directory.path() / ("cut" + std::to_string(cut));
        const std::uint32_t percent = number(101);
        disk.restore(place, end, [&] { return number(100) < percent; });

        Store store(place / m_path.filename());
        const State found = stateOf(store);

        const auto committed =
            static_cast<std::size_t>(std::upper_bound(ends.begin(), ends.end(), end) - ends.begin()) - 1;
        const bool isNext = committed + 1 < states.size() && found == states[committed + 1];
        EXPECT_TRUE(found == states[committed] || isNext) << "committed were " << committed;
        std::filesystem::remove_all(place);
    }
}

} // namespace
