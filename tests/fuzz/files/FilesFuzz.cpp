// Fuzzes koractl's files of names and of backups: any bytes, as somebody else may have written them. Whatever they
// hold, they are read or refused with complaints that a terminal draws; what is read can be written, and is then read
// as it was.

#include "koracommand/ResultCode.h"
#include "runtime/util/VisibleText.h"
#include "tests/fuzz/support/Require.h"
#include "tools/common/BackupFile.h"
#include "tools/common/FileLines.h"
#include "tools/common/RestorePlan.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

namespace
{

using com::tallowcrest::util::isVisibleText;
using fuzz::require;
using koraclient::LevelSnapshot;
using koraclient::LprState;
using koraclient::OutputLpr;
using koraclient::OutputRow;
using koractl::AddressReader;
using koractl::Names;
using koractl::OutputWish;

constexpr std::size_t mostLines = 10; ///< of complaints

/// What the terminal gets; the tabs of a quoted line are written out before that.
void checkDrawn(const std::string& text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        std::replace(line.begin(), line.end(), '\t', ' ');
        require(isVisibleText(line), "what is printed is drawn, line by line");
    }
}

/// Reads a file; nothing when it is refused.
template <typename Read>
auto readFile(const std::string& content, Read&& read) -> std::optional<decltype(read(std::declval<std::istream&>()))>
{
    std::istringstream in(content);
    try
    {
        return read(in);
    }
    catch (const koractl::FileError& error)
    {
        const std::string complaints = error.what();
        require(!complaints.empty(), "a refusal says why");
        checkDrawn(complaints);
        require(std::count(complaints.begin(), complaints.end(), '\n') < static_cast<std::ptrdiff_t>(mostLines),
                "a refusal ends");
        return std::nullopt;
    }
}

/// The output as the bridge would tell it when it has become what is wanted.
OutputRow fulfilled(const OutputWish& wish)
{
    const std::optional<std::uint32_t> input = wish.route ? wish.route->input : std::nullopt;
    return {.output = wish.output,
            .result = input ? resultCode::done : resultCode::esfInvalidSrc,
            .input = input.value_or(0),
            .lpr = wish.lpr.value_or(OutputLpr{})};
}

void checkPlan(const OutputWish& wish)
{
    const OutputRow right = fulfilled(wish);
    require(!koractl::planRestore(wish, right, {}), "nothing is to be done for what is right already");
    OutputRow other = right;
    other.input = other.result == resultCode::done ? other.input + 1 : 1;
    other.result = resultCode::done;
    const auto step = koractl::planRestore(wish, other, {.lprId = 7, .isForced = true});
    require(step.has_value() == wish.route.has_value(), "another route is to be changed, if one is wanted");
    require(!step || !step->take.entry || step->take.entry->output == wish.output, "and on its own output");
}

void checkBackup(const std::string& content, const Names& names)
{
    const AddressReader reader(names);
    const auto wishes = readFile(content, [&](std::istream& in) { return koractl::readBackup(in, "backup", reader); });
    if (!wishes)
    {
        return;
    }
    std::map<std::uint32_t, LevelSnapshot> levels;
    for (const OutputWish& wish : *wishes)
    {
        require(wish.route || wish.lpr, "a line wants something");
        require(levels[wish.level].emplace(wish.output, fulfilled(wish)).second, "an output stands there once");
        checkPlan(wish);
    }
    std::ostringstream written;
    koractl::writeBackupStart(written, "today");
    for (const auto& [level, snapshot] : levels)
    {
        koractl::writeBackupLevel(written, level, snapshot, names);
    }
    checkDrawn(written.str());

    const auto again =
        readFile(written.str(), [&](std::istream& in) { return koractl::readBackup(in, "backup", reader); });
    require(again && again->size() == wishes->size(), "what is written can be read");
    for (const OutputWish& wish : *again)
    {
        require(fulfilled(wish) == levels.at(wish.level).at(wish.output), "and says what it said");
    }
}

void checkNames(const Names& names)
{
    constexpr std::size_t longest = 64;
    for (std::uint32_t level = 0; level < 4; ++level)
    {
        require(names.inputWidth(level) <= longest && names.outputWidth(level) <= longest, "names are bounded");
        checkDrawn(names.level(level) + names.input(level, 1) + names.output(level, names.lastInput(level)));
        const std::string name = names.level(level);
        require(name.empty() || names.findLevel(name) == level, "a name stands for its number");
    }
}

} // namespace

/// The file of names, a byte of 0, and the backup.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(data, data + size);
    const std::size_t end = input.find('\0');
    const auto names = readFile(input.substr(0, end), [](std::istream& in) { return Names::read(in, "names"); });
    if (names)
    {
        checkNames(*names);
    }
    checkBackup(end == std::string::npos ? "" : input.substr(end + 1), names.value_or(Names::none()));
    return 0;
}
