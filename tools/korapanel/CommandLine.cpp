#include "tools/korapanel/CommandLine.h"

#include "tools/common/FileLines.h"
#include "tools/common/ParseText.h"
#include "tools/korapanel/access/Origin.h"
#include "tools/korapanel/access/TokenFile.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace korapanel
{
namespace
{

constexpr std::uint16_t usualPort = 8090;
/// A holder of the panel's own, so that it respects the protections of others and others respect its.
constexpr std::uint32_t usualLprId = 8090;

/// The options as the user writes them.
struct Texts
{
    std::string bridge;
    std::string listen = "127.0.0.1";
    std::vector<std::string> levels{"1", "2"};
    std::vector<std::string> hostNames;
    std::string session = "720min";
    std::string lprId = std::to_string(usualLprId);
    std::string certificateFile;
    std::string keyFile;
    std::string tokenName;
    bool isReading = false;
    bool isControlling = false;
};

std::string contentOf(const std::string& fileName)
{
    std::ifstream file(fileName);
    std::stringstream content;
    if (!file || !(content << file.rdbuf()))
    {
        throw koractl::FileError(fileName + ": cannot be read");
    }
    return content.str();
}

/// Runs `parse`, whose complaint is about an option.
template <class Parse>
auto of(const char* option, Parse parse)
{
    try
    {
        return parse();
    }
    catch (const std::invalid_argument& problem)
    {
        throw std::invalid_argument(std::string(option) + ": " + problem.what());
    }
}

std::vector<std::uint32_t> levelsOf(const std::vector<std::string>& texts)
{
    std::vector<std::uint32_t> levels;
    for (const std::string& text : texts)
    {
        const std::uint32_t level = of("--level", [&] { return koractl::parseNumber(text); });
        if (std::find(levels.begin(), levels.end(), level) != levels.end())
        {
            throw std::invalid_argument("--level: " + text + " is there already");
        }
        levels.push_back(level);
    }
    return levels;
}

/// What is wrong with a folder; empty: nothing.
std::string complaintOfFolder(const std::string& folder)
{
    std::error_code error;
    return std::filesystem::is_directory(folder, error) ? "" : folder + " is no folder";
}

void fillIn(Options& options, const Texts& texts)
{
    const Place bridge = of("--bridge", [&] { return parsePlace(texts.bridge, koraclient::KoraClient::defaultPort); });
    if (bridge.port == 0)
    {
        throw std::invalid_argument("--bridge: nobody can be reached at port 0");
    }
    options.bridge.host = bridge.host;
    options.bridge.port = bridge.port;
    options.bridge.levels = levelsOf(texts.levels);
    const Place listen = of("--listen", [&] { return parsePlace(texts.listen, usualPort); });
    options.server.address = listen.host == "localhost" ? "127.0.0.1" : listen.host;
    options.server.port = listen.port;
    for (const std::string& name : texts.hostNames)
    {
        if (!isHostName(name))
        {
            throw std::invalid_argument("--name: '" + name + "' is no host's name alone");
        }
        options.hostNames.insert(name);
    }
    options.access.sessionTime =
        std::chrono::ceil<std::chrono::seconds>(of("--session", [&] { return koractl::parseDuration(texts.session); }));
    options.lprId = of("--lpr-id", [&] { return koractl::parseNumber(texts.lprId); });
    if (texts.certificateFile.empty() != texts.keyFile.empty())
    {
        throw std::invalid_argument("--tls-cert and --tls-key go together");
    }
    if (!isLoopback(options.server.address) && options.access.tokenFile.empty())
    {
        throw std::invalid_argument("--listen " + texts.listen +
                                    ": others can reach this address, which needs a file of tokens (--tokens)");
    }
    if (!texts.certificateFile.empty())
    {
        options.server.certificate = contentOf(texts.certificateFile);
        options.server.key = contentOf(texts.keyFile);
    }
}

void addOptions(CLI::App& app, Options& options, Texts& texts)
{
    const auto several = [](CLI::Option* option) { option->take_all()->allow_extra_args(false); };
    app.add_option("--bridge", texts.bridge, "the bridge's name or address (default 127.0.0.1, port 5194)")
        ->type_name("HOST[:PORT]")
        ->envname("KORAPANEL_BRIDGE");
    app.add_option("--listen", texts.listen, "where browsers reach the panel (default 127.0.0.1:8090)")
        ->type_name("ADDRESS[:PORT]");
    app.add_flag("--control", options.access.isControlled, "let those press who may; otherwise all may only look");
    app.add_option("--tokens", options.access.tokenFile, "a file of tokens; who shows none is not let in")
        ->type_name("FILE");
    several(app.add_option("--names", options.nameFiles, "a file of names, as of koractl; may be repeated")
                ->type_name("FILE"));
    several(app.add_option("--level", texts.levels, "a level to show; may be repeated (default 1 and 2)")
                ->type_name("NUMBER"));
    app.add_option("--salvos", options.salvoFolder, "a folder of backups of koractl")
        ->type_name("DIR")
        ->check(complaintOfFolder);
    app.add_option("--page", options.pageFolder, "the folder of the page's files")
        ->type_name("DIR")
        ->check(complaintOfFolder);
    several(app.add_option("--name", texts.hostNames, "a name under which browsers may know the panel; may be repeated")
                ->type_name("HOSTNAME"));
    app.add_option("--lpr-id", texts.lprId, "holder as whom the panel takes and locks (default 8090)")
        ->type_name("NUMBER");
    app.add_option("--session", texts.session, "how long a browser stays signed in (default 720min)")
        ->type_name("DURATION");
    app.add_option("--tls-cert", texts.certificateFile, "a certificate with its chain (PEM); the panel then speaks TLS")
        ->type_name("FILE");
    app.add_option("--tls-key", texts.keyFile, "the certificate's key (PEM)")->type_name("FILE");
    app.set_version_flag("--version", std::string("korapanel ") + KORABRIDGE_VERSION);
    app.footer("Numbers are decimal, or hexadecimal with 0x. Durations: 500ms, 2s, 1min.\n"
               "Exit status: 0 ended by a signal, 2 wrong arguments or files, 3 the system refuses something.");
}

CLI::App* addTokenCommand(CLI::App& app, Texts& texts)
{
    CLI::App* const token = app.add_subcommand("token", "Make tokens");
    token->require_subcommand(1);
    CLI::App* const add = token->add_subcommand("add", "Add a token to the file of --tokens and print it, once");
    add->add_option("name", texts.tokenName, "who it is for; stands in the log beside what is pressed")
        ->type_name("NAME")
        ->required();
    CLI::Option* const read = add->add_flag("--read", texts.isReading, "its bearer may look");
    add->add_flag("--control", texts.isControlling, "its bearer may press")->excludes(read);
    add->fallthrough();
    token->fallthrough();
    return add;
}

void addTokenTo(const Options& options, const Texts& texts, std::ostream& out)
{
    if (options.access.tokenFile.empty())
    {
        throw std::invalid_argument("token add needs the file (--tokens)");
    }
    if (texts.isReading == texts.isControlling)
    {
        throw std::invalid_argument("token add needs --read or --control");
    }
    out << addToken(options.access.tokenFile, texts.tokenName, texts.isControlling) << std::endl;
    if (!out)
    {
        throw std::runtime_error("the token cannot be printed: delete its line in the file");
    }
}

} // namespace

Place parsePlace(const std::string& text, std::uint16_t usual)
{
    Place place{.host = text.empty() ? "127.0.0.1" : text, .port = usual};
    std::size_t colon = text.rfind(':');
    if (text.starts_with('['))
    {
        const std::size_t end = text.find(']');
        if (end == std::string::npos || (end + 1 < text.size() && text[end + 1] != ':'))
        {
            throw std::invalid_argument("'" + text + "' is no [ADDRESS]:PORT");
        }
        place.host = text.substr(1, end - 1);
        colon = end + 1 < text.size() ? end + 1 : std::string::npos;
    }
    else if (colon != text.find(':'))
    {
        colon = std::string::npos; // a numeric address of version 6 alone
    }
    if (colon != std::string::npos)
    {
        const std::uint32_t port = koractl::parseNumber(text.substr(colon + 1));
        if (port > 65535)
        {
            throw std::invalid_argument("'" + text + "' has no port from 0 to 65535");
        }
        place.port = static_cast<std::uint16_t>(port);
        place.host = text.starts_with('[') ? place.host : text.substr(0, colon);
    }
    if (place.host.empty())
    {
        throw std::invalid_argument("'" + text + "' names no host");
    }
    return place;
}

int runCommandLine(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
                   const std::function<void(const Options&)>& run)
{
    const auto complain = [&err](const std::string& text, ExitStatus status) {
        err << "korapanel: " << text << std::endl;
        return static_cast<int>(status);
    };
    CLI::App app("Shows a router to browsers through korabridge, and lets them press.", "korapanel");
    Options options;
    options.pageFolder = KORAPANEL_PAGE;
    Texts texts;
    addOptions(app, options, texts);
    const CLI::App* const add = addTokenCommand(app, texts);
    try
    {
        // The library takes the arguments last one first.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        if (add->parsed())
        {
            addTokenTo(options, texts, out);
            return static_cast<int>(ExitStatus::done);
        }
        fillIn(options, texts);
        run(options);
        return static_cast<int>(ExitStatus::done);
    }
    catch (const CLI::Success& wish)
    {
        app.exit(wish, out, err); // --help or --version
        return static_cast<int>(ExitStatus::done);
    }
    catch (const CLI::ParseError& problem)
    {
        return complain(problem.what(), ExitStatus::usage);
    }
    catch (const std::invalid_argument& problem)
    {
        return complain(problem.what(), ExitStatus::usage);
    }
    catch (const koractl::FileError& problem)
    {
        return complain(problem.what(), ExitStatus::usage);
    }
    catch (const std::exception& problem)
    {
        return complain(problem.what(), ExitStatus::trouble);
    }
}

} // namespace korapanel
