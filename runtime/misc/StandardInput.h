#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace com::tallowcrest::misc
{

/// Lines from a descriptor that is read as text: standard input. Thread-safe. Reads the descriptor directly, because a
/// wait in the C library's input could not be ended; nobody else may read standard input through it.
class StandardInput
{
public:
    /// Reads from `fd`, which stays the caller's.
    explicit StandardInput(int fd) : m_fd(fd) {}
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

    /// Waits for a line, copies what fits into `buffer` without its trailing CR and LF characters and returns the
    /// length. Text before the end of input without a line end counts as a line. Negative as in Console.h.
    int getline(char* buffer, int size);

    /// The next complete line that is already held, if any; never waits.
    std::optional<std::string> takeLine();
    /// Reads once; call when the descriptor is readable.
    void readMore();
    /// True once for each end of input that was met.
    bool takeEnd();
    int fd() const { return m_fd; }

private:
    static constexpr std::size_t maxLineSize = 4096;

    void append(std::string_view bytes);

    const int m_fd;
    std::mutex m_mutex;
    std::string m_held;
    std::size_t m_openLineSize = 0; ///< of the line at the end of what is held
    bool m_atEnd = false;
};

/// The process's standard input.
StandardInput& standardInput();

/// Copies what fits of a line into a terminated buffer; returns the length copied.
int copyLine(const std::string& line, char* buffer, int size);

} // namespace com::tallowcrest::misc
