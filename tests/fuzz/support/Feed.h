#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>

namespace fuzz
{

/// Hands out an input piece by piece. What is asked for beyond its end is 0.
class Feed
{
public:
    explicit Feed(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    bool isEmpty() const { return m_bytes.empty(); }

    /// Fills a value's bytes.
    template <typename T>
    T next()
    {
        static_assert(std::is_trivially_copyable_v<T>);
        T value{};
        const std::size_t size = std::min(sizeof value, m_bytes.size());
        std::memcpy(&value, m_bytes.data(), size);
        m_bytes = m_bytes.subspan(size);
        return value;
    }
    /// 0 to `last`.
    std::uint32_t upTo(std::uint32_t last) { return next<std::uint8_t>() % (last + 1); }
    bool coin() { return (next<std::uint8_t>() & 1U) != 0; }
    /// Small mostly, any number sometimes, and the last ones as often.
    std::uint32_t number()
    {
        const auto kind = next<std::uint8_t>();
        return kind < 160   ? next<std::uint16_t>() % 3000
               : kind < 200 ? ~std::uint32_t{next<std::uint8_t>()}
                            : next<std::uint32_t>();
    }
    /// Up to 255 bytes of any kind.
    std::string text()
    {
        const std::size_t wanted = next<std::uint8_t>();
        const std::size_t size = std::min(wanted, m_bytes.size());
        std::string text(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(size));
        m_bytes = m_bytes.subspan(size);
        return text;
    }

private:
    std::span<const std::uint8_t> m_bytes;
};

} // namespace fuzz
