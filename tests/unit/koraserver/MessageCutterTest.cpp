#include "koraserver/MessageCutter.h"

#include "tests/unit/koraserver/KoraBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using korabytes::header;
using korabytes::message;

namespace
{

/// Feeds `piece`, in as many parts as the free space asks for, and appends what came out to `messages`.
void feed(MessageCutter& sut, std::string_view piece, std::vector<std::string>& messages)
{
    while (!piece.empty())
    {
        const std::span<std::uint8_t> space = sut.freeSpace();
        const std::size_t count = std::min(space.size(), piece.size());
        std::copy_n(piece.begin(), count, space.begin());
        sut.stored(count);
        piece.remove_prefix(count);
        while (const auto whole = sut.next())
        {
            messages.emplace_back(whole->begin(), whole->end());
        }
    }
}

/// Messages of all sorts: the shortest, lengths that are no multiple of 4, payloads that look like headers.
std::vector<std::string> assortedMessages()
{
    return {message(12, 1, 0x50),
            message(12, 2, 0x51, 17),
            message(14, 3, 0x5e, 39, '\xff'),
            message(12, 4, 0x52, 32, '\0'),
            header(12, 5, 32, 0x53) + header(12, 6, 0, 0),
            message(12, 7, 0x50)};
}

std::string joined(const std::vector<std::string>& parts)
{
    std::string whole;
    for (const auto& part : parts)
    {
        whole += part;
    }
    return whole;
}

} // namespace

TEST(MessageCutter, EverySplitIntoThreePiecesGivesTheSameMessages)
{
    const auto expected = assortedMessages();
    const std::string stream = joined(expected);

    for (std::size_t first = 0; first <= stream.size(); ++first)
    {
        for (std::size_t second = first; second <= stream.size(); ++second)
        {
            MessageCutter sut;
            std::vector<std::string> messages;
            feed(sut, stream.substr(0, first), messages);
            feed(sut, stream.substr(first, second - first), messages);
            feed(sut, stream.substr(second), messages);
            ASSERT_EQ(messages, expected) << "split at " << first << " and " << second;
            ASSERT_EQ(sut.heldBytes(), 0U);
        }
    }
}

TEST(MessageCutter, EverySplitOfAShortStreamGivesTheSameMessages)
{
    // A bit of `cuts` for each place between two bytes: all 2^17 ways to split 18 bytes.
    const std::string whole = message(12, 1, 0x50);
    const std::string stream = whole + header(12, 2, 16, 0x51).substr(0, 2);
    ASSERT_EQ(stream.size(), 18U);

    for (std::uint32_t cuts = 0; cuts < 1U << (stream.size() - 1); ++cuts)
    {
        MessageCutter sut;
        std::size_t messages = 0;
        std::size_t begin = 0;
        for (std::size_t end = 1; end <= stream.size(); ++end)
        {
            if (end < stream.size() && (cuts >> (end - 1) & 1U) == 0)
            {
                continue;
            }
            const std::span space = sut.freeSpace();
            std::copy(stream.begin() + static_cast<std::ptrdiff_t>(begin),
                      stream.begin() + static_cast<std::ptrdiff_t>(end), space.begin());
            sut.stored(end - begin);
            begin = end;
            while (const auto cut = sut.next())
            {
                ++messages;
                ASSERT_EQ(std::string(cut->begin(), cut->end()), whole) << "cuts " << cuts;
            }
        }
        ASSERT_EQ(messages, 1U) << "cuts " << cuts;
        ASSERT_EQ(sut.heldBytes(), 2U) << "cuts " << cuts;
    }
}

