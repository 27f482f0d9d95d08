// Writes the first inputs of the store's fuzzer: make_store_seeds <folder>.

#include "durability/Store.h"
#include "tests/fuzz/store/StoreInput.h"

#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{

namespace durability = com::tallowcrest::durability;

std::string bytesOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeSeed(const std::filesystem::path& folder, const std::string& name, const std::string& database,
               const std::string& log)
{
    std::ofstream file(folder / name, std::ios::binary);
    file.put(static_cast<char>(
        static_cast<std::uint8_t>((database.size() + fuzz::storeInput::unit - 1) / fuzz::storeInput::unit)));
    file << database << log;
}

durability::StoredRow row(int output)
{
    return {{"com:tallowcrest:routing:A", "TopicMacroXptOutputVideoTarget"},
            std::to_string(output),
            "com::tallowcrest::dds_::routing::MacroXptOutput",
            1700000000000000 + output,
            R"({"macroXptOutput":)" + std::to_string(output) +
                R"(,"macroXptInput":5,"when":1,"lprId":2,"lprState":1})"};
}

void writeSeeds(const std::filesystem::path& folder)
{
    const std::filesystem::path path = folder / "seed.db";
    const auto logPath = durability::Store::logPath(path);
    std::vector<durability::StoredRow> many;
    for (int output = 0; output < 20; ++output)
    {
        many.push_back(row(output));
    }
    // What is committed lies in the log until the store is closed.
    const auto seed = [&](const std::string& name, const std::vector<durability::StoredRow>& rows) {
        durability::Store store(path);
        if (!rows.empty())
        {
            store.commit(rows);
        }
        writeSeed(folder, name, bytesOf(path), bytesOf(logPath));
    };
    seed("new_in_log", {});
    writeSeed(folder, "empty", bytesOf(path), "");
    seed("rows_in_log", {row(1), row(2)});
    seed("rows_in_both", {row(2), row(3)});
    seed("pages_in_log", many);
    writeSeed(folder, "pages", bytesOf(path), "");
    for (const auto& used :
         {path, logPath, std::filesystem::path(path.string() + "-shm"), std::filesystem::path(path.string() + ".lock")})
    {
        std::filesystem::remove(used);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        static_cast<void>(std::fprintf(stderr, "usage: make_store_seeds <folder>\n"));
        return 1;
    }
    try
    {
        writeSeeds(argv[1]);
        return 0;
    }
    catch (const std::exception& error)
    {
        static_cast<void>(std::fprintf(stderr, "make_store_seeds: %s\n", error.what()));
        return 1;
    }
}
