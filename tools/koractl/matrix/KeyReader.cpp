#include "tools/koractl/matrix/KeyReader.h"

#include <unistd.h>

#include <array>
#include <cctype>
#include <cerrno>
#include <system_error>

namespace koractl
{

namespace
{

struct Binding
{
    std::string_view bytes;
    Key key;
};

constexpr std::array bindings{
    Binding{"\x1b[A", Key::up},      Binding{"\x1b[B", Key::down},
    Binding{"\x1b[C", Key::right},   Binding{"\x1b[D", Key::left},
    Binding{"\x1bOA", Key::up},      Binding{"\x1bOB", Key::down},
    Binding{"\x1bOC", Key::right},   Binding{"\x1bOD", Key::left},
    Binding{"\x1b[5~", Key::pageUp}, Binding{"\x1b[6~", Key::pageDown},
    Binding{"\x1b[H", Key::home},    Binding{"\x1b[F", Key::end},
    Binding{"\x1bOH", Key::home},    Binding{"\x1bOF", Key::end},
    Binding{"\x1b[1~", Key::home},   Binding{"\x1b[4~", Key::end},
    Binding{"\x1b[7~", Key::home},   Binding{"\x1b[8~", Key::end},
    Binding{"k", Key::up},           Binding{"j", Key::down},
    Binding{"h", Key::left},         Binding{"l", Key::right},
    Binding{" ", Key::pageDown},     Binding{"b", Key::pageUp},
    Binding{"[", Key::pageLeft},     Binding{"]", Key::pageRight},
    Binding{"g", Key::home},         Binding{"G", Key::end},
    Binding{"c", Key::lastChange},   Binding{"q", Key::quit},
};

/// Bytes of the escape sequence at the start of `held`; 0 while it is not complete.
std::size_t sequenceLength(std::string_view held)
{
    if (held.size() < 2)
    {
        return 0;
    }
    if (held[1] == 'O')
    {
        return held.size() < 3 ? 0 : 3;
    }
    if (held[1] != '[')
    {
        return 1; // the escape key alone, then another
    }
    for (std::size_t i = 2; i < held.size(); ++i)
    {
        if (held[i] >= '@' && held[i] <= '~')
        {
            return i + 1;
        }
    }
    return 0;
}

} // namespace

std::optional<Key> KeyReader::next()
{
    if (m_held.empty())
    {
        return std::nullopt;
    }
    const std::size_t length = m_held.front() == '\x1b' ? sequenceLength(m_held) : 1;
    if (length == 0)
    {
        return std::nullopt;
    }
    const std::string bytes = m_held.substr(0, length);
    m_held.erase(0, length);
    for (const Binding& binding : bindings)
    {
        if (binding.bytes == bytes)
        {
            return binding.key;
        }
    }
    return Key::unknown;
}

RawTerminal::RawTerminal()
{
    if (::tcgetattr(STDIN_FILENO, &m_former) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "tcgetattr");
    }
    termios raw = m_former;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = 0;
    raw.c_cc[VTIME] = 0;
    raw.c_cc[VSUSP] = _POSIX_VDISABLE; // a stopped program would leave the terminal as it is now
    if (::tcsetattr(STDIN_FILENO, TCSANOW, &raw) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "tcsetattr");
    }
}

RawTerminal::~RawTerminal()
{
    (void)::tcsetattr(STDIN_FILENO, TCSANOW, &m_former);
}

} // namespace koractl
