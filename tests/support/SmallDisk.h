#pragma once

#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

namespace testsupport
{

/// A disk of a few hundred kilobytes, seen by this process and by those that it starts; gone with the object.
class SmallDisk
{
public:
    /// Mounted at `place`, which is made.
    explicit SmallDisk(std::filesystem::path place, const char* options = "size=400k") : m_place(std::move(place))
    {
        std::filesystem::create_directories(m_place);
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("tmpfs", m_place.c_str(), "tmpfs", 0, options) != 0)
        {
            m_trouble = std::string("no small disk to be had: ") + std::strerror(errno);
        }
    }
    ~SmallDisk()
    {
        if (m_trouble.empty())
        {
            ::umount2(m_place.c_str(), MNT_DETACH);
        }
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    /// Why there is no disk; empty when there is one.
    const std::string& trouble() const { return m_trouble; }
    const std::filesystem::path& path() const { return m_place; }

    void fill() const { std::ofstream(ballast(), std::ios::binary) << std::string(1U << 20U, 'x'); }
    void makeRoom() const { std::filesystem::remove(ballast()); }
    /// False, with errno, when the system refuses.
    bool remount(unsigned long flags, const char* options) const
    {
        return ::mount("none", m_place.c_str(), "tmpfs", MS_REMOUNT | flags, options) == 0;
    }

private:
    std::filesystem::path ballast() const { return m_place / "ballast"; }

    const std::filesystem::path m_place;
    std::string m_trouble;
};

} // namespace testsupport
