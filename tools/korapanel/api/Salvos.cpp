#include "tools/korapanel/api/Salvos.h"

#include "tools/common/AddressReader.h"
#include "tools/common/FileLines.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace korapanel
{
namespace
{

constexpr std::size_t longestName = 100;

/// A regular file's state; nothing for any other.
std::optional<struct stat> stateOf(const std::string& path)
{
    struct stat found
    {};
    if (::lstat(path.c_str(), &found) != 0 || !S_ISREG(found.st_mode) ||
        found.st_size > static_cast<off_t>(Salvos::longestFile))
    {
        return std::nullopt;
    }
    return found;
}

} // namespace

bool Salvos::isName(const std::string& name)
{
    return !name.empty() && name.size() <= longestName && name.front() != '.' &&
           std::all_of(name.begin(), name.end(), [](unsigned char c) {
               return std::isalnum(c) != 0 || c == '-' || c == '_' || c == '.' || c == ' ';
           });
}

std::vector<Salvos::Entry> Salvos::list()
{
    const std::lock_guard lock(m_mutex);
    std::map<std::string, Counted> counted;
    std::vector<Entry> all;
    std::error_code error;
    for (std::filesystem::directory_iterator file(m_folder, error), end; !error && file != end && all.size() < most;
         file.increment(error))
    {
        const std::string name = file->path().filename().string();
        const auto state = isName(name) ? stateOf(file->path().string()) : std::nullopt;
        if (!state)
        {
            continue;
        }
        Counted now{.modified = state->st_mtime, .size = static_cast<std::uintmax_t>(state->st_size), .entries = {}};
        const auto before = m_counted.find(name);
        if (before != m_counted.end() && before->second.modified == now.modified && before->second.size == now.size)
        {
            now.entries = before->second.entries;
        }
        else if (const auto wishes = read(name))
        {
            now.entries = wishes->size();
        }
        if (now.entries)
        {
            all.push_back({.name = name, .entries = *now.entries, .modified = now.modified});
        }
        counted.emplace(name, now);
    }
    m_counted = std::move(counted);
    std::sort(all.begin(), all.end(), [](const Entry& one, const Entry& other) { return one.name < other.name; });
    return all;
}

std::optional<std::vector<koractl::OutputWish>> Salvos::read(const std::string& name) const
{
    const std::string path = (std::filesystem::path(m_folder) / name).string();
    if (m_folder.empty() || !isName(name) || !stateOf(path))
    {
        return std::nullopt;
    }
    std::ifstream file(path);
    try
    {
        return file ? std::optional(koractl::readBackup(file, name, koractl::AddressReader(m_names))) : std::nullopt;
    }
    catch (const koractl::FileError&)
    {
        return std::nullopt; // some other file
    }
}

} // namespace korapanel
