#pragma once

#include "durability/ChannelList.h"
#include "durability/StoredRow.h"
#include "runtime/util/UniqueFd.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace com::tallowcrest::durability
{

/// The newest rows once more, in a file in the machine's memory (/dev/shm): it outlives the process, not a power cut,
/// and writing to it never waits for a disk, not even for one that holds up the store's commits. Bound to the
/// recorder's thread. Where such a file cannot be had nothing is written, and the store alone is there, which is
/// reported once at INFO.
class RecentRows
{
public:
    /// Rewritten from this size on, with the newest row of each instance; when those are nearly as long, from double
    /// their length on.
    static constexpr std::size_t longestFile = 4U << 20U;

    /// For the store at `store`. What an earlier life left is forgotten when `isForgotten`: the store has been removed.
    RecentRows(const std::filesystem::path& store, const ChannelList& channels, bool isForgotten);
    /// Removes the file when the store has everything.
    ~RecentRows();
    RecentRows(const RecentRows&) = delete;
    RecentRows& operator=(const RecentRows&) = delete;

    /// The one that KORABRIDGE_DURABLE_MEMORY names, else /dev/shm.
    static std::filesystem::path directory();
    /// In that directory; named after the store.
    static std::filesystem::path fileOf(const std::filesystem::path& store);

    /// The rows of a channel that an earlier life left; once.
    std::vector<StoredRow> takeLoaded(const ChannelName& channel);
    void append(const StoredRow& row);
    /// Writes what was appended. It outlives the process from here on.
    void flush();
    /// Gives back the memory of a burst.
    void rest() { m_text.shrink_to_fit(); }

private:
    void open(bool isForgotten);
    void load();
    void rewrite();

    const std::filesystem::path m_path;
    const ChannelList& m_channels;
    util::UniqueFd m_lock;
    util::UniqueFd m_file; ///< closed when there is none to be had
    std::size_t m_size = 0;
    std::size_t m_rewriteAt = longestFile;
    std::string m_text;
    std::map<ChannelName, std::vector<StoredRow>> m_loaded;
};

} // namespace com::tallowcrest::durability
