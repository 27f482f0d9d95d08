#include "koraclient/RequestEncoder.h"
#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"
#include "tools/koractl/commands/WordReports.h"
#include "tools/koractl/common/Arguments.h"
#include "tools/koractl/common/Commands.h"

#include <memory>

namespace koractl
{

namespace
{

using koraclient::KoraClient;
using koraclient::Message;
using koraclient::RequestEncoder;

void addPartition(CLI::App& app, CommandContext& context)
{
    app.add_subcommand("partition", "Show the partition information")->callback([&context] {
        context.chooseQuery("partition", [](KoraClient& client) {
            return std::make_unique<WordsReport>(partitionReport(client.partitionInfo()));
        });
    });
}

void addPort(CLI::App& app, CommandContext& context)
{
    app.add_subcommand("port", "Show the router port's presence")->callback([&context] {
        context.chooseQuery(
            "port", [](KoraClient& client) { return std::make_unique<WordsReport>(portReport(client.portPresent())); });
    });
}

void addSystem(CLI::App& app, CommandContext& context)
{
    const auto format = std::make_shared<std::uint32_t>(4);
    CLI::App* const command = app.add_subcommand("system", "Show the system status");
    addNumber(*command, "format", *format, "0, 2, 4 (default) or 6; any other is answered as 4");
    command->callback([&context, format] {
        context.chooseQuery("system", [format](KoraClient& client) {
            return std::make_unique<WordsReport>(systemReport(client.systemStatus(*format)));
        });
    });
}

void addCard(CLI::App& app, CommandContext& context)
{
    const auto word = std::make_shared<std::uint32_t>(0);
    CLI::App* const command = app.add_subcommand("card", "Show the presence of a control card");
    addNumber(*command, "card", *word, "the card (default 0)");
    command->callback([&context, word] {
        context.chooseQuery("card", [word](KoraClient& client) {
            return std::make_unique<WordsReport>(cardReport(client.cardPresence(*word)));
        });
    });
}

} // namespace

void addSystemCommands(CLI::App& app, CommandContext& context)
{
    addPartition(app, context);
    addPort(app, context);
    addSystem(app, context);
    addCard(app, context);
}

namespace
{

struct RawArguments
{
    std::vector<std::string> parts;
    bool isWhole = false;
    bool isBytes = false;
    std::uint32_t tag = 1;
    std::uint32_t responses = 1;
};

std::vector<std::uint8_t> wordsToBytes(const std::vector<std::uint32_t>& words)
{
    std::vector<std::uint8_t> bytes(words.size() * wireLayout::wordBytes);
    for (std::size_t i = 0; i < words.size(); ++i)
    {
        WireWriter(bytes).setBigEndianWordAt(i * wireLayout::wordBytes, words[i]);
    }
    return bytes;
}

/// What to send; throws std::invalid_argument or std::length_error when the user's parts make no message.
std::vector<std::uint8_t> compose(const RawArguments& arguments)
{
    if (arguments.isBytes)
    {
        std::vector<std::uint8_t> bytes;
        for (const std::string& part : arguments.parts)
        {
            const auto more = parseHexBytes(part);
            bytes.insert(bytes.end(), more.begin(), more.end());
        }
        return bytes;
    }
    std::vector<std::uint32_t> words;
    for (const std::string& part : arguments.parts)
    {
        words.push_back(parseHexWord(part));
    }
    if (arguments.isWhole)
    {
        return wordsToBytes(words);
    }
    return RequestEncoder(arguments.tag).raw(words.front(), {words.begin() + 1, words.end()});
}

ExitStatus runRaw(CommandContext& context, std::span<const std::uint8_t> bytes, std::uint32_t responses)
{
    KoraClient client = context.connect();
    client.sendBytes(bytes);
    std::vector<Message> messages;
    while (messages.size() < responses)
    {
        messages.push_back(client.receiveMessage());
    }
    return context.finish(RawReport(std::move(messages)));
}

} // namespace

void addRawCommand(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<RawArguments>();
    CLI::App* const command = app.add_subcommand("raw", "Send any message and print the words that come back");
    command
        ->add_option("words", arguments->parts,
                     "hexadecimal words: the message id, then the payload; the header is added")
        ->required()
        ->type_name("HEX");
    CLI::Option* const whole = command->add_flag("--message", arguments->isWhole, "the words are a whole message");
    command->add_flag("--bytes", arguments->isBytes, "the digits are the bytes of the whole message")->excludes(whole);
    addNumber(*command, "--tag", arguments->tag, "the request's tag (default 1)");
    addNumber(*command, "--responses", arguments->responses, "how many messages to wait for (default 1)");
    command->callback([&context, arguments] {
        std::vector<std::uint8_t> bytes;
        try
        {
            bytes = compose(*arguments);
        }
        catch (const std::logic_error& problem)
        {
            throw CLI::ValidationError("words", problem.what());
        }
        context.choose([&context, arguments, bytes] { return runRaw(context, bytes, arguments->responses); });
    });
}

} // namespace koractl
