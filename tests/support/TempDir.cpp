#include "tests/support/TempDir.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace testsupport
{

TempDir::TempDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "korabridge-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
    {
        throw std::runtime_error("mkdtemp failed for " + pattern);
    }
    m_path = pattern;
}

TempDir::~TempDir()
{
    std::error_code ignored; // a leftover directory fails no test
    std::filesystem::remove_all(m_path, ignored);
}

std::string readFile(const std::filesystem::path& path)
{
    const std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void writeFile(const std::filesystem::path& path, const std::string& text)
{
    std::ofstream file(path, std::ios::trunc);
    file << text;
    if (!file.flush())
    {
        throw std::runtime_error("cannot write " + path.string());
    }
}

} // namespace testsupport
