#include "tests/unit/tools/koractl/FakeLevel.h"

#include <algorithm>

using koraclient::Message;

FakeLevel::FakeLevel(std::uint32_t ports)
{
    for (std::uint32_t number = 1; number <= ports; ++number)
    {
        m_outputs[number].input = number;
    }
}

FakeReply FakeLevel::operator()(const Message& request, std::uint32_t sequence)
{
    if (sequence == 0)
    {
        for (const auto& [number, output] : m_outputs)
        {
            m_changed.insert(number);
        }
    }
    switch (request.id())
    {
    case 0x50:
        return entryList(request, sequence, true);
    case 0x51:
        return entryList(request, sequence, false);
    case 0x52:
        return status(request, sequence);
    case 0x53:
        return changes(request, sequence);
    case 0x4000:
        return {responseTo(request, sequence, 0x80004000, {0}), false};
    default:
        return {responseTo(request, sequence, 0x80000000, {8}), false};
    }
}

std::uint32_t FakeLevel::take(std::uint32_t level, std::uint32_t lprId, std::uint32_t input, std::uint32_t output)
{
    if (level != 1)
    {
        return 5;
    }
    if (!m_outputs.contains(input) || input == m_refusedInput)
    {
        return 3;
    }
    const auto found = m_outputs.find(output);
    if (found == m_outputs.end())
    {
        return 4;
    }
    if (found->second.state == 1)
    {
        return 12;
    }
    if (found->second.state == 2 && lprId != 0 && lprId != found->second.lprId)
    {
        return 13;
    }
    found->second.input = input;
    found->second.lprId = lprId;
    m_changed.insert(output);
    return 0;
}

std::uint32_t FakeLevel::setLpr(std::uint32_t level, std::uint32_t output, std::uint32_t code, std::uint32_t lprId)
{
    const auto found = m_outputs.find(output);
    if (level != 1 || found == m_outputs.end())
    {
        return level != 1 ? 5 : 4;
    }
    Output& held = found->second;
    if (code != 16 && lprId != 0 && lprId != held.lprId && held.state != 0)
    {
        return held.state == 1 ? 12 : 13;
    }
    held.state = code == 1 || code == 2 ? code : 0;
    held.lprId = lprId;
    m_changed.insert(output);
    return 0;
}

FakeReply FakeLevel::entryList(const Message& request, std::uint32_t sequence, bool isTake)
{
    const std::uint32_t count = request.word(16);
    std::vector<std::uint32_t> results;
    for (std::size_t at = 20; results.size() < count; at += 16)
    {
        const std::uint32_t level = request.word(at);
        const std::uint32_t first = request.word(at + 4);
        const std::uint32_t second = request.word(at + 8);
        const std::uint32_t third = request.word(at + 12);
        results.push_back(isTake ? take(level, first, second, third) : setLpr(level, first, second, third));
    }
    std::vector<std::uint32_t> words;
    if (!isTake)
    {
        words.push_back(std::any_of(results.begin(), results.end(), [](auto result) { return result != 0; }) ? 0x80
                                                                                                             : 0);
    }
    words.push_back(count);
    words.insert(words.end(), results.begin(), results.end());
    return {responseTo(request, sequence, isTake ? 0x80000050 : 0x80000002, words), false};
}

FakeReply FakeLevel::status(const Message& request, std::uint32_t sequence) const
{
    const bool isShort = request.word(16) == 1;
    const std::uint32_t first = request.word(24);
    const std::uint32_t count = std::min(request.word(28), isShort ? 1019U : 509U);
    std::vector<std::uint32_t> words{request.word(16), request.word(20), first, count};
    for (std::uint32_t number = first; number < first + count; ++number)
    {
        const auto found = m_outputs.find(number);
        const bool isThere = request.word(20) == 1 && found != m_outputs.end();
        const Output output = isThere ? found->second : Output{};
        words.push_back(request.word(20) != 1 ? 5 : !isThere ? 4 : output.input == 0 ? 3 : 0);
        words.push_back(output.input);
        if (!isShort)
        {
            words.insert(words.end(), {output.state, output.lprId});
        }
    }
    return {responseTo(request, sequence, 0x80000052, words), false};
}

FakeReply FakeLevel::changes(const Message& request, std::uint32_t sequence)
{
    const bool isShort = request.word(16) == 1;
    const std::size_t most = isShort ? 679 : 64;
    std::vector<std::uint32_t> words{request.word(16), request.word(20), 0, 0};
    while (request.word(20) == 1 && !m_changed.empty() && words[2] < most)
    {
        const std::uint32_t number = *m_changed.begin();
        m_changed.erase(m_changed.begin());
        const Output& output = m_outputs.at(number);
        words.insert(words.end(), {output.input == 0 ? 3U : 0U, number, output.input});
        if (!isShort)
        {
            words.insert(words.end(), {output.state, output.lprId});
        }
        ++words[2];
    }
    words[3] = words[2] == most ? 1 : 0;
    return {responseTo(request, sequence, 0x80000053, words), false};
}
