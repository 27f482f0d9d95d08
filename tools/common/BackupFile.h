#pragma once

#include "koraclient/AskOutputs.h"
#include "tools/common/AddressReader.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace koractl
{

/// What a backup file wants of one output. What the line does not say is left as it is.
struct OutputWish
{
    /// The wanted source; without an input: no route.
    struct Route
    {
        std::optional<std::uint32_t> input;
    };

    std::uint32_t level = 0;
    std::uint32_t output = 0;
    std::size_t line = 0; ///< where it stands in the file
    std::optional<Route> route;
    std::optional<koraclient::OutputLpr> lpr;
};

/// Writes and reads the text file of `koractl backup`; its form stands in README.md of this folder. Pure functions.

/// The first lines; `when` is shown to people only.
void writeBackupStart(std::ostream& out, const std::string& when);
void writeBackupLevel(std::ostream& out, std::uint32_t level, const koraclient::LevelSnapshot& snapshot,
                      const Names& names);
/// Throws FileError, which names each bad line.
std::vector<OutputWish> readBackup(std::istream& in, const std::string& fileName, const AddressReader& reader);

/// Writes a file so that its name stands for the old content or for the whole new one, never for a part. Throws
/// FileError.
void writeWholeFile(const std::string& fileName, const std::string& content);
/// The same for a file that its owner alone may read. It stays with the owner that it has; a new one belongs to the
/// owner of its folder when the superuser writes it.
void writePrivateFile(const std::string& fileName, const std::string& content);

} // namespace koractl
