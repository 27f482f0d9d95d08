#pragma once

#include "koraclient/KoraTypes.h"
#include "tools/common/Names.h"

#include <cstdint>
#include <string>

namespace koractl
{

/// An output of a level, as the user writes it.
struct OutputAddress
{
    std::uint32_t level = 0;
    std::uint32_t output = 0;

    bool operator==(const OutputAddress&) const = default;
};

/// Reads levels, inputs and outputs that the user writes as numbers or by name. Each operation throws
/// std::invalid_argument with a sentence that names the text. Refers to the names, which must outlive it.
class AddressReader
{
public:
    explicit AddressReader(const Names& names) : m_names(names) {}

    std::uint32_t level(const std::string& text) const;
    std::uint32_t input(std::uint32_t level, const std::string& text) const;
    std::uint32_t output(std::uint32_t level, const std::string& text) const;
    /// LEVEL:INPUT:OUTPUT.
    koraclient::TakeEntry takeEntry(const std::string& text, std::uint32_t lprId) const;
    /// LEVEL:OUTPUT.
    OutputAddress outputAddress(const std::string& text) const;

private:
    /// `named` when there is one, else the text as a number; `what` says what the text was to name.
    std::uint32_t read(const std::string& text, std::optional<std::uint32_t> named, const std::string& what) const;

    const Names& m_names;
};

} // namespace koractl
