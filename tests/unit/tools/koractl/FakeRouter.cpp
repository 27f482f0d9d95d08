#include "tests/unit/tools/koractl/FakeRouter.h"

#include <algorithm>

using koraclient::Message;

namespace
{

constexpr std::uint32_t numbers = 10;
constexpr std::uint32_t level = 1;

std::uint32_t judgeTake(std::uint32_t lprId, std::uint32_t input, std::uint32_t output)
{
    if (input >= numbers)
    {
        return 3;
    }
    if (output >= numbers)
    {
        return 4;
    }
    return output == 5 ? 12 : output == 6 && lprId != 60 && lprId != 0 ? 13 : 0;
}

std::uint32_t judgeLpr(std::uint32_t output, std::uint32_t command, std::uint32_t lprId)
{
    if (output >= numbers)
    {
        return 4;
    }
    if (command == 16 || lprId == 0)
    {
        return 0;
    }
    return output == 5 && lprId != 50 ? 12 : output == 6 && lprId != 60 ? 13 : 0;
}

} // namespace

FakeReply FakeRouter::operator()(const Message& request, std::uint32_t sequence)
{
    switch (request.id())
    {
    case 0x50:
    case 0x55:
        return entryList(request, sequence, true);
    case 0x51:
        return entryList(request, sequence, false);
    case 0x52:
        return status(request, sequence, false);
    case 0x5e:
        return status(request, sequence, true);
    case 0x53:
        return changes(request, sequence);
    case 0x59:
        return {responseTo(request, sequence, 0x80000059, std::vector<std::uint32_t>(17, 1)), false};
    case 0x4000:
        return {responseTo(request, sequence, 0x80004000, {0}), false};
    case 0x5000:
        return {responseTo(request, sequence, 0x80005000,
                           [] {
                               std::vector<std::uint32_t> words(23, 0);
                               words.front() = 4;
                               return words;
                           }()),
                false};
    case 0xa2:
        return {responseTo(request, sequence, 0x800000a2, {request.word(16), 0, 1, 0, 0}), false};
    default:
        return {responseTo(request, sequence, 0x80000000, {8}), false};
    }
}

FakeReply FakeRouter::entryList(const Message& request, std::uint32_t sequence, bool isTake) const
{
    const std::uint32_t count = request.word(16);
    std::vector<std::uint32_t> results;
    for (std::size_t at = 20; results.size() < count; at += 16)
    {
        const std::uint32_t first = request.word(at + 4);
        const std::uint32_t second = request.word(at + 8);
        const std::uint32_t third = request.word(at + 12);
        const std::uint32_t result = isTake ? judgeTake(first, second, third) : judgeLpr(first, second, third);
        results.push_back(request.word(at) == level ? result : 5);
    }
    std::vector<std::uint32_t> words;
    if (!isTake)
    {
        const bool isRefused = std::any_of(results.begin(), results.end(), [](auto result) { return result != 0; });
        words.push_back(isRefused ? 0x80 : 0);
    }
    words.push_back(count);
    words.insert(words.end(), results.begin(), results.end());
    return {responseTo(request, sequence, isTake ? 0x80000050 : 0x80000002, words), false};
}

std::vector<std::uint32_t> FakeRouter::statusOf(std::uint32_t levelNumber, std::uint32_t output)
{
    if (levelNumber != level)
    {
        return {5, 0, 0, 0};
    }
    if (output >= numbers)
    {
        return {4, 0, 0, 0};
    }
    return output == 5   ? std::vector<std::uint32_t>{0, 5, 1, 50}
           : output == 6 ? std::vector<std::uint32_t>{0, 6, 2, 60}
           : output == 7 ? std::vector<std::uint32_t>{3, 0, 0, 0}
                         : std::vector<std::uint32_t>{0, output, 0, 0};
}

FakeReply FakeRouter::status(const Message& request, std::uint32_t sequence, bool isTally) const
{
    const std::size_t start = isTally ? 16 : 20;
    const std::uint32_t first = request.word(start + 4);
    const bool isShort = isTally || request.word(16) == 1;
    // As many as fit a message.
    const std::uint32_t count = std::min(request.word(start + 8), isTally ? 1020U : isShort ? 1019U : 509U);
    std::vector<std::uint32_t> words{request.word(start), first, count};
    if (!isTally)
    {
        words.insert(words.begin(), request.word(16));
    }
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const auto entry = statusOf(request.word(start), first + i);
        words.insert(words.end(), entry.begin(), entry.begin() + (isShort ? 2 : 4));
    }
    return {responseTo(request, sequence, isTally ? 0x8000005e : 0x80000052, words), false};
}

FakeReply FakeRouter::changes(const Message& request, std::uint32_t sequence)
{
    std::vector<std::uint32_t> words{request.word(16), request.word(20), 0, 0};
    if (!m_areChangesTold && request.word(20) == level)
    {
        m_areChangesTold = true;
        words[2] = 2;
        words.insert(words.end(), {0, 1, 1, 0, 0, 0, 5, 5, 1, 50});
    }
    return {responseTo(request, sequence, 0x80000053, words), false};
}
