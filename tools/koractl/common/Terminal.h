#pragma once

#include <cstddef>

namespace koractl
{

/// What the program's output goes to. Plain value; without arguments: no terminal, as for a pipe or a file.
struct Terminal
{
    bool isInteractive = false; ///< input and output are a terminal
    bool isOutput = false;      ///< output is a terminal
    bool hasColor = false;      ///< it shows colours, and the user did not ask for none (NO_COLOR)

    /// Of this process.
    static Terminal ofProcess();
};

/// Size of the terminal that is this process's output.
struct TerminalSize
{
    std::size_t columns = 80;
    std::size_t rows = 24;

    /// As the terminal says; the environment's COLUMNS or 80 by 24 where it says nothing.
    static TerminalSize now();
};

} // namespace koractl
