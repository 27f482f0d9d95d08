#pragma once

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
/// and writing to it never waits for a disk. Bound to the recorder's thread. Where such a file cannot be had nothing is
/// written, and the store alone is there, which is reported once at INFO.
class RecentRows
{
public:
    /// Begun anew from this size on, with the newest row of each instance; when those are nearly as long, from double
    /// their length on.
    static constexpr std::size_t longestFile = 4U << 20U;

    /// For the store at `store`. What an earlier life left is forgotten when the store has been removed.
    explicit RecentRows(const std::filesystem::path& store);
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
    /// The file is to be begun anew.
    bool isFull() const { return m_size > m_fullAt; }
    /// Everything that is known follows and takes the file's place with the next flush, and with it what nobody has
    /// asked for yet.
    void beginAnew();
    /// The store has everything: removes the file, unless an earlier life left something that nobody has asked for.
    void forget();
    /// Gives back the memory of a burst.
    void rest() { m_text.shrink_to_fit(); }

private:
    void open(bool isForgotten);
    void load();
    bool replaceFile();

    const std::filesystem::path m_path;
    util::UniqueFd m_lock;
    util::UniqueFd m_file; ///< closed when there is none to be had
    std::size_t m_size = 0;
    std::size_t m_fullAt = longestFile;
    bool m_isNew = false; ///< m_text is to be a file of its own
    std::string m_text;
    std::map<ChannelName, std::vector<StoredRow>> m_loaded;
};

} // namespace com::tallowcrest::durability
