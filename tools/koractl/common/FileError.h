#pragma once

#include <stdexcept>

namespace koractl
{

/// A file that the user named cannot be read or written, or says what it must not; the text names the file and the
/// line.
class FileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace koractl
