// Fuzzes the durable store's files: the database and its log hold any bytes, as after a broken disk or an unlucky
// restore. Whatever they hold, the store opens them or says that they are corrupt; then they are set aside and a fresh
// store keeps what it is given.

#include "bustypes/RoutingTypes.h"
#include "bustypes/SampleText.h"
#include "buswrappers/DurableTopic.h"
#include "durability/ChannelCore.h"
#include "durability/Store.h"
#include "tests/fuzz/store/StoreInput.h"
#include "tests/fuzz/support/Require.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <system_error>
#include <vector>

namespace
{

namespace durability = com::tallowcrest::durability;
namespace routing = com::tallowcrest::dds_::routing;
using durability::Store;
using durability::StoredRow;
using durability::StoreError;
using durability::StoreFailure;
using fuzz::require;

/// A folder in memory, gone with the process.
class Folder
{
public:
    Folder() : m_path("/dev/shm/korabridge-fuzz-" + std::to_string(::getpid()))
    {
        std::filesystem::create_directories(m_path);
    }
    ~Folder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    void clear() const
    {
        for (const auto& entry : std::filesystem::directory_iterator(m_path))
        {
            std::filesystem::remove(entry.path());
        }
    }
    void write(const std::string& name, std::span<const std::uint8_t> bytes) const
    {
        std::ofstream file(m_path / name, std::ios::binary);
        for (const std::uint8_t byte : bytes)
        {
            file.put(static_cast<char>(byte));
        }
        require(file.good(), "there is room for the input");
    }
    std::filesystem::path store() const { return m_path / "durable.db"; }
    /// How many files were set aside.
    std::ptrdiff_t setAside() const
    {
        const std::filesystem::directory_iterator files(m_path);
        return std::count_if(begin(files), end(files), [](const auto& entry) {
            return entry.path().filename().string().find(".corrupt-") != std::string::npos;
        });
    }

private:
    const std::filesystem::path m_path;
};

const StoredRow& ownRow()
{
    static const StoredRow row{.channel = {"com:tallowcrest:routing:A", "TopicMacroXptOutputVideoTarget"},
                               .instance = "287",
                               .type = "com::tallowcrest::dds_::routing::MacroXptOutput",
                               .written = 1700000000000000,
                               .payload =
                                   R"({"macroXptOutput":287,"macroXptInput":5,"when":1,"lprId":2,"lprState":0})"};
    return row;
}

/// What the bridge makes of rows that it loads.
void useRows(const std::vector<StoredRow>& rows)
{
    const auto& codec = com::tallowcrest::routing::durableCodec<routing::MacroXptOutput>();
    constexpr durability::Instance greatest = 2592;
    constexpr durability::ChannelCore::Now now{.steady = {}, .wall = durability::earliestSane};
    durability::HybridClock clock;
    durability::ChannelCore core(
        {.greatest = greatest, .self = 1, .isShared = false, .started = {}, .rules = codec.rules}, clock);
    for (const StoredRow& row : rows)
    {
        routing::MacroXptOutput value;
        if (!routing::parseJson(row.payload, value))
        {
            continue;
        }
        const durability::Instance instance = codec.instanceOf(&value);
        std::string content = row.payload;
        require(codec.normalize(content, instance), "what was parsed is content");
        require(content == codec.contentOf(&value), "what was parsed is written as it was");
        require(!codec.normalize(content, instance + 1), "and is no other instance's");
        core.loaded(instance, {.written = row.written, .content = content}, durability::ChannelCore::Kept::Store, now);
        const durability::Decision* const known = core.known(instance);
        require((known != nullptr) == (instance <= greatest), "what exists is known");
        require(known == nullptr || durability::isBelievable(known->written, now.wall), "and of a sane time");
    }
    require(clock.next(now.wall) <= now.wall + durability::farthestAhead + 1, "no row moves the clock far");
}

/// Opens the store, reads it, puts a row in; the row must be there, now and after opening it once more. StoreError says
/// why not.
void useStore(const std::filesystem::path& path)
{
    {
        Store store(path);
        useRows(store.load());
        store.commit({ownRow()});
        const auto rows = store.load();
        require(std::count(rows.begin(), rows.end(), ownRow()) == 1, "what was put in is there");
    }
    Store store(path);
    const auto rows = store.load();
    require(std::count(rows.begin(), rows.end(), ownRow()) == 1, "what was put in survives");
}

/// Whatever the bytes claim, they make neither the process nor the file large.
void checkSizes(const std::filesystem::path& path)
{
    constexpr std::uintmax_t mebibyte = 1024 * 1024;
    require(static_cast<std::uintmax_t>(sqlite3_memory_highwater(1)) <= 32 * mebibyte, "SQLite's memory is bounded");
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    require(error || size <= 65 * mebibyte, "a file does not grow with what its log claims");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    static const Folder folder;
    folder.clear();
    const std::span<const std::uint8_t> input(data, size);
    folder.write("durable.db", fuzz::storeInput::database(input));
    if (const auto log = fuzz::storeInput::log(input); !log.empty())
    {
        folder.write("durable.db-wal", log);
    }
    try
    {
        useStore(folder.store());
    }
    catch (const StoreError& error)
    {
        switch (error.failure())
        {
        case StoreFailure::Unusable:
        case StoreFailure::InUse:
            require(false, std::string("bytes alone make no store unusable: ") + error.what());
            break;
        case StoreFailure::NewerVersion:
        case StoreFailure::Foreign:
            require(folder.setAside() == 0 && std::filesystem::exists(folder.store()), "what is not ours stays");
            break;
        case StoreFailure::Corrupt:
            Store::setAside(folder.store());
            require(folder.setAside() > 0, "what is corrupt is kept aside");
            useStore(folder.store());
            break;
        }
    }
    checkSizes(folder.store());
    return 0;
}
