#pragma once

#include <utility>

#include <unistd.h>

namespace com::tallowcrest::durability
{

/// Owns an open file; -1 is none.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        reset();
        m_fd = std::exchange(other.m_fd, -1);
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return m_fd; }
    bool isOpen() const { return m_fd >= 0; }
    void reset()
    {
        if (m_fd >= 0)
        {
            static_cast<void>(::close(m_fd));
            m_fd = -1;
        }
    }

private:
    int m_fd = -1;
};

} // namespace com::tallowcrest::durability
