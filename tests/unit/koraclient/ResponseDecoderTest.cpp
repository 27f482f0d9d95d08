#include "koraclient/ResponseDecoder.h"

#include "tests/fakes/FakeBridge.h"

#include <gtest/gtest.h>

using namespace koraclient;

namespace
{

constexpr std::uint32_t tag = 0xcafe0001;
constexpr std::uint32_t sequence = 7;

/// A message with a correct header and tag and the given words from offset 20 on.
Message message(std::uint32_t id, const std::vector<std::uint32_t>& words)
{
    std::vector<std::uint32_t> all{12, sequence, static_cast<std::uint32_t>(20 + 4 * words.size()), id, tag};
    all.insert(all.end(), words.begin(), words.end());
    return Message(bytesOf(all));
}

Message withWord(const Message& original, std::size_t offset, std::uint32_t word)
{
    std::vector<std::uint8_t> bytes(original.bytes().begin(), original.bytes().end());
    WireWriter(bytes).setBigEndianWordAt(offset, word);
    return Message(bytes);
}

Expectation expecting(std::uint32_t id)
{
    return Expectation{.responseId = id, .tag = tag, .sequence = sequence};
}

} // namespace

TEST(ResponseDecoder, GivenTakeResponseReturnsItsResults)
{
    const Message response = message(0x80000050, {3, 0, 12, 4});
    const ResponseDecoder sut(response, expecting(0x80000050));

    const auto results = sut.takeResults(3);

    ASSERT_TRUE(results.isOk()) << results.fault().text;
    EXPECT_EQ(results.value(), (std::vector<std::uint32_t>{0, 12, 4}));
}

TEST(ResponseDecoder, GivenTakeResponseWithoutEntriesReturnsNoResults)
{
    const Message response = message(0x80000050, {0});
    const ResponseDecoder sut(response, expecting(0x80000050));

    const auto results = sut.takeResults(0);

    ASSERT_TRUE(results.isOk()) << results.fault().text;
    EXPECT_TRUE(results.value().empty());
}

TEST(ResponseDecoder, GivenLprResponseReturnsStatusAndResults)
{
    const Message response = message(0x80000002, {0x80, 2, 0, 13});
    const ResponseDecoder sut(response, expecting(0x80000002));

    const auto result = sut.lprResult(2);

    ASSERT_TRUE(result.isOk()) << result.fault().text;
    EXPECT_EQ(result.value().status, 0x80U);
    EXPECT_EQ(result.value().results, (std::vector<std::uint32_t>{0, 13}));
}

TEST(ResponseDecoder, GivenLprStatusThatContradictsItsResultsReportsIt)
{
    const Message response = message(0x80000002, {0, 1, 13});
    const ResponseDecoder sut(response, expecting(0x80000002));

    const auto result = sut.lprResult(1);

    ASSERT_FALSE(result.isOk());
    EXPECT_EQ(result.fault().text, "unexpected response: status 0x00000000 came, 0x00000080 was expected");
}

TEST(ResponseDecoder, GivenTallyResponseReturnsEntriesInOrder)
{
    const Message response = message(0x8000005e, {1, 10, 2, 0, 5, 3, 0});
    const ResponseDecoder sut(response, expecting(0x8000005e));

    const auto tally = sut.tally(1, 10, 2);

    ASSERT_TRUE(tally.isOk()) << tally.fault().text;
    EXPECT_EQ(tally.value().first, 10U);
    EXPECT_EQ(tally.value().entries, (std::vector<TallyEntry>{{0, 5}, {3, 0}}));
}

TEST(ResponseDecoder, GivenFewerTallyEntriesThanAskedForAcceptsThem)
{
    const Message response = message(0x8000005e, {1, 10, 1, 0, 5});
    const ResponseDecoder sut(response, expecting(0x8000005e));

    const auto tally = sut.tally(1, 10, 2000);

    ASSERT_TRUE(tally.isOk()) << tally.fault().text;
    EXPECT_EQ(tally.value().entries.size(), 1U);
}

