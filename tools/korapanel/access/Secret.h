#pragma once

#include <string>
#include <string_view>

namespace korapanel
{

/// 32 bytes that nobody can guess, in 43 characters that may stand in a cookie. Throws std::system_error when the
/// system has none to give.
std::string randomSecret();

/// A hash with a salt of its own, slow on purpose, as crypt(5) writes it. Throws std::runtime_error.
std::string hashOf(const std::string& secret);
/// Takes as long as `hashOf`.
bool isHashOf(const std::string& hash, const std::string& secret);

/// Compares in a time that does not tell where the texts begin to differ.
bool isSameSecret(std::string_view one, std::string_view other);

} // namespace korapanel
