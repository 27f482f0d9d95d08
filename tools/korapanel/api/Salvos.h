#pragma once

#include "tools/common/BackupFile.h"
#include "tools/common/Names.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace korapanel
{

/// The files of `koractl backup` in a folder, as salvos. Files that are none are left out; so are all beyond the bound,
/// and those that are too large. Refers to the names. Thread-safe.
class Salvos
{
public:
    static constexpr std::size_t most = 256;
    static constexpr std::size_t longestFile = 1024UL * 1024;

    struct Entry
    {
        std::string name;
        std::size_t entries = 0;
        std::int64_t modified = 0; ///< seconds since 1970
    };

    /// An empty folder name means that there are none.
    Salvos(std::string folder, const koractl::Names& names) : m_folder(std::move(folder)), m_names(names) {}

    std::vector<Entry> list();
    /// Nothing when there is no such salvo, or it cannot be read.
    std::optional<std::vector<koractl::OutputWish>> read(const std::string& name) const;

    /// Whether a file may be asked for by this name: one part of a path, of letters, digits, blanks and "-_.".
    static bool isName(const std::string& name);

private:
    /// What was counted in a file, and of which.
    struct Counted
    {
        std::int64_t modified = 0;
        std::uintmax_t size = 0;
        std::optional<std::size_t> entries; ///< nothing: it is no backup
    };

    const std::string m_folder;
    const koractl::Names& m_names;
    std::mutex m_mutex; ///< of what follows
    std::map<std::string, Counted> m_counted;
};

} // namespace korapanel