TEST(ResponseDecoder, GivenStatusOfFormat1ReadsTwoWordsAnEntry)
{
    const Message response = message(0x80000052, {1, 4, 0, 2, 0, 9, 4, 0});
    const ResponseDecoder sut(response, expecting(0x80000052));

    const auto block = sut.outputStatus(1, 4, 0, 2);

    ASSERT_TRUE(block.isOk()) << block.fault().text;
    EXPECT_EQ(block.value().entries, (std::vector<OutputStatus>{{0, 9, 0, 0}, {4, 0, 0, 0}}));
}

TEST(ResponseDecoder, GivenStatusOfAnotherFormatReadsFourWordsAnEntry)
{
    const Message response = message(0x80000052, {0, 4, 6, 1, 0, 9, 2, 77});
    const ResponseDecoder sut(response, expecting(0x80000052));

    const auto block = sut.outputStatus(0, 4, 6, 1);

    ASSERT_TRUE(block.isOk()) << block.fault().text;
    EXPECT_EQ(block.value().entries, (std::vector<OutputStatus>{{0, 9, 2, 77}}));
}

TEST(ResponseDecoder, GivenChangesOfFormat1ReadsThreeWordsAnEntry)
{
    const Message response = message(0x80000053, {1, 4, 1, 0, 0, 31, 9});
    const ResponseDecoder sut(response, expecting(0x80000053));

    const auto changes = sut.outputChanges(1, 4);

    ASSERT_TRUE(changes.isOk()) << changes.fault().text;
    EXPECT_FALSE(changes.value().more);
    EXPECT_EQ(changes.value().entries, (std::vector<OutputChange>{{0, 31, 9, 0, 0}}));
}

TEST(ResponseDecoder, GivenFullChangesReportsMore)
{
    std::vector<std::uint32_t> words{2, 4, 64, 1};
    for (std::uint32_t i = 0; i < 64; ++i)
    {
        words.insert(words.end(), {0, i, i + 100, 1, 5});
    }
    const Message response = message(0x80000053, words);
    const ResponseDecoder sut(response, expecting(0x80000053));

    const auto changes = sut.outputChanges(2, 4);

    ASSERT_TRUE(changes.isOk()) << changes.fault().text;
    EXPECT_TRUE(changes.value().more);
    ASSERT_EQ(changes.value().entries.size(), 64U);
    EXPECT_EQ(changes.value().entries.back(), (OutputChange{0, 63, 163, 1, 5}));
}

TEST(ResponseDecoder, GivenMoreFlagWithoutFullMessageReportsIt)
{
    const Message response = message(0x80000053, {1, 4, 0, 1});
    const ResponseDecoder sut(response, expecting(0x80000053));

    const auto changes = sut.outputChanges(1, 4);

    ASSERT_FALSE(changes.isOk());
    EXPECT_EQ(changes.fault().text, "unexpected response: a more flag of 1 came, 0 for 0 entries was expected");
}

TEST(ResponseDecoder, GivenPartitionInfoReturnsItsSeventeenWords)
{
    const Message response = message(0x80000059, {2, 1, 9, 1, 288, 1, 1, 288, 1, 2, 7, 1, 2304, 1, 1, 2304, 1});
    const ResponseDecoder sut(response, expecting(0x80000059));

    const auto info = sut.partitionInfo();

    ASSERT_TRUE(info.isOk()) << info.fault().text;
    EXPECT_EQ(info.value(), (PartitionInfo{2, 1, 9, 1, 288, 1, 1, 288, 1, 2, 7, 1, 2304, 1, 1, 2304, 1}));
}

TEST(ResponseDecoder, GivenPortPresentReturnsItsWord)
{
    const Message response = message(0x80004000, {0});
    const ResponseDecoder sut(response, expecting(0x80004000));

    const auto value = sut.portPresent();

    ASSERT_TRUE(value.isOk()) << value.fault().text;
    EXPECT_EQ(value.value(), 0U);
}

