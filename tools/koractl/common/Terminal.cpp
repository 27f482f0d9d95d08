#include "tools/koractl/common/Terminal.h"

#include "tools/common/ParseText.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace koractl
{
namespace
{

std::string environmentText(const char* name)
{
    const char* const text = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing here changes the environment
    return text == nullptr ? "" : text;
}

} // namespace

Terminal Terminal::ofProcess()
{
    Terminal terminal;
    terminal.isOutput = ::isatty(STDOUT_FILENO) == 1;
    terminal.isInteractive = terminal.isOutput && ::isatty(STDIN_FILENO) == 1;
    const std::string kind = environmentText("TERM");
    terminal.hasColor = terminal.isOutput && environmentText("NO_COLOR").empty() && !kind.empty() && kind != "dumb";
    terminal.isInteractive = terminal.isInteractive && !kind.empty() && kind != "dumb";
    return terminal;
}

TerminalSize TerminalSize::now()
{
    TerminalSize size;
    winsize said{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &said) == 0 && said.ws_col > 0 && said.ws_row > 0)
    {
        size.columns = said.ws_col;
        size.rows = said.ws_row;
        return size;
    }
    try
    {
        const std::uint32_t columns = parseNumber(environmentText("COLUMNS"));
        size.columns = columns > 0 ? columns : size.columns;
    }
    catch (const std::invalid_argument&)
    {
        // No number there: the usual width.
    }
    return size;
}

} // namespace koractl
