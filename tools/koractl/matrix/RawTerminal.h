#pragma once

#include <termios.h>

namespace koractl
{

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
