// Fuzzes what a controller can send: any bytes, in any segments. Framing, dispatch, all ten commands, levels and
// crosspoint managers are the bridge's own; a model of the protocol says what each must answer and write.

#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"
#include "koraserver/MessageCutter.h"
#include "tests/fuzz/stream/BridgeUnderTest.h"
#include "tests/fuzz/support/Require.h"
#include "tests/fuzz/support/Segments.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace
{

/// The framing a second time, with as little cleverness as possible.
class PlainCutter
{
public:
    void append(std::span<const std::uint8_t> bytes)
    {
        m_held.insert(m_held.end(), bytes.begin(), bytes.end());
        m_hasCut = false;
    }

    std::optional<std::vector<std::uint8_t>> next()
    {
        if (m_held.size() < (m_hasCut ? 12U : 16U))
        {
            return std::nullopt;
        }
        const std::size_t length = std::size_t{m_held[8]} << 24U | std::size_t{m_held[9]} << 16U |
                                   std::size_t{m_held[10]} << 8U | std::size_t{m_held[11]};
        if (length < 16 || length > 8192)
        {
            m_held.clear();
            return std::nullopt;
        }
        if (m_held.size() < length)
        {
            return std::nullopt;
        }
        const auto end = m_held.begin() + static_cast<std::ptrdiff_t>(length);
        std::vector<std::uint8_t> message(m_held.begin(), end);
        m_held.erase(m_held.begin(), end);
        m_hasCut = true;
        return message;
    }

    std::size_t heldBytes() const { return m_held.size(); }

private:
    std::vector<std::uint8_t> m_held;
    bool m_hasCut = false; ///< a message of what was appended last
};

void receive(std::span<const std::uint8_t> bytes, MessageCutter& cutter, PlainCutter& plain,
             fuzz::BridgeUnderTest& bridge)
{
    const auto space = cutter.freeSpace();
    fuzz::require(!space.empty(), "there is room to receive");
    fuzz::require(bytes.size() <= space.size(), "no more is received than there is room for");
    std::copy(bytes.begin(), bytes.end(), space.begin());
    cutter.stored(bytes.size());
    plain.append(bytes);
    for (;;)
    {
        const auto message = cutter.next();
        const auto expected = plain.next();
        fuzz::require(message.has_value() == expected.has_value(), "a message is cut when it is whole");
        if (!message)
        {
            break;
        }
        fuzz::require(std::equal(message->begin(), message->end(), expected->begin(), expected->end()),
                      "a message is cut at its length");
        bridge.handleMessage(*message);
    }
    fuzz::require(cutter.heldBytes() == plain.heldBytes(), "the rest is held");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    fuzz::BridgeUnderTest bridge;
    MessageCutter cutter;
    PlainCutter plain;
    fuzz::Segments segments(data[0]);
    std::span<const std::uint8_t> stream(data + 1, size - 1);
    while (!stream.empty())
    {
        const auto segment = stream.first(std::min({segments.next(), stream.size(), cutter.freeSpace().size()}));
        stream = stream.subspan(segment.size());
        receive(segment, cutter, plain, bridge);
    }
    return 0;
}
