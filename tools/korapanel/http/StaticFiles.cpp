#include "tools/korapanel/http/StaticFiles.h"

#include "runtime/util/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <string_view>
#include <utility>

namespace korapanel
{
namespace
{

using com::tallowcrest::util::UniqueFd;

constexpr std::string_view prefix = "/page/";

constexpr std::array<std::pair<std::string_view, const char*>, 8> types{{{".html", "text/html; charset=utf-8"},
                                                                         {".js", "text/javascript; charset=utf-8"},
                                                                         {".css", "text/css; charset=utf-8"},
                                                                         {".json", "application/json"},
                                                                         {".svg", "image/svg+xml"},
                                                                         {".png", "image/png"},
                                                                         {".ico", "image/x-icon"},
                                                                         {".woff2", "font/woff2"}}};

/// The folder and the file in it, one part after the other, so that none of them is a link.
UniqueFd openBeneath(const std::string& folder, const std::string& file)
{
    UniqueFd at(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::size_t begin = 0;
    while (at.isOpen() && begin < file.size())
    {
        const std::size_t end = std::min(file.find('/', begin), file.size());
        const std::string part = file.substr(begin, end - begin);
        at = UniqueFd(::openat(at.get(), part.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        begin = end + 1;
    }
    return at;
}

/// The whole of a regular file; nothing when it is none, too large, or cannot be read.
std::optional<std::string> contentOf(int fd)
{
    struct stat found
    {};
    if (::fstat(fd, &found) != 0 || !S_ISREG(found.st_mode) ||
        found.st_size > static_cast<off_t>(StaticFiles::longestFile))
    {
        return std::nullopt;
    }
    std::string content(static_cast<std::size_t>(found.st_size), '\0');
    std::size_t done = 0;
    while (done < content.size())
    {
        const ssize_t count = ::read(fd, content.data() + done, content.size() - done);
        if (count == 0 || (count < 0 && errno != EINTR))
        {
            return std::nullopt;
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return content;
}

} // namespace

std::optional<std::string> StaticFiles::fileOf(const std::string& path)
{
    if (path == "/")
    {
        return "index.html";
    }
    if (!path.starts_with(prefix) || path.size() > 200)
    {
        return std::nullopt;
    }
    std::string file = path.substr(prefix.size());
    char before = '/';
    for (const char c : file)
    {
        const bool isFine = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_' ||
                            ((c == '.' || c == '/') && before != '/');
        if (!isFine)
        {
            return std::nullopt;
        }
        before = c;
    }
    return before == '/' ? std::nullopt : std::optional(std::move(file));
}

std::optional<Answer> StaticFiles::get(const std::string& path) const
{
    if (path != "/" && !path.starts_with(prefix))
    {
        return std::nullopt;
    }
    const auto file = fileOf(path);
    const UniqueFd fd = file ? openBeneath(m_folder, *file) : UniqueFd();
    auto content = fd.isOpen() ? contentOf(fd.get()) : std::nullopt;
    if (!content)
    {
        return refusal(404, "no-such-file", "The panel has no such file.");
    }
    Answer answer = answerOf(std::move(*content));
    answer.contentType = "application/octet-stream";
    for (const auto& [suffix, type] : types)
    {
        if (file->ends_with(suffix))
        {
            answer.contentType = type;
        }
    }
    answer.headers["Cache-Control"] = "no-cache";
    return answer;
}

} // namespace korapanel
