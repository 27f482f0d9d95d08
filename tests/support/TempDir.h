#pragma once

#include <filesystem>
#include <string>

namespace testsupport
{

/// A fresh directory that is removed with all it holds.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

/// The whole text of a file; empty when it cannot be read.
std::string readFile(const std::filesystem::path& path);

/// Replaces a file's text.
void writeFile(const std::filesystem::path& path, const std::string& text);

} // namespace testsupport
