#include "tools/korapanel/access/Secret.h"

#include <crypt.h>
#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace korapanel
{
namespace
{

/// Of the slow hash: 4 MiB and some milliseconds on a server, so that a board can still afford one. What is hashed has
/// 256 random bits and cannot be guessed anyway.
constexpr unsigned long cost = 3;
constexpr const char* method = "$y$";

std::string cryptOf(const std::string& secret, const std::string& setting)
{
    const auto data = std::make_unique<crypt_data>(); // too large for a stack
    const char* const hash = ::crypt_rn(secret.c_str(), setting.c_str(), data.get(), sizeof(crypt_data));
    return hash == nullptr ? "" : hash;
}

} // namespace

std::string randomSecret()
{
    static constexpr char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::array<std::uint8_t, 32> bytes{};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
    {
        throw std::system_error(errno, std::generic_category(), "getrandom");
    }
    std::string text;
    std::uint32_t bits = 0;
    int held = 0;
    for (const std::uint8_t byte : bytes)
    {
        bits = (bits << 8U) | byte;
        for (held += 8; held >= 6; held -= 6)
        {
            text += letters[(bits >> static_cast<unsigned>(held - 6)) & 63U];
        }
    }
    return text + letters[(bits << static_cast<unsigned>(6 - held)) & 63U];
}

std::string hashOf(const std::string& secret)
{
    std::array<char, CRYPT_GENSALT_OUTPUT_SIZE> setting{};
    if (::crypt_gensalt_rn(method, cost, nullptr, 0, setting.data(), static_cast<int>(setting.size())) == nullptr)
    {
        throw std::runtime_error("the system's crypt knows no yescrypt");
    }
    std::string hash = cryptOf(secret, setting.data());
    if (hash.empty())
    {
        throw std::runtime_error("the token cannot be hashed");
    }
    return hash;
}

bool isHashOf(const std::string& hash, const std::string& secret)
{
    const std::string again = cryptOf(secret, hash);
    return !again.empty() && isSameSecret(again, hash);
}

bool isSameSecret(std::string_view one, std::string_view other)
{
    if (one.size() != other.size())
    {
        return false;
    }
    unsigned difference = 0;
    for (std::size_t i = 0; i < one.size(); ++i)
    {
        difference |= static_cast<unsigned>(static_cast<unsigned char>(one[i]) ^ static_cast<unsigned char>(other[i]));
    }
    return difference == 0;
}

} // namespace korapanel