TEST(MessageCutter, EveryStateIsTheSameHoweverItWasReached)
{
    // From the state after `from` single bytes, one piece of any size must lead to the state after as many single
    // bytes; so every split does.
    const std::string stream = joined(assortedMessages());
    std::vector<MessageCutter> byteWise(1);
    std::vector<std::vector<std::string>> messagesAt(1);
    for (const char byte : stream)
    {
        MessageCutter next = byteWise.back();
        std::vector<std::string> messages = messagesAt.back();
        feed(next, std::string(1, byte), messages);
        byteWise.push_back(next);
        messagesAt.push_back(messages);
    }

    for (std::size_t from = 0; from <= stream.size(); ++from)
    {
        for (std::size_t to = from; to <= stream.size(); ++to)
        {
            MessageCutter sut = byteWise[from];
            std::vector<std::string> messages = messagesAt[from];
            feed(sut, stream.substr(from, to - from), messages);
            ASSERT_EQ(messages, messagesAt[to]) << "from " << from << " to " << to;
            ASSERT_EQ(sut.heldBytes(), byteWise[to].heldBytes()) << "from " << from << " to " << to;
        }
    }
}

TEST(MessageCutter, RandomSplitsOfLongMessagesGiveTheSameMessages)
{
    std::vector<std::string> expected;
    for (std::uint32_t i = 0; i < 40; ++i)
    {
        expected.push_back(message(12, i, 0x50, i % 4 == 0 ? 8192 : 8192 - 37 * i, static_cast<char>(i)));
    }
    const std::string stream = joined(expected);

    for (unsigned seed = 1; seed <= 50; ++seed)
    {
        std::mt19937 random(seed);
        std::uniform_int_distribution<std::size_t> size(1, seed % 2 == 0 ? 20000 : 700);
        MessageCutter sut;
        std::vector<std::string> messages;
        for (std::size_t begin = 0; begin < stream.size();)
        {
            const std::string piece = stream.substr(begin, size(random));
            feed(sut, piece, messages);
            begin += piece.size();
        }
        ASSERT_EQ(messages, expected) << "seed " << seed;
    }
}

TEST(MessageCutter, MessageComesOutWithItsLastByteAndNotBefore)
{
    const std::string stream = message(12, 1, 0x50, 40);
    MessageCutter sut;
    std::vector<std::string> messages;

    feed(sut, stream.substr(0, 39), messages);
    EXPECT_TRUE(messages.empty());
    feed(sut, stream.substr(39), messages);

    EXPECT_EQ(messages, std::vector{stream});
}

TEST(MessageCutter, LongestMessageFillsTheBufferAndComesOut)
{
    const std::string longest = message(12, 1, 0x50, 8192);
    MessageCutter sut;
    std::vector<std::string> messages;

    feed(sut, longest + longest, messages);

    EXPECT_EQ(messages, (std::vector{longest, longest}));
    EXPECT_EQ(sut.freeSpace().size(), MessageCutter::capacity);
}

TEST(MessageCutter, RestShorterThanAHeaderWaitsWhateverAnEarlierMessageLeftBehind)
{
    // The length word of the rest is not there yet; at its place lie bytes of the first message, all 0xff.
    const std::string first = message(12, 1, 0x50, 8000, '\xff');
    const std::string second = message(12, 2, 0x51, 24);
    for (std::size_t held = 0; held < wireLayout::header::bytes; ++held)
    {
        MessageCutter sut;
        std::vector<std::string> messages;

        feed(sut, first + second.substr(0, held), messages);
        EXPECT_EQ(messages, std::vector{first});
        EXPECT_EQ(sut.heldBytes(), held);
        feed(sut, second.substr(held), messages);

        EXPECT_EQ(messages, (std::vector{first, second})) << held << " bytes held";
    }
}

class MessageCutterInvalidLength : public testing::TestWithParam<std::uint32_t>
{};

TEST_P(MessageCutterInvalidLength, DiscardsEverythingHeldAndBeginsAnewWithTheNextBytes)
{
    const std::string good = message(12, 1, 0x50, 20);
    MessageCutter sut;
    std::vector<std::string> messages;

    feed(sut, good + header(12, 2, GetParam(), 0x50) + good, messages);
    EXPECT_EQ(messages, std::vector{good}) << "what came before the bad header counts, what was held with it does not";
    EXPECT_EQ(sut.heldBytes(), 0U);
    feed(sut, good, messages);

    EXPECT_EQ(messages, (std::vector{good, good}));
}

