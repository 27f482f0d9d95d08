#pragma once

#include <ctime>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>

namespace korapanel
{

/// One line of the token file.
struct TokenEntry
{
    std::string hash;
    bool mayControl = false;

    bool operator==(const TokenEntry&) const = default;
};

/// The tokens of a file, by name.
using Tokens = std::map<std::string, TokenEntry>;

/// Reads lines `NAME HASH read` or `NAME HASH control`. Throws koractl::FileError, which names each bad line.
Tokens readTokens(std::istream& in, const std::string& fileName);

/// Adds a token to the file, which is made when there is none, readable by its owner alone, and replaced as a whole.
/// Returns what its bearer has to show, `NAME.SECRET`, which stands nowhere else. Throws koractl::FileError, or
/// std::invalid_argument for a name that is none or is there already.
std::string addToken(const std::string& fileName, const std::string& name, bool mayControl);

/// A token as it is shown, cut into its parts; nothing when it is none.
struct ShownToken
{
    std::string name;
    std::string secret;
};
std::optional<ShownToken> cutToken(const std::string& shown);

/// A token file that may be changed while the panel runs: looked at again whenever it has changed. One that cannot be
/// read any more lets nobody in. Belongs to one thread.
class TokenFile
{
public:
    /// Throws koractl::FileError.
    explicit TokenFile(std::string fileName);

    const Tokens& tokens();

private:
    struct Stamp
    {
        timespec time{};
        off_t size = 0;
        ino_t inode = 0;
    };
    static std::optional<Stamp> stampOf(const std::string& fileName);

    const std::string m_fileName;
    std::optional<Stamp> m_stamp;
    Tokens m_tokens;
};

} // namespace korapanel
