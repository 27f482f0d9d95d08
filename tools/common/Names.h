#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace koractl
{

/// Names of levels, inputs and outputs from a text file (its form stands in README.md of this folder). Names that the
/// file gives before its first level line hold for every level, unless the level has another. Plain value; reading
/// throws FileError.
class Names
{
public:
    static Names read(std::istream& in, const std::string& fileName);
    static Names load(const std::string& fileName) { return load(std::vector<std::string>{fileName}); }
    /// The files one after the other, as if they were one; "for every level" begins anew with each.
    static Names load(const std::vector<std::string>& fileNames);
    /// No names at all.
    static const Names& none();

    bool isEmpty() const { return m_levels.names.empty() && m_inputs.empty() && m_outputs.empty(); }

    std::optional<std::uint32_t> findLevel(const std::string& name) const { return find(m_levels, name); }
    std::optional<std::uint32_t> findInput(std::uint32_t level, const std::string& name) const
    {
        return find(m_inputs, level, name);
    }
    std::optional<std::uint32_t> findOutput(std::uint32_t level, const std::string& name) const
    {
        return find(m_outputs, level, name);
    }

    /// The name, or an empty text.
    std::string level(std::uint32_t number) const { return nameOf(m_levels, number); }
    std::string input(std::uint32_t level, std::uint32_t number) const { return nameOf(m_inputs, level, number); }
    std::string output(std::uint32_t level, std::uint32_t number) const { return nameOf(m_outputs, level, number); }

    /// All names that an input, or output, of the level has, by number.
    std::map<std::uint32_t, std::string> inputs(std::uint32_t level) const { return namesOf(m_inputs, level); }
    std::map<std::uint32_t, std::string> outputs(std::uint32_t level) const { return namesOf(m_outputs, level); }

    /// Width of the longest name that an input, or output, of the level may have.
    std::size_t inputWidth(std::uint32_t level) const { return widthOf(m_inputs, level); }
    std::size_t outputWidth(std::uint32_t level) const { return widthOf(m_outputs, level); }
    /// The highest input number of a level that has a name; 0 when none has.
    std::uint32_t lastInput(std::uint32_t level) const;

private:
    struct List
    {
        std::map<std::uint32_t, std::string> names;
        std::map<std::string, std::uint32_t> numbers;
    };
    /// By level; the list without a level holds for all.
    using Lists = std::map<std::optional<std::uint32_t>, List>;

    static void add(List& list, std::uint32_t number, const std::string& name);
    static std::optional<std::uint32_t> find(const List& list, const std::string& name);
    static std::optional<std::uint32_t> find(const Lists& lists, std::uint32_t level, const std::string& name);
    static std::string nameOf(const List& list, std::uint32_t number);
    static std::string nameOf(const Lists& lists, std::uint32_t level, std::uint32_t number);
    static std::map<std::uint32_t, std::string> namesOf(const Lists& lists, std::uint32_t level);
    static std::size_t widthOf(const Lists& lists, std::uint32_t level);
    void readFile(std::istream& in, const std::string& fileName);
    void readLine(const std::string& line, std::optional<std::uint32_t>& level);

    List m_levels;
    Lists m_inputs;
    Lists m_outputs;
};

} // namespace koractl
