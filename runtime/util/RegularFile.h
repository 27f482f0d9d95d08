#pragma once

#include "runtime/util/UniqueFd.h"

#include <streambuf>
#include <string>

namespace com::tallowcrest::util
{

/// Opens a regular file for writing, empty; it is made if there is none. What others may have put in its place is left
/// alone: a link is not followed, a pipe or a device is not written to, and nothing is waited for. Closed when there is
/// no such file to be had.
UniqueFd openEmptyRegularFile(const std::string& path);

/// What a stream writes to a descriptor, a flush at a time. Does not own it. A write that fails fails the stream.
class DescriptorBuffer final : public std::streambuf
{
public:
    explicit DescriptorBuffer(int fd) : m_fd(fd) {}

protected:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const char* text, std::streamsize size) override;
    int sync() override;

private:
    const int m_fd;
    std::string m_unwritten;
};

} // namespace com::tallowcrest::util
