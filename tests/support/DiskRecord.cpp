#include "tests/support/DiskRecord.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <mutex>
#include <utility>

namespace
{

using testsupport::DiskRecord;

struct State
{
    std::mutex mutex;
    std::filesystem::path directory; ///< empty: nothing is written down
    std::vector<DiskRecord::Operation> operations;
};

State& state()
{
    static State& theState = *new State;
    return theState;
}

void note(const std::filesystem::path& path, DiskRecord::Operation operation)
{
    const std::lock_guard lock(state().mutex);
    // The index beside the log is made anew from the log.
    if (!state().directory.empty() && path.parent_path() == state().directory && !path.string().ends_with("-shm"))
    {
        operation.file = path.filename().string();
        state().operations.push_back(std::move(operation));
    }
}

template <typename Call>
Call* next(const char* name)
{
    return reinterpret_cast<Call*>(::dlsym(RTLD_NEXT, name));
}

std::filesystem::path pathOf(int fd)
{
    std::error_code none;
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), none);
}

DiskRecord::Bytes contentOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void apply(DiskRecord::Bytes& file, std::size_t offset, const std::uint8_t* bytes, std::size_t size)
{
    file.resize(std::max(file.size(), offset + size));
    std::copy_n(bytes, size, file.begin() + static_cast<std::ptrdiff_t>(offset));
}

} // namespace

extern "C" ssize_t pwrite64(int fd, const void* bytes, std::size_t size, off64_t offset)
{
    const auto* const first = static_cast<const std::uint8_t*>(bytes);
    note(pathOf(fd), {.kind = DiskRecord::Operation::Kind::Write,
                      .file = {},
                      .offset = static_cast<std::size_t>(offset),
                      .bytes = {first, first + size}});
    static auto* const call = next<ssize_t(int, const void*, std::size_t, off64_t)>("pwrite64");
    return call(fd, bytes, size, offset);
}

extern "C" int ftruncate64(int fd, off64_t size) noexcept
{
    note(pathOf(fd), {.kind = DiskRecord::Operation::Kind::Truncate,
                      .file = {},
                      .offset = static_cast<std::size_t>(size),
                      .bytes = {}});
    static auto* const call = next<int(int, off64_t)>("ftruncate64");
    return call(fd, size);
}

namespace testsupport
{

DiskRecord::DiskRecord(std::filesystem::path directory)
{
    for (const auto& entry : std::filesystem::directory_iterator(directory))
    {
        m_before[entry.path().filename().string()] = contentOf(entry.path());
    }
    m_forced.tell([](const std::filesystem::path& path) {
        note(path, {.kind = Operation::Kind::Force, .file = {}, .offset = 0, .bytes = {}});
    });
    const std::lock_guard lock(state().mutex);
    state().directory = std::filesystem::canonical(directory);
}

DiskRecord::~DiskRecord()
{
    const std::lock_guard lock(state().mutex);
    state().directory.clear();
    state().operations.clear();
}

std::size_t DiskRecord::size() const
{
    const std::lock_guard lock(state().mutex);
    return state().operations.size();
}

void DiskRecord::restore(const std::filesystem::path& target, std::size_t end,
                         const std::function<bool()>& isWritten) const
{
    std::vector<Operation> operations;
    {
        const std::lock_guard lock(state().mutex);
        operations.assign(state().operations.begin(), state().operations.begin() + static_cast<std::ptrdiff_t>(end));
    }
    std::map<std::string, std::size_t> forcedUntil;
    for (std::size_t i = 0; i < operations.size(); ++i)
    {
        if (operations[i].kind == Operation::Kind::Force)
        {
            forcedUntil[operations[i].file] = i;
        }
    }
    std::map<std::string, Bytes> files = m_before;
    for (std::size_t i = 0; i < operations.size(); ++i)
    {
        const Operation& operation = operations[i];
        const auto forced = forcedUntil.find(operation.file);
        const bool isForced = forced != forcedUntil.end() && i < forced->second;
        Bytes& file = files[operation.file];
        if (operation.kind == Operation::Kind::Truncate && (isForced || isWritten()))
        {
            file.resize(operation.offset);
        }
        for (std::size_t at = 0; at < operation.bytes.size();)
        {
            // A sector is where it is in the file, however the bytes came.
            const std::size_t offset = operation.offset + at;
            const std::size_t size = std::min(operation.bytes.size() - at, sectorBytes - offset % sectorBytes);
            if (isForced || isWritten())
            {
                apply(file, offset, &operation.bytes[at], size);
            }
            at += size;
        }
    }
    std::filesystem::create_directories(target);
    for (const auto& [name, bytes] : files)
    {
        std::ofstream(target / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
}

} // namespace testsupport
