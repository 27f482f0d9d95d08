#pragma once

#include "koraclient/RequestEncoder.h"
#include "koracommand/Rsp.h"
#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"

#include <cstdint>
#include <span>
#include <vector>

/// The tag that test requests carry unless another one is asked for.
inline constexpr std::uint32_t testTag = 0x01020304;

using Words = std::vector<std::uint32_t>;
using Bytes = std::vector<std::uint8_t>;

/// A request's words: the header, then the payload.
inline Words requestWords(std::uint32_t msgId, const Words& payload = {}, std::uint32_t tag = testTag)
{
    const auto length = static_cast<std::uint32_t>(wireLayout::header::bytes + payload.size() * wireLayout::wordBytes);
    Words words{wireLayout::routerControlProtocol, tag, length, msgId};
    words.insert(words.end(), payload.begin(), payload.end());
    return words;
}

inline Bytes hostBytes(const Words& words)
{
    Bytes bytes(words.size() * wireLayout::wordBytes);
    for (std::size_t i = 0; i < words.size(); ++i)
    {
        WireWriter(bytes).setHostWordAt(i * wireLayout::wordBytes, words[i]);
    }
    return bytes;
}

inline Bytes networkBytes(const Words& words)
{
    Bytes bytes(words.size() * wireLayout::wordBytes);
    for (std::size_t i = 0; i < words.size(); ++i)
    {
        WireWriter(bytes).setBigEndianWordAt(i * wireLayout::wordBytes, words[i]);
    }
    return bytes;
}

/// A request as a command holds it, and as it arrives.
inline Bytes hostRequest(std::uint32_t msgId, const Words& payload = {}, std::uint32_t tag = testTag)
{
    return hostBytes(requestWords(msgId, payload, tag));
}
inline Bytes networkRequest(std::uint32_t msgId, const Words& payload = {}, std::uint32_t tag = testTag)
{
    return koraclient::RequestEncoder(tag).raw(msgId, payload);
}

inline Bytes bytesOf(const Rsp& rsp)
{
    return {rsp.getData(), rsp.getData() + rsp.getLength()};
}

/// The words of a host-order response, and of one in network order.
inline Words hostWordsOf(const Rsp& rsp)
{
    const Bytes bytes = bytesOf(rsp);
    Words words;
    for (std::size_t offset = 0; offset < bytes.size(); offset += wireLayout::wordBytes)
    {
        words.push_back(WireReader(bytes).hostWordAt(offset));
    }
    return words;
}
inline Words networkWordsOf(const Rsp& rsp)
{
    Words words = hostWordsOf(rsp);
    for (auto& word : words)
    {
        word = hostToBigEndian(word);
    }
    return words;
}

/// The word of a host-order response at a byte offset.
inline std::uint32_t hostWord(const Rsp& rsp, std::size_t offset)
{
    return WireReader({rsp.getData(), rsp.getLength()}).hostWordAt(offset);
}

/// What a response's words are expected to be: the header with that id, the tag, then the payload proper.
inline Words expectedRsp(std::uint32_t rspId, const Words& payload, std::uint32_t tag = testTag)
{
    const auto length = static_cast<std::uint32_t>(wireLayout::rsp::payload + payload.size() * wireLayout::wordBytes);
    Words words{wireLayout::routerControlProtocol, 0, length, rspId, tag};
    words.insert(words.end(), payload.begin(), payload.end());
    return words;
}
