#include "runtime/util/SystemError.h"
#include "runtime/util/UniqueFd.h"
#include "tools/common/BackupFile.h"
#include "tools/common/FileLines.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace koractl
{
namespace
{

using com::tallowcrest::util::systemErrorText;
using com::tallowcrest::util::UniqueFd;

bool writeAll(int fd, const std::string& content)
{
    std::size_t done = 0;
    while (done < content.size())
    {
        const ssize_t count = ::write(fd, content.data() + done, content.size() - done);
        if (count < 0 && errno != EINTR)
        {
            return false;
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return ::fsync(fd) == 0 || errno == EINVAL || errno == EROFS;
}

/// The permissions that a new file gets here.
mode_t usualMode()
{
    const mode_t mask = ::umask(0);
    (void)::umask(mask);
    return static_cast<mode_t>(0666) & ~mask;
}

/// True for a device or a pipe, which cannot be replaced by a new file.
bool isSpecial(const std::string& fileName)
{
    struct stat found
    {};
    return ::stat(fileName.c_str(), &found) == 0 && !S_ISREG(found.st_mode);
}

void writeInPlace(const std::string& fileName, const std::string& content)
{
    std::FILE* const file = std::fopen(fileName.c_str(), "w");
    bool isFine = file != nullptr && std::fwrite(content.data(), 1, content.size(), file) == content.size();
    isFine = file != nullptr && std::fclose(file) == 0 && isFine;
    if (!isFine)
    {
        throw FileError(fileName + ": " + systemErrorText());
    }
}

/// Puts a new file in place of the old one, if there is one; `prepare` gives it its owner and permissions.
template <class Prepare>
void replaceFile(const std::string& fileName, const std::string& content, Prepare prepare)
{
    std::string other = fileName + ".XXXXXX";
    UniqueFd fd(::mkstemp(other.data()));
    if (!fd.isOpen())
    {
        throw FileError(fileName + ": " + systemErrorText());
    }
    if (!writeAll(fd.get(), content) || !prepare(fd.get()) || std::rename(other.c_str(), fileName.c_str()) != 0)
    {
        const std::string problem = fileName + ": " + systemErrorText();
        (void)::unlink(other.c_str());
        throw FileError(problem);
    }
}

} // namespace

void writeWholeFile(const std::string& fileName, const std::string& content)
{
    if (isSpecial(fileName))
    {
        writeInPlace(fileName, content);
        return;
    }
    replaceFile(fileName, content, [](int fd) { return ::fchmod(fd, usualMode()) == 0; });
}

void writePrivateFile(const std::string& fileName, const std::string& content)
{
    replaceFile(fileName, content, [&fileName](int fd) {
        const std::string folder = std::filesystem::path(fileName).parent_path().string();
        struct stat model
        {};
        if (::stat(fileName.c_str(), &model) != 0 && ::stat(folder.empty() ? "." : folder.c_str(), &model) != 0)
        {
            return false;
        }
        // Whoever writes for a service that has a user of its own is the superuser, and everybody else is themselves.
        return ::geteuid() != 0 || ::fchown(fd, model.st_uid, model.st_gid) == 0;
    });
}

} // namespace koractl
