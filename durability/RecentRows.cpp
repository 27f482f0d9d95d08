#include "durability/RecentRows.h"

#include "runtime/util/Log.h"

#include <fcntl.h>
#include <log4cxx/logger.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <system_error>
#include <utility>

namespace com::tallowcrest::durability
{

namespace
{

/// Opens a file of ours; nothing when it is somebody else's, no file at all, or cannot be had. Waits for nobody.
util::UniqueFd openOwn(const std::filesystem::path& path, int flags)
{
    util::UniqueFd file(::open(path.c_str(), flags | O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    struct stat status
    {};
    if (file.isOpen() &&
        (::fstat(file.get(), &status) != 0 || status.st_uid != ::geteuid() || !S_ISREG(status.st_mode)))
    {
        errno = EPERM;
        return {};
    }
    return file;
}

bool writeAll(int fd, const std::string& text)
{
    std::size_t done = 0;
    while (done < text.size())
    {
        const ssize_t count = ::write(fd, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR)
        {
            continue;
        }
        if (count <= 0)
        {
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

/// One line a row, its columns separated by tabs. JSON text and numbers hold neither tabs nor line ends.
void addLine(std::string& text, const StoredRow& row)
{
    const std::array<const std::string*, 4> names{&row.channel.partition, &row.channel.topic, &row.instance, &row.type};
    const std::size_t before = text.size();
    for (const std::string* const name : names)
    {
        if (name->find('\t') != std::string::npos || name->find('\n') != std::string::npos)
        {
            text.resize(before);
            return;
        }
        text.append(*name).push_back('\t');
    }
    text.append(std::to_string(row.written)).push_back('\t');
    text.append(row.payload).push_back('\n');
}

bool parseLine(const std::string& line, StoredRow& row)
{
    std::array<std::string, 6> columns;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < columns.size(); ++i)
    {
        const std::size_t end = i + 1 < columns.size() ? line.find('\t', begin) : line.size();
        if (end == std::string::npos)
        {
            return false;
        }
        columns[i] = line.substr(begin, end - begin);
        begin = end + 1;
    }
    row = {{columns[0], columns[1]}, columns[2], columns[3], 0, columns[5]};
    const auto result = std::from_chars(columns[4].data(), columns[4].data() + columns[4].size(), row.written);
    return result.ec == std::errc() && result.ptr == columns[4].data() + columns[4].size();
}

} // namespace

RecentRows::RecentRows(const std::filesystem::path& store) : m_path(fileOf(store))
{
    std::error_code error;
    open(!std::filesystem::exists(store, error) && !error); // what cannot be looked at may be there
}

void RecentRows::forget()
{
    std::error_code error;
    if (m_file.isOpen() && m_loaded.empty())
    {
        // A file that stays is read and found to be nothing new.
        std::filesystem::remove(m_path, error);
        std::filesystem::remove(m_path.string() + ".lock", error);
    }
}

std::filesystem::path RecentRows::fileOf(const std::filesystem::path& store)
{
    // FNV-1a: the same for the same store in every life.
    std::uint64_t hash = 0xcbf29ce484222325U;
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::weakly_canonical(store, error);
    for (const char letter : (error ? store : absolute).string())
    {
        hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001b3U;
    }
    std::array<char, 64> name{};
    static_cast<void>(
        std::snprintf(name.data(), name.size(), "korabridge-%016llx.recent", static_cast<unsigned long long>(hash)));
    return directory() / name.data();
}

std::filesystem::path RecentRows::directory()
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment after the start
    const char* const directory = std::getenv("KORABRIDGE_DURABLE_MEMORY");
    return directory != nullptr && *directory != '\0' ? directory : "/dev/shm";
}

void RecentRows::open(bool isForgotten)
{
    m_lock = openOwn(m_path.string() + ".lock", 0);
    if (m_lock.isOpen() && ::flock(m_lock.get(), LOCK_EX | LOCK_NB) == 0)
    {
        m_file = openOwn(m_path, O_APPEND | (isForgotten ? O_TRUNC : 0));
    }
    if (!m_file.isOpen())
    {
        LOG4CXX_INFO(util::bridgeLogger(),
                     "Durable targets: " << m_path.string()
                                         << " cannot be used: " << std::system_category().message(errno)
                                         << "; a slow disk may delay what is kept of the last moment");
        return;
    }
    load();
}

void RecentRows::load()
{
    std::ifstream file(m_path);
    std::string line;
    while (std::getline(file, line) && !file.eof()) // the last line may be torn
    {
        m_size += line.size() + 1;
        StoredRow row;
        if (parseLine(line, row))
        {
            m_loaded[row.channel].push_back(std::move(row));
        }
    }
    if (!line.empty() && !writeAll(m_file.get(), "\n"))
    {
        m_file.reset();
    }
}

std::vector<StoredRow> RecentRows::takeLoaded(const ChannelName& channel)
{
    const auto found = m_loaded.find(channel);
    if (found == m_loaded.end())
    {
        return {};
    }
    std::vector<StoredRow> rows = std::move(found->second);
    m_loaded.erase(found);
    return rows;
}

void RecentRows::append(const StoredRow& row)
{
    if (m_file.isOpen())
    {
        addLine(m_text, row);
    }
}

void RecentRows::beginAnew()
{
    m_isNew = m_file.isOpen();
    m_text.clear();
    for (const auto& [name, rows] : m_loaded)
    {
        for (const StoredRow& row : rows)
        {
            append(row);
        }
    }
}

void RecentRows::flush()
{
    if (std::exchange(m_isNew, false))
    {
        const bool isReplaced = replaceFile();
        // What could not be begun anew goes on growing for a while before it is tried again.
        m_fullAt = std::max(longestFile, 2 * (isReplaced ? m_text.size() : m_size + m_text.size()));
        if (isReplaced)
        {
            m_size = m_text.size();
            m_text.clear();
        }
    }
    if (m_text.empty())
    {
        return;
    }
    if (!writeAll(m_file.get(), m_text))
    {
        LOG4CXX_WARN(util::bridgeLogger(), "Durable targets: cannot write "
                                               << m_path.string() << ": " << std::system_category().message(errno)
                                               << "; a slow disk may delay what is kept of the last moment");
        m_file.reset();
    }
    m_size += m_text.size();
    m_text.clear();
}

/// False when there is no place for another file: then the one that is there goes on.
bool RecentRows::replaceFile()
{
    const std::filesystem::path next = m_path.string() + ".next";
    util::UniqueFd file = openOwn(next, O_APPEND | O_TRUNC);
    if (!file.isOpen() || !writeAll(file.get(), m_text))
    {
        return false;
    }
    std::error_code error;
    std::filesystem::rename(next, m_path, error);
    if (error)
    {
        return false;
    }
    m_file = std::move(file);
    return true;
}

} // namespace com::tallowcrest::durability