TEST_P(MessageCutterInvalidLength, IsJudgedOnceTheHeaderIsCompleteHoweverItArrives)
{
    const std::string bad = header(12, 2, GetParam(), 0x50);
    const std::string good = message(12, 3, 0x51, 20);
    for (std::size_t first = 0; first <= bad.size(); ++first)
    {
        MessageCutter sut;
        std::vector<std::string> messages;

        feed(sut, bad.substr(0, first), messages);
        EXPECT_EQ(sut.heldBytes(), first < bad.size() ? first : 0U);
        feed(sut, bad.substr(first), messages);
        EXPECT_EQ(sut.heldBytes(), 0U);
        feed(sut, good, messages);

        EXPECT_EQ(messages, std::vector{good}) << "split at " << first;
    }
}

TEST_P(MessageCutterInvalidLength, BehindAMessageIsJudgedAsSoonAsItsWordIsHeld)
{
    const std::string bad = header(12, 2, GetParam(), 0x50);
    const std::string good = message(12, 3, 0x51, 20);
    for (std::size_t held = 0; held < bad.size(); ++held)
    {
        MessageCutter sut;
        std::vector<std::string> messages;

        feed(sut, good + bad.substr(0, held), messages);

        constexpr std::size_t endOfLengthWord = 12;
        EXPECT_EQ(sut.heldBytes(), held < endOfLengthWord ? held : 0U);
        if (held >= endOfLengthWord)
        {
            feed(sut, good, messages);
            EXPECT_EQ(messages, (std::vector{good, good})) << "a message of its own, with " << held << " bytes before";
        }
    }
}

TEST_P(MessageCutterInvalidLength, ReceivedAfterAMessageIsJudgedWithTheWholeHeaderAgain)
{
    const std::string bad = header(12, 2, GetParam(), 0x50);
    const std::string good = message(12, 3, 0x51, 20);
    for (std::size_t first = 0; first < 12; ++first)
    {
        MessageCutter sut;
        std::vector<std::string> messages;

        feed(sut, good + bad.substr(0, first), messages);
        feed(sut, bad.substr(first, 15 - first), messages);
        EXPECT_EQ(sut.heldBytes(), 15U);
        feed(sut, bad.substr(15), messages);

        EXPECT_EQ(sut.heldBytes(), 0U) << "split at " << first;
        EXPECT_EQ(messages, std::vector{good});
    }
}

INSTANTIATE_TEST_SUITE_P(Lengths, MessageCutterInvalidLength,
                         testing::Values(0U, 1U, 15U, 8193U, 0x10000U, 0x7fffffffU, 0x80000000U, 0xffffffffU));

TEST(MessageCutter, RandomBytesNeitherOverrunNorStopTheCutter)
{
    // Words are kept small, so that a good share of the lengths is valid.
    std::mt19937 random(20);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<std::size_t> size(1, 3000);
    MessageCutter sut;
    std::size_t count = 0;
    for (int round = 0; round < 5000; ++round)
    {
        std::string bytes(size(random), '\0');
        for (std::size_t i = 3; i < bytes.size(); i += 4)
        {
            bytes[i] = static_cast<char>(byte(random));
        }
        std::vector<std::string> messages;
        feed(sut, bytes, messages);
        count += messages.size();
        for (const std::string& whole : messages)
        {
            ASSERT_GE(whole.size(), wireLayout::header::bytes);
            ASSERT_LE(whole.size(), wireLayout::maxMessageBytes);
        }
        ASSERT_FALSE(sut.freeSpace().empty());
    }
    EXPECT_GT(count, 1000U);
}
