#pragma once

namespace com::tallowcrest::util
{

/// Owns one file descriptor and closes it. Owned by one thread. -1 means none.
class UniqueFd
{
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    ~UniqueFd();
    UniqueFd(UniqueFd&& other) noexcept : m_fd(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;

    int get() const { return m_fd; }
    bool isOpen() const { return m_fd >= 0; }
    /// Gives the descriptor up without closing it.
    int release();
    /// Closes the held descriptor, if any, and takes `fd`.
    void reset(int fd = -1);

private:
    int m_fd = -1;
};

} // namespace com::tallowcrest::util
