// Fuzzes what korapanel reads by itself: hosts and origins, event ids, tokens and their file, paths of the page, names
// of salvos, and bodies. Whatever they hold, they are read or refused, and what is let through keeps what the rest of
// the program builds on.

#include "tests/fuzz/support/Require.h"
#include "tools/common/FileLines.h"
#include "tools/korapanel/access/Origin.h"
#include "tools/korapanel/access/TokenFile.h"
#include "tools/korapanel/api/Bodies.h"
#include "tools/korapanel/http/StaticFiles.h"
#include "tools/korapanel/model/EventLog.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

namespace
{

using namespace korapanel;
using fuzz::require;

bool isOneLine(const std::string& text)
{
    return text.find_first_of("\r\n") == std::string::npos;
}

void checkHeaders(const std::string& text)
{
    const std::string name = nameOfHost(text);
    require(name.find_first_of("/@[] \r\n") == std::string::npos, "a host's name is a name");
    const OriginCheck origins({"panel.example"});
    if (origins.isKnownHost(text, "10.0.0.5"))
    {
        require(name == "localhost" || name == "127.0.0.1" || name == "::1" || name == "panel.example" ||
                    name == "10.0.0.5",
                "a known host is one of those that were named");
    }
    if (OriginCheck::isOwnOrigin(text, "panel.example:8090"))
    {
        require(text.size() == std::string("http://panel.example:8090").size() ||
                    text.size() == std::string("https://panel.example:8090").size(),
                "an own origin has nothing behind the port");
    }
    if (const auto id = parseEventId(text))
    {
        require(!text.empty() && text.find_first_not_of("0123456789") == std::string::npos,
                "an event's id is a number");
    }
    if (const auto token = cutToken(text))
    {
        require(token->name + "." + token->secret == text, "a token is its two parts");
        require(isOneLine(text) && token->name.size() <= 32, "a token's name may be logged");
    }
}

void checkPaths(const std::string& text)
{
    if (const auto file = StaticFiles::fileOf(text))
    {
        require(!file->empty() && file->front() != '/' && file->front() != '.' && isOneLine(*file) &&
                    file->find("/.") == std::string::npos && file->find('\0') == std::string::npos,
                "a file of the page is inside its folder");
    }
    if (Salvos::isName(text))
    {
        require(text.find('/') == std::string::npos && text.front() != '.' && text.find('\0') == std::string::npos,
                "a salvo is a file of its folder");
    }
}

void checkTokens(const std::string& text)
{
    std::istringstream in(text);
    try
    {
        for (const auto& [name, token] : readTokens(in, "tokens"))
        {
            require(cutToken(name + ".x").has_value(), "a name in the file can be shown");
            require(token.hash.starts_with('$') && isOneLine(token.hash), "a hash is one");
        }
    }
    catch (const koractl::FileError& problem)
    {
        require(std::string(problem.what()).starts_with("tokens:"), "a complaint names the file");
    }
}

template <typename Read>
void checkBody(Read&& read)
{
    try
    {
        read();
    }
    catch (const BadBody& problem)
    {
        // It goes into an answer as it is.
        require(std::string(problem.what()).find_first_of("\"\\\r\n") == std::string::npos,
                "a refusal needs no quoting");
    }
}

void checkBodies(const std::string& text)
{
    checkBody([&text] {
        const std::size_t count = readTakes(text, 7).takes.size();
        require(count >= 1 && count <= mostEntries, "takes are bounded");
    });
    checkBody([&text] {
        const auto locks = readLocks(text, 7);
        require(!locks.empty() && locks.size() <= mostEntries, "locks are bounded");
        require(locks.front().lprId == 7, "the holder is the panel's");
    });
    checkBody([&text] { (void)readToken(text); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    checkHeaders(text);
    checkPaths(text);
    checkTokens(text);
    checkBodies(text);
    return 0;
}
