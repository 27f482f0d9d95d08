#pragma once

#include "tests/support/ForcedFiles.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace testsupport
{

/// Writes down what SQLite writes to the files of a directory while it lives, and what of it is forced to the disk, so
/// that the files can be made again as a power cut at any moment may have left them. Thread-safe. One at a time.
class DiskRecord
{
public:
    using Bytes = std::vector<std::uint8_t>;
    struct Operation
    {
        enum class Kind
        {
            Write,
            Truncate,
            Force
        };
        Kind kind = Kind::Force;
        std::string file;       ///< its name
        std::size_t offset = 0; ///< of a write, or the length that is left
        Bytes bytes;
    };
    /// What a disk writes as a whole.
    static constexpr std::size_t sectorBytes = 512;

    /// What is there already counts as forced.
    explicit DiskRecord(std::filesystem::path directory);
    ~DiskRecord();
    DiskRecord(const DiskRecord&) = delete;
    DiskRecord& operator=(const DiskRecord&) = delete;

    /// How many operations there were so far.
    std::size_t size() const;
    /// Makes the files in `target` as a cut before operation `end` may leave them: with all that was forced, and of
    /// what was written since each sector that `isWritten` says.
    void restore(const std::filesystem::path& target, std::size_t end, const std::function<bool()>& isWritten) const;

private:
    ForcedFiles m_forced;
    std::map<std::string, Bytes> m_before;
};

} // namespace testsupport
