#include "tools/koractl/doctor/LogTail.h"

#include "runtime/util/VisibleText.h"

#include <nlohmann/json.hpp>

#include <array>
#include <istream>
#include <string_view>

namespace koractl
{
namespace
{

using com::tallowcrest::util::visibleText;

/// A line that is kept, and what a later one must hold to end the trouble; empty: nothing does.
struct Trouble
{
    std::string LogFacts::*kept;
    std::string_view sign;
    std::string_view end;
};

constexpr std::array troubles{
    Trouble{&LogFacts::storeTrouble, "targets are not kept", ": in use again"},
    Trouble{&LogFacts::portTaken, "failed binding socket ", "Port: 5194"},
    Trouble{&LogFacts::failedJoin, " failed and is tried again: ", "connected to router"},
    Trouble{&LogFacts::lackOfResources, "not enough resources to start: ", "Starting korabridge"},
    Trouble{&LogFacts::silentNeighbours, " silent and no longer waited for", ""},
    Trouble{&LogFacts::refusedTargets, "targets of others are refused", ""},
    Trouble{&LogFacts::slowReader, "a reader has not answered the new writer", ""},
};

constexpr std::string_view firstLine = ", DDS library ";
constexpr std::string_view program = "korabridge ";

/// A line of the JSON layout as the other layout writes it; any other line as it is.
std::string plainLine(const std::string& line)
{
    if (line.front() != '{')
    {
        return line;
    }
    const auto object = nlohmann::json::parse(line, nullptr, false);
    if (!object.is_object() || !object.contains("level") || !object.contains("message") ||
        !object["level"].is_string() || !object["message"].is_string())
    {
        return line;
    }
    return " " + object["level"].get<std::string>() + " () - " + object["message"].get<std::string>();
}

/// The text behind level and place, which the layout puts before " - ".
std::string textOf(const std::string& line)
{
    const std::size_t at = line.find(") - ");
    return visibleText(at == std::string::npos ? line : line.substr(at + 4));
}

bool holds(const std::string& line, std::string_view text)
{
    return line.find(text) != std::string::npos;
}

void readLine(const std::string& line, LogFacts& facts)
{
    const std::size_t start = line.find(program);
    const std::size_t library = line.find(firstLine);
    if (start != std::string::npos && library != std::string::npos && start < library)
    {
        facts = LogFacts{};
        facts.version = visibleText(line.substr(start + program.size(), library - start - program.size()));
        facts.isConnected = false;
        return;
    }
    for (const Trouble& trouble : troubles)
    {
        if (holds(line, trouble.sign))
        {
            facts.*trouble.kept = textOf(line);
        }
        else if (!trouble.end.empty() && holds(line, trouble.end))
        {
            (facts.*trouble.kept).clear();
        }
    }
    if (holds(line, "connected to router"))
    {
        facts.isConnected = !holds(line, "not connected to router");
    }
    if (holds(line, " ERROR "))
    {
        ++facts.errors;
        facts.lastError = textOf(line);
    }
}

} // namespace

LogFacts readLog(std::istream& lines)
{
    LogFacts facts;
    for (std::string line; std::getline(lines, line);)
    {
        if (!line.empty())
        {
            readLine(plainLine(line), facts);
        }
    }
    return facts;
}

} // namespace koractl
