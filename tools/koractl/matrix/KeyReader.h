#pragma once

#include <termios.h>

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

/// While it lives, standard input hands on each key at once, unseen; Ctrl-C still ends, Ctrl-Z does nothing. Puts back
/// what was set before. Throws std::system_error when standard input is no terminal.
class RawTerminal
{
public:
    RawTerminal();
    ~RawTerminal();
    RawTerminal(const RawTerminal&) = delete;
    RawTerminal& operator=(const RawTerminal&) = delete;

private:
    termios m_former{};
};

} // namespace koractl
