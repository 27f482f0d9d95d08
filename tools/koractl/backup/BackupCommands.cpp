#include "koracommand/ResultCode.h"
#include "runtime/util/SystemError.h"
#include "tools/common/BackupFile.h"
#include "tools/common/FileLines.h"
#include "tools/common/RestorePlan.h"
#include "tools/koractl/backup/BackupReports.h"
#include "tools/koractl/common/Arguments.h"
#include "tools/koractl/common/Commands.h"

#include <ctime>
#include <fstream>
#include <memory>
#include <ostream>
#include <set>
#include <sstream>

namespace koractl
{
namespace
{

using koraclient::askSnapshot;
using koraclient::KoraClient;
using koraclient::LevelSnapshot;
using koraclient::OutputRow;

constexpr const char* standardStream = "-";

struct BackupArguments
{
    std::string file;
    std::vector<std::string> levelTexts;
    std::vector<std::uint32_t> levels;
};

struct RestoreArguments
{
    std::string file;
    std::vector<std::string> levelTexts;
    std::set<std::uint32_t> levels; ///< none: all of the file
    RestoreRights rights;
    bool isDryRun = false;
};

std::string nowText()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    char text[40] = "";
    if (::gmtime_r(&now, &parts) != nullptr)
    {
        (void)std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
    }
    return text;
}

ExitStatus runBackup(CommandContext& context, const BackupArguments& arguments)
{
    KoraClient client = context.connect();
    BackupReport report(arguments.file);
    std::ostringstream text;
    writeBackupStart(text, nowText());
    for (const std::uint32_t level : arguments.levels)
    {
        if (const auto snapshot = askSnapshot(client, level))
        {
            writeBackupLevel(text, level, *snapshot, context.names());
            report.add(level, *snapshot);
        }
        else
        {
            report.addMissing(level);
        }
    }
    if (arguments.file != standardStream)
    {
        writeWholeFile(arguments.file, text.str());
        return context.finish(report);
    }
    context.streams().out << text.str();
    context.flush();
    if (!report.isAllDone())
    {
        context.warn("the backup is not whole");
    }
    return report.isAllDone() ? ExitStatus::done : ExitStatus::refused;
}

std::vector<OutputWish> readWishes(CommandContext& context, const RestoreArguments& arguments)
{
    std::vector<OutputWish> all;
    if (arguments.file == standardStream)
    {
        all = readBackup(context.streams().in, "standard input", context.reader());
    }
    else
    {
        std::ifstream file(arguments.file);
        if (!file)
        {
            throw FileError(arguments.file + ": " + com::tallowcrest::util::systemErrorText());
        }
        all = readBackup(file, arguments.file, context.reader());
    }
    if (!arguments.levels.empty())
    {
        std::erase_if(all, [&](const OutputWish& wish) { return !arguments.levels.contains(wish.level); });
    }
    return all;
}

/// The output as it is; result 4 or 5 when the bridge does not have it.
OutputRow outputOf(const std::optional<LevelSnapshot>& snapshot, std::uint32_t output)
{
    if (!snapshot)
    {
        return OutputRow{.output = output, .result = resultCode::noSuchLevel, .lpr = std::nullopt};
    }
    const auto found = snapshot->find(output);
    return found != snapshot->end()
               ? found->second
               : OutputRow{.output = output, .result = resultCode::esfInvalidDst, .lpr = std::nullopt};
}

ExitStatus runRestore(CommandContext& context, const RestoreArguments& arguments)
{
    const std::vector<OutputWish> wishes = readWishes(context, arguments); // all of it, before anything is sent
    KoraClient client = context.connect();
    std::map<std::uint32_t, std::optional<LevelSnapshot>> snapshots;
    std::map<std::uint32_t, std::size_t> wanted;
    std::vector<RestoreStep> steps;
    for (const OutputWish& wish : wishes)
    {
        if (++wanted[wish.level] == 1)
        {
            snapshots[wish.level] = askSnapshot(client, wish.level);
        }
        if (auto step = planRestore(wish, outputOf(snapshots[wish.level], wish.output), arguments.rights))
        {
            steps.push_back(std::move(*step));
        }
    }
    const std::exception_ptr trouble = arguments.isDryRun ? nullptr : sendRestore(client, steps);
    if (trouble)
    {
        context.sayNotSentAgain();
    }
    RestoreReport report(arguments.isDryRun, std::move(wanted), std::move(steps), context.names());
    report.setTrouble(trouble);
    return context.finish(report);
}

void addBackup(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<BackupArguments>();
    CLI::App* const command = app.add_subcommand("backup", "Write the routes and locks of levels to a text file");
    command->add_option("file", arguments->file, "the file to write; - is standard output")
        ->type_name("FILE")
        ->required();
    command->add_option("--level", arguments->levelTexts, "a level to save; may be repeated (default 1 and 2)")
        ->type_name("LEVEL")
        ->take_all()
        ->allow_extra_args(false);
    command->callback([&context, arguments] {
        resolved("--level", [&] {
            for (const std::string& text : arguments->levelTexts)
            {
                arguments->levels.push_back(context.reader().level(text));
            }
        });
        if (arguments->levelTexts.empty())
        {
            arguments->levels = {1, 2}; // the levels that every bridge has
        }
        if (arguments->file == standardStream && context.options().json)
        {
            throw CLI::ValidationError("file", "standard output takes the backup or the JSON object, not both");
        }
        context.choose([&context, arguments] { return runBackup(context, *arguments); });
    });
}

void addRestore(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<RestoreArguments>();
    CLI::App* const command = app.add_subcommand("restore", "Set what differs from a file that backup wrote");
    command->add_option("file", arguments->file, "the file to read; - is standard input")
        ->type_name("FILE")
        ->required();
    command->add_option("--level", arguments->levelTexts, "a level to restore; may be repeated (default all)")
        ->type_name("LEVEL")
        ->take_all()
        ->allow_extra_args(false);
    addNumber(*command, "--lpr-id", arguments->rights.lprId,
              "whose locks may be opened besides those of the file's holders; who takes (default 0)");
    command->add_flag("--force", arguments->rights.isForced, "also open the locks of others");
    command->add_flag("--dry-run", arguments->isDryRun, "only show what would be set");
    command->callback([&context, arguments] {
        resolved("--level", [&] {
            for (const std::string& text : arguments->levelTexts)
            {
                arguments->levels.insert(context.reader().level(text));
            }
        });
        context.choose([&context, arguments] { return runRestore(context, *arguments); });
    });
}

} // namespace

void addBackupCommands(CLI::App& app, CommandContext& context)
{
    addBackup(app, context);
    addRestore(app, context);
}

} // namespace koractl
