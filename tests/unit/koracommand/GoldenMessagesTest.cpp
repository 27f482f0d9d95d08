#include "tests/unit/koracommand/CmdHandlerFixture.h"
#include "tests/vectors/VectorFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{

const std::string requestSuffix = "_request";

/// The golden messages that come as request and response, without suffix.
std::vector<std::string> pairNames()
{
    std::vector<std::string> names;
    for (const std::string& name : testsupport::vectorNames())
    {
        if (name.ends_with(requestSuffix))
        {
            names.push_back(name.substr(0, name.size() - requestSuffix.size()));
        }
    }
    return names;
}

class GoldenMessagesTest : public CmdHandlerFixture, public ::testing::WithParamInterface<std::string>
{
protected:
    GoldenMessagesTest()
    {
        m_level->outputs = {{5, {0, 105, 1, 7}}, {6, {0, 106, 0, 0}}};
        m_level->changes = {{5, {0, 105, 1, 7}}, {6, {0, 106, 0, 0}}};
    }
};

TEST_P(GoldenMessagesTest, RequestIsAnsweredByteForByte)
{
    const Bytes request = testsupport::loadVector(GetParam() + requestSuffix);
    const auto rsp = m_sut->handle(request);
    ASSERT_NE(rsp, nullptr);
    EXPECT_EQ(bytesOf(*rsp), testsupport::loadVector(GetParam() + "_response"));
}

INSTANTIATE_TEST_SUITE_P(AllPairs, GoldenMessagesTest, ::testing::ValuesIn(pairNames()),
                         [](const auto& test) { return test.param; });

TEST(GoldenMessageFilesTest, EveryMessageIsAsLongAsItsHeaderSays)
{
    for (const std::string& name : testsupport::vectorNames())
    {
        const Bytes message = testsupport::loadVector(name);
        EXPECT_EQ(WireReader(message).bigEndianWordAt(8), message.size()) << name;
    }
}

TEST(GoldenMessageFilesTest, ThereIsOneForEveryCommandAndForTheError)
{
    std::vector<std::uint32_t> ids;
    for (const std::string& name : pairNames())
    {
        ids.push_back(WireReader(testsupport::loadVector(name + requestSuffix)).bigEndianWordAt(12));
    }
    for (const std::uint32_t id : {0x50U, 0x51U, 0x52U, 0x53U, 0x55U, 0x59U, 0x5eU, 0xa2U, 0x4000U, 0x5000U, 0x99U})
    {
        EXPECT_NE(std::find(ids.begin(), ids.end(), id), ids.end()) << std::hex << id;
    }
}

TEST(VectorFileTest, ReadsWordsAndSkipsComments)
{
    EXPECT_EQ(testsupport::parseVector("# title\n\n  0  0000000c  # type\n  4  0a0B0c0d\n", "text"),
              (Bytes{0, 0, 0, 12, 0x0a, 0x0b, 0x0c, 0x0d}));
}

TEST(VectorFileTest, RefusesWhatIsNotAWord)
{
    for (const char* const text :
         {"0 c\n", "0 0000000g\n", "0\n", "zero 00000000\n", "0 00000000 00000000\n", "0 000000000\n", "4 00000000\n",
          "0 00000000\n0 00000000\n", "0 00000000\n8 00000000\n"})
    {
        EXPECT_THROW(testsupport::parseVector(text, "text"), std::runtime_error) << text;
    }
}

TEST(VectorFileTest, ErrorNamesTheLine)
{
    try
    {
        testsupport::parseVector("# title\n0 00000000\n4 x\n", "some.txt");
        FAIL() << "no error";
    }
    catch (const std::runtime_error& error)
    {
        EXPECT_NE(std::string(error.what()).find("some.txt:3:"), std::string::npos) << error.what();
    }
}

TEST(VectorFileTest, AbsentFileIsAnError)
{
    EXPECT_THROW(testsupport::loadVector("no_such_message"), std::runtime_error);
}

} // namespace
