#pragma once

#include "koraclient/KoraTypes.h"
#include "tools/common/Names.h"
#include "tools/korapanel/access/Sessions.h"
#include "tools/korapanel/api/Salvos.h"
#include "tools/korapanel/link/Orders.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace korapanel
{

/// A request's body is not what it has to be; the text says how, in words that need no quoting.
class BadBody : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Entries of one request.
inline constexpr std::size_t mostEntries = 8192;

struct TakesBody
{
    bool isCoherent = false;
    std::vector<koraclient::TakeEntry> takes;
};

/// Readers of bodies, each the mirror image of what the description says. Pure functions; each throws BadBody.
TakesBody readTakes(const std::string& body, std::uint32_t lprId);
std::vector<koraclient::LprEntry> readLocks(const std::string& body, std::uint32_t lprId);
std::string readToken(const std::string& body);

/// Writers of bodies. Pure functions.
std::string resultsText(const std::vector<OrderResult>& results);
std::string sessionText(const Identity& identity);
std::string namesText(const koractl::Names& names, const std::vector<std::uint32_t>& levels);
std::string salvosText(const std::vector<Salvos::Entry>& salvos);
std::string differenceText(const std::string& name, std::size_t entries,
                           const std::vector<koractl::RestoreStep>& steps);

} // namespace korapanel
