#include "tools/koractl/common/Commands.h"
#include "tools/koractl/doctor/DoctorReport.h"
#include "tools/koractl/doctor/Judgement.h"
#include "tools/koractl/doctor/Probes.h"

#include <memory>
#include <string>

namespace koractl
{
namespace
{

struct DoctorArguments
{
    std::string host;
    MachinePlaces places;
};

Facts examine(const CommandContext::Options& options, const DoctorArguments& arguments)
{
    Facts facts;
    facts.host = arguments.host.empty() ? options.hosts.front() : arguments.host;
    facts.port = options.port;
    facts.link = probeLink(facts.host, facts.port, options.timeout);
    if (facts.link.port == PortState::refused)
    {
        facts.console = probeConsole(facts.host, options.timeout);
    }
    if (isThisMachine(facts.host))
    {
        facts.machine = probeMachine(arguments.places);
    }
    return facts;
}

} // namespace

void addDoctorCommand(CLI::App& app, CommandContext& context)
{
    const auto arguments = std::make_shared<DoctorArguments>();
    CLI::App* const command = app.add_subcommand(
        "doctor", "Say what is wrong with a bridge and what to do; uses one of its slots for some milliseconds");
    command->add_option("host", arguments->host, "the bridge (default: what --host names)")->type_name("HOST");
    command->add_option("--log", arguments->places.log, "the bridge's log, read on its own machine")
        ->type_name("FILE")
        ->capture_default_str();
    command->add_option("--metrics", arguments->places.metrics, "its metrics file, read on its own machine")
        ->type_name("FILE")
        ->capture_default_str();
    command->callback([&context, arguments] {
        context.choose([&context, arguments] {
            Facts facts = examine(context.options(), *arguments);
            std::vector<Finding> findings = judge(facts);
            return context.finish(DoctorReport(std::move(facts), std::move(findings)));
        });
    });
}

} // namespace koractl
