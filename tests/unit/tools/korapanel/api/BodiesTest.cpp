#include "tools/korapanel/api/Bodies.h"

#include <gtest/gtest.h>

using namespace korapanel;
using koraclient::LprCommand;

namespace
{

std::string complaintOf(const std::string& body)
{
    try
    {
        (void)readTakes(body, 0);
        return "";
    }
    catch (const BadBody& problem)
    {
        return problem.what();
    }
}

} // namespace

TEST(ReadTakes, GivenEntriesReadsThemWithThePanelsHolder)
{
    const TakesBody body = readTakes(R"({"coherent":true,"takes":[{"level":1,"output":3,"input":7}]})", 42);

    EXPECT_TRUE(body.isCoherent);
    ASSERT_EQ(body.takes.size(), 1U);
    EXPECT_EQ(body.takes[0], (koraclient::TakeEntry{.level = 1, .lprId = 42, .input = 7, .output = 3}));
    EXPECT_FALSE(readTakes(R"({"takes":[{"level":1,"output":3,"input":7}]})", 42).isCoherent);
}

struct BadCase
{
    const char* body;
    const char* complaint;
};

class ReadTakesOf : public testing::TestWithParam<BadCase>
{};

TEST_P(ReadTakesOf, GivenBadBodySaysHow)
{
    EXPECT_EQ(complaintOf(GetParam().body), GetParam().complaint) << GetParam().body;
}

constexpr const char* noList = "The member takes is missing or no list of 1 to 8192 entries.";
constexpr const char* noInput = "The member input is missing or no number from 0 to 4294967295.";
constexpr const char* unknown = "There is a member that has no meaning here.";

INSTANTIATE_TEST_SUITE_P(Bodies, ReadTakesOf,
                         testing::Values(BadCase{"", "The body is not a JSON object."},
                                         BadCase{"[]", "The body is not a JSON object."},
                                         BadCase{"{", "The body is not a JSON object."}, BadCase{"{}", noList},
                                         BadCase{R"({"takes":[]})", noList}, BadCase{R"({"takes":{}})", noList},
                                         BadCase{R"({"takes":[1]})", "An entry is not a JSON object."},
                                         BadCase{R"({"takes":[],"more":1})", unknown},
                                         BadCase{R"({"takes":[{"level":1,"output":3,"input":7,"lprId":0}]})", unknown},
                                         BadCase{R"({"takes":[{"level":1,"output":3}]})", noInput},
                                         BadCase{R"({"takes":[{"level":1,"output":3,"input":-1}]})", noInput},
                                         BadCase{R"({"takes":[{"level":1,"output":3,"input":1.5}]})", noInput},
                                         BadCase{R"({"takes":[{"level":1,"output":3,"input":"7"}]})", noInput},
                                         BadCase{R"({"takes":[{"level":1,"output":3,"input":4294967296}]})", noInput},
                                         BadCase{R"({"coherent":1,"takes":[{"level":1,"output":3,"input":7}]})",
                                                 "The member coherent is neither true nor false."}));

TEST(ReadTakes, GivenMoreEntriesThanTheBoundComplains)
{
    std::string body = R"({"takes":[{"level":1,"output":3,"input":7})";
    for (std::size_t i = 1; i <= mostEntries; ++i)
    {
        body += R"(,{"level":1,"output":3,"input":7})";
    }

    EXPECT_EQ(complaintOf(body + "]}"), noList);
}

TEST(ReadLocks, GivenActionsReadsThemAndNoOthers)
{
    const auto locks = readLocks(R"({"locks":[{"level":1,"output":3,"action":"lock"},{"level":1,"output":4,)"
                                 R"("action":"protect"},{"level":2,"output":5,"action":"release"}]})",
                                 42);

    ASSERT_EQ(locks.size(), 3U);
    EXPECT_EQ(locks[0], (koraclient::LprEntry{1, 3, LprCommand::lock, 42}));
    EXPECT_EQ(locks[1].command, LprCommand::protect);
    EXPECT_EQ(locks[2].command, LprCommand::release);
    for (const char* const action : {"\"forcedRelease\"", "16", "null", "\"\""})
    {
        EXPECT_THROW((void)readLocks(std::string(R"({"locks":[{"level":1,"output":3,"action":)") + action + "}]}", 42),
                     BadBody)
            << action;
    }
}

TEST(ReadToken, GivenTextReadsItAndElseComplains)
{
    EXPECT_EQ(readToken(R"({"token":"anna.x"})"), "anna.x");
    EXPECT_THROW((void)readToken(R"({"token":1})"), BadBody);
    EXPECT_THROW((void)readToken(R"({"token":"x","more":1})"), BadBody);
    EXPECT_THROW((void)readToken("{}"), BadBody);
}

TEST(NamesText, GivenNamesOfAllLevelsAndOfOneTellsBoth)
{
    std::istringstream in("input 5 CAM 1\nlevel 2 audio\ninput 5 MIC\noutput 7 <b>MON</b>\n");
    const koractl::Names names = koractl::Names::read(in, "names");

    EXPECT_EQ(namesText(names, {1, 2}), R"({"levels":[{"level":1,"inputs":{"5":"CAM 1"},"outputs":{}},)"
                                        R"({"level":2,"inputs":{"5":"MIC"},"outputs":{"7":"<b>MON</b>"}}]})");
}

TEST(DifferenceText, GivenStepsSaysWhatIsThereAndWhatComes)
{
    const koraclient::OutputRow before{
        .output = 3, .result = 0, .input = 7, .lpr = koraclient::OutputLpr{.state = 1, .lprId = 42}};
    const std::vector<koractl::RestoreStep> steps{
        {.wish = {.level = 1, .output = 3, .route = {{8}}, .lpr = koraclient::OutputLpr{}}, .before = before},
        {.wish = {.level = 1, .output = 3, .route = koractl::OutputWish::Route{}, .lpr = {}}, .before = before},
        {.wish = {.level = 1, .output = 3, .route = {}, .lpr = {}}, .before = before, .obstacle = "why"}};

    EXPECT_EQ(differenceText("news", 5, steps),
              R"({"name":"news","difference":[)"
              R"({"level":1,"output":3,"now":7,"then":8,"nowLock":"locked","thenLock":"none","text":""},)"
              R"({"level":1,"output":3,"now":7,"then":0,"nowLock":"locked","thenLock":"locked","text":""},)"
              R"({"level":1,"output":3,"now":7,"then":7,"nowLock":"locked","thenLock":"locked","text":"why"}],)"
              R"("entries":5})");
}
