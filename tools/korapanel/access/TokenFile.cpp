#include "tools/korapanel/access/TokenFile.h"

#include "runtime/util/SystemError.h"
#include "runtime/util/VisibleText.h"
#include "tools/common/BackupFile.h"
#include "tools/common/FileLines.h"
#include "tools/korapanel/access/Secret.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace korapanel
{
namespace
{

using koractl::FileError;

constexpr std::size_t longestName = 32;
constexpr std::size_t longestSecret = 64;
constexpr std::size_t mostTokens = 256;

bool isTokenText(const std::string& text, std::size_t longest)
{
    return !text.empty() && text.size() <= longest && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '-' || c == '_';
    });
}

Tokens loadTokens(const std::string& fileName)
{
    std::ifstream file(fileName);
    if (!file)
    {
        throw FileError(com::tallowcrest::util::visibleText(fileName) + ": " +
                        com::tallowcrest::util::systemErrorText());
    }
    return readTokens(file, fileName);
}

void checkName(const std::string& name)
{
    if (!isTokenText(name, longestName))
    {
        throw std::invalid_argument("a token's name has up to " + std::to_string(longestName) +
                                    " letters, digits, hyphens and underscores");
    }
}

} // namespace

Tokens readTokens(std::istream& in, const std::string& fileName)
{
    Tokens tokens;
    koractl::forEachLine(in, fileName, [&](const std::string& line, std::size_t) {
        koractl::LineScanner scanner(line);
        const std::string name = scanner.word();
        const std::string hash = scanner.word();
        const std::string right = scanner.word();
        checkName(name);
        if (hash.size() < 3 || hash.front() != '$')
        {
            throw std::invalid_argument("the token's hash is missing");
        }
        if ((right != "read" && right != "control") || !scanner.isAtEnd())
        {
            throw std::invalid_argument("a line ends with read or control");
        }
        if (tokens.size() >= mostTokens)
        {
            throw std::invalid_argument("there are more than " + std::to_string(mostTokens) + " tokens");
        }
        if (!tokens.emplace(name, TokenEntry{.hash = hash, .mayControl = right == "control"}).second)
        {
            throw std::invalid_argument("'" + name + "' has a token already");
        }
    });
    return tokens;
}

std::string addToken(const std::string& fileName, const std::string& name, bool mayControl)
{
    checkName(name);
    std::stringstream content;
    // Read as what it is to be, before all of it is: it may be a file without an end.
    if (std::ifstream file(fileName); file)
    {
        if (readTokens(file, fileName).contains(name))
        {
            throw std::invalid_argument("'" + name + "' has a token already; delete its line to make another");
        }
        file.clear();
        file.seekg(0);
        content << file.rdbuf();
    }
    std::string text = content.str();
    const std::string secret = randomSecret();
    text += text.empty() || text.back() == '\n' ? "" : "\n";
    text += name + " " + hashOf(secret) + (mayControl ? " control\n" : " read\n");
    koractl::writePrivateFile(fileName, text);
    return name + "." + secret;
}

std::optional<ShownToken> cutToken(const std::string& shown)
{
    const std::size_t dot = shown.find('.');
    if (dot == std::string::npos)
    {
        return std::nullopt;
    }
    ShownToken token{.name = shown.substr(0, dot), .secret = shown.substr(dot + 1)};
    if (!isTokenText(token.name, longestName) || !isTokenText(token.secret, longestSecret))
    {
        return std::nullopt;
    }
    return token;
}

TokenFile::TokenFile(std::string fileName)
    : m_fileName(std::move(fileName)), m_stamp(stampOf(m_fileName)), m_tokens(loadTokens(m_fileName))
{}

std::optional<TokenFile::Stamp> TokenFile::stampOf(const std::string& fileName)
{
    struct stat found
    {};
    if (::stat(fileName.c_str(), &found) != 0)
    {
        return std::nullopt;
    }
    return Stamp{.time = found.st_mtim, .size = found.st_size, .inode = found.st_ino};
}

const Tokens& TokenFile::tokens()
{
    const std::optional<Stamp> now = stampOf(m_fileName);
    const bool isSame = now && m_stamp && now->time.tv_sec == m_stamp->time.tv_sec &&
                        now->time.tv_nsec == m_stamp->time.tv_nsec && now->size == m_stamp->size &&
                        now->inode == m_stamp->inode;
    if (!isSame && (now || m_stamp))
    {
        m_stamp = now;
        m_tokens.clear();
        try
        {
            m_tokens = loadTokens(m_fileName);
        }
        catch (const FileError& problem)
        {
            std::cerr << "korapanel: nobody is let in: " << problem.what() << std::endl;
        }
    }
    return m_tokens;
}

} // namespace korapanel
