#include "tools/koractl/matrix/RawTerminal.h"

#include <cerrno>
#include <system_error>

#include <unistd.h>

namespace koractl
{

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
