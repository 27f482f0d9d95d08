#include "tools/koractl/common/Commands.h"

#include <memory>

#include "koraclient/RequestEncoder.h"
#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"
#include "tools/koractl/commands/WordReports.h"
#include "tools/koractl/common/Arguments.h"

namespace koractl
{
namespace
{

using koraclient::KoraClient;
using koraclient::Message;
using koraclient::RequestEncoder;

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

ExitStatus runRaw(const CommandContext& context, std::span<const std::uint8_t> bytes, std::uint32_t responses)
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
