#pragma once

#include <cstdint>
#include <string>

/// Gives its crosspoints as a printed table. Apartment-bound.
class IXptTable
{
public:
    IXptTable() = default;
    virtual ~IXptTable() = default;
    IXptTable(const IXptTable&) = delete;
    IXptTable& operator=(const IXptTable&) = delete;

    /// A header and one row per output from `first` to `last`, cut at the maximum output; empty when `first` is beyond.
    virtual std::string table(std::uint32_t first, std::uint32_t last) const = 0;
};
