#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace koractl
{

/// What a key of the picture's screen asks for.
enum class Key
{
    up,
    down,
    left,
    right,
    pageUp,
    pageDown,
    pageLeft,
    pageRight,
    home,
    end,
    lastChange,
    quit,
    unknown,
};

/// Cuts what a terminal sends into keys; a key may be a sequence of several bytes that arrive apart. Plain value.
class KeyReader
{
public:
    void append(std::string_view bytes) { m_held += bytes; }
    /// The next key; nothing while its bytes are not all there.
    std::optional<Key> next();

private:
    std::string m_held;
};

} // namespace koractl
