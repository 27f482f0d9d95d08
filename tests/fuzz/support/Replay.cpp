// Runs a fuzz harness over files and folders of inputs, without a fuzzer: the corpus as an ordinary test.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace
{

std::vector<std::filesystem::path> filesOf(const std::filesystem::path& path)
{
    if (!std::filesystem::is_directory(path))
    {
        return {path};
    }
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(path))
    {
        files.push_back(entry.path());
    }
    return files;
}

bool replay(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file)
    {
        static_cast<void>(std::fprintf(stderr, "replay: cannot read %s\n", path.c_str()));
        return false;
    }
    // Named before it runs, so that an input that ends the process is known.
    static_cast<void>(std::fprintf(stderr, "%s\n", path.filename().c_str()));
    const std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
    static_cast<void>(LLVMFuzzerTestOneInput(data.data(), data.size()));
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        std::size_t count = 0;
        for (int i = 1; i < argc; ++i)
        {
            const auto files = filesOf(argv[i]);
            if (files.empty())
            {
                static_cast<void>(std::fprintf(stderr, "replay: nothing in %s\n", argv[i]));
                return 1;
            }
            if (!std::all_of(files.begin(), files.end(), replay))
            {
                return 1;
            }
            count += files.size();
        }
        static_cast<void>(std::fprintf(stderr, "replay: %zu inputs\n", count));
        return count > 0 ? 0 : 1; // nothing to replay is a mistake of the caller
    }
    catch (const std::exception& error)
    {
        static_cast<void>(std::fprintf(stderr, "replay: %s\n", error.what()));
        return 1;
    }
}