TEST(ResponseDecoder, GivenCardPresenceReturnsWordAndRest)
{
    const Message response = message(0x800000a2, {5, 0, 1, 0, 0});
    const ResponseDecoder sut(response, expecting(0x800000a2));

    const auto presence = sut.cardPresence(5);

    ASSERT_TRUE(presence.isOk()) << presence.fault().text;
    EXPECT_EQ(presence.value().words, (std::array<std::uint32_t, 4>{0, 1, 0, 0}));
}

namespace
{

struct SystemFormat
{
    std::uint32_t asked;
    std::uint32_t answered;
    std::size_t length;
};

class SystemStatusDecoding : public testing::TestWithParam<SystemFormat>
{};

} // namespace

TEST_P(SystemStatusDecoding, AcceptsTheFormatsLength)
{
    std::vector<std::uint32_t> words((GetParam().length - 20) / 4, 103);
    words.front() = GetParam().answered;
    const Message response = message(0x80005000, words);
    const ResponseDecoder sut(response, expecting(0x80005000));

    const auto status = sut.systemStatus(GetParam().asked);

    ASSERT_TRUE(status.isOk()) << status.fault().text;
    EXPECT_EQ(status.value().format, GetParam().answered);
    EXPECT_EQ(status.value().words.size(), words.size() - 1);
}

TEST_P(SystemStatusDecoding, RefusesAnotherLength)
{
    std::vector<std::uint32_t> words((GetParam().length - 20) / 4 + 1, 103);
    words.front() = GetParam().answered;
    const Message response = message(0x80005000, words);
    const ResponseDecoder sut(response, expecting(0x80005000));

    EXPECT_FALSE(sut.systemStatus(GetParam().asked).isOk());
}

INSTANTIATE_TEST_SUITE_P(Formats, SystemStatusDecoding,
                         testing::Values(SystemFormat{0, 0, 68}, SystemFormat{1, 4, 112}, SystemFormat{2, 2, 88},
                                         SystemFormat{4, 4, 112}, SystemFormat{6, 6, 116}, SystemFormat{7, 4, 112}));

TEST(ResponseDecoder, GivenErrorResponseReportsItsCode)
{
    const Message response = message(0x80000000, {8});
    const ResponseDecoder sut(response, expecting(0x80000050));

    const auto results = sut.takeResults(1);

    ASSERT_FALSE(results.isOk());
    EXPECT_TRUE(results.fault().isErrorResponse);
    EXPECT_EQ(results.fault().errorCode, 8U);
}

namespace
{

struct Spoilt
{
    const char* name;
    std::size_t offset;
    std::uint32_t word;
    const char* fault;
};

class SpoiltTake : public testing::TestWithParam<Spoilt>
{};

} // namespace

