#include "durability/Exchange.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

using namespace com::tallowcrest::durability;

namespace
{

using Row = std::tuple<Instance, SourceTime, std::string>;

std::vector<Row> rowsOf(const RowsMessage& message)
{
    std::vector<Row> rows;
    for (const BucketRows::Row& row : message.rows.rows)
    {
        rows.emplace_back(row.instance, row.decision.written, row.decision.content);
    }
    return rows;
}

} // namespace

TEST(ExchangeTest, StatusComesBackAsItWas)
{
    const StatusMessage sut{.bridge = 1, .status = {.digests = {2, 3, 4}, .met = {5}, .wants = {{6, 7}, {8, 9}}}};

    const StatusMessage back = StatusSupport::fromBus(StatusSupport::toBus(sut));

    EXPECT_EQ(back.bridge, 1U);
    EXPECT_EQ(back.status.digests, sut.status.digests);
    EXPECT_EQ(back.status.met, sut.status.met);
    EXPECT_EQ(back.status.wants, sut.status.wants);
}

TEST(ExchangeTest, EmptyStatusComesBackEmpty)
{
    const StatusMessage back = StatusSupport::fromBus(StatusSupport::toBus({}));

    EXPECT_TRUE(back.status.digests.empty());
    EXPECT_TRUE(back.status.met.empty());
    EXPECT_TRUE(back.status.wants.empty());
}

TEST(ExchangeTest, RowsComeBackAsTheyWere)
{
    const RowsMessage sut{.bridge = 1,
                          .rows = {.bucket = 2,
                                   .digest = 3,
                                   .rows = {{4, {.written = 5, .content = "{}"}},
                                            {6, {.written = 7, .content = std::string(512, 'x')}}}}};

    const RowsMessage back = RowsSupport::fromBus(RowsSupport::toBus(sut));

    EXPECT_EQ(back.bridge, 1U);
    EXPECT_EQ(back.rows.bucket, 2U);
    EXPECT_EQ(back.rows.digest, 3U);
    EXPECT_EQ(rowsOf(back), rowsOf(sut));
}

TEST(ExchangeTest, ContentIsCutAtWhatTheBusCarries)
{
    const RowsMessage sut{.bridge = 1, .rows = {.rows = {{4, {.written = 5, .content = std::string(600, 'x')}}}}};

    EXPECT_EQ(rowsOf(RowsSupport::fromBus(RowsSupport::toBus(sut))), (std::vector{Row{4, 5, std::string(512, 'x')}}));
}
