#pragma once

#include "tools/korapanel/http/Message.h"

#include <optional>
#include <string>

namespace korapanel
{

/// The page's files: "/" is index.html, "/page/NAME" any other file of the folder. Names hold letters, digits, "-", "_"
/// and dots, which do not begin a part; nothing is listed and no link is followed. Pure but for the files.
class StaticFiles
{
public:
    static constexpr std::size_t longestFile = 4UL * 1024 * 1024;

    explicit StaticFiles(std::string folder) : m_folder(std::move(folder)) {}

    /// Nothing when the path is not one of the page's; an answer with status 404 when there is no such file.
    std::optional<Answer> get(const std::string& path) const;

    /// The path of a file inside the folder; nothing when a request must not name it.
    static std::optional<std::string> fileOf(const std::string& path);

private:
    const std::string m_folder;
};

} // namespace korapanel