TEST_P(SpoiltTake, IsRefusedWithWhatCame)
{
    const Message response = withWord(message(0x80000050, {2, 0, 0}), GetParam().offset, GetParam().word);
    const ResponseDecoder sut(response, expecting(0x80000050));

    const auto results = sut.takeResults(2);

    ASSERT_FALSE(results.isOk());
    EXPECT_FALSE(results.fault().isErrorResponse);
    EXPECT_EQ(results.fault().text, GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(
    Words, SpoiltTake,
    testing::Values(Spoilt{"protocol", 0, 14, "unexpected response: protocol type 14 came, 12 was expected"},
                    Spoilt{"sequence", 4, 9, "unexpected response: sequence 9 came, 7 was expected"},
                    Spoilt{"length", 8, 28, "unexpected response: the length word 28 came, 32 was expected"},
                    Spoilt{"id", 12, 0x80000055,
                           "unexpected response: response id 0x80000055 came, 0x80000050 was expected"},
                    Spoilt{"tag", 16, 1, "unexpected response: tag 0x00000001 came, 0xcafe0001 was expected"},
                    Spoilt{"fewer", 20, 1, "unexpected response: a count of 1 came, 2 was expected"},
                    Spoilt{"more", 20, 3, "unexpected response: a count of 3 came, 2 was expected"},
                    Spoilt{"huge", 20, 0xffffffff, "unexpected response: a count of 4294967295 came, 2 was expected"}),
    [](const auto& spoilt) { return spoilt.param.name; });

TEST(ResponseDecoder, GivenCountThatTheLengthDoesNotHoldRefusesIt)
{
    const Message response = message(0x8000005e, {1, 10, 3, 0, 5});
    const ResponseDecoder sut(response, expecting(0x8000005e));

    const auto tally = sut.tally(1, 10, 3);

    ASSERT_FALSE(tally.isOk());
    EXPECT_EQ(tally.fault().text, "unexpected response: a length of 40 came, 56 was expected");
}

TEST(ResponseDecoder, GivenCountWhoseLengthWrapsAroundRefusesIt)
{
    // (0x20000001 + 4) * 8 is 40 in 32 bits, the length of this message.
    const Message response = message(0x8000005e, {1, 10, 0x20000001, 0, 5});
    const ResponseDecoder sut(response, expecting(0x8000005e));

    EXPECT_FALSE(sut.tally(1, 10, 0xffffffff).isOk());
}

TEST(ResponseDecoder, GivenAnotherLevelThanAskedForReportsIt)
{
    const Message response = message(0x8000005e, {2, 10, 1, 0, 5});
    const ResponseDecoder sut(response, expecting(0x8000005e));

    const auto tally = sut.tally(1, 10, 1);

    ASSERT_FALSE(tally.isOk());
    EXPECT_EQ(tally.fault().text, "unexpected response: level 2 came, 1 was expected");
}

TEST(ResponseDecoder, GivenTooShortMessageForItsFieldsReportsTheLength)
{
    const Message response = message(0x80000053, {1, 4});
    const ResponseDecoder sut(response, expecting(0x80000053));

    const auto changes = sut.outputChanges(1, 4);

    ASSERT_FALSE(changes.isOk());
    EXPECT_EQ(changes.fault().text, "unexpected response: a length of 28 came, at least 36 was expected");
}

TEST(ResponseDecoder, GivenEveryTruncationOfAResponseRefusesIt)
{
    const Message whole = message(0x80000053, {2, 4, 1, 0, 0, 31, 9, 1, 5});
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        std::vector<std::uint8_t> bytes(whole.bytes().begin(), whole.bytes().begin() + static_cast<long>(size));
        if (size >= 12)
        {
            WireWriter(bytes).setBigEndianWordAt(8, static_cast<std::uint32_t>(size));
        }
        const Message response(bytes);
        const ResponseDecoder sut(response, expecting(0x80000053));

        EXPECT_FALSE(sut.outputChanges(2, 4).isOk()) << size;
    }
}

TEST(ResponseDecoder, GivenBytesWithTheExpectedHeaderFindsNothingWrong)
{
    const auto bytes = bytesOf({12, sequence, 24, 0x80004000, tag, 0});
    const ResponseDecoder sut(bytes, expecting(0x80004000));

    EXPECT_FALSE(sut.checkHeader().has_value());
}

TEST(ResponseDecoder, GivenAHeaderThatDiffersSaysWhere)
{
    struct Case
    {
        std::size_t offset;
        const char* text;
    };
    const Message right = message(0x80004000, {0});
    for (const Case& wrong : {Case{0, "protocol type"}, Case{4, "sequence"}, Case{8, "length word"},
                              Case{12, "response id"}, Case{16, "tag"}})
    {
        const Message response = withWord(right, wrong.offset, 0x00100000);
        const auto fault = ResponseDecoder(response, expecting(0x80004000)).checkHeader();
        ASSERT_TRUE(fault.has_value()) << wrong.text;
        EXPECT_NE(fault->text.find(wrong.text), std::string::npos) << fault->text;
        EXPECT_FALSE(fault->isErrorResponse);
    }
}

TEST(ResponseDecoder, GivenAnErrorResponseSaysSoOfTheHeaderAlready)
{
    const Message response = message(0x80000000, {8});
    const auto fault = ResponseDecoder(response, expecting(0x80004000)).checkHeader();

    ASSERT_TRUE(fault.has_value());
    EXPECT_TRUE(fault->isErrorResponse);
    EXPECT_EQ(fault->errorCode, 8U);
}
