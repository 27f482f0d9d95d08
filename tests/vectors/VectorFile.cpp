#include "tests/vectors/VectorFile.h"

#include "tests/support/Places.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace testsupport
{

namespace
{

constexpr std::size_t hexDigits = 8;
constexpr int hexadecimal = 16;
constexpr int decimal = 10;

std::filesystem::path vectorFolder()
{
    return sourceFolder() / "tests" / "vectors";
}

struct MessageText
{
    std::string path;
    std::string text; ///< as many lines into the file as the message is
};

/// The name of the message that begins with this line; nothing when none does.
std::optional<std::string> nameIn(const std::string& line)
{
    if (line.size() > 2 && line.front() == '[' && line.back() == ']')
    {
        return line.substr(1, line.size() - 2);
    }
    return std::nullopt;
}

void readMessages(const std::filesystem::path& path, std::map<std::string, MessageText>& messages)
{
    std::ifstream file(path);
    std::string linesBefore;
    MessageText* message = nullptr;
    for (std::string line; std::getline(file, line); linesBefore += '\n')
    {
        if (const auto name = nameIn(line))
        {
            const auto [entry, isNew] = messages.try_emplace(*name, MessageText{path.string(), linesBefore + '\n'});
            if (!isNew)
            {
                throw std::runtime_error(path.string() + ": there is a second golden message " + *name);
            }
            message = &entry->second;
        }
        else if (message != nullptr)
        {
            message->text += line + '\n';
        }
    }
}

std::map<std::string, MessageText> allMessages()
{
    std::map<std::string, MessageText> messages;
    for (const auto& entry : std::filesystem::directory_iterator(vectorFolder()))
    {
        if (entry.path().extension() == ".txt")
        {
            readMessages(entry.path(), messages);
        }
    }
    return messages;
}

[[noreturn]] void fail(const std::string& source, std::size_t line, const std::string& what)
{
    throw std::runtime_error(source + ":" + std::to_string(line) + ": " + what);
}

/// The number that makes up all of `text`; false when it is none.
bool parseNumber(const std::string& text, int base, std::uint32_t& number)
{
    const char* const end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data(), end, number, base);
    return error == std::errc() && parsed == end;
}

void appendBigEndian(std::vector<std::uint8_t>& bytes, std::uint32_t word)
{
    for (const unsigned shift : {24U, 16U, 8U, 0U})
    {
        bytes.push_back(static_cast<std::uint8_t>(word >> shift));
    }
}

} // namespace

std::vector<std::uint8_t> loadVector(const std::string& name)
{
    const auto messages = allMessages();
    const auto found = messages.find(name);
    if (found == messages.end())
    {
        throw std::runtime_error("no golden message " + name + " in " + vectorFolder().string());
    }
    return parseVector(found->second.text, found->second.path);
}

std::vector<std::string> vectorNames()
{
    std::vector<std::string> names;
    for (const auto& [name, message] : allMessages())
    {
        names.push_back(name);
    }
    return names;
}

std::vector<std::uint8_t> parseVector(const std::string& text, const std::string& source)
{
    std::vector<std::uint8_t> bytes;
    std::istringstream lines(text);
    std::size_t lineNumber = 0;
    for (std::string line; std::getline(lines, line);)
    {
        ++lineNumber;
        std::istringstream fields(line.substr(0, line.find('#')));
        std::string offsetText;
        if (!(fields >> offsetText))
        {
            continue;
        }
        std::string wordText;
        std::string rest;
        std::uint32_t offset = 0;
        std::uint32_t word = 0;
        if (!(fields >> wordText) || fields >> rest || !parseNumber(offsetText, decimal, offset) ||
            wordText.size() != hexDigits || !parseNumber(wordText, hexadecimal, word))
        {
            fail(source, lineNumber, "expected an offset and 8 hexadecimal digits");
        }
        if (offset != bytes.size())
        {
            fail(source, lineNumber, "expected offset " + std::to_string(bytes.size()));
        }
        appendBigEndian(bytes, word);
    }
    return bytes;
}

} // namespace testsupport
